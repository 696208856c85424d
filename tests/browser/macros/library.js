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
