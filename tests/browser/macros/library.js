// What puppeteer() gives drives the same page as the operations of `page`.
//> form.html
const { page: other } = await puppeteer();
await other.locator('#text').fill('by it');
extract(await page.evaluate(() => document.querySelector('#text').value));
await page.goto(options.site + '/second.html');
extract(await other.title(), (await puppeteer()).page === other);
//= 1||by it[EXTRACT]Second[EXTRACT]true
//> form.html
const { page: other, browser } = await puppeteer();
const popup = new Promise((there) => other.once('popup', there));
await other.evaluate(() => { window.open('second.html'); });
const second = await popup;
await second.waitForSelector('#result');
extract(await second.title(), (await browser.pages()).length);
await second.close();
//= 1||Second[EXTRACT]2
//> form.html
const { page: other } = await puppeteer();
other.on('dialog', (dialog) => dialog.accept('mine'));
extract(await other.evaluate(() => prompt('Whose?')));
//= 1||mine
//> form.html
const { browser } = await puppeteer();
await browser.setCookie({ name: 'secret', value: 'kept', domain: '127.0.0.1', httpOnly: true });
extract(await page.evaluate(() => document.cookie), (await browser.cookies()).find(({ name }) => name === 'secret').value);
extract((await browser.version()).includes('Chrome'));
//= 1||[EXTRACT]kept[EXTRACT]true
//> form.html
const { page: other } = await puppeteer();
extract((await other.pdf()).length > 500);
//= 1||true
// It ends with its play, and leaves nothing switched on.
//> form.html
const { page: other } = await puppeteer();
await other.setRequestInterception(true);
other.on("request", (request) => request.respond({ status: 200, contentType: "text/html", body: "<title>Made up</title>" }));
await other.goto(options.site + "/second.html");
extract(await page.title());
other.on("dialog", () => {});
other.waitForSelector("#never");
//= 1||Made up
//> form.html
extract(await page.title(), await page.evaluate(() => confirm("?")));
//= 1||Form[EXTRACT]false
//> -
await (await puppeteer()).browser.close();
extract(await page.title());
//= 1||Form
// An error has the line of the last call.
//> -
const { page: other } = await puppeteer();
extract(await other.evaluate(() => 1));
await other.click("#nowhere");
//= -100|No element found for selector: #nowhere (line 3) (-100)|1
