// The address that the text of "waitForURL" stands for: "**" is any text, "*" any without a "/".
function addressMatcher(wanted) {
  if (typeof wanted === "function") {
    return (url) => wanted(new URL(url));
  }
  if (wanted instanceof RegExp) {
    return (url) => wanted.test(url);
  }
  const pattern = String(wanted)
    .split(/(\*\*|\*)/)
    .map((part) =>
      part === "**" ? ".*" : part === "*" ? "[^/]*" : part.replace(/[.+?^${}()|[\]\\]/g, "\\$&"),
    );
  const whole = new RegExp(`^${pattern.join("")}$`);
  return (url) => whole.test(url);
}

const mouseButtons = { left: 1, right: 2, middle: 4 };

// The operations on one frame, the whole page's top one as a rule. Each waits, within its time-out,
// for what it needs, and says in its error what did not come true.
class FrameOperations {
  #run;
  #tree;
  #where;

  // `run` is the play that the operations belong to, `where` gives the frame once it is there.
  constructor(run, tree, where) {
    this.#run = run;
    this.#tree = tree;
    this.#where = where;
  }

  click(selector, options = {}) {
    return this.#step("click", [selector], options, async (deadline) => {
      await this.#clickAt(selector, options, deadline);
    });
  }

  fill(selector, value, options = {}) {
    return this.#step("fill", [selector, value], options, async (deadline) => {
      const text = String(value);
      const how = await this.#ask("fill", selector, [text], deadline);
      if (how === "set") {
        return;
      }
      if (text === "") {
        await this.#press("Delete", deadline);
      } else {
        await this.#input("Input.insertText", { text }, deadline);
      }
    });
  }

  selectOption(selector, values, options = {}) {
    const wanted = (Array.isArray(values) ? values : [values]).map((value) =>
      value !== null && typeof value === "object" ? value : String(value),
    );
    return this.#step("selectOption", [selector, values], options, (deadline) =>
      this.#ask("select", selector, [wanted], deadline),
    );
  }

  check(selector, options = {}) {
    return this.#step("check", [selector], options, (deadline) =>
      this.#setChecked(selector, true, options, deadline),
    );
  }

  uncheck(selector, options = {}) {
    return this.#step("uncheck", [selector], options, (deadline) =>
      this.#setChecked(selector, false, options, deadline),
    );
  }

  press(selector, key, options = {}) {
    return this.#step("press", [selector, key], options, async (deadline) => {
      const events = keyEvents(key);
      await this.#ask("focus", selector, [], deadline);
      await this.#press(events, deadline);
      await this.#settle(deadline);
    });
  }

  textContent(selector, options = {}) {
    return this.#step("textContent", [selector], options, (deadline) =>
      this.#ask("text", selector, [], deadline),
    );
  }

  getAttribute(selector, name, options = {}) {
    return this.#step("getAttribute", [selector, name], options, (deadline) =>
      this.#ask("attribute", selector, [name], deadline),
    );
  }

  waitForSelector(selector, options = {}) {
    return this.#step("waitForSelector", [selector], options, async (deadline) => {
      const state = options.state ?? "visible";
      if (!["attached", "detached", "visible", "hidden"].includes(state)) {
        throw new Error(`waitForSelector knows no state "${state}"`);
      }
      await this.#ask("state", selector, [state], deadline);
    });
  }

  evaluate(work, argument = undefined) {
    return this.#step("evaluate", [work], {}, async (deadline) => {
      const late = () => "evaluate: the page does not answer";
      const frame = await this.#frame(deadline);
      const world = await this.#world(frame, "", deadline);
      const isFunction = typeof work === "function";
      const declaration = isFunction
        ? String(work)
        : "function(source) { return (0, eval)(source); }";
      const values = isFunction ? (argument === undefined ? [] : [argument]) : [String(work)];
      try {
        const call = this.#tree.callIn(frame, world, declaration, values);
        return await deadline.within(call, late);
      } catch (error) {
        if (deadline.left === 0) {
          this.#tree.interrupt(frame.session); // or nothing would run in this page any more
        }
        if (error instanceof DocumentGone) {
          throw new Error(`evaluate: the page was left meanwhile (${error.message})`);
        }
        throw error;
      }
    });
  }

  title() {
    return this.#step("title", [], {}, (deadline) => this.#ask("title", null, [], deadline));
  }

  // ---- how the operations do it

  // Runs one operation of the play: not after the play's end, within its time, and with the line of
  // the macro on its error.
  #step(name, values, options, work) {
    return this.#run.step(name, values, options.timeout, work);
  }

  #frame(deadline) {
    return this.#where(deadline);
  }

  #world(frame, name, deadline) {
    const late = () => "the page does not answer";
    return this.#tree.until(() => frame.worlds.get(name), deadline, late);
  }

  // Has the frame's own world answer, in the document that comes when one is left meanwhile.
  async #ask(question, selector, values, deadline) {
    const subject = selector === null ? [] : [selector];
    const late = () => [...subject, "gets no answer from the page"].join(" ");
    for (;;) {
      const frame = await this.#frame(deadline);
      const world = await this.#world(frame, ownWorld, deadline);
      const asked = [...subject, ...values, deadline.left];
      const declaration = `function(...values) { return talvernElements.${question}(...values); }`;
      try {
        const call = this.#tree.callIn(frame, world, declaration, asked);
        const answer = await deadline.within(call, late, Deadline.grace);
        if (answer.lacks || answer.against) {
          throw new Error(`${selector} ${answer.lacks ?? answer.against}`);
        }
        return answer.value;
      } catch (error) {
        if (!(error instanceof DocumentGone)) {
          throw error;
        }
        await this.#tree.until(() => frame.worlds.get(ownWorld) !== world, deadline, late);
      }
    }
  }

  #input(method, params, deadline) {
    const late = () => "the page does not take what is typed or clicked";
    const call = this.#tree.call(this.#tree.session, method, params);
    return deadline.within(call, late, Deadline.grace);
  }

  async #press(events, deadline) {
    const all = Array.isArray(events) ? events : keyEvents(events);
    await Promise.all(all.map((event) => this.#input("Input.dispatchKeyEvent", event, deadline)));
  }

  async #clickAt(selector, options, deadline) {
    const { x, y } = await this.#aim(selector, deadline);
    await this.#reach(selector, { x, y }, deadline);
    const button = options.button ?? "left";
    const count = options.clickCount ?? 1;
    const mouse = (type, more) =>
      this.#input("Input.dispatchMouseEvent", { type, x, y, ...more }, deadline);
    const events = [mouse("mouseMoved", {})];
    for (let clickCount = 1; clickCount <= count; ++clickCount) {
      const down = { button, clickCount, buttons: mouseButtons[button] };
      events.push(mouse("mousePressed", down), mouse("mouseReleased", { button, clickCount }));
    }
    await Promise.all(events);
    await this.#settle(deadline);
  }

  // A frame from another site draws by itself. Until the browser knows where it lies, what is
  // clicked there goes to the page around it: the mouse is moved until the frame has seen it.
  async #reach(selector, { x, y }, deadline) {
    if ((await this.#frame(deadline)).session === this.#tree.session) {
      return;
    }
    let seen = false;
    const arrival = this.#ask("mouse", selector, [], deadline).then(() => (seen = true));
    for (let shift = 1; !seen; shift = 1 - shift) {
      const move = { type: "mouseMoved", x: x + shift, y };
      await Promise.all([
        this.#input("Input.dispatchMouseEvent", move, deadline),
        Promise.race([arrival, new Promise((resolve) => setTimeout(resolve, 20))]),
      ]);
    }
  }

  // Where a click hits the element, as seen from the page's corner.
  async #aim(selector, deadline) {
    for (;;) {
      let point = await this.#ask("aim", selector, [], deadline);
      let frame = await this.#frame(deadline);
      for (; point && frame.parent; frame = frame.parent) {
        point = await this.#inParent(frame, point, deadline);
      }
      if (point) {
        return point;
      }
      if (deadline.left === 0) {
        throw new Error(`${selector} is covered, or its frame is`);
      }
    }
  }

  // A point of a frame as seen from the corner of the one that it lies in; nothing when something
  // lies over the frame there.
  async #inParent(frame, { x, y }, deadline) {
    const { session } = frame.parent;
    const late = () => "the page does not answer";
    const call = (method, params) =>
      deadline.within(this.#tree.call(session, method, params), late, Deadline.grace);
    await call("DOM.enable", {});
    const { backendNodeId } = await call("DOM.getFrameOwner", { frameId: frame.id });
    const { object } = await call("DOM.resolveNode", { backendNodeId });
    const { result } = await call("Runtime.callFunctionOn", {
      functionDeclaration: String(placeInParent),
      objectId: object.objectId,
      arguments: [{ value: x }, { value: y }],
      returnByValue: true,
    });
    return result.value;
  }

  // What was clicked or pressed may have asked for another page: the next operation is meant for
  // that one. A round trip brings the events that tell of it.
  async #settle(deadline) {
    const { top } = this.#tree;
    const frame = await this.#frame(deadline);
    const late = () => "the page that was asked for does not come";
    try {
      await deadline.within(
        this.#tree.call(frame.session, "Runtime.evaluate", { expression: "0" }),
        late,
        Deadline.grace,
      );
    } catch (error) {
      if (!(error instanceof ProtocolError)) {
        throw error;
      }
    }
    await this.#tree.until(() => !top.navigating && !frame.navigating, deadline, late);
  }

  async #setChecked(selector, wanted, options, deadline) {
    const is = async () => (await this.#ask("isChecked", selector, [], deadline)).checked;
    if ((await is()) === wanted) {
      return;
    }
    await this.#clickAt(selector, options, deadline);
    if ((await is()) !== wanted) {
      throw new Error(`${selector} ${wanted ? "stays unchecked" : "stays checked"}`);
    }
  }
}

