// Looks for hotels in a page of its own, so that the first script plays without any web site.
//
//   city     where to look; without it, everywhere
//   nights   how many; without it, one
//
//     app.tvnSet "city", "New York"
//     app.tvnPlay "Hotel Search"
//
// Each hotel found is a piece: its name, its city, and the price of all nights.

const site = `<!doctype html><title>Hotel Search</title>
<form onsubmit="search(); return false">
  <input id="city" placeholder="City"> <input id="nights" type="number" value="1">
  <button id="go">Search</button>
</form>
<table id="result"></table>
<script>
  const hotels = [
    ["Harbour View", "New York", 180], ["The Elm", "New York", 95],
    ["Ponte Vecchio", "Rome", 120], ["Casa Lupa", "Rome", 75],
  ];
  function search() {
    const city = document.querySelector("#city").value;
    const nights = document.querySelector("#nights").value;
    document.querySelector("#result").innerHTML = hotels
      .filter((hotel) => city === "" || hotel[1] === city)
      .map(([name, place, price]) => "<tr><td>" + [name, place, price * nights].join("<td>"))
      .join("");
  }
</script>`;

await page.goto("data:text/html," + encodeURIComponent(site));
await page.fill("#city", vars.city || "");
await page.fill("#nights", vars.nights || "1");
await page.click("#go");
const found = await page.evaluate(() =>
  Array.from(document.querySelectorAll("#result tr"), (row) =>
    Array.from(row.cells, (cell) => cell.textContent).join(", "),
  ),
);
extract(...found);
