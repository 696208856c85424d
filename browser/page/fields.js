// Runs inside the visible page as `selectorsInPage` does: fills, chooses, checks and reads. It adds
// its answers to those of `own`.
function fieldsInPage(own) {
  const textTypes = new Set(["email", "number", "password", "search", "tel", "text", "url"]);
  const untyped = new Set(["button", "checkbox", "file", "image", "radio", "reset", "submit"]);
  const checkedRoles = new Set(
    ["checkbox", "menuitemcheckbox", "menuitemradio", "option", "radio", "switch", "treeitem"],
  );

  // Gives the element the focus and tells whether it has it then: what listens to the focus may
  // have moved it on, and the keys would go there.
  function focus(element) {
    if (element === document.body || element === document.documentElement) {
      document.activeElement?.blur();
    } else {
      element.focus();
    }
    let active = document.activeElement;
    while (active?.shadowRoot?.activeElement) {
      active = active.shadowRoot.activeElement;
    }
    return own.holds(element, active) || (element.isContentEditable && own.holds(active, element));
  }

  const unfocused = { lacks: "does not keep the focus" };

  function announce(element, ...types) {
    for (const type of types) {
      element.dispatchEvent(new Event(type, { bubbles: true, composed: true }));
    }
  }

  // Sets a field that is not typed into, such as a date or a colour.
  function set(control, text) {
    const before = control.value;
    const wanted = control.type === "color" ? text.toLowerCase() : text;
    control.focus();
    control.value = wanted;
    if (control.value !== wanted) {
      control.value = before;
      return { against: `does not take "${text}"` };
    }
    announce(control, "input", "change");
    return { value: "set" };
  }

  function fill(element, text) {
    const control = own.controlOf(element);
    const isInput = control.localName === "input" && !untyped.has(control.type);
    if (!isInput && control.localName !== "textarea" && !control.isContentEditable) {
      return { against: `cannot be filled, it is a ${own.named(control)}` };
    }
    if (isInput && !textTypes.has(control.type)) {
      return set(control, text);
    }
    const isNumber = /^\s*([-+]?(\d+\.?\d*|\.\d+)(e[-+]?\d+)?)?\s*$/i.test(text);
    if (control.type === "number" && !isNumber) {
      return { against: `does not take "${text}"` };
    }
    if (!focus(control)) {
      return unfocused;
    }
    // What is typed next replaces what is selected.
    if (control.isContentEditable) {
      document.getSelection().selectAllChildren(control);
    } else {
      control.select();
    }
    return { value: "type" };
  }

  function optionsFor(list, wanted) {
    const normal = (text) => text.replace(/\s+/g, " ").trim();
    const isMeant = (one, index, want) =>
      typeof want === "object"
        ? (want.value === undefined || one.value === want.value) &&
          (want.label === undefined || normal(one.label) === normal(want.label)) &&
          (want.index === undefined || index === want.index)
        : one.value === want || normal(one.label) === normal(want);
    const found = wanted.map((want) =>
      [...list.options].find((one, index) => isMeant(one, index, want)),
    );
    if (found.some((option) => !option || option.matches(":disabled"))) {
      return null;
    }
    return list.multiple ? found : found.slice(0, 1);
  }

  function select(element, wanted) {
    const list = own.controlOf(element);
    if (list.localName !== "select") {
      return { against: `has no options, it is a ${own.named(list)}` };
    }
    const options = optionsFor(list, wanted);
    if (!options) {
      return { lacks: "has no such option" };
    }
    list.focus();
    for (const option of list.options) {
      option.selected = options.includes(option);
    }
    announce(list, "input", "change");
    return { value: options.map((option) => option.value) };
  }

  function isChecked(element) {
    const control = own.controlOf(element);
    if (control.localName === "input" && ["checkbox", "radio"].includes(control.type)) {
      return { value: control.checked };
    }
    if (checkedRoles.has(control.getAttribute("role"))) {
      const state = control.getAttribute("aria-checked") ?? control.getAttribute("aria-selected");
      return { value: state === "true" };
    }
    return { against: `cannot be checked, it is a ${own.named(control)}` };
  }

  function inputValue(element) {
    const control = own.controlOf(element);
    return ["input", "select", "textarea"].includes(control.localName)
      ? { value: control.value }
      : { against: `has no value, it is a ${own.named(control)}` };
  }

  // Keeps the field that is to get files where the program can ask for it.
  function fileField(element, count) {
    const control = own.controlOf(element);
    if (control.type !== "file") {
      return { against: `takes no files, it is a ${own.named(control)}` };
    }
    if (count > 1 && !control.multiple) {
      return { against: "takes one file only" };
    }
    if (count === 0) {
      control.value = "";
      announce(control, "input", "change");
    }
    own.chosen = control;
    return { value: true };
  }

  const takingKeys = (forText) => ["visible", "enabled", ...(forText ? ["editable"] : [])];
  // What is asked of an element that only has to be there.
  const read = (use) => (selector, timeout) => own.ready(selector, [], timeout, use);
  // What is asked of all elements that are there now.
  const look = (use) => (text) => {
    try {
      return { value: use(new own.Selector(text)) };
    } catch {
      return { against: "is not a selector" };
    }
  };

  Object.assign(own.answers, {
    // Waits until the element can be typed into or, without `forText`, take keys.
    takesKeys: (selector, forText, timeout) =>
      own.ready(selector, takingKeys(forText), timeout, () => ({ value: true })),

    fill: (selector, text, timeout) =>
      own.ready(selector, takingKeys(true), timeout, (one) => fill(one, text)),

    // With `forText`, the caret goes behind the text of a field that has not had the focus before.
    focus(selector, forText, timeout) {
      return own.ready(selector, takingKeys(forText), timeout, (element) => {
        const control = own.controlOf(element);
        const isNew = !control.matches(":focus-within, :focus *");
        if (!focus(control)) {
          return unfocused;
        }
        if (forText && isNew) {
          document.getSelection().modify("move", "forward", "documentboundary");
        }
        return { value: true };
      });
    },

    select: (selector, wanted, timeout) =>
      own.ready(selector, ["visible", "enabled"], timeout, (one) => select(one, wanted)),

    fileField: (selector, count, timeout) =>
      own.ready(selector, ["enabled"], timeout, (element) => fileField(element, count)),

    attribute: (selector, name, timeout) =>
      own.ready(selector, [], timeout, (element) => ({ value: element.getAttribute(name) })),

    isChecked: read(isChecked),
    inputValue: read(inputValue),
    text: read((element) => ({ value: element.textContent })),
    innerText: read((element) => ({ value: element.innerText ?? element.textContent })),

    isVisible: look((selector) => selector.all().some(own.isVisible)),
    count: look((selector) => selector.all().length),
    allTexts: look((selector) => selector.all().map((one) => one.innerText ?? one.textContent)),

    title: () => ({ value: document.title }),

    content() {
      const { doctype, documentElement } = document;
      const first = doctype ? new XMLSerializer().serializeToString(doctype) : "";
      return { value: first + (documentElement?.outerHTML ?? "") };
    },
  });
}

// Keeps a link such as "tel:1" from asking a person which program is to open it: no click would meet
// the page behind that question.
function keepInBrowser(event) {
  const own = /^(about|blob|chrome.*|data|devtools|edge|file|filesystem|https?|javascript):/;
  if (!own.test(event.destination.url)) {
    event.preventDefault();
  }
}

// What is loaded into each document of the visible page.
const codeInPage = `{
  globalThis.talvernElements?.stop();
  const own = (globalThis.talvernElements = {});
  (${selectorsInPage})(own);
  (${elementsInPage})(own);
  (${fieldsInPage})(own);
  globalThis.navigation?.addEventListener("navigate", ${keepInBrowser});
}`;
