// Each operation of `page`, and what it waits for.
//> form.html
extract(await page.title(), page.url().replace(options.site, ""));
//= 1||Form[EXTRACT]/form.html
//> form.html
await page.click("#go");
extract(await page.getAttribute("#go", "data-kind"), await page.evaluate(() => log));
//= 1||clicked[EXTRACT]["mousedown ","mouseup ","click "]
//> form.html
await page.click("#go", { button: "right" });
await page.click("#text", { clickCount: 2 });
extract(await page.evaluate(() => log.filter((line) => /menu|dbl/.test(line)).join()));
//= 1||contextmenu ,dblclick text
//> form.html
await page.click("#far");
extract(await page.evaluate(() => [log.at(-1), scrollY > 1000]));
//= 1||["click far",true]
//> form.html
await page.fill("#text", "new ☺");
extract(await page.evaluate(() => [text.value === "new ☺", log.join()]));
//= 1||[true,"input text"]
//> form.html
for (const one of ["#label", "#area", "#rich", "#number"]) await page.fill(one, "12");
extract(await page.evaluate(() => [labelled.value, area.value, rich.textContent, number.value]));
//= 1||["12","12","12","12"]
//> form.html
await page.fill("#date", "2024-02-29");
await page.fill("#text", "");
extract(await page.evaluate(() => [date.value, text.value]));
//= 1||["2024-02-29",""]
//> form.html
await page.fill("#go", "x")
//= -100|#go cannot be filled, it is a <button id="go"> (line 1) (-100)|
//> form.html
await page.fill("#number", "x")
//= -100|#number does not take "x" (line 1) (-100)|
//> form.html
extract(await page.selectOption("#one", "Two"), await page.selectOption("#one", { index: 0 }), await page.selectOption("#many", ["a", "c"]), await page.evaluate(() => log.join()));
//= 1||["2"][EXTRACT]["1"][EXTRACT]["a","c"][EXTRACT]input one faked,change one faked,input one faked,change one faked,input many faked,change many faked
//> form.html
await page.selectOption("#one", "Off", { timeout: 200 })
//= -100|#one has no such option (line 1) (-100)|
//> form.html
await page.check("#agree");
await page.check("#agreeLabel");
await page.check("#blue");
extract(await page.evaluate(() => [agree.checked, red.checked, blue.checked]));
await page.uncheck("#agree");
extract(await page.evaluate(() => agree.checked));
//= 1||[true,false,true][EXTRACT]false
//> form.html
await page.check("#text")
//= -100|#text cannot be checked, it is a <input id="text"> (line 1) (-100)|
//> form.html
await page.press("#text", "End");
await page.press("#text", "a");
await page.press("#text", "Shift+b");
extract(await page.evaluate(() => text.value));
await page.press("#text", "Control+A");
await page.press("#text", "Delete");
extract(await page.evaluate(() => text.value));
//= 1||oldaB[EXTRACT]
//> form.html
await page.press("#text", "Enter");
extract(await page.textContent("#result"));
//= 1||You are here
//> form.html
await page.press("#text", "Nothing")
//= -100|there is no key "Nothing" (line 1) (-100)|
//> form.html
await page.click("#file");
extract(await page.textContent("#go b"), await page.getAttribute("#go", "none"));
//= 1||Go[EXTRACT]
//> form.html
extract(await page.evaluate((a) => a.x + 1, { x: 41 }), await page.evaluate("6 * 7"), await page.evaluate(async () => "late"), await page.evaluate(() => undefined), await page.evaluate(() => NaN));
//= 1||42[EXTRACT]42[EXTRACT]late[EXTRACT][EXTRACT]NaN
//> form.html
await page.click("[")
//= -100|[ is not a selector (line 1) (-100)|
//> late.html
await page.evaluate(() => later(comes.there));
await page.click("#new");
extract(await page.evaluate(() => clicked));
//= 1||["new"]
//> late.html
await page.evaluate(() => later(comes.visible));
await page.click("#hidden");
extract(await page.evaluate(() => clicked));
//= 1||["hidden"]
//> late.html
await page.evaluate(() => later(comes.enabled));
await page.click("#disabled");
extract(await page.evaluate(() => clicked));
//= 1||["disabled"]
//> late.html
await page.evaluate(() => { $("cover").hidden = false; later(comes.uncovered); });
await page.click("#covered");
extract(await page.evaluate(() => clicked));
//= 1||["covered"]
//> late.html
await page.evaluate(() => later(comes.editable));
await page.fill("#readonly", "new");
extract(await page.evaluate(() => $("readonly").value));
//= 1||new
//> late.html
const start = await page.evaluate(() => { const b = document.createElement("button"); b.id = "moving"; b.textContent = "x"; document.body.append(b); return performance.now(); });
await page.click("#moving");
extract(await page.evaluate((s) => [clicked, performance.now() - s > 350], start));
//= 1||[["moving"],true]
//> late.html
await page.evaluate(() => later(comes.gone));
await page.waitForSelector("#text", { state: "hidden" });
await page.waitForSelector("#text", { state: "detached" });
extract("gone");
//= 1||gone
//> late.html
await page.evaluate(() => later(comes.visible));
await page.waitForSelector("#hidden", { state: "attached" });
await page.waitForSelector("#hidden");
extract("seen");
//= 1||seen
//> late.html
await page.click("#new", { timeout: 200 })
//= -100|#new is not there (line 1) (-100)|
//> late.html
page.setDefaultTimeout(200); await page.click("#hidden")
//= -100|#hidden is not visible (line 1) (-100)|
//> late.html
await page.click("#disabled", { timeout: 200 })
//= -100|#disabled is not enabled (line 1) (-100)|
//> late.html
await page.click("#inFieldset", { timeout: 200 })
//= -100|#inFieldset is not enabled (line 1) (-100)|
//> late.html
await page.click("#dancing", { timeout: 200 })
//= -100|#dancing is not at rest (line 1) (-100)|
//> late.html
await page.evaluate(() => { $("cover").hidden = false; }); await page.click("#covered", { timeout: 200 })
//= -100|#covered is covered by <div id="cover"> (line 1) (-100)|
//> late.html
await page.fill("#readonly", "new", { timeout: 200 })
//= -100|#readonly is not editable (line 1) (-100)|
//> late.html
await page.waitForSelector("#text", { state: "hidden", timeout: 200 })
//= -100|#text is still visible (line 1) (-100)|
//> late.html
await page.textContent("#new", { timeout: 200 })
//= -100|#new is not there (line 1) (-100)|
// What lies over the middle of the window, or over its top, is scrolled around.
//> form.html
for (const place of ["top: 25%; bottom: 25%", "top: 0; height: 60%", "bottom: 0; height: 60%"]) {
  await page.evaluate((place) => {
    document.querySelector("#bar")?.remove();
    scrollTo(0, 0);
    document.body.insertAdjacentHTML("beforeend", `<div id="bar" style="position: fixed; left: 0; right: 0; background: white; ${place}"></div>`);
    document.body.style.paddingBottom = "3000px";
  }, place);
  await page.click("#far");
}
extract(await page.evaluate(() => log.filter((line) => line === "click far").length));
//= 1||3
