// Saves a picture of a whole page and extracts the path of its file.
//
//   page    the address of the page; without it, the page that is shown
//   file    the name of the file, which ends with ".png" or ".jpg"; without it, "page.png"
//
//     app.tvnSet "page", "https://example.com/"
//     app.tvnPlay "picture"

if (vars.page) {
  await page.goto(vars.page);
}
extract(await page.screenshot({ path: vars.file || "page.png", fullPage: true }));
