// What a macro has begun is over at its end.
//> form.html
const f = async () => {
  await page.click("#none");
};
f();
extract("end");
//= -100|click was not awaited (line 2) (-100)|end
// Neither goes on in the page of the next play.
//> late.html
page.selectOption("#never", "1").catch(() => {});
page.fill("#disabled", "1").catch(() => {});
page.click("#hidden").catch(() => {});
//= -100|selectOption was not awaited (line 1) (-100)|
//> -
await page.evaluate(() => {
  document.body.insertAdjacentHTML("beforeend", "<select id=never><option>0<option>1</select>");
  disabled.outerHTML = "<input id=disabled>";
  hidden.style.display = "";
});
await page.waitForTimeout(300);
extract(await page.evaluate(() => [clicked, never.value, disabled.value]));
//= 1||[[],"0",""]
// The line of the one that failed, whatever else is going on.
//> form.html
const one = page.click("#none", { timeout: 200 });
const other = page.waitForSelector("#never", { timeout: 400 }).catch(() => {});
await one;
//= -100|#none is not there (line 1) (-100)|
//> form.html
await page.waitForURL(() => { throw "a text"; });
//= -100|a text (line 1) (-100)|
// Options that nobody knows do not count as none.
//> form.html
for (const [operation, ...given] of [
  ["click", "#go", { trial: true }], ["click", "#go", { button: "none" }], ["click", "#go", { clickCount: 0 }],
  ["click", "#go", { timeout: "1" }], ["click", "#go", 500], ["goto", "about:blank", { waitUntil: "idle" }],
  ["screenshot", { file: "a.png" }], ["evaluate", (a, b) => a + b, 1, 2], ["goto", "example.com"],
]) {
  await page[operation](...given).catch(({ message }) => extract(message));
}
for (const act of [() => page.fil("#text", "x"), () => page.frame("none").goto("about:blank")]) {
  try { act(); } catch ({ message }) { extract(message); }
}
extract(await page.evaluate(() => log.length));
//= 1||click knows no option "trial"[EXTRACT]click knows no button "none"[EXTRACT]click: 0 is no number of clicks[EXTRACT]click: a time-out is a number of milliseconds[EXTRACT]click takes its options as an object, such as { timeout: 5000 }[EXTRACT]there is no state "idle" to wait for[EXTRACT]screenshot knows no option "file"[EXTRACT]evaluate takes one argument; give it an object or an array of several[EXTRACT]goto: "example.com" is no address, such as https://example.com/[EXTRACT]there is no operation "fil"[EXTRACT]there is no operation "goto"[EXTRACT]0
// No limit is none, also not that of a moment.
//> late.html
await page.evaluate(() => later(comes.there));
page.setDefaultTimeout(50);
await page.click("#new", { timeout: 0 });
page.setDefaultTimeout(2000);
extract(await page.evaluate(() => clicked));
//= 1||["new"]
// Values cross as they are.
//> form.html
extract(...(await page.evaluate((given) => [given instanceof Date, new URL("https://example.com/a"), window, 10n, { a: undefined }, new Map([[1, 2]]).get(1)], new Date(5))));
//= 1||true[EXTRACT]https://example.com/a[EXTRACT][EXTRACT]10[EXTRACT]{}[EXTRACT]2
// A function of any kind can be called in the page, but none that has no source.
//> -
const { method, late } = { method(x) { return x + 1; }, async late() { return 2; } };
extract(await page.evaluate(method, 1), await page.evaluate(late), await page.evaluate(function (x) { return x + 1; }, 1));
await page.evaluate(Math.max).catch(({ message }) => extract(/no source/.test(message)));
//= 1||2[EXTRACT]2[EXTRACT]2[EXTRACT]true
