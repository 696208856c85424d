// How many milliseconds an operation waits for a page that is busy with what it has triggered.
const longestTurn = 1500;

// How the operations reach a frame: what they ask it, the points where they click, and the wait for
// the page that they lead to.
class FrameAccess {
  // `where(deadline)` gives the frame, once it is there, and its tab.
  constructor(where) {
    this.where = where;
  }

  // Runs code in the page's own world. With the `place` that `leading` gives, the page's turn is
  // asked for in advance, which is enough for a function that gives no promise.
  async evaluate(name, work, argument, deadline, { place = null, unanswered } = {}) {
    const late = () => `${name}: ${unanswered ?? "the page does not answer"}`;
    const { tab, frame } = place ?? (await this.where(deadline));
    const world = await tab.world(frame, "", deadline);
    const values = argument === undefined ? [] : [packed(argument)];
    const call =
      typeof work === "function"
        ? tab.callIn(frame, world, sentFunction(sourceOf(work)), values)
        : tab.evaluateIn(frame, world, String(work));
    const turn = place && typeof work === "function" ? this.#turn(place) : null;
    try {
      const { value, later } = await deadline.within(call, late);
      if (turn && !later) {
        place.turn = turn;
      }
      return unpacked(value);
    } catch (error) {
      if (deadline.isOver) {
        await tab.interruptBusy(frame.session, 100); // or nothing would run in this page any more
      }
      if (error instanceof DocumentGone) {
        throw new DocumentGone(`${name}: the page was left meanwhile (${error.message})`);
      }
      throw error;
    }
  }

  // Asks this system's own world in the frame; when the document is replaced meanwhile, asks the new
  // one.
  async ask(question, selector, values, deadline) {
    const subject = selector === null ? [] : [String(selector)];
    const late = () => [...subject, "gets no answer from the page"].join(" ");
    for (;;) {
      const { tab, frame } = await this.where(deadline);
      const world = await tab.world(frame, ownWorld, deadline);
      const asked = [...subject, ...values, deadline.left];
      const declaration = `function(...values) {
        return talvernElements.answers.${question}(...values);
      }`;
      try {
        const call = tab.callIn(frame, world, declaration, asked);
        const answer = await deadline.within(call, late, Deadline.grace);
        if (answer.lacks || answer.against) {
          throw new Error(`${selector} ${answer.lacks ?? answer.against}`);
        }
        return answer.value;
      } catch (error) {
        if (!(error instanceof DocumentGone)) {
          throw error;
        }
        await deadline.pause(5, late);
      }
    }
  }

  // Does something that may lead to another page, which the next operation is meant for: when this
  // returns, a document that was asked for has come and is parsed. `act` is given the place, and may
  // store in `place.turn` a turn of the page that it has already asked for.
  async leading(deadline, act) {
    const place = { ...(await this.where(deadline)), turn: null };
    const { tab, frame } = place;
    const before = new Map([tab.top, frame].map((one) => [one, one.document]));
    const result = await act(place);
    const late = () => "the page that was asked for does not come";
    if (!tab.gone && !tab.crashed) {
      // A page that is too busy for a turn is left to the next operation.
      const tooLong = new Promise((resolve) => setTimeout(resolve, longestTurn));
      const turn = Promise.race([place.turn ?? this.#turn(place), tooLong]);
      await deadline.within(turn, () => "the page does not answer");
    }
    if (tab.gone) {
      return result; // what was done has closed it
    }
    await tab.until(
      () =>
        [...before].every(
          ([one, document]) =>
            !one.navigating && (one.document === document || one.hasReached("DOMContentLoaded")),
        ),
      deadline,
      late,
    );
    return result;
  }

  // One turn of the page's event loop. A navigation is a task that was posted; after the turn it has
  // begun, and its event has come before the answer.
  async #turn({ tab, frame }) {
    const world = frame.worlds.get(ownWorld);
    if (!world) {
      return; // the document has been left already
    }
    const turn = "function() { return talvernElements.answers.turn(); }";
    await tab.callIn(frame, world, turn, []).catch(() => {}); // the page has gone meanwhile
  }

  clickAt(selector, options, deadline, question = "aim") {
    const { button = "left", clickCount = 1 } = options;
    if (!Object.hasOwn(mouseButtons, button)) {
      throw new Error(`click knows no button "${button}"`);
    }
    if (!Number.isInteger(clickCount) || clickCount < 1) {
      throw new Error(`click: ${clickCount} is no number of clicks`);
    }
    return this.leading(deadline, async ({ tab }) => {
      const point = await this.reach(question, selector, deadline);
      await tab.input(deadline, (input) => input.click(point, { button, clickCount }));
    });
  }

  // Where to put the mouse on the element. A frame from another site is drawn by another process.
  // Until the browser knows where the frame lies, also after it was scrolled, a click there goes
  // elsewhere: the mouse is moved until the element has seen it.
  async reach(question, selector, deadline) {
    const { x, y } = await this.#aim(question, selector, deadline);
    const { tab, frame } = await this.where(deadline);
    if (frame.session === tab.session) {
      return { x, y };
    }
    const input = new Input(tab, deadline);
    let seen = false;
    const arrival = this.ask("mouse", selector, [], deadline).then(() => (seen = true));
    for (let shift = 1; !seen; shift = 1 - shift) {
      const pause = new Promise((resolve) => setTimeout(resolve, 20));
      await Promise.all([input.move({ x: x + shift, y }), Promise.race([arrival, pause])]);
    }
    return { x, y };
  }

  // Where the element is hit, relative to the page's corner.
  async #aim(question, selector, deadline) {
    for (let tries = 0; ; ++tries) {
      let point = await this.ask(question, selector, [tries], deadline);
      const { tab, frame } = await this.where(deadline);
      for (let at = frame; point && at.parent; at = at.parent) {
        point = await this.#inParent(tab, at, point, deadline);
      }
      if (point) {
        return point;
      }
      if (deadline.isOver) {
        throw new Error(`${selector} is covered, or its frame is`);
      }
    }
  }

  // A point of a frame relative to the corner of the frame around it; nothing when something covers
  // the frame there.
  async #inParent(tab, frame, { x, y }, deadline) {
    const { session } = frame.parent;
    const late = () => "the page does not answer";
    const call = (method, params) =>
      deadline.within(tab.call(session, method, params), late, Deadline.grace);
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

  async setChecked(selector, wanted, deadline) {
    const is = () => this.ask("isChecked", selector, [], deadline);
    if ((await is()) === wanted) {
      return;
    }
    await this.clickAt(selector, {}, deadline, "aimToCheck");
    if ((await is()) !== wanted) {
      throw new Error(`${selector} ${wanted ? "stays unchecked" : "stays checked"}`);
    }
  }
}
