// What a macro has begun is over at its end.
//> form.html
page.click("#go");
//= -100|click was not awaited (line 1) (-100)|
//> form.html
const f = async () => {
  await page.click("#none");
};
f();
extract("end");
//= -100|click was not awaited (line 2) (-100)|end
//> form.html
page.click("#none", { timeout: 1 }).catch(() => {});
page.title();
await page.waitForTimeout(100);
//= -100|title was not awaited (line 2) (-100)|
//> form.html
page.evaluate(() => new Promise(() => {})).catch(() => {});
extract("not awaited");
//= -100|evaluate was not awaited (line 1) (-100)|not awaited
//> form.html
const first = page.title();
await Promise.race([page.waitForSelector("#none"), page.waitForSelector("#go")]);
extract(await first);
//= 1||Form
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
for (const act of [
  () => page.click("#go", { trial: true }),
  () => page.click("#go", { button: "none" }),
  () => page.click("#go", { clickCount: 0 }),
  () => page.click("#go", { timeout: "1" }),
  () => page.click("#go", 500),
  () => page.goto("about:blank", { waitUntil: "idle" }),
  () => page.screenshot({ file: "a.png" }),
  () => page.evaluate((a, b) => a + b, 1, 2),
  () => page.goto("example.com"),
  () => page.fil("#text", "x"),
  () => page.frame("none").goto("about:blank"),
]) {
  try {
    await act();
  } catch ({ message }) {
    extract(message);
  }
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
const { f: method } = { f(x) { return x + 1; } };
extract(await page.evaluate(method, 1), await page.evaluate({ async g() { return 2; } }.g));
extract(await page.evaluate(() => window), await page.evaluate(() => document.body));
extract(...(await page.evaluate((given) => [given, given instanceof Date, new URL("https://example.com/a"), -0, NaN, 10n, { a: undefined }, new Map([[1, 2]])], new Date(5))).map((one) => (one instanceof Map ? one.get(1) : one)));
extract(Object.is(await page.evaluate((x) => x, -0), -0), (await page.evaluate(() => location)).pathname);
//= 1||2[EXTRACT]2[EXTRACT][EXTRACT][EXTRACT]1970-01-01T00:00:00.005Z[EXTRACT]true[EXTRACT]https://example.com/a[EXTRACT]0[EXTRACT]NaN[EXTRACT]10[EXTRACT]{}[EXTRACT]2[EXTRACT]true[EXTRACT]/form.html
