// Carries the page library's messages over the channel that this page shares with it. Commands to the
// browser itself, which the channel refuses, go to the program and over its connection.
class LibraryTransport {
  onmessage = null;
  onclose = null;

  #tabs;
  #protocol;
  #program;
  #sessions = new Set();
  #contexts = new Set();

  constructor(tabs, program) {
    this.#tabs = tabs;
    this.#protocol = tabs.protocol;
    this.#program = program;
    this.#protocol.share((event) => this.#take(event));
  }

  send(text) {
    const { id, method, params, sessionId } = JSON.parse(text);
    const answer =
      sessionId || method.startsWith("Target.")
        ? this.#protocol.call(method, params, sessionId)
        : this.#program.ask({ what: "command", method, params }).then(JSON.parse);
    answer.then(
      (result) => {
        if (method === "Target.createBrowserContext") {
          this.#contexts.add(result.browserContextId);
        }
        this.onmessage?.(JSON.stringify({ id, sessionId, result }));
      },
      ({ message }) =>
        this.onmessage?.(JSON.stringify({ id, sessionId, error: { code: -32000, message } })),
    );
  }

  // An event of the browser itself, which the program has received.
  heard(method, params) {
    this.onmessage?.(JSON.stringify({ method, params }));
  }

  // Takes back what the library has set up: its sessions, with all that was switched on in them, and
  // its contexts.
  close() {
    this.onmessage = null;
    this.#protocol.share(null);
    this.onclose?.(); // whatever still waits in the library ends
    const undo = (method, params) => this.#protocol.call(method, params).catch(() => {});
    return Promise.all([
      undo("Target.setAutoAttach", { autoAttach: false, waitForDebuggerOnStart: false, flatten: true }),
      this.#tabs.discover().catch(() => {}), // as it was
      ...[...this.#sessions].map((sessionId) => undo("Target.detachFromTarget", { sessionId })),
      ...[...this.#contexts].map((browserContextId) =>
        undo("Target.disposeBrowserContext", { browserContextId }),
      ),
    ]);
  }

  #take(event) {
    const { method, params, sessionId } = event;
    if (method === "Target.attachedToTarget" && !sessionId) {
      this.#sessions.add(params.sessionId);
    } else if (method === "Target.detachedFromTarget") {
      this.#sessions.delete(params.sessionId);
    }
    this.onmessage?.(JSON.stringify(event));
  }
}

// The page library of one play, loaded and connected when its macro first asks for it.
class PageLibrary {
  // Loaded once for all plays of this page.
  static module = null;

  #play;
  #tabs;
  #program;
  #transport = null;
  #objects = null;

  constructor(play, tabs, program) {
    this.#play = play;
    this.#tabs = tabs;
    this.#program = program;
  }

  // The library's objects for the visible page and its browser.
  objects() {
    this.#objects ??= this.#play.step("puppeteer", [], {}, [], () => this.#connect());
    return this.#objects;
  }

  heard(method, params) {
    this.#transport?.heard(method, params);
  }

  async end() {
    if (this.#transport) {
      PageLibrary.noteLine = () => {};
      this.#program.tell({ what: "dialogs", macro: false });
      await this.#transport.close();
    }
  }

  async #connect() {
    if (!PageLibrary.module) {
      await this.#program.ask({ what: "library" });
      noteLines(PageLibrary.module);
    }
    PageLibrary.noteLine = () => this.#play.noteLine();
    PageLibrary.dialogsAreTaken = () => this.#program.tell({ what: "dialogs", macro: true });
    this.#transport = new LibraryTransport(this.#tabs, this.#program);
    const browser = await PageLibrary.module.connect({
      transport: this.#transport,
      defaultViewport: null,
      targetFilter: (target) => target._targetId !== this.#tabs.macroTarget,
    });
    const pages = await browser.pages();
    const page = pages.find((candidate) => candidate.target()._targetId === this.#tabs.used.targetId);
    return { page, browser };
  }
}

// The library's errors do not tell the macro's line. So each of its methods notes the line that calls
// it, which is reported when the call fails later.
function noteLines(module) {
  for (const { prototype } of Object.values(module).filter((value) => value?.prototype)) {
    for (const [name, property] of Object.entries(Object.getOwnPropertyDescriptors(prototype))) {
      const method = property.value;
      if (name === "constructor" || typeof method !== "function" || !property.writable) {
        continue;
      }
      prototype[name] = function (...values) {
        PageLibrary.noteLine();
        if (values[0] === "dialog" && (name === "on" || name === "once")) {
          PageLibrary.dialogsAreTaken();
        }
        return method.apply(this, values);
      };
    }
  }
}
