// The operations on one frame, as a rule the top one of the driven page. Each waits, within its
// time-out, for what it needs, and says in its error what did not come true.
class FrameOperations {
  #play;
  #access;

  // `play` is the one that the operations belong to; for `where` see FrameAccess.
  constructor(play, where) {
    this.#play = play;
    this.#access = new FrameAccess(where);
  }

  click(selector, options = {}) {
    return this.#step("click", [selector], options, ["button", "clickCount"], (deadline) =>
      this.#access.clickAt(selector, options, deadline),
    );
  }

  hover(selector, options = {}) {
    return this.#step("hover", [selector], options, [], (deadline) =>
      this.#access.leading(deadline, async ({ tab }) => {
        const point = await this.#access.reach("hover", selector, deadline);
        await tab.input(deadline, (input) => input.move(point));
      }),
    );
  }

  fill(selector, value, options = {}) {
    return this.#step("fill", [selector, value], options, [], async (deadline) => {
      const text = String(value);
      let filled;
      await this.#withKeys(selector, true, deadline, async (input) => {
        filled = await this.#access.ask("fill", selector, [text], deadline);
        if (filled !== "set") {
          await (text === "" ? input.press(keyEvents("Delete")) : input.insert(text));
        }
      });
      if (filled === "set") {
        await this.#access.leading(deadline, () => {});
      }
    });
  }

  type(selector, text, options = {}) {
    return this.#step("type", [selector, text], options, [], (deadline) =>
      this.#access.leading(deadline, () =>
        this.#withKeys(selector, true, deadline, async (input) => {
          await this.#access.ask("focus", selector, [true], deadline);
          await input.type(String(text));
        }),
      ),
    );
  }

  press(selector, key, options = {}) {
    return this.#step("press", [selector, key], options, [], (deadline) =>
      this.#access.leading(deadline, () => {
        const events = keyEvents(String(key));
        return this.#withKeys(selector, false, deadline, async (input) => {
          await this.#access.ask("focus", selector, [false], deadline);
          await input.press(events);
        });
      }),
    );
  }

  selectOption(selector, values, options = {}) {
    return this.#step("selectOption", [selector, values], options, [], (deadline) => {
      const wanted = [values].flat().map(optionWanted);
      return this.#access.leading(deadline, () =>
        this.#access.ask("select", selector, [wanted], deadline),
      );
    });
  }

  check(selector, options = {}) {
    return this.#step("check", [selector], options, [], (deadline) =>
      this.#access.setChecked(selector, true, deadline),
    );
  }

  uncheck(selector, options = {}) {
    return this.#step("uncheck", [selector], options, [], (deadline) =>
      this.#access.setChecked(selector, false, deadline),
    );
  }

  setInputFiles(selector, files, options = {}) {
    const names = (Array.isArray(files) ? files : [files]).map(String);
    return this.#step("setInputFiles", [selector, files], options, [], (deadline) =>
      this.#access.leading(deadline, async ({ tab, frame }) => {
        const late = () => "setInputFiles: the files cannot be given";
        const question = this.#play.program.ask({ what: "files", paths: names });
        const paths = await deadline.within(question, late);
        await this.#access.ask("fileField", selector, [names.length], deadline);
        const world = await tab.world(frame, ownWorld, deadline);
        const objectId = await deadline.within(tab.chosenIn(frame, world), late);
        const params = { files: paths, objectId };
        await deadline.within(tab.call(frame.session, "DOM.setFileInputFiles", params), late);
      }),
    );
  }

  textContent(selector, options = {}) {
    return this.#read("textContent", "text", selector, options);
  }

  innerText(selector, options = {}) {
    return this.#read("innerText", "innerText", selector, options);
  }

  inputValue(selector, options = {}) {
    return this.#read("inputValue", "inputValue", selector, options);
  }

  isChecked(selector, options = {}) {
    return this.#read("isChecked", "isChecked", selector, options);
  }

  // The next three report the present state, and wait for nothing.
  isVisible(selector) {
    return this.#read("isVisible", "isVisible", selector, {});
  }

  count(selector) {
    return this.#read("count", "count", selector, {});
  }

  allTexts(selector) {
    return this.#read("allTexts", "allTexts", selector, {});
  }

  getAttribute(selector, name, options = {}) {
    return this.#step("getAttribute", [selector, name], options, [], (deadline) =>
      this.#access.ask("attribute", selector, [String(name)], deadline),
    );
  }

  title() {
    return this.#step("title", [], {}, [], (deadline) => this.#access.ask("title", null, [], deadline));
  }

  content() {
    return this.#step("content", [], {}, [], (deadline) =>
      this.#access.ask("content", null, [], deadline),
    );
  }

  waitForSelector(selector, options = {}) {
    return this.#step("waitForSelector", [selector], options, ["state"], async (deadline) => {
      const { state = "visible" } = options;
      if (!["attached", "detached", "visible", "hidden"].includes(state)) {
        throw new Error(`waitForSelector knows no state "${state}"`);
      }
      await this.#access.ask("state", selector, [state], deadline);
    });
  }

  evaluate(work, argument = undefined, ...more) {
    return this.#step("evaluate", [work], {}, [], (deadline) => {
      if (more.length > 0) {
        throw new Error("evaluate takes one argument; give it an object or an array of several");
      }
      return this.#access.leading(deadline, (place) =>
        this.#access.evaluate("evaluate", work, argument, deadline, { place }),
      );
    });
  }

  // Waits until the function gives something that is not falsy, also over navigations.
  waitForFunction(work, argument = undefined, options = {}) {
    const never = "it does not become true";
    return this.#step("waitForFunction", [work], options, [], async (deadline) => {
      for (;;) {
        try {
          const value = await this.#access.evaluate("waitForFunction", work, argument, deadline, {
            unanswered: never,
          });
          if (value) {
            return value;
          }
        } catch (error) {
          if (!(error instanceof DocumentGone)) {
            throw error;
          }
        }
        await deadline.pause(30, () => `waitForFunction: ${never}`);
      }
    });
  }

  // Gives the keys to `work` once the element takes them. That is awaited before, because another
  // operation at the same time may be what makes it so.
  async #withKeys(selector, forText, deadline, work) {
    await this.#access.ask("takesKeys", selector, [forText], deadline);
    const { tab } = await this.#access.where(deadline);
    await tab.input(deadline, work);
  }

  // Runs one operation of the play: not after the play's end, within its time, and with the line of
  // the macro on its error.
  #step(name, values, options, known, work) {
    return this.#play.step(name, values, options, known, work);
  }

  #read(name, question, selector, options) {
    return this.#step(name, [selector], options, [], (deadline) =>
      this.#access.ask(question, selector, [], deadline),
    );
  }
}

// An option as a macro names it: by a text, or by what an object says of it.
function optionWanted(value) {
  const isKnown = ([name, one]) => ["value", "label", "index"].includes(name) && one !== undefined;
  const said = value !== null && typeof value === "object" ? Object.entries(value) : null;
  if (said && !(said.length > 0 && said.every(isKnown))) {
    throw new Error("selectOption takes texts, or objects with value, label or index");
  }
  return said ? value : String(value);
}

// Any name that no operation has is an error.
Object.setPrototypeOf(
  FrameOperations.prototype,
  new Proxy(Object.prototype, {
    get(target, name, receiver) {
      const isAskedByTheLanguage = ["then", "toJSON"].includes(name);
      if (typeof name === "symbol" || isAskedByTheLanguage || Object.hasOwn(target, name)) {
        return Reflect.get(target, name, receiver);
      }
      throw new TypeError(`there is no operation "${name}"`);
    },
  }),
);
