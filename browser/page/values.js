// A copy of a value that JSON carries without loss: what JSON does not know, such as a date, becomes
// an object with one name that no other has. What means nothing elsewhere (a window, an element, a
// function) becomes undefined, and so does what contains itself. This is sent into the visible page
// as text, so it uses nothing from outside.
function packed(whole) {
  const marked = (kind, text) => ({ "talvern value": kind, text });
  const above = [];
  const packNumber = (value) =>
    Number.isFinite(value) && !Object.is(value, -0)
      ? value
      : marked("number", Object.is(value, -0) ? "-0" : String(value));
  const packObject = (value) => {
    const kind = Object.prototype.toString.call(value).slice(8, -1);
    if (kind === "Date") {
      return marked("date", String(Number(value)));
    }
    if (kind === "URL" || kind === "Location") {
      return marked("address", value.href);
    }
    if (kind === "Map" || kind === "Set") {
      return marked(kind, [...value].map(pack));
    }
    if (Array.isArray(value)) {
      return [...value].map(pack); // some pages have an "Array.from" of their own
    }
    if (typeof value.toJSON === "function") {
      return pack(value.toJSON());
    }
    return Object.fromEntries(
      Object.entries(value).map(([name, one]) => [name, pack(one)]),
    );
  };
  function pack(value) {
    switch (typeof value) {
      case "number":
        return packNumber(value);
      case "bigint":
        return marked("bigint", String(value));
      case "string":
      case "boolean":
        return value;
      case "object":
        break;
      default:
        return marked("undefined", "");
    }
    if (value === null) {
      return null;
    }
    const isElsewhere = value.window === value || typeof value.nodeType === "number";
    if (isElsewhere || above.includes(value)) {
      return marked("undefined", "");
    }
    above.push(value);
    try {
      return packObject(value);
    } finally {
      above.pop();
    }
  }
  return pack(whole);
}

// The value of which `packed` made a copy.
function unpacked(value) {
  if (value === null || typeof value !== "object") {
    return value;
  }
  if (Array.isArray(value)) {
    return value.map(unpacked);
  }
  const { text } = value;
  switch (value["talvern value"]) {
    case "number":
      return Number(text);
    case "bigint":
      return BigInt(text);
    case "date":
      return new Date(Number(text));
    case "address":
      return new URL(text);
    case "Map":
      return new Map(text.map(unpacked));
    case "Set":
      return new Set(text.map(unpacked));
    case "undefined":
      return undefined;
    default:
      return Object.fromEntries(
        Object.entries(value).map(([name, one]) => [name, unpacked(one)]),
      );
  }
}

// Whether a text is the source of an expression.
function isExpression(text) {
  try {
    new Function(`return ${text}`);
    return true;
  } catch {
    return false;
  }
}

// The source of a function as an expression: that of a method has no "function" in front.
function sourceOf(work) {
  const text = String(work);
  if (isExpression(`(${text})`)) {
    return `(${text})`;
  }
  if (isExpression(`({${text}})`)) {
    return `Object.values({${text}})[0]`;
  }
  throw new Error("this function has no source that could be sent to the page");
}

// A function of the page, as text, that calls the one with this source: with copies of what it is
// given, and giving a copy of its result, and whether that came later, as a promise.
function sentFunction(source) {
  return `function(...values) {
    ${packed}
    ${unpacked}
    const result = ${source}(...values.map(unpacked));
    return typeof result?.then === "function"
      ? (async () => ({ value: packed(await result), later: true }))()
      : { value: packed(result), later: false };
  }`;
}
