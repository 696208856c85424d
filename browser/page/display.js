// Runs in the visible page, in a world of its own: shows a text in a bar at the top for a while.
// The bar is in nobody's way, for clicks go through it; and only the person can read the text, for
// the page's scripts cannot see into a closed shadow root.
function (text, milliseconds) {
  globalThis.talvernDisplay?.remove();
  const bar = (globalThis.talvernDisplay = document.createElement("div"));
  bar.attachShadow({ mode: "closed" }).textContent = text;
  Object.assign(bar.style, {
    all: "initial",
    position: "fixed",
    inset: "0 0 auto 0",
    zIndex: "2147483647",
    padding: "8px 16px",
    background: "#20405f",
    color: "#ffffff",
    font: "16px/1.4 sans-serif",
    whiteSpace: "pre-wrap",
    pointerEvents: "none",
  });
  document.documentElement.append(bar);
  setTimeout(() => bar.remove(), milliseconds);
}
