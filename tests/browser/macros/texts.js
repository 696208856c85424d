// What goes into a macro and what comes out of it.
//> -
//= 1||
//> -
extract("a", "", 1.5, null, undefined, [1], { b: "c" }, true);
//= 1||a[EXTRACT][EXTRACT]1.5[EXTRACT][EXTRACT][EXTRACT][1][EXTRACT]{"b":"c"}[EXTRACT]true
//+ city=New York
//+ -fast=1
//> -
extract(vars.city, vars.none, options.fast, vars.toString);
//= 1||New York[EXTRACT][EXTRACT]1[EXTRACT]
// Variables are for one play.
//> -
extract(vars.city);
//= 1||
// Texts of pages and variables are no part of any source.
//+ text=`${x}'"\ </script> İ€😀
//> -
await page.evaluate((text) => { document.title = text; }, vars.text);
extract((await page.title()) === vars.text, vars.text);
//= 1||true[EXTRACT]`${x}'"\ </script> İ€😀
// What separates the parts of an answer is told from a macro's own text.
//> -
extract("a[tvn!E!tvn]b[tvn!E!tvn]");
//= 1||a[ tvn!E!tvn]b[ tvn!E!tvn]
//> -
extract("a"); throw new Error("b[tvn!E!tvn]c");
//= -100|b[ tvn!E!tvn]c (line 1) (-100)|a
//+ two words=1
//> -
//= -100|A variable's name holds a blank, which tvnSet cannot send; use another name. (-100)|
//+ a b c=1
//> -
//= -100|A variable's name holds a blank, which tvnSet cannot send; use another name. (-100)|
//+ -two words=1
//> -
//= -100|A variable's name holds a blank, which tvnSet cannot send; use another name. (-100)|
// What a macro throws comes with its line, and with the extracts until then.
//> -
extract("a");
extract("b"); throw new Error("Stop");
//= -100|Stop (line 2) (-100)|a[EXTRACT]b
//> -
await page.title();
null.x;
//= -100|Cannot read properties of null (reading 'x') (line 2) (-100)|
//> -
const deep = async () => {
  await page.title(); throw new TypeError("deep");
};
await deep();
//= -100|deep (line 2) (-100)|
//> -
const act = async () => {
  await page.click("#none", { timeout: 1 });
};
await act();
//= -100|#none is not there (line 2) (-100)|
//> -
await page.title();
await page.evaluate(() => { throw new RangeError("inside"); });
//= -100|RangeError: inside (line 2) (-100)|
//> -
let a = 1;
let b = ;
//= -100|Unexpected token ';' (line 2) (-100)|
//> -
extract("a");
throw "a text";
//= -100|a text (line 1) (-100)|a
//> -
await new Promise((resolve) => setTimeout(resolve, 20));
throw new Error("late");
//= -100|late (line 2) (-100)|
//> -
setTimeout(() => { throw new Error("nobody waits"); }); await page.title(); extract(1);
//= 1||1
// Pictures are what their names say, and lie below the folder Output only.
//> form.html
for (const [path, fullPage] of [["a.png", false], ["b/c.jpg", true]]) {
  const written = await page.screenshot({ path, fullPage });
  await page.setInputFiles("#file", written);
  extract(written.endsWith("\\browser\\Output\\" + path.replace("/", "\\")), await page.evaluate(async () => {
    const [picture] = document.querySelector("#file").files;
    return [new Uint8Array(await picture.arrayBuffer())[0], (await createImageBitmap(picture)).height > 3000];
  }));
}
//= 1||true[EXTRACT][137,false][EXTRACT]true[EXTRACT][255,true]
//> -
for (const path of ["../a.png", "b/../../a.png", "C:/a.png", "/a.png", "\\\\a\\b.png", "a.png:b.png", "NUL.png", "b//c.png", "a.png ", "", "a.exe"]) {
  await page.screenshot({ path }).catch(({ message }) => extract(message));
}
//= 1||screenshot: "../a.png" is no path below the folder Output[EXTRACT]screenshot: "b/../../a.png" is no path below the folder Output[EXTRACT]screenshot: "C:/a.png" is no path below the folder Output[EXTRACT]screenshot: "/a.png" is no path below the folder Output[EXTRACT]screenshot: "\\a\b.png" is no path below the folder Output[EXTRACT]screenshot: "a.png:b.png" is no path below the folder Output[EXTRACT]screenshot: "NUL.png" is no path below the folder Output[EXTRACT]screenshot: "b//c.png" is no path below the folder Output[EXTRACT]screenshot: "a.png " is no path below the folder Output[EXTRACT]screenshot: "" is no path below the folder Output[EXTRACT]screenshot: the path has to end with .png or .jpg
