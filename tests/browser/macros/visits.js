// Pages that come, go, hang, ask and crash under a macro. From the first page, no way leads back.
//> -
extract(await page.goBack(), page.url());
//= 1||false[EXTRACT]about:blank
//> form.html
await page.click('#send');
extract(await page.textContent('#result'));
await page.goBack();
extract(await page.title());
await page.reload();
extract(await page.title());
await page.evaluate(() => setTimeout(() => link.click(), 300));
await page.waitForURL(/second/);
extract(await page.title());
//= 1||You are here[EXTRACT]Form[EXTRACT]Form[EXTRACT]Second
//> form.html
await page.goto(options.site + '/redirect');
extract(page.url() === options.site + '/second.html');
await page.goto(options.site + '/script_redirect.html', { waitUntil: 'commit' });
extract(await page.textContent('#result'));
await page.goto(options.site + '/slow');
extract(await page.title());
//= 1||true[EXTRACT]You are here[EXTRACT]Second
//> form.html
await page.goto(options.site + '/form.html#far');
extract(page.url().slice(-4));
await page.goBack();
extract(page.url().slice(-4));
await page.waitForURL('**/nowhere', { timeout: 200 }).catch((error) => extract(error.message.replace(options.site, '')));
await page.goto('http://127.0.0.1:9/').catch((error) => extract(error.message));
//= 1||#far[EXTRACT]html[EXTRACT]waitForURL **/nowhere: the page is /form.html[EXTRACT]goto http://127.0.0.1:9/: net::ERR_UNSAFE_PORT
//> form.html
await page.evaluate(() => new Promise(() => { location = 'second.html'; }))
//= -100|evaluate: the page was left meanwhile (Inspected target navigated or closed) (line 1) (-100)|
//> leaving.html
extract(await page.evaluate(() => [alert('a'), confirm('b'), prompt('c', 'd')]));
await page.click('#ask');
await page.goto(options.site + '/second.html');
extract(await page.title());
//= 1||[null,false,null][EXTRACT]Second
//> leaving.html
page.setDefaultTimeout(20000);
await page.evaluate(() => { window.open('leaving.html').alert('in a window that has only begun'); });
extract(await page.title());
//= 1||Leaving
//> leaving.html
await page.evaluate(() => { for (;;); }).catch((error) => extract(error.message));
extract(await page.title());
//= 1||evaluate: the page does not answer[EXTRACT]Leaving
//> leaving.html
await page.evaluate(() => { setTimeout(() => { for (;;); }); });
await page.textContent('#ask', { timeout: 300 }).catch((error) => extract(error.message));
await page.goto(options.site + '/hang', { timeout: 500 }).catch((error) => extract(error.message.replace(options.site, '')));
await page.goto(options.site + '/second.html');
extract(await page.title());
//= 1||#ask gets no answer from the page[EXTRACT]/hang does not come[EXTRACT]Second
//> leaving.html
await page.goto('chrome://crash').catch((error) => extract(error.message));
await page.title().catch((error) => extract(error.message));
await page.goto(options.site + '/second.html');
extract(await page.title());
//= 1||the page has crashed[EXTRACT]the page has crashed[EXTRACT]Second
// What is done on a page that leads elsewhere is over when the other page is there.
//> form.html
const ways = [
  () => page.click("#send"),
  () => page.press("#text", "Enter"),
  () => page.evaluate(() => { location = "second.html"; }),
  () => page.click("#link"),
  () => page.evaluate(() => { go.onclick = () => { location = "second.html"; }; }).then(() => page.click("#go")),
];
let wrong = 0;
for (let round = 0; round < 60; ++round) {
  await page.goto(options.site + "/form.html");
  await ways[round % ways.length]();
  wrong += page.url().endsWith("form.html") || (await page.title()) !== "Second" ? 1 : 0;
}
extract(wrong);
//= 1||0
//> form.html
await page.click("#send");
//= 1||
//> -
extract(await page.evaluate(() => document.title + " " + (document.readyState !== "loading")));
//= 1||Second true
// A page that writes without end to its console costs the play nothing.
//> form.html
page.setDefaultTimeout(30000);
const start = Date.now();
const end = await page.evaluate(() => {
  for (let line = 0; line < 60000; ++line) console.log("line", line);
  return Date.now();
});
extract(end > start, Date.now() - end < 1500);
//= 1||true[EXTRACT]true
// A text of a page in the macro's own document runs nothing and loads nothing.
//> form.html
globalThis.heard = [];
const box = document.body.appendChild(document.createElement("div"));
box.innerHTML = await page.evaluate(() => `<img src='x:' onerror='heard.push(1)'><svg onload='heard.push(2)'></svg>
  <iframe srcdoc="<script>parent.heard.push(3)</script>"></iframe>`);
const image = new Image();
image.onload = () => heard.push(4);
image.src = "data:image/gif;base64,R0lGODlhAQABAAAAACwAAAAAAQABAAA=";
box.appendChild(document.createElement("script")).textContent = "heard.push(5)";
await page.goto(options.site + "/slow");
extract(box.children.length, heard, await page.evaluate("1 + 1"));
//= 1||4[EXTRACT][][EXTRACT]2
// A frame that loads something in a hidden page would end the browser.
//> -
for (const make of [() => document.createElement("iframe"), () => document.createElementNS("http://www.w3.org/1999/xhtml", "OBJECT")]) {
  try { make(); } catch ({ message }) { extract(message); }
}
//= 1||the document of a macro has no frames; use those of the page[EXTRACT]the document of a macro has no frames; use those of the page
// A link for another program asks nobody, and the page takes clicks as before.
//> form.html
await page.evaluate(() => { link.href = "tel:1"; });
await page.click("#link");
await page.evaluate(() => { location = "tel:2"; });
await page.waitForTimeout(700);
await page.click("#go");
extract(await page.getAttribute("#go", "data-kind"));
//= 1||clicked
