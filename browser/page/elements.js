// Runs inside the visible page as `selectorsInPage` does: waits until a person could use an element.
// To `own` it adds the waiting, and the answers that `ask` gives.
function elementsInPage(own) {
  const gone = "is not there";
  // What a click is meant for itself, even inside a label.
  const controls =
    "a[href], area[href], button, input, select, textarea, summary, [contenteditable]," +
    " [role=button], [role=link], [role=checkbox], [role=radio], [role=switch], [role=textbox]," +
    " [role=combobox], [role=tab], [role^=menuitem]";
  // A wait goes on as long as this is the object that it began with.
  let round = {};

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

  own.named = (element) => {
    const id = element.id ? ` id="${element.id}"` : "";
    return `<${element.localName}${id}>`;
  };

  // The control that a label stands for, when the element is no control itself.
  own.controlOf = (element) => {
    const near = element.closest(`label, ${controls}`);
    return (near?.localName === "label" && near.control) || element;
  };

  own.isVisible = (element) => {
    const box = element.getBoundingClientRect();
    return box.width > 0 && box.height > 0 && element.checkVisibility({ visibilityProperty: true });
  };

  function isEnabled(element) {
    const control = own.controlOf(element);
    const disabled = (control.closest(controls) ?? control).matches(":disabled");
    return !disabled && !control.matches(":disabled") && !control.closest('[aria-disabled="true"]');
  }

  function isEditable(element) {
    return !element.readOnly && element.getAttribute("aria-readonly") !== "true";
  }

  // The middle of the element's first visible piece, relative to this frame's corner.
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

  own.holds = (element, other) => {
    for (let at = other; at; at = at.assignedSlot ?? at.parentNode ?? at.host) {
      if (at === element) {
        return true;
      }
    }
    return false;
  };

  // Whether a click that meets `hit` is one on the element: on a part of it, on its label, or on
  // the control around it when the element lets clicks through.
  function isHitBy(element, hit) {
    if (own.holds(element, hit) || own.holds(own.controlOf(element), hit)) {
      return true;
    }
    const around = element.closest(controls);
    const letsThrough = getComputedStyle(element).pointerEvents === "none";
    return own.controlOf(hit) === element || (letsThrough && around && own.holds(around, hit));
  }

  // Scrolls the element into view, to another edge at each try because something may lie over one
  // of them, and tells where a click hits it; when a control is `meant`, no other one inside.
  function aim(element, tries, meant = null) {
    const edges = ["center", "end", "start"];
    if (tries > 0 || !middle(element).seen) {
      // Sideways no further than needed at first; that may be undone where the scrolling snaps.
      const inline = tries < 3 ? "nearest" : edges[tries % 3];
      element.scrollIntoView({ block: edges[tries % 3], inline, behavior: "instant" });
    }
    const point = middle(element);
    const hit = point.seen ? elementAt(point) : null;
    const inside = meant && hit?.closest(controls);
    const isOther = inside && inside !== meant && own.holds(element, inside);
    if (hit && isHitBy(element, hit) && !isOther) {
      return { value: { x: point.x, y: point.y } };
    }
    return { lacks: hit ? `is covered by ${own.named(hit)}` : "cannot be scrolled into view" };
  }

  // Where a click checks the element: on the control itself or, where something else is drawn for
  // it, on its label, which may hold links too.
  function aimToCheck(element, tries) {
    const control = own.controlOf(element);
    const isDrawn = control !== element && own.isVisible(control);
    const direct = isDrawn ? aim(control, tries) : {};
    return direct.value ? direct : aim(element, tries, control);
  }

  // Whether an animation may move a box: it runs by time, not by scrolling, and changes more than
  // colours.
  function mayMove({ timeline, effect }) {
    const harmless = /color|opacity|shadow|filter|outline|background|fill|stroke|visibility|cursor/i;
    const names = effect.getKeyframes().flatMap((frame) => Object.keys(frame));
    const about = ["offset", "computedOffset", "easing", "composite"];
    return (
      timeline instanceof DocumentTimeline &&
      names.some((name) => !about.includes(name) && !harmless.test(name))
    );
  }

  // Where an element was, at which time of the page's clock, and whether it had rested before, when it
  // was last looked at.
  const places = new WeakMap();
  const placeIsOld = 250; // in milliseconds

  // An animation, a frame of scripted movement or a late layout: whatever it is, the box moves from
  // one time of the page's clock to the next. The first frame after a task may still have the task's
  // time, and without frames nothing that is animated moves: there, and before its first frame, an
  // animation of the element or of what contains it counts as movement. So it does when the box is
  // compared with the one that an earlier operation saw. Where that one saw the element at rest, no
  // further frame is waited for: what a script has begun to move since is hit where it still is.
  function isResting(element, drawn, isFirstLook) {
    const { x, y, width, height } = element.getBoundingClientRect();
    const box = `${x} ${y} ${width} ${height}`;
    const time = document.timeline.currentTime;
    const moves = document
      .getAnimations()
      .some(
        (one) =>
          one.playState === "running" &&
          (one.pending || !drawn) &&
          own.holds(one.effect?.target, element) &&
          mayMove(one),
      );
    const before = places.get(element);
    const isKnown = before?.box === box && !(isFirstLook && time - before.time > placeIsOld);
    if (moves || !isKnown) {
      places.set(element, { box, time, rested: false });
      return false;
    }
    if (before.time !== time) {
      places.set(element, { box, time, rested: true });
      return true;
    }
    return before.rested || (!drawn && !isFirstLook);
  }

  // Looks again and again, at most `timeout` milliseconds (null: no limit), until `look` gives
  // something else than what is lacking: a value, or a reason why there never will be one.
  async function until(text, timeout, look) {
    const mine = round;
    const end = timeout === null ? Infinity : performance.now() + timeout;
    let selector;
    try {
      selector = new own.Selector(text);
    } catch {
      return { against: "is not a selector" };
    }
    for (let drawn = false; ; drawn = await nextFrame()) {
      if (mine !== round) {
        return { against: "is not waited for any more" };
      }
      const result = await look(selector, drawn);
      if (!result.lacks || performance.now() >= end) {
        return result;
      }
    }
  }

  // Waits until the element is there and has what is `wanted`, and gives what `use` makes of it.
  own.ready = (text, wanted, timeout, use) => {
    let lastLook = null;
    let tries = 0;
    let lacked; // at the last try, which may have scrolled
    const checks = {
      // The body takes keys whether there is anything in it or not.
      visible: (one) => one === document.body || own.isVisible(one) || "is not visible",
      enabled: (one) => isEnabled(one) || "is not enabled",
      editable: (one) => isEditable(own.controlOf(one)) || "is not editable",
      resting(one, drawn) {
        const isFirstLook = lastLook !== one;
        lastLook = one;
        return isResting(one, drawn, isFirstLook) || (lacked ?? "is not at rest");
      },
    };
    return until(text, timeout, (selector, drawn) => {
      const element = selector.first();
      if (!element) {
        return { lacks: gone };
      }
      for (const want of wanted) {
        const found = checks[want](element, drawn);
        if (found !== true) {
          return { lacks: found };
        }
      }
      const result = use(element, tries++);
      lacked = result.lacks;
      return result;
    });
  };

  const placed = (selector, wanted, before, timeout, use) =>
    own.ready(selector, [...wanted, "resting"], timeout, (one, tries) => use(one, before + tries));

  // What this world is asked for by name. Each answer has a `value`, what the element `lacks`, or
  // the reason `against` any further waiting.
  own.answers = {
    // The place to click at, to check, or to move the mouse to, which may be over something that is
    // disabled. `tries` says how often the place was in vain before, for what is around this frame.
    aim: (selector, tries, timeout) => placed(selector, ["visible", "enabled"], tries, timeout, aim),
    aimToCheck: (selector, tries, timeout) =>
      placed(selector, ["visible", "enabled"], tries, timeout, aimToCheck),
    hover: (selector, tries, timeout) => placed(selector, ["visible"], tries, timeout, aim),

    // Waits until the element is "attached", "detached", "visible" or "hidden".
    state(text, state, timeout) {
      const lacks = {
        attached: (element) => !element && gone,
        detached: (element) => element && "is still there",
        visible: (element) => (element ? !own.isVisible(element) && "is not visible" : gone),
        hidden: (element) => element && own.isVisible(element) && "is still visible",
      };
      return until(text, timeout, (selector) => {
        const lack = lacks[state](selector.first());
        return lack ? { lacks: lack } : { value: true };
      });
    },

    // Waits until the mouse moves over the element.
    mouse: (text, timeout) =>
      new Promise((resolve) => {
        const end = (answer) => {
          removeEventListener("mousemove", seen, true);
          resolve(answer);
        };
        const seen = (event) => {
          const element = new own.Selector(text).first();
          if (event.isTrusted && element && isHitBy(element, event.composedPath()[0])) {
            end({ value: true });
          }
        };
        addEventListener("mousemove", seen, true);
        if (timeout !== null) {
          setTimeout(end, timeout, { against: "is not where the mouse reaches it" });
        }
      }),

    // Gives the page's other tasks a turn, after which a navigation among them has begun.
    turn: () => new Promise((resolve) => setTimeout(resolve, 0, { value: true })),
  };

  // Ends all waits here, because nobody waits for their answers any more.
  own.stop = () => {
    round = {};
  };
}

// Runs in the visible page too, with the element of a frame as `this`: where a point of that frame
// lies, relative to the corner of the document that holds it. Null when something covers it,
// or it is not known.
function placeInParent(x, y) {
  const box = this.getBoundingClientRect();
  const style = getComputedStyle(this);
  // It may be drawn larger or smaller than it is laid out; where it is turned is not known here.
  const scale = { x: box.width / this.offsetWidth, y: box.height / this.offsetHeight };
  if (Math.abs(scale.x / scale.y - 1) > 0.1) {
    return null;
  }
  const point = {
    x: box.left + (this.clientLeft + parseFloat(style.paddingLeft) + x) * scale.x,
    y: box.top + (this.clientTop + parseFloat(style.paddingTop) + y) * scale.y,
  };
  return this.getRootNode().elementFromPoint(point.x, point.y) === this ? point : null;
}
