// The pages that are open in the browser, in the order in which they were opened, and which of them
// the macros drive.
class Tabs {
  changes = new Changes();
  used = null;

  protocol;
  macroTarget = ""; // the macros' own page

  #program;
  #all = [];
  #dialogAnswer = null;
  #context;

  constructor(protocol, program) {
    this.protocol = protocol;
    this.#program = program;
  }

  get all() {
    return [...this.#all];
  }

  // Learns which pages are open; the one with this target is driven.
  async attach(targetId, macroTarget) {
    this.macroTarget = macroTarget;
    this.protocol.listen(undefined, (method, params) => this.#handlers[method]?.(params));
    const { targetInfo } = await this.protocol.call("Target.getTargetInfo", { targetId });
    this.#context = targetInfo.browserContextId; // the macros' own page lives in another one
    this.used = this.#add(targetId);
    await this.discover();
    await this.used.ready;
  }

  // Has the browser tell of the pages that come.
  discover() {
    return this.protocol.call("Target.setDiscoverTargets", {
      discover: true,
      filter: [{ type: "page" }, { exclude: true }],
    });
  }

  // All that are open now, with where they are.
  async describe(deadline) {
    const late = () => "the browser does not answer";
    const call = this.protocol.call("Target.getTargets", {});
    const { targetInfos } = await deadline.within(call, late);
    const descriptions = new Map(targetInfos.map((one) => [one.targetId, one]));
    const open = this.#all.filter((tab) => descriptions.has(tab.targetId));
    return open.map((tab) => {
      const { url, title } = descriptions.get(tab.targetId);
      return { id: tab.targetId, url, title, isUsed: tab === this.used };
    });
  }

  async use(tab, deadline) {
    const late = () => "the other page does not answer";
    await deadline.within(tab.ready, late);
    this.used = tab;
    await deadline.within(tab.call(tab.session, "Page.bringToFront", {}), late);
    await deadline.within(this.#program.ask({ what: "use", target: tab.targetId }), late);
    await tab.until(() => tab.top.hasReached("DOMContentLoaded"), deadline, late);
  }

  // Has the macro answer dialogs, or the program again when there is no answer.
  answerDialogs(answer) {
    if (answer !== this.#dialogAnswer) {
      this.#program.tell({ what: "dialogs", macro: answer !== null });
    }
    this.#dialogAnswer = answer;
  }

  stopWaiting() {
    this.#all.forEach((tab) => tab.stopWaiting());
  }

  #add(targetId) {
    const known = this.#all.find((tab) => tab.targetId === targetId);
    if (known) {
      return known;
    }
    const tab = new Tab(this.protocol, targetId, this.changes, (dialog) => this.#answer(dialog));
    this.#all.push(tab);
    return tab;
  }

  // The macro's answer to a dialog, as the protocol puts it; nothing when it leaves dialogs alone.
  async #answer({ type, message, defaultPrompt }) {
    if (this.#dialogAnswer === null) {
      return null;
    }
    if (type === "beforeunload") {
      return { accept: true }; // leaving a page is always confirmed
    }
    const given = this.#dialogAnswer;
    const answer = typeof given === "function" ? await given(message) : given;
    const accept = answer !== false && answer !== null && answer !== undefined;
    return { accept, promptText: typeof answer === "string" ? answer : defaultPrompt };
  }

  #handlers = {
    "Target.targetCreated": ({ targetInfo }) => {
      if (targetInfo.type === "page" && targetInfo.browserContextId === this.#context) {
        this.#add(targetInfo.targetId);
        this.changes.notify();
      }
    },

    "Target.targetDestroyed": ({ targetId }) =>
      this.#closed(this.#all.find((tab) => tab.targetId === targetId)),

    "Target.detachedFromTarget": ({ sessionId }) => {
      this.protocol.drop(sessionId);
      this.#closed(this.#all.find((tab) => tab.session === sessionId));
    },
  };

  #closed(tab) {
    if (!tab) {
      return;
    }
    this.#all = this.#all.filter((one) => one !== tab);
    if (tab === this.used && this.#all.length > 0) {
      this.used = this.#all.at(-1);
      this.#program.tell({ what: "use", target: this.used.targetId });
    }
    tab.close();
  }
}
