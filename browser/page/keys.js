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
  Alt: { code: "AltLeft", number: 18, modifier: 1, location: 1 },
  Control: { code: "ControlLeft", number: 17, modifier: 2, location: 1 },
  Meta: { code: "MetaLeft", number: 91, modifier: 4, location: 1 },
  Shift: { code: "ShiftLeft", number: 16, modifier: 8, location: 1 },
};
for (let number = 1; number <= 12; ++number) {
  namedKeys[`F${number}`] = { code: `F${number}`, number: 111 + number };
}

// The keys of a US keyboard that are no letters: what each types alone and with Shift, its code and
// its number.
const characterKeys = [
  [" ", " ", "Space", 32],
  ...[..."0)1!2@3#4$5%6^7&8*9("].flatMap((plain, index, all) =>
    index % 2 === 0 ? [[plain, all[index + 1], `Digit${plain}`, plain.charCodeAt(0)]] : [],
  ),
  [";", ":", "Semicolon", 186],
  ["=", "+", "Equal", 187],
  [",", "<", "Comma", 188],
  ["-", "_", "Minus", 189],
  [".", ">", "Period", 190],
  ["/", "?", "Slash", 191],
  ["`", "~", "Backquote", 192],
  ["[", "{", "BracketLeft", 219],
  ["\\", "|", "Backslash", 220],
  ["]", "}", "BracketRight", 221],
  ["'", '"', "Quote", 222],
];

// The key that types a single character; nothing when no key does.
function characterKey(character, shifted) {
  const upper = character.toUpperCase();
  if (/^[A-Z]$/.test(upper)) {
    const key = shifted ? upper : character;
    return { key, code: `Key${upper}`, number: upper.charCodeAt(0), text: key };
  }
  const found = characterKeys.find((one) => one.slice(0, 2).includes(character));
  if (!found) {
    return undefined;
  }
  const [plain, withShift, code, number] = found;
  const key = shifted && character === plain ? withShift : character;
  return { key, code, number, text: key };
}

function hasKey(character) {
  return characterKey(character, false) !== undefined;
}

function keyOf(name, shifted) {
  if (Object.hasOwn(namedKeys, name)) {
    return { key: name, ...namedKeys[name] };
  }
  if ([...name].length !== 1) {
    throw new Error(`there is no key "${name}"`);
  }
  return characterKey(name, shifted) ?? { key: name, code: "", number: 0, text: name };
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
      ...(key.location && { location: key.location }),
      ...(text && { text, unmodifiedText: text }),
    });
  for (const key of held) {
    modifiers |= key.modifier;
    add("rawKeyDown", key);
  }
  const key = keyOf(last, (modifiers & 8) !== 0);
  const text = (modifiers & ~8) === 0 ? key.text : undefined; // Control+A types nothing
  // A modifier that is pressed by itself is held while it is down.
  modifiers |= key.modifier ?? 0;
  add(text ? "keyDown" : "rawKeyDown", key, text);
  modifiers &= ~(key.modifier ?? 0);
  add("keyUp", key);
  for (const one of held.reverse()) {
    modifiers &= ~one.modifier;
    add("keyUp", one);
  }
  return events;
}
