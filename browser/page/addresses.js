// The addresses that a text stands for, in which "**" is any text and "*" any without a "/"; or a
// regular expression, or a function of an address.
function addressMatcher(wanted) {
  if (typeof wanted === "function") {
    return (url) => URL.canParse(url) && wanted(new URL(url));
  }
  if (wanted instanceof RegExp) {
    const pattern = new RegExp(wanted.source, wanted.flags.replace(/[gy]/g, ""));
    return (url) => pattern.test(url);
  }
  const pattern = String(wanted)
    .split(/(\*\*|\*)/)
    .map((part) =>
      part === "**" ? ".*" : part === "*" ? "[^/]*" : part.replace(/[.+?^${}()|[\]\\]/g, "\\$&"),
    );
  const whole = new RegExp(`^${pattern.join("")}$`);
  return (url) => whole.test(url);
}

// What can be waited for of a document, by its name in a macro, and how the browser calls it.
const documentStates = {
  commit: "commit",
  domcontentloaded: "DOMContentLoaded",
  load: "load",
  networkidle: "networkIdle",
};

function documentState(name) {
  if (!Object.hasOwn(documentStates, name)) {
    throw new Error(`there is no state "${name}" to wait for`);
  }
  return documentStates[name];
}
