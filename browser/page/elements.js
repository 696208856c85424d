// Runs inside the visible page, in a world of its own that the page's scripts do not see. It finds
// elements, and waits until what a person would need of them is true. It is loaded into every
// document as text, so it uses nothing from outside.
function elementsInPage() {
  const gone = "is not there";

  // Resolves at the next frame with true, and without one with false.
  function nextFrame() {
    return new Promise((resolve) => {
      // A window that nobody sees draws no frames, and a busy machine draws them late.
      const timer = setTimeout(resolve, 500, false);
      requestAnimationFrame(() => {
        clearTimeout(timer);
        resolve(true);
      });
    });
  }

  function isSelector(text) {
    try {
      document.createDocumentFragment().querySelector(text);
      return true;
    } catch {
      return false;
    }
  }

  function named(element) {
    const id = element.id ? ` id="${element.id}"` : "";
    return `<${element.localName}${id}>`;
  }

  // The control that a label stands for.
  function controlOf(element) {
    return element.closest("label")?.control ?? element;
  }

  function isVisible(element) {
    const box = element.getBoundingClientRect();
    return box.width > 0 && box.height > 0 && element.checkVisibility({ visibilityProperty: true });
  }

  function isEnabled(element) {
    const control = controlOf(element);
    return !control.matches(":disabled") && !control.closest('[aria-disabled="true"]');
  }

  function isEditable(element) {
    return !element.readOnly && element.getAttribute("aria-readonly") !== "true";
  }

  // Where the element's first visible piece has its middle, as seen from this frame's corner.
  function middle(element) {
    const box = [...element.getClientRects()].find((one) => one.width > 0 && one.height > 0);
    const left = Math.max(box.left, 0);
    const right = Math.min(box.right, innerWidth);
    const top = Math.max(box.top, 0);
    const bottom = Math.min(box.bottom, innerHeight);
    return { x: (left + right) / 2, y: (top + bottom) / 2, seen: left < right && top < bottom };
  }

  function elementAt(point) {
    let found = document.elementFromPoint(point.x, point.y);
    while (found?.shadowRoot) {
      const inner = found.shadowRoot.elementFromPoint(point.x, point.y);
      if (!inner || inner === found) {
        break;
      }
      found = inner;
    }
    return found;
  }

  function holds(element, other) {
    for (let at = other; at; at = at.parentNode ?? at.host) {
      if (at === element) {
        return true;
      }
    }
    return false;
  }

  // Scrolls the element into view, to another edge at each try because something may lie over one
  // of them, and tells where a click hits it.
  function aim(element, tries) {
    const edges = ["center", "end", "start"];
    if (tries > 0 || !middle(element).seen) {
      element.scrollIntoView({ block: edges[tries % 3], inline: "nearest", behavior: "instant" });
    }
    const point = middle(element);
    const hit = point.seen ? elementAt(point) : null;
    if (hit && (holds(element, hit) || holds(controlOf(element), hit))) {
      return { value: { x: point.x, y: point.y } };
    }
    const label = hit?.closest?.("label");
    if (label && label.control === element) {
      return { value: { x: point.x, y: point.y } };
    }
    return { lacks: hit ? `is covered by ${named(hit)}` : "cannot be scrolled into view" };
  }

  // An animation, a frame of scripted movement or a late layout: whatever it is, the box moves from
  // one time of the page's clock to the next. The first frame after a task may still have the task's
  // time, and without frames nothing that is animated moves.
  class Rest {
    #element;
    #box;
    #time;

    at(element, drawn) {
      const { x, y, width, height } = element.getBoundingClientRect();
      const box = `${x} ${y} ${width} ${height}`;
      const time = document.timeline.currentTime;
      const moves = document
        .getAnimations()
        .some(
          ({ pending, playState, effect }) =>
            pending || (!drawn && playState === "running" && holds(effect?.target, element)),
        );
      const same = this.#element === element && this.#box === box;
      if (moves || !same) {
        this.#time = time;
      }
      this.#element = element;
      this.#box = box;
      return !moves && same && (!drawn || this.#time !== time);
    }
  }

  // Waits up to `timeout` milliseconds (null: no limit) until the element is there and has what is
  // `wanted`, and gives what `use` makes of it: a value, what the element still lacks, or what
  // stands against it for good.
  async function ready(selector, wanted, timeout, use) {
    if (!isSelector(selector)) {
      return { against: "is not a selector" };
    }
    const end = timeout === null ? Infinity : performance.now() + timeout;
    const rest = new Rest();
    let drawn = false;
    const checks = {
      visible: (element) => isVisible(element) || "is not visible",
      enabled: (element) => isEnabled(element) || "is not enabled",
      editable: (element) => isEditable(controlOf(element)) || "is not editable",
      resting: (element) => rest.at(element, drawn) || "is not at rest",
    };
    for (let tries = 0; ; ) {
      const element = document.querySelector(selector);
      let lacks = element ? null : gone;
      for (const want of element ? wanted : []) {
        const found = checks[want](element);
        if (found !== true) {
          lacks = found;
          break;
        }
      }
      if (!lacks) {
        const result = await use(element, tries++);
        if (!result.lacks) {
          return result;
        }
        lacks = result.lacks;
      }
      if (performance.now() >= end) {
        return { lacks };
      }
      drawn = await nextFrame();
    }
  }

  const textTypes = new Set(["", "text", "email", "number", "password", "search", "tel", "url"]);

  // Selects what is in the element, so that what is typed next replaces it.
  function focusAndSelect(element) {
    element.focus();
    if (element.isContentEditable) {
      document.getSelection().selectAllChildren(element);
    } else {
      element.select();
    }
  }

  function announce(element, ...types) {
    for (const type of types) {
      element.dispatchEvent(new Event(type, { bubbles: true, composed: true }));
    }
  }

  function optionsFor(list, wanted) {
    const found = [];
    for (const want of wanted) {
      const option = [...list.options].find((one, index) =>
        typeof want === "object"
          ? (want.value === undefined || one.value === want.value) &&
            (want.label === undefined || one.label === want.label) &&
            (want.index === undefined || index === want.index)
          : one.value === want || one.label === want,
      );
      if (!option || option.disabled) {
        return null;
      }
      found.push(option);
    }
    return list.multiple ? found : found.slice(0, 1);
  }

  globalThis.talvernElements = {
    // The place to click at.
    aim(selector, timeout) {
      return ready(selector, ["visible", "enabled", "resting"], timeout, aim);
    },

    // Readies the element for typing. Kinds of input that are not typed into are set here.
    fill(selector, text, timeout) {
      return ready(selector, ["visible", "enabled", "editable"], timeout, (element) => {
        const control = controlOf(element);
        const isInput = control.localName === "input";
        const isText = control.localName === "textarea" || control.isContentEditable;
        if (!isText && !(isInput && !["checkbox", "radio", "file"].includes(control.type))) {
          return { against: `cannot be filled, it is a ${named(control)}` };
        }
        if (isInput && !textTypes.has(control.type)) {
          control.focus();
          control.value = text;
          if (control.value !== text) {
            return { against: `does not take "${text}"` };
          }
          announce(control, "input", "change");
          return { value: "set" };
        }
        if (control.type === "number" && text !== "" && Number.isNaN(Number(text))) {
          return { against: `does not take "${text}"` };
        }
        focusAndSelect(control);
        return { value: "type" };
      });
    },

    focus(selector, timeout) {
      return ready(selector, [], timeout, (element) => {
        element.focus();
        return { value: true };
      });
    },

    isChecked(selector, timeout) {
      return ready(selector, [], timeout, (element) => {
        const control = controlOf(element);
        const role = control.getAttribute("role");
        if (control.type === "checkbox" || control.type === "radio") {
          return { value: { checked: control.checked } };
        }
        if (["checkbox", "radio", "switch"].includes(role)) {
          return { value: { checked: control.getAttribute("aria-checked") === "true" } };
        }
        return { against: `cannot be checked, it is a ${named(control)}` };
      });
    },

    select(selector, wanted, timeout) {
      return ready(selector, ["visible", "enabled"], timeout, (element) => {
        const list = controlOf(element);
        if (list.localName !== "select") {
          return { against: `has no options, it is a ${named(list)}` };
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
      });
    },

    text(selector, timeout) {
      return ready(selector, [], timeout, (element) => ({ value: element.textContent }));
    },

    attribute(selector, name, timeout) {
      return ready(selector, [], timeout, (element) => ({ value: element.getAttribute(name) }));
    },

    // Waits until the element is "attached", "detached", "visible" or "hidden".
    async state(selector, state, timeout) {
      if (!isSelector(selector)) {
        return { against: "is not a selector" };
      }
      const end = timeout === null ? Infinity : performance.now() + timeout;
      const against = {
        attached: (element) => !element && gone,
        detached: (element) => element && "is still there",
        visible: (element) => (element ? !isVisible(element) && "is not visible" : gone),
        hidden: (element) => element && isVisible(element) && "is still visible",
      };
      for (;;) {
        const lacks = against[state](document.querySelector(selector));
        if (!lacks) {
          return { value: true };
        }
        if (performance.now() >= end) {
          return { lacks };
        }
        await nextFrame();
      }
    },

    // Waits until the mouse moves over this document, which is where `selector` is.
    mouse(selector, timeout) {
      return new Promise((resolve) => {
        const end = (answer) => {
          removeEventListener("mousemove", seen, true);
          resolve(answer);
        };
        const seen = (event) => event.isTrusted && end({ value: true });
        addEventListener("mousemove", seen, true);
        if (timeout !== null) {
          setTimeout(end, timeout, { against: "is not where the mouse reaches it" });
        }
      });
    },

    title() {
      return { value: document.title };
    },
  };
}

// Runs in the visible page too, with the element of a frame as `this`: where a point of that frame
// lies, as seen from the corner of the document that holds it. Null when something lies over it.
function placeInParent(x, y) {
  const box = this.getBoundingClientRect();
  const style = getComputedStyle(this);
  const point = {
    x: box.left + this.clientLeft + parseFloat(style.paddingLeft) + x,
    y: box.top + this.clientTop + parseFloat(style.paddingTop) + y,
  };
  return this.getRootNode().elementFromPoint(point.x, point.y) === this ? point : null;
}
