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
//= 1||true[EXTRACT]false
// A field whose focus goes on to another is not typed into, nor is one that is off or not seen.
//> fields.html
for (const one of ["mover", "off", "unseen", "away"]) {
  for (const act of [() => page.fill("#" + one, "x", { timeout: 100 }), () => page.press("#" + one, "x", { timeout: 100 })]) {
    await act().catch(({ message }) => extract(message));
  }
}
extract(await page.inputValue("#taken"), await page.inputValue("#shadowed"));
//= 1||#mover does not keep the focus[EXTRACT]#mover does not keep the focus[EXTRACT]#off is not enabled[EXTRACT]#off is not enabled[EXTRACT]#unseen is not visible[EXTRACT]#unseen is not visible[EXTRACT]#away does not keep the focus[EXTRACT]#away does not keep the focus[EXTRACT]mine[EXTRACT]
//> fields.html
await page.fill("#shadowed", "a");
await page.press("#shadowed", "b");
extract(await page.inputValue("#shadowed"));
await page.press("#icon", "x", { timeout: 100 });
//= -100|#icon does not keep the focus (line 4) (-100)|ab
// What is driven by scrolling, or moves nothing, does not keep a click from a page.
//> fields.html
await page.click("#calm");
extract(await page.evaluate(() => log.at(-1)));
//= 1||click calm
//> fields.html
await page.click("#icon");
extract(await page.evaluate(() => log));
//= 1||["down 0.5","click iconed"]
//> fields.html
for (const act of [
  () => page.fill("#submit", "x"),
  () => page.click("#ariaDisabled", { timeout: 100 }),
  () => page.check("#stubborn"),
  () => page.check("#taken"),
  () => page.selectOption("#list", "No", { timeout: 100 }),
  () => page.click("#unseen", { timeout: 100 }),
]) {
  await act().catch(({ message }) => extract(message));
}
extract(await page.evaluate(() => document.querySelector("#submit").value));
//= 1||#submit cannot be filled, it is a <input id="submit">[EXTRACT]#ariaDisabled is not enabled[EXTRACT]#stubborn stays unchecked[EXTRACT]#taken cannot be checked, it is a <input id="taken">[EXTRACT]#list has no such option[EXTRACT]#unseen is not visible[EXTRACT]Send
//> fields.html
await page.fill("#color", "#FF0000");
extract(await page.inputValue("#color"), await page.selectOption("#list", "Two beds"));
await page.fill("#color", "red").catch(({ message }) => extract(message));
extract(await page.inputValue("#color"));
//= 1||#ff0000[EXTRACT]["2"][EXTRACT]#color does not take "red"[EXTRACT]#ff0000
//> fields.html
for (const role of ["menuitemcheckbox", "menuitemradio", "option", "treeitem"]) {
  await page.check(`#roles [role=${role}]`);
  extract(await page.isChecked(`#roles [role=${role}]`));
}
//= 1||true[EXTRACT]true[EXTRACT]true[EXTRACT]true
// Keys as a keyboard has them.
//> fields.html
for (const key of [" ", "Space", ";", "Shift+;", "?", "Shift", "Control+a", "7", "%", "\u00fc"]) {
  await page.press("#taken", key);
}
extract(await page.evaluate(() => log.join(" ").replace("\u00fc", "U")), (await page.inputValue("#taken")).length);
//= 1|| /Space/32/0  /Space/32/0 ;/Semicolon/186/0 Shift/ShiftLeft/16/1 :/Semicolon/186/0 ?/Slash/191/0 Shift/ShiftLeft/16/1 Control/ControlLeft/17/1 a/KeyA/65/0 7/Digit7/55/0 %/Digit5/53/0 U//0/0[EXTRACT]3
