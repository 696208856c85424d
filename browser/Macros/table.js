// Extracts each row of a table as a piece, with a tab between two cells.
//
//   page    the address of the page; without it, the page that is shown
//   table   a selector of the table; without it, the first table of the page
//
//     app.tvnSet "page", "https://example.com/prices"
//     app.tvnPlay "table"

if (vars.page) {
  await page.goto(vars.page);
}
const table = vars.table || "table";
await page.waitForSelector(table);
const rows = await page.evaluate(
  (selector) =>
    Array.from(document.querySelector(selector).rows, (row) =>
      Array.from(row.cells, (cell) => cell.innerText.trim()).join("\t"),
    ),
  table,
);
for (const row of rows) {
  extract(row);
}
