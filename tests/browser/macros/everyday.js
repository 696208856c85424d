// The operations of every day, each with what it waits for.
//> everyday.html
await page.type("#name", "Zo\u00eb + 7!\n");
extract((await page.inputValue("#name")).length, await page.evaluate(() => log.filter((one) => one.startsWith("keydown")).length));
await page.hover("#menu");
await page.click("#item");
extract(await page.innerText("#shown"), await page.textContent("#shown"), await page.evaluate(() => log.at(-1)));
//= 1||8[EXTRACT]8[EXTRACT]Seen[EXTRACT]SeenHidden[EXTRACT]click item
//> everyday.html
extract(await page.isVisible("#shown"), await page.isVisible("#gone"), await page.isVisible("#none"), await page.isChecked("#box"));
extract(await page.count("li"), await page.count("#none"), await page.allTexts("li"), (await page.content()).startsWith("<!DOCTYPE html><html"));
//= 1||true[EXTRACT]false[EXTRACT]false[EXTRACT]true[EXTRACT]3[EXTRACT]0[EXTRACT]["One","Two","Three"][EXTRACT]true
//> everyday.html
const before = Date.now();
await page.waitForTimeout(120);
extract(Date.now() - before >= 118);
await page.evaluate(() => setTimeout(() => { ready = 7; }, 200));
extract(await page.waitForFunction(() => ready), await page.waitForFunction((n) => ready > n && new Date(n), 5));
await page.waitForFunction(() => ready === 8, undefined, { timeout: 100 });
//= -100|waitForFunction: it does not become true (line 6) (-100)|true[EXTRACT]7[EXTRACT]1970-01-01T00:00:00.005Z
//> everyday.html
await page.goto(options.site + "/late_network.html", { waitUntil: "commit" });
await page.waitForLoadState("networkidle", { timeout: 20000 });
extract(await page.textContent("#loaded"));
//= 1||three pieces
// Elements by their text and their role, one below the other, and through open shadow roots.
//> everyday.html
for (const selector of ["text=two", 'text="Tw"', "text=/^th/i", "role=button[name=\"Save all\"]", "role=textbox[name=Name]", "role=heading", "#list >> text=One", "role=list >> li", "my-part >> button", "text=In the shadow", "#inside", "role=checkbox[name=/agree/]", ".twice"]) {
  extract(await page.getAttribute(selector, "id", { timeout: 50 }).catch(({ message }) => message));
}
await page.click("text=In the shadow");
extract(await page.evaluate(() => log.at(-1)));
for (const selector of ["role=", "role=button[", "li >> [", ">>", "text=/(/"]) {
  await page.count(selector).catch(({ message }) => extract(message));
}
//= 1||two[EXTRACT]text="Tw" is not there[EXTRACT]three[EXTRACT]save[EXTRACT]name[EXTRACT]title[EXTRACT]one[EXTRACT]one[EXTRACT]inside[EXTRACT]inside[EXTRACT]inside[EXTRACT]box[EXTRACT]second[EXTRACT]click inside[EXTRACT]role= is not a selector[EXTRACT]role=button[ is not a selector[EXTRACT]li >> [ is not a selector[EXTRACT]>> is not a selector[EXTRACT]text=/(/ is not a selector
// Another page that opens is driven once it is asked for, also by the next play, until it closes.
//> everyday.html
await page.click("#opener");
await page.usePage("**/second.html");
extract(await page.title(), (await page.pages()).map(({ title, isUsed }) => title + isUsed));
//= 1||Second[EXTRACT]["Everydayfalse","Secondtrue"]
//> -
extract(await page.title());
await page.screenshot({ path: "second.png" });
await page.evaluate(() => window.close());
await page.waitForFunction(() => document.title === "Everyday");
extract(await page.title());
await page.screenshot({ path: "first.png" });
//= 1||Second[EXTRACT]Everyday
//> everyday.html
await page.evaluate(() => { window.open("second.html"); });
const [first, second] = await page.pages();
await page.usePage(second);
extract(await page.title());
await page.usePage(first);
await page.usePage("**/none", { timeout: 50 }).catch(({ message }) => extract(message));
extract(await page.title());
//= 1||Second[EXTRACT]the page **/none is not there[EXTRACT]Everyday
// Dialogs are answered as the macro says, and cancelled again in the next play.
//> everyday.html
page.onDialog(true);
extract(await page.evaluate(() => confirm("a")));
page.onDialog("text");
extract(await page.evaluate(() => prompt("b")));
page.onDialog((message) => { extract(message); return message === "yes?"; });
extract(await page.evaluate(() => [confirm("yes?"), confirm("no?")]));
//= 1||true[EXTRACT]text[EXTRACT]yes?[EXTRACT]no?[EXTRACT][true,false]
//> everyday.html
extract(await page.evaluate(() => confirm("a")));
//= 1||false
// A file that a page offers.
//> everyday.html
const file = await page.download(() => page.click("#save"));
extract(/Output\\Downloads\\.*prices.*\.csv$/.test(file));
extract(/prices.*\.csv$/.test(await page.download(() => page.goto(options.site + "/prices.csv"))), await page.title());
await page.goto(options.site + "/prices.csv").catch(({ message }) => extract(message.replace(options.site, "")));
await page.waitForTimeout(300);
await page.download(() => page.title(), { timeout: 100 }).catch(({ message }) => extract(message));
await page.setInputFiles("#files", file);
extract(await page.evaluate(async () => [files.files[0].name.slice(0, 6), await files.files[0].text(), log.at(-1)]));
await page.setInputFiles("#files", [file, file]).catch(({ message }) => extract(message));
await page.setInputFiles("#name", file).catch(({ message }) => extract(message));
//= 1||true[EXTRACT]true[EXTRACT]Everyday[EXTRACT]goto /prices.csv: this is a download, no page[EXTRACT]download: no file comes[EXTRACT]["prices","Single;80","change files"][EXTRACT]#files takes one file only[EXTRACT]#name takes no files, it is a <input id="name">
// Names as they are read out, and texts of a form that has a field with the name "children".
//> everyday.html
await page.evaluate(() => {
  document.body.innerHTML = `<form><input name=children><button id=a><i aria-hidden=true>save</i><b style="display: none">Wait</b> Save</button>
    <button id=b><img alt=Open> it</button><button id=c>Two<br>lines</button><button id=d><i aria-label=Close>x</i></button>
    <input type=submit id=e><fieldset id=f><legend>Where</legend>x</fieldset></form>`;
});
for (const one of ["role=button[name=Save]", 'role=button[name="Open it"]', 'text=" it"', 'role=button[name="Two lines"]', "role=button[name=Close]", "role=button[name=Submit]", "role=group[name=Where]"]) extract(await page.getAttribute(one, "id", { timeout: 100 }));
//= 1||a[EXTRACT]b[EXTRACT]b[EXTRACT]c[EXTRACT]d[EXTRACT]e[EXTRACT]f
// What a page has agreed to, what a script gives as a text, and what comes from a page with another "Array.from".
//> everyday.html
page.onDialog(true);
extract(await page.evaluate(() => prompt("a", "given")), await page.evaluate("[new Date(3)]"));
extract(await page.evaluate(() => { Array.from = (all) => [...all]; return [new Date(5)]; }));
await page.setInputFiles("#files", await page.download(() => page.click("#save")));
await page.setInputFiles("#files", []);
extract(await page.evaluate(() => files.files.length));
//= 1||given[EXTRACT]["1970-01-01T00:00:00.003Z"][EXTRACT]["1970-01-01T00:00:00.005Z"][EXTRACT]0
// Operations at the same time do not type into each other's fields, nor wait for each other's elements.
//> everyday.html
await page.evaluate(() => {
  document.body.innerHTML = "<input id=a oninput='b.disabled = false'><input id=b disabled><input id=c>";
});
await Promise.all([page.fill("#b", "2"), page.fill("#a", "1"), page.type("#c", "three"), page.click("#a")]);
extract(await page.evaluate(() => [a.value, b.value, c.value]));
//= 1||["1","2","three"]