// What a macro knows as `page`.
class Page extends FrameOperations {
  #run;
  #tree;
  #program;

  constructor(run, tree, program) {
    super(run, tree, () => tree.top);
    this.#run = run;
    this.#tree = tree;
    this.#program = program;
  }

  goto(url, options = {}) {
    return this.#run.step("goto", [url], options.timeout, (deadline) =>
      this.#navigate(String(url), options, deadline, async (late) => {
        const answer = await deadline.within(
          this.#tree.call(this.#tree.session, "Page.navigate", { url: String(url) }),
          late,
        );
        if (answer.errorText && !answer.isDownload) {
          await this.#crashOf(answer.errorText);
          throw new Error(`goto ${url}: ${answer.errorText}`);
        }
        return answer.loaderId;
      }),
    );
  }

  reload(options = {}) {
    return this.#run.step("reload", [], options.timeout, (deadline) =>
      this.#navigate(this.url(), options, deadline, async (late) => {
        const before = this.#tree.top.document;
        await deadline.within(this.#tree.call(this.#tree.session, "Page.reload", {}), late);
        await this.#tree.until(() => this.#tree.top.document !== before, deadline, late);
        return this.#tree.top.document;
      }),
    );
  }

  // Gives false when there is no page to go back to.
  goBack(options = {}) {
    return this.#run.step("goBack", [], options.timeout, async (deadline) => {
      const { session, top } = this.#tree;
      const history = await this.#tree.call(session, "Page.getNavigationHistory", {});
      if (history.currentIndex === 0) {
        return false;
      }
      const entry = history.entries[history.currentIndex - 1];
      await this.#navigate(entry.url, options, deadline, async (late) => {
        const before = top.document;
        const { url } = top;
        const call = this.#tree.call(session, "Page.navigateToHistoryEntry", {
          entryId: entry.id,
        });
        await deadline.within(call, late);
        await this.#tree.until(
          () => top.document !== before || top.url !== url,
          deadline,
          late,
        );
        return top.document;
      });
      return true;
    });
  }

  waitForURL(url, options = {}) {
    return this.#run.step("waitForURL", [url], options.timeout, async (deadline) => {
      const matches = addressMatcher(url);
      const state = this.#stateOf(options);
      const { top } = this.#tree;
      await this.#tree.until(
        () => matches(top.url) && top.hasReached(state),
        deadline,
        () => `waitForURL ${url}: the page is ${top.url}`,
      );
    });
  }

  url() {
    return this.#tree.top.url;
  }

  setDefaultTimeout(timeout) {
    this.#run.setDefaultTimeout(timeout);
  }

  screenshot(options = {}) {
    return this.#run.step("screenshot", [options.path], options.timeout, (deadline) =>
      deadline.within(
        this.#program.ask({
          what: "screenshot",
          path: String(options.path ?? ""),
          fullPage: Boolean(options.fullPage),
        }),
        () => "screenshot: the page is not drawn",
      ),
    );
  }

  // The operations on a frame below this page, found by its name or a part of its address.
  frame(name) {
    return new FrameOperations(this.#run, this.#tree, (deadline) =>
      this.#tree.until(
        () => this.#tree.find(String(name)),
        deadline,
        () => `the frame "${name}" is not there`,
      ),
    );
  }

  #stateOf({ waitUntil = "load" }) {
    const states = { load: "load", domcontentloaded: "DOMContentLoaded", commit: "commit" };
    if (!Object.hasOwn(states, waitUntil)) {
      throw new Error(`there is no state "${waitUntil}" to wait for`);
    }
    return states[waitUntil];
  }

  // Waits until the document that `start` asked for, or one that has come in its place, is there.
  async #navigate(url, options, deadline, start) {
    const state = this.#stateOf(options);
    const { top } = this.#tree;
    const late = () => `${url} does not come`;
    const before = top.document;
    await this.#tree.readyToLeave();
    const asked = await start(late);
    await this.#tree.until(
      () =>
        // Within one document only the address changes.
        (asked ? top.document === asked : top.url === new URL(url).href) ||
        (top.document !== before && !top.navigating),
      deadline,
      late,
    );
    await this.#tree.until(
      () => !top.navigating && top.hasReached(state),
      deadline,
      () => `${url} does not finish loading`,
    );
  }

  // A page that crashes while it is asked for is told from one that does not come a little later.
  async #crashOf(errorText) {
    if (errorText === "net::ERR_ABORTED") {
      const soon = new Deadline(300);
      await this.#tree.until(() => false, soon, () => "").catch((error) => {
        if (this.#tree.crashed) {
          throw error;
        }
      });
    }
  }
}
