const mouseButtons = { left: 1, right: 2, middle: 4 };

// The mouse and the keys of a tab.
class Input {
  #tab;
  #deadline;

  // For one operation, within its deadline.
  constructor(tab, deadline) {
    this.#tab = tab;
    this.#deadline = deadline;
  }

  move({ x, y }) {
    return this.#send("Input.dispatchMouseEvent", { type: "mouseMoved", x, y });
  }

  // Moves there and clicks; the events follow each other without waiting for the page.
  click({ x, y }, { button = "left", clickCount: clicks = 1 }) {
    const events = [this.move({ x, y })];
    const mouse = (type, more) =>
      events.push(this.#send("Input.dispatchMouseEvent", { type, x, y, button, ...more }));
    for (let clickCount = 1; clickCount <= clicks; ++clickCount) {
      mouse("mousePressed", { clickCount, buttons: mouseButtons[button], force: 0.5 });
      mouse("mouseReleased", { clickCount });
    }
    return Promise.all(events);
  }

  press(events) {
    return Promise.all(events.map((event) => this.#send("Input.dispatchKeyEvent", event)));
  }

  insert(text) {
    return this.#send("Input.insertText", { text });
  }

  // Each character as its key, and what no key has as if it came from an input method.
  async type(text) {
    for (const character of text.replace(/\r\n?/g, "\n")) {
      if (character === "\n" || character === "\t" || hasKey(character)) {
        await this.press(keyEvents({ "\n": "Enter", "\t": "Tab" }[character] ?? character));
      } else {
        await this.insert(character);
      }
    }
  }

  #send(method, params) {
    const late = () => "the page does not take what is typed or clicked";
    const call = this.#tab.call(this.#tab.session, method, params);
    return this.#deadline.within(call, late, Deadline.grace);
  }
}
