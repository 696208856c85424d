// What of the macro page's library needs no browser, run by Node: node page_test.mjs FILE...
import assert from "node:assert/strict";
import fs from "node:fs";
import test from "node:test";

String.prototype.toWellFormed ??= String.prototype.toString; // of a browser, and of newer Nodes
const files = process.argv.slice(2).filter((file) => !/(main|puppeteer)\.js$/.test(file));
const names = ["addressMatcher", "Deadline", "Downloads", "Frames", "keyEvents", "packed", "Page",
  "Play", "Protocol", "unpacked"];
const source = files.map((file) => fs.readFileSync(file, "utf8")).join("");
const page = new Function(`"use strict"; ${source}; return { ${names.join(", ")} };`)();
const soon = new AbortController().signal;

test("an address is matched whole, and a star stops at a slash", () => {
  const rows = [
    ["https://a.b/c", "https://a.b/c", true], ["https://a.b/c", "https://a-b/c", false],
    ["**/c", "https://a.b/x/c", true], ["https://a.b/*", "https://a.b/x/c", false],
    ["https://a.b/*", "https://a.b/x", true], ["a.b", "https://a.b/", false],
    [/c$/g, "https://a.b/c", true], [(url) => url.host === "a.b", "https://a.b/c", true],
    [() => true, "", false],
  ];
  for (const [wanted, address, matches] of rows) {
    const matcher = page.addressMatcher(wanted);
    assert.equal(matcher(address), matches, `${wanted} ${address}`);
    assert.equal(matcher(address), matches, "as often as it is asked");
  }
});

test("keys go down and up, with what they are held with around them", () => {
  const rows = [
    ["a", "keyDown a KeyA 65 0, keyUp a KeyA 65 0"],
    ["Shift+/", "rawKeyDown Shift ShiftLeft 16 8 1, keyDown ? Slash 191 8, keyUp ? Slash 191 8, keyUp Shift ShiftLeft 16 0 1"],
    ["Control+A", /rawKeyDown Control ControlLeft 17 2 1, rawKeyDown A KeyA 65 2, keyUp A KeyA 65 2, keyUp Control/],
    ["+", /keyDown \+ Equal 187 0,/], ["Control++", /rawKeyDown \+ Equal 187 2,/], [" ", /keyDown   Space 32 0,/],
    ["Space", /keyDown   Space 32 0,/], [";", /Down ; Semicolon 186 0,/], ["Shift+;", /keyDown : Semicolon 186 8,/],
    ["?", /^keyDown \? Slash 191 0,/], ["7", /keyDown 7 Digit7 55 0,/], ["%", /keyDown % Digit5 53 0,/],
    ["\u00fc", /keyDown \u00fc  0 0,/], ["Alt", "rawKeyDown Alt AltLeft 18 1 1, keyUp Alt AltLeft 18 0 1"],
  ];
  for (const [combination, says] of rows) {
    const events = page.keyEvents(combination);
    const text = events.map((e) => [e.type, e.key, e.code, e.windowsVirtualKeyCode, e.modifiers, e.location].join(" ").trim());
    assert[says instanceof RegExp ? "match" : "equal"](text.join(", "), says);
  }
  for (const combination of ["Nothing", "a+b", ""]) {
    assert.throws(() => page.keyEvents(combination), /there is no key|no combination/);
  }
});

test("values cross as they are, and what cannot cross as undefined", () => {
  const values = [1, "a", null, true, undefined, -0, NaN, Infinity, 10n, new Date(7),
    new URL("https://a.b/"), new Map([[1, { a: new Set([2]) }]]), [undefined, [-0]], { a: { b: [] } }];
  for (const value of values) {
    assert.deepEqual(page.unpacked(JSON.parse(JSON.stringify(page.packed(value)))), value);
  }
  const circle = { name: "x", call() {} };
  circle.self = circle;
  assert.deepEqual(page.unpacked(page.packed(circle)), { name: "x", self: undefined, call: undefined });
  const same = {};
  assert.deepEqual(page.unpacked(page.packed([same, same])), [{}, {}]);
});

test("a play tells the first operation that nobody has awaited", async () => {
  const never = () => new Promise(() => {});
  const rows = [
    [(step) => { step(async () => {}); }, true], [(step) => step(async () => {}), false],
    [(step) => { step(never).catch(() => {}); }, true],
    [(step) => Promise.race([step(never), step(async () => {})]), false],
    [async (step) => { const one = step(async () => {}); await step(async () => {}); await one; }, false],
  ];
  for (const [macro, isForgotten] of rows) {
    const play = new page.Play(null, null);
    await macro((work) => play.step("click", [], {}, [], work));
    assert.equal(play.forgotten()?.message, isForgotten ? "click was not awaited" : undefined);
    let stopped = false;
    await play.end(() => { stopped = true; });
    assert.throws(() => play.extract(1), /the macro has ended/);
  }
});

test("an operation's time is its own, and its play's end ends it", async () => {
  const late = () => "late";
  await assert.rejects(new page.Deadline(5, soon).pause(80, late), /late/);
  assert.equal(await new page.Deadline(0, soon).within(Promise.resolve(1), late), 1);
  assert.equal(await new page.Deadline(2 ** 40, soon).within(new Promise((r) => setTimeout(r, 5, 2)), late), 2);
  const play = new AbortController();
  setTimeout(() => play.abort(new Error("over")), 5);
  await assert.rejects(new page.Deadline(0, play.signal).pause(80, late), /over/);
  await assert.rejects(new page.Deadline(0, play.signal).within(new Promise(() => {}), late), /over/);
});

test("a frame is found by its name first, and never one of several", () => {
  const frames = new page.Frames();
  const frame = (id, name, url) => ({ frame: { id, name, url, loaderId: "" } });
  frames.learn({ ...frame("1", "pay", "https://shop/"), childFrames: [
    frame("2", "ad", "https://pay/"), frame("3", "pay", "https://bank/"), frame("4", "b", "https://bank/x"),
  ] }, null, "s");
  assert.equal(frames.find("pay").id, "3");
  assert.equal(frames.find("https://pay/").id, "2");
  assert.equal(frames.find("bank"), undefined);
  assert.throws(() => frames.find(/bank/), /there are 2 frames/);
});

test("a call ends with its session, and a download by the event that ends it", async () => {
  const protocol = new page.Protocol({ send() {} });
  const call = protocol.call("Page.enable", {}, "s");
  protocol.drop("s");
  await assert.rejects(call, /the page has gone/);
  const downloads = new page.Downloads();
  const hear = (guid, params) => downloads.heard("Browser.downloadProgress", { guid, ...params });
  hear("old", { state: "completed", filePath: "old" });
  for (const [state, outcome] of [["completed", /new/], ["canceled", /not downloaded to its end/]]) {
    const file = downloads.fileOf(() => hear(state, { state: "inProgress" }), new page.Deadline(1000, soon));
    setTimeout(() => hear(state, { state, filePath: "new" }));
    assert.match(await file.catch(({ message }) => message), outcome);
  }
});
