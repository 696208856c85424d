// The keys that "press" knows by name. A single character is the key that types it.
const namedKeys = {
  Backspace: { code: "Backspace", number: 8 },
  Tab: { code: "Tab", number: 9 },
  Enter: { code: "Enter", number: 13, text: "\r" },
  Escape: { code: "Escape", number: 27 },
  Space: { code: "Space", number: 32, key: " ", text: " " },
  PageUp: { code: "PageUp", number: 33 },
  PageDown: { code: "PageDown", number: 34 },
  End: { code: "End", number: 35 },
  Home: { code: "Home", number: 36 },
  ArrowLeft: { code: "ArrowLeft", number: 37 },
  ArrowUp: { code: "ArrowUp", number: 38 },
  ArrowRight: { code: "ArrowRight", number: 39 },
  ArrowDown: { code: "ArrowDown", number: 40 },
  Insert: { code: "Insert", number: 45 },
  Delete: { code: "Delete", number: 46 },
  Alt: { code: "AltLeft", number: 18, modifier: 1 },
  Control: { code: "ControlLeft", number: 17, modifier: 2 },
  Meta: { code: "MetaLeft", number: 91, modifier: 4 },
  Shift: { code: "ShiftLeft", number: 16, modifier: 8 },
};
for (let number = 1; number <= 12; ++number) {
  namedKeys[`F${number}`] = { code: `F${number}`, number: 111 + number };
}

function keyOf(name, shifted) {
  if (Object.hasOwn(namedKeys, name)) {
    return { key: name, ...namedKeys[name] };
  }
  if ([...name].length !== 1) {
    throw new Error(`there is no key "${name}"`);
  }
  const key = shifted ? name.toUpperCase() : name;
  const upper = name.toUpperCase();
  if (/^[A-Z]$/.test(upper)) {
    return { key, code: `Key${upper}`, number: upper.charCodeAt(0), text: key };
  }
  if (/^[0-9]$/.test(name)) {
    return { key, code: `Digit${name}`, number: name.charCodeAt(0), text: key };
  }
  return { key, code: "", number: 0, text: key };
}

// The events that press and let go of "Enter", "a", "Control+A" or the like.
function keyEvents(combination) {
  const names = combination === "+" ? ["+"] : combination.split(/\+(?!$)/);
  const last = names.pop();
  const held = names.map((name) => keyOf(name, false));
  if (held.some((key) => !key.modifier)) {
    throw new Error(`"${combination}" is no combination of keys`);
  }
  const events = [];
  let modifiers = 0;
  const add = (type, key, text) =>
    events.push({
      type,
      modifiers,
      key: key.key,
      code: key.code,
      windowsVirtualKeyCode: key.number,
      ...(text && { text, unmodifiedText: text }),
    });
  for (const key of held) {
    modifiers |= key.modifier;
    add("rawKeyDown", key);
  }
  const key = keyOf(last, (modifiers & 8) !== 0);
  const text = (modifiers & ~8) === 0 ? key.text : undefined; // Control+A types nothing
  add(text ? "keyDown" : "rawKeyDown", key, text);
  add("keyUp", key);
  for (const one of held.reverse()) {
    modifiers &= ~one.modifier;
    add("keyUp", one);
  }
  return events;
}
