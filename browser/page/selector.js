// Runs inside the visible page, in a world of its own that the page's scripts do not see: finds
// elements by selectors. It is loaded into every document as text, so it uses nothing from outside
// but `own`, to which it adds `Selector`.
function selectorsInPage(own) {
  const normal = (text) => text.replace(/\s+/g, " ").trim();

  // Everything that can be searched below a root: the root and the open shadow roots in it.
  function* rootsIn(root) {
    if (root.shadowRoot) {
      yield* rootsIn(root.shadowRoot);
    }
    yield root;
    for (const element of root.querySelectorAll("*")) {
      if (element.shadowRoot) {
        yield* rootsIn(element.shadowRoot);
      }
    }
  }

  function allIn(root, css) {
    return [...rootsIn(root)].flatMap((one) => [...one.querySelectorAll(css)]);
  }

  // The test that `"text"`, `'text'`, `/pattern/flags` or a plain text makes of another text.
  function matcherOf(wanted, plain) {
    const quoted = /^(["'])(.*)\1$/s.exec(wanted);
    if (quoted) {
      const text = normal(quoted[2].replace(/\\(["'\\])/g, "$1"));
      return (found) => normal(found) === text;
    }
    const pattern = /^\/(.+)\/([a-z]*)$/s.exec(wanted);
    if (pattern) {
      const expression = new RegExp(pattern[1], pattern[2].replace(/[gy]/g, ""));
      return (found) => expression.test(normal(found));
    }
    return plain(normal(wanted));
  }

  // The innermost elements with such a text, which may be spread over what is in them.
  function byText(wanted) {
    const matches = matcherOf(wanted, (text) => {
      const lower = text.toLowerCase();
      return (found) => normal(found).toLowerCase().includes(lower);
    });
    const buttons = "input:is([type=button], [type=submit], [type=reset])";
    const textOf = (node) => (node.matches?.(buttons) ? node.value : node.textContent);
    const visit = (node, found) => {
      let inside = false;
      const roots = node.shadowRoot ? [node.shadowRoot, node] : [node];
      // A form may have a field with the name "children", which would hide the form's own.
      for (let child of roots.map((root) => root.firstElementChild)) {
        for (; child; child = child.nextElementSibling) {
          inside = visit(child, found) || inside;
        }
      }
      if (!inside && !node.matches("script, style, noscript") && matches(textOf(node))) {
        found.push(node);
        return true;
      }
      return inside;
    };
    return (root) => {
      const found = [];
      visit(root === document ? document.documentElement : root, found);
      return found.filter((element) => element !== root);
    };
  }

  const typed = (...types) => types.map((type) => `input[type=${type}]`).join(", ");
  const texts = typed("text", "email", "tel", "url");
  // The elements that have a role without saying so.
  const elementsOf = {
    article: "article",
    banner: "header",
    button: `button, summary, ${typed("button", "submit", "reset", "image")}`,
    cell: "td",
    checkbox: typed("checkbox"),
    columnheader: "th:not([scope=row])",
    blockquote: "blockquote",
    combobox: "select:not([multiple]):is(:not([size]), [size='1']), input[list]",
    complementary: "aside",
    contentinfo: "footer",
    definition: "dd",
    dialog: "dialog",
    figure: "figure",
    form: "form",
    group: "fieldset, optgroup, details",
    heading: "h1, h2, h3, h4, h5, h6",
    img: "img:not([alt=''])",
    link: "a[href], area[href]",
    list: "ul, ol, menu",
    listbox: "select[multiple], select[size]:not([size='1'])",
    listitem: "li",
    main: "main",
    meter: "meter",
    navigation: "nav",
    option: "option",
    paragraph: "p",
    progressbar: "progress",
    radio: typed("radio"),
    region: "section:is([aria-label], [aria-labelledby])",
    row: "tr",
    rowgroup: "thead, tbody, tfoot",
    rowheader: "th[scope=row]",
    search: "search",
    searchbox: "input[type=search]:not([list])",
    separator: "hr",
    slider: typed("range"),
    spinbutton: typed("number"),
    status: "output",
    table: "table",
    term: "dt",
    textbox: `textarea, input:not([type], [list]), :is(${texts}):not([list])`,
  };

  // What is read out of a node: no icons and the like that are hidden, and nothing from elements that
  // match `without`. What stands in a line of its own is a word of its own.
  function spoken(node, without) {
    const read = (child) => {
      if (child.nodeType === Node.TEXT_NODE) {
        return child.data;
      }
      if (child.nodeType !== Node.ELEMENT_NODE || child.matches(without)) {
        return "";
      }
      const { display, visibility } = getComputedStyle(child);
      if (display === "none" || visibility !== "visible") {
        return "";
      }
      const said = child.getAttribute("aria-label") || child.getAttribute("alt");
      const text = said || spoken(child, without);
      return display === "inline" && child.localName !== "br" ? text : ` ${text} `;
    };
    return Array.from(node.childNodes, read).join("");
  }
  const unspoken = "[aria-hidden=true], script, style";

  const titleOf = { fieldset: "legend", figure: "figcaption", svg: "title", table: "caption" };
  const valueOf = { submit: "Submit", reset: "Reset" };

  // The name by which an element is read out. `labels` are those of each control: to ask a control
  // for its own takes a walk through the whole document.
  function nameOf(element, labels) {
    const root = element.getRootNode();
    const attribute = (name) => element.getAttribute(name) ?? "";
    const texts = (elements, textOf) => Array.from(elements ?? [], textOf).join(" ");
    const named = attribute("aria-labelledby").split(/\s+/).filter(Boolean);
    const names = [
      () => texts(named, (id) => root.getElementById(id)?.textContent ?? ""),
      () => attribute("aria-label"),
      // Without what the controls inside a label hold.
      () => texts(labels.get(element), (label) => spoken(label, `${unspoken}, select, textarea, button`)),
      () => (element.matches(typed("button", "submit", "reset")) ? element.value : ""),
      () => (element.matches("input") ? valueOf[element.type] ?? "" : ""),
      () => element.querySelector(`:scope > ${titleOf[element.localName]}`)?.textContent ?? "",
      () => attribute("alt"),
      () => (element.localName === "optgroup" ? element.label : ""),
      () => (element.matches("input, select, textarea") ? "" : spoken(element, unspoken)),
      () => attribute("title"),
      () => attribute("placeholder"),
    ];
    for (const name of names) {
      const found = normal(name());
      if (found) {
        return found;
      }
    }
    return "";
  }

  function byRole(wanted) {
    const parts = /^([\w-]+)\s*(?:\[\s*name\s*=\s*(.*?)\s*\])?$/s.exec(wanted.trim());
    if (!parts) {
      throw new SyntaxError("no role");
    }
    const [, role, name] = parts;
    const hasName = name && matcherOf(name, (text) => (found) => found === text);
    const said = `[role~=${CSS.escape(role)}]`;
    const css = Object.hasOwn(elementsOf, role) ? `${said}, ${elementsOf[role]}` : said;
    return (root) => {
      const labels = hasName && Map.groupBy(allIn(document, "label"), (label) => label.control);
      return allIn(root, css).filter((element) => {
        const given = element.getAttribute("role")?.trim().split(/\s+/)[0];
        return (!given || given === role) && (!hasName || hasName(nameOf(element, labels)));
      });
    };
  }

  function finderOf(part) {
    if (part.startsWith("text=")) {
      return byText(part.slice(5));
    }
    if (part.startsWith("role=")) {
      return byRole(part.slice(5));
    }
    document.createDocumentFragment().querySelector(part); // or it throws
    return (root) => allIn(root, part);
  }

  // What finds elements: CSS, "text=…" or "role=…[name=…]", and several of these with ">>" between
  // them, each below what the one before has found.
  own.Selector = class Selector {
    #finders;
    #css = null;

    // Throws when the text is no selector.
    constructor(text) {
      const parts = [""];
      for (const [token] of text.matchAll(/"(?:[^"\\]|\\.)*"|'(?:[^'\\]|\\.)*'|>>|[^]/g)) {
        if (token === ">>") {
          parts.push("");
        } else {
          parts[parts.length - 1] += token;
        }
      }
      this.#finders = parts.map((part) => finderOf(part.trim()));
      if (parts.length === 1 && !/^\s*(text|role)=/.test(text)) {
        this.#css = text;
      }
    }

    all() {
      let found = [document];
      for (const find of this.#finders) {
        found = [...new Set(found.flatMap((root) => find(root)))];
      }
      return found;
    }

    // The first element that can be seen or, when none can, the first of all.
    first() {
      const outside = this.#css === null ? [] : [...document.querySelectorAll(this.#css)];
      const seen = outside.find(own.isVisible);
      if (seen) {
        return seen;
      }
      const found = this.all();
      return found.find(own.isVisible) ?? found[0] ?? null;
    }
  };
}
