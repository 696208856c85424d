// Each operation of `page`, and what it waits for.
//> form.html
extract(await page.title(), page.url().replace(options.site, ""));
await page.click("#go");
extract(await page.getAttribute("#go", "data-kind"), await page.evaluate(() => log));
//= 1||Form[EXTRACT]/form.html[EXTRACT]clicked[EXTRACT]["mousedown ","mouseup ","click "]
//> form.html
await page.click("#go", { button: "right" });
await page.click("#text", { clickCount: 2 });
extract(await page.evaluate(() => log.filter((line) => /menu|dbl/.test(line)).join()));
await page.click("#far");
extract(await page.evaluate(() => [log.at(-1), scrollY > 1000]));
//= 1||contextmenu ,dblclick text[EXTRACT]["click far",true]
//> form.html
await page.fill("#text", "new ☺");
extract(await page.evaluate(() => [text.value === "new ☺", log.join()]));
for (const one of ["#label", "#area", "#rich", "#number"]) await page.fill(one, "12");
await page.fill("#date", "2024-02-29");
await page.fill("#text", "");
extract(await page.evaluate(() => [labelled.value, area.value, rich.textContent, number.value, date.value, text.value]));
//= 1||[true,"input text"][EXTRACT]["12","12","12","12","2024-02-29",""]
//> form.html
extract(await page.selectOption("#one", "Two"), await page.selectOption("#one", { index: 0 }), await page.selectOption("#many", ["a", "c"]), await page.evaluate(() => log.join()));
//= 1||["2"][EXTRACT]["1"][EXTRACT]["a","c"][EXTRACT]input one faked,change one faked,input one faked,change one faked,input many faked,change many faked
//> form.html
for (const one of ["#agree", "#agreeLabel", "#blue"]) await page.check(one);
extract(await page.evaluate(() => [agree.checked, red.checked, blue.checked]));
await page.uncheck("#agree");
extract(await page.evaluate(() => agree.checked));
//= 1||[true,false,true][EXTRACT]false
//> form.html
for (const key of ["End", "a", "Shift+b"]) await page.press("#text", key);
extract(await page.inputValue("#text"));
for (const key of ["Control+A", "Delete"]) await page.press("#text", key);
extract(await page.inputValue("#text"));
await page.press("#text", "Enter");
extract(await page.textContent("#result"));
//= 1||oldaB[EXTRACT][EXTRACT]You are here
//> form.html
await page.click("#file");
extract(await page.textContent("#go b"), await page.getAttribute("#go", "none"));
extract(await page.evaluate((a) => a.x + 1, { x: 41 }), await page.evaluate("6 * 7"), await page.evaluate(async () => "late"), await page.evaluate(() => undefined), await page.evaluate(() => NaN));
//= 1||Go[EXTRACT][EXTRACT]42[EXTRACT]42[EXTRACT]late[EXTRACT][EXTRACT]NaN
// What cannot be done is said.
//> form.html
for (const [operation, ...given] of [["fill", "#go", "x"], ["fill", "#number", "x"], ["selectOption", "#one", "Off", { timeout: 200 }], ["check", "#text"], ["press", "#text", "Nothing"], ["click", "["]]) {
  await page[operation](...given).catch(({ message }) => extract(message));
}
//= 1||#go cannot be filled, it is a <button id="go">[EXTRACT]#number does not take "x"[EXTRACT]#one has no such option[EXTRACT]#text cannot be checked, it is a <input id="text">[EXTRACT]there is no key "Nothing"[EXTRACT][ is not a selector
// What is waited for, when it comes.
//> late.html
for (const [change, target] of [["there", "#new"], ["visible", "#hidden"], ["enabled", "#disabled"], ["uncovered", "#covered"]]) {
  await page.evaluate((change) => { $("cover").hidden = change !== "uncovered"; later(comes[change]); }, change);
  await page.click(target);
}
extract(await page.evaluate(() => clicked));
await page.evaluate(() => later(comes.editable));
await page.fill("#readonly", "new");
extract(await page.inputValue("#readonly"));
//= 1||["new","hidden","disabled","covered"][EXTRACT]new
//> late.html
const start = await page.evaluate(() => { const b = document.createElement("button"); b.id = "moving"; b.textContent = "x"; document.body.append(b); return performance.now(); });
await page.click("#moving");
extract(await page.evaluate((s) => [clicked, performance.now() - s > 350], start));
//= 1||[["moving"],true]
//> late.html
await page.evaluate(() => later(comes.gone));
await page.waitForSelector("#text", { state: "hidden" });
await page.waitForSelector("#text", { state: "detached" });
await page.evaluate(() => later(comes.visible));
await page.waitForSelector("#hidden", { state: "attached" });
await page.waitForSelector("#hidden");
extract(await page.isVisible("#hidden"));
//= 1||true
// And what is said when it does not come.
//> late.html
page.setDefaultTimeout(200);
const says = (operation, ...given) => page[operation](...given).catch(({ message }) => extract(message));
for (const one of ["#new", "#hidden", "#disabled", "#inFieldset", "#dancing"]) await says("click", one);
await says("fill", "#readonly", "new");
await says("waitForSelector", "#text", { state: "hidden" });
await says("textContent", "#new");
await page.evaluate(() => { $("cover").hidden = false; });
await says("click", "#covered");
//= 1||#new is not there[EXTRACT]#hidden is not visible[EXTRACT]#disabled is not enabled[EXTRACT]#inFieldset is not enabled[EXTRACT]#dancing is not at rest[EXTRACT]#readonly is not editable[EXTRACT]#text is still visible[EXTRACT]#new is not there[EXTRACT]#covered is covered by <div id="cover">
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
// Where scrolling snaps, and where what is in front cannot be scrolled away.
//> form.html
await page.evaluate(() => {
  document.body.innerHTML = `<div style="display: flex; overflow: auto hidden; width: 300px; scroll-snap-type: x mandatory">
    ${"<p style='flex: 0 0 300px; scroll-snap-align: start'>x</p>".repeat(2)}<p style="flex: 0 0 300px; scroll-snap-align: start"><button id="last">x</button></p></div>
    <p style="height: 5000px"></p><button id="under">x</button><p style="height: 20px"></p><div id="foot" style="position: fixed; inset: 40% 0 0 0"></div>`;
});
await page.click("#last", { timeout: 5000 });
const said = new Set();
for (let time = 150; time < 210; time += 10) await page.click("#under", { timeout: time }).catch(({ message }) => said.add(message));
extract(...said);
//= 1||#under is covered by <div id="foot">
