// What stands in a label is meant itself; only what is no control is led to the label's.
//> fields.html
await page.fill("#second", "2nd");
await page.fill("#beside", "text");
await page.click("#inLabel");
await page.check("#covered");
extract(await page.evaluate(() => [first.value, second.value, choice.checked, beside.value, log.includes("click inLabel"), covered.checked]));
//= 1||["","2nd",false,"text",true,true]
//> fields.html
await page.check("#own");
extract(await page.isChecked("#covered"));
await page.uncheck("#own b");
extract(await page.isChecked("#own"));
for (const role of ["menuitemcheckbox", "menuitemradio", "option", "treeitem"]) {
  await page.check(`#roles [role=${role}]`);
  extract(await page.isChecked(`#roles [role=${role}]`));
}
//= 1||true[EXTRACT]false[EXTRACT]true[EXTRACT]true[EXTRACT]true[EXTRACT]true
// A field whose focus goes on to another is not typed into, nor is one that is off or not seen.
//> fields.html
page.setDefaultTimeout(100);
for (const [operation, target] of [["fill", "#mover"], ["press", "#off"], ["fill", "#unseen"], ["press", "#away"], ["press", "#icon"]]) {
  await page[operation](target, "x").catch(({ message }) => extract(message));
}
extract(await page.inputValue("#taken"), await page.inputValue("#shadowed"));
await page.fill("#shadowed", "a");
await page.press("#shadowed", "b");
extract(await page.inputValue("#shadowed"));
//= 1||#mover does not keep the focus[EXTRACT]#off is not enabled[EXTRACT]#unseen is not visible[EXTRACT]#away does not keep the focus[EXTRACT]#icon does not keep the focus[EXTRACT]mine[EXTRACT][EXTRACT]ab
// What is driven by scrolling, or moves nothing, does not keep a click from a page.
//> fields.html
await page.click("#calm");
await page.click("#icon");
extract(await page.evaluate(() => log));
//= 1||["down 0.5","click calm","down 0.5","click iconed"]
//> fields.html
for (const [operation, ...given] of [["fill", "#submit", "x"], ["click", "#ariaDisabled", { timeout: 100 }], ["check", "#stubborn"], ["check", "#taken"], ["selectOption", "#list", "No", { timeout: 100 }], ["click", "#unseen", { timeout: 100 }], ["fill", "#taken", undefined]]) {
  await page[operation](...given).catch(({ message }) => extract(message));
}
extract(await page.evaluate(() => document.querySelector("#submit").value));
//= 1||#submit cannot be filled, it is a <input id="submit">[EXTRACT]#ariaDisabled is not enabled[EXTRACT]#stubborn stays unchecked[EXTRACT]#taken cannot be checked, it is a <input id="taken">[EXTRACT]#list has no such option[EXTRACT]#unseen is not visible[EXTRACT]fill: a value is undefined, such as a variable that is not set[EXTRACT]Send
//> fields.html
await page.fill("#color", "#FF0000");
extract(await page.inputValue("#color"), await page.selectOption("#list", "Two beds"));
await page.fill("#color", "red").catch(({ message }) => extract(message));
extract(await page.inputValue("#color"));
//= 1||#ff0000[EXTRACT]["2"][EXTRACT]#color does not take "red"[EXTRACT]#ff0000
// What is typed goes behind what is there, or to where the macro has put the caret.
//> form.html
await page.evaluate(() => { rich.textContent = area.textContent = "12"; text.defaultValue = number.defaultValue = "12"; });
for (const one of ["#text", "#area", "#rich", "#number"]) {
  await page.type(one, "3");
  await page.press(one, "ArrowLeft");
  await page.type(one, "4");
}
extract(await page.evaluate(() => [text.value, area.value, rich.textContent, number.value]));
await page.evaluate(() => { text.readOnly = true; });
await page.type("#text", "5", { timeout: 100 }).catch(({ message }) => extract(message));
for (const one of ["0x10", "Infinity"]) await page.fill("#number", one).catch(({ message }) => extract(message));
for (const one of [{ text: "Two" }, { label: undefined }]) await page.selectOption("#one", one).catch(({ message }) => extract(message));
//= 1||["1243","1243","1243","1243"][EXTRACT]#text is not editable[EXTRACT]#number does not take "0x10"[EXTRACT]#number does not take "Infinity"[EXTRACT]selectOption takes texts, or objects with value, label or index[EXTRACT]selectOption takes texts, or objects with value, label or index
// A link in a label is not followed when what the label stands for is checked.
//> form.html
await page.evaluate(() => { document.body.innerHTML = "<label id=own><input type=checkbox id=box> I <a href='second.html'>accept all of the terms</a> of it</label>"; });
await page.check("#own");
extract(await page.isChecked("#own"));
await page.evaluate(() => { box.hidden = true; });
await page.uncheck("#own", { timeout: 200 }).catch(({ message }) => extract(message));
//= 1||true[EXTRACT]#own is covered by <a>
