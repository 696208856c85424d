// A frame is found by its name, and only then by its address.
//> frames.html
const near = page.frame("near");
await near.fill("#text", "in");
await near.click("#go");
extract(await near.getAttribute("#go", "data-kind"), await near.evaluate(() => text.value));
await near.click("#send");
extract(await near.textContent("#result"), await page.title());
//= 1||clicked[EXTRACT]in[EXTRACT]You are here[EXTRACT]Frames
//> frames.html
const far = page.frame("**?far");
await far.fill("#text", "in");
await far.click("#go");
await far.click("#go");
extract(await far.getAttribute("#go", "data-kind"), await far.evaluate(() => [text.value, origin.includes("localhost")]));
//= 1||clicked[EXTRACT]["in",true]
//> frames.html
for (const wanted of ["none", "twin"]) {
  await page.frame(wanted).textContent("p", { timeout: 50 }).catch(({ message }) => extract(message));
}
extract(await page.frame("**/second.html?near").textContent("#result"));
//= 1||the frame "none" is not there[EXTRACT]there are 2 frames "twin"[EXTRACT]You are here
// What lies over a frame lies over what is in it.
//> frames.html
await page.evaluate(() => { over.hidden = false; });
await page.frame("near").click("#go", { timeout: 200 });
//= -100|#go is covered, or its frame is (line 2) (-100)|
//> frames.html
await page.evaluate(() => { over.hidden = false; setTimeout(() => { over.hidden = true; }, 300); });
await page.frame("near").click("#go");
extract(await page.frame("near").getAttribute("#go", "data-kind"));
//= 1||clicked
// The border of a frame is no part of it: a small target at its corner is met.
//> frames.html
const corner = page.frame("near");
await corner.evaluate(() => { document.body.innerHTML = "<button id=dot style='position: fixed; left: 0; top: 0; width: 6px; height: 6px; padding: 0; border: 0'></button>"; });
await corner.click("#dot");
await corner.evaluate(() => { dot.onclick = () => { dot.title = "hit"; }; });
await corner.click("#dot");
extract(await corner.getAttribute("#dot", "title"));
//= 1||hit
// A frame may be drawn at another size, and what is hovered over in one may have been scrolled to.
//> frames.html
for (const style of ["transform: scale(.5)", "zoom: 1.5"]) {
  await page.evaluate((style) => { document.querySelector("[name=near]").style = style; }, style);
  await page.frame("near").evaluate(() => { go.dataset.kind = ""; });
  await page.frame("near").click("#go", { timeout: 5000 });
  extract(await page.frame("near").getAttribute("#go", "data-kind"));
}
const below = page.frame("**?far");
await page.evaluate(() => { document.body.insertAdjacentHTML("afterbegin", "<p style='height: 3000px'></p>"); });
await below.hover("#far");
extract(await below.evaluate(() => document.querySelector("#far").matches(":hover")));
//= 1||clicked[EXTRACT]clicked[EXTRACT]true
// What lies over the edge of a frame is scrolled around.
//> frames.html
await page.evaluate(() => {
  Object.assign(over, { hidden: false, style: "position: fixed; inset: 0 0 auto 0; height: 155px" });
  document.body.style.paddingBottom = "3000px";
  document.querySelector("[name=near]").scrollIntoView();
});
await page.frame("near").click("#go");
extract(await page.frame("near").getAttribute("#go", "data-kind"));
//= 1||clicked
