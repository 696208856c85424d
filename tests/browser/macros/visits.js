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
//= 1||You are here[EXTRACT]Form[EXTRACT]Form
//> form.html
await page.click('#link');
await page.waitForURL('**/second.html');
extract(await page.title());
//= 1||Second
//> form.html
await page.evaluate(() => setTimeout(() => link.click(), 300));
await page.waitForURL(/second/);
extract(await page.title());
//= 1||Second
//> form.html
await page.goto(options.site + '/redirect');
extract(page.url() === options.site + '/second.html');
//= 1||true
//> form.html
await page.goto(options.site + '/script_redirect.html', { waitUntil: 'commit' });
extract(await page.textContent('#result'));
//= 1||You are here
//> form.html
await page.goto(options.site + '/slow');
extract(await page.title());
//= 1||Second
//> form.html
await page.goto(options.site + '/form.html#far');
extract(page.url().slice(-4));
await page.goBack();
extract(page.url().slice(-4));
//= 1||#far[EXTRACT]html
//> form.html
await page.evaluate(() => new Promise(() => { location = 'second.html'; }))
//= -100|evaluate: the page was left meanwhile (Inspected target navigated or closed) (line 1) (-100)|
//> form.html
await page.waitForURL('**/nowhere', { timeout: 200 }).catch((error) => extract(error.message.replace(options.site, '')));
//= 1||waitForURL **/nowhere: the page is /form.html
//> form.html
await page.goto('http://127.0.0.1:9/').catch((error) => extract(error.message));
//= 1||goto http://127.0.0.1:9/: net::ERR_UNSAFE_PORT
//> leaving.html
extract(await page.evaluate(() => [alert('a'), confirm('b'), prompt('c', 'd')]));
//= 1||[null,false,null]
//> leaving.html
await page.click('#ask');
await page.goto(options.site + '/second.html');
extract(await page.title());
//= 1||Second
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
await page.goto(options.site + '/second.html');
extract(await page.title());
//= 1||#ask gets no answer from the page[EXTRACT]Second
//> leaving.html
await page.goto(options.site + '/hang', { timeout: 500 }).catch((error) => extract(error.message.replace(options.site, '')));
await page.goto(options.site + '/second.html');
extract(await page.title());
//= 1||/hang does not come[EXTRACT]Second
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
  async () => {
    await page.evaluate(() => { go.onclick = () => { location = "second.html"; }; });
    await page.click("#go");
  },
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
const start = performance.now();
const inside = await page.evaluate(() => {
  const start = performance.now();
  for (let line = 0; line < 60000; ++line) console.log("line", line);
  return performance.now() - start;
});
extract(performance.now() - start < inside + 1500);
//= 1||true
// Markup of a page runs nothing where the macro runs.
//> form.html
globalThis.ran = false;
const box = document.body.appendChild(document.createElement("div"));
box.innerHTML = await page.evaluate(() => "<img src=x onerror='ran = true'>");
await page.waitForTimeout(300);
extract(ran, await page.evaluate("1 + 1"));
//= 1||false[EXTRACT]2
