// The name of the world that is this system's own in each document of the visible page.
const ownWorld = "talvern";

// What a call gets to hear when the document that it was made in has been left.
class DocumentGone extends Error {}

// One frame of the visible page, the top one included: where it is, which document it shows and how
// far that has come. A frame from another site lives in a target with a session of its own.
class Frame {
  constructor(id, parent, session) {
    this.id = id;
    this.parent = parent;
    this.session = session;
    this.name = "";
    this.url = "";
    this.document = ""; // the loader's id
    this.reached = new Set(); // "DOMContentLoaded", "load"
    this.navigating = false; // it has been asked for a document that is not there yet
    this.worlds = new Map(); // a world's name, "" for the page's own, to its unique id
  }

  // Whether this document, or one that came in its place, has come as far as `state`.
  hasReached(state) {
    return state === "commit" || this.reached.has(state);
  }
}

// Everything that is known of the visible page from the events of its sessions.
class FrameTree {
  changes = new Changes();
  crashed = false;
  gone = false; // closed, by whomever
  top = null;

  protocol;
  #frames = new Map();
  #elements = `(${elementsInPage})()`;

  constructor(protocol) {
    this.protocol = protocol;
  }

  // Attaches to the visible page and learns what it shows.
  async attach(targetId, macroTarget) {
    this.target = targetId;
    this.macroTarget = macroTarget;
    const { sessionId } = await this.protocol.call("Target.attachToTarget", {
      targetId,
      flatten: true,
    });
    this.protocol.listen(undefined, (method, params) => this.#event(undefined, method, params));
    await this.#begin(sessionId, null);
    this.session = sessionId;
  }

  call(session, method, params) {
    if (this.gone || this.crashed) {
      return Promise.reject(new Error(this.#end()));
    }
    return this.protocol.call(method, params, session);
  }

  // Ends the script that runs in the page at this moment.
  interrupt(session) {
    this.protocol.call("Runtime.terminateExecution", {}, session).catch(() => {});
  }

  // To be called before the page is asked to go elsewhere, which brings a crashed one back. A page
  // whose script does not end cannot be left, and is not to be reached any more once it has been
  // told to leave: its script is ended before.
  async readyToLeave() {
    if (this.crashed) {
      this.crashed = false;
      return;
    }
    const ping = this.protocol.call("Runtime.evaluate", { expression: "0" }, this.session);
    await new Deadline(1000)
      .within(ping, () => "")
      .catch(() => this.interrupt(this.session));
  }

  // The frame below the top one with this name, id of its element or part of its address.
  find(name) {
    return [...this.#frames.values()].find(
      (frame) => frame !== this.top && (frame.name === name || frame.url.includes(name)),
    );
  }

  // Waits for `condition`, as long as the page has not crashed.
  until(condition, deadline, late) {
    const alive = () => {
      if (this.gone || this.crashed) {
        throw new Error(this.#end());
      }
      return condition();
    };
    return this.changes.until(alive, deadline, late);
  }

  // Calls a function, given as text, in a world of the frame's document with these arguments. What
  // it gives, or throws, crosses as a copy. Throws DocumentGone when the document is left meanwhile.
  async callIn(frame, world, declaration, values) {
    try {
      const { result, exceptionDetails } = await this.call(
        frame.session,
        "Runtime.callFunctionOn",
        {
          functionDeclaration: declaration,
          uniqueContextId: world,
          arguments: values.map((value) => ({ value })),
          returnByValue: true,
          awaitPromise: true,
          userGesture: true,
        },
      );
      return resultOf(result, exceptionDetails);
    } catch (error) {
      const isGone = /context|navigated|closed|gone|collected/i.test(error.message);
      throw error instanceof ProtocolError && isGone ? new DocumentGone(error.message) : error;
    }
  }

  // Begins to listen to a session: of the page itself, or of a frame from another site.
  async #begin(session, frame) {
    this.protocol.listen(session, (method, params) => this.#event(session, method, params));
    const call = (method, params) => this.protocol.call(method, params, session);
    // The frames come first: all other events speak of them.
    const [, tree] = await Promise.all([call("Page.enable"), call("Page.getFrameTree")]);
    this.#learn(tree.frameTree, frame?.parent ?? null, session);
    await Promise.all([
      call("Inspector.enable"),
      call("Runtime.enable"),
      call("Page.setLifecycleEventsEnabled", { enabled: true }),
      call("Page.addScriptToEvaluateOnNewDocument", {
        source: this.#elements,
        worldName: ownWorld,
        runImmediately: true,
      }),
      call("Target.setAutoAttach", {
        autoAttach: true,
        waitForDebuggerOnStart: false,
        flatten: true,
        filter: [{ type: "iframe" }, { exclude: true }],
      }),
      // A click on a field for files opens no window of the desktop, which nobody would close.
      ...(frame ? [] : [call("Page.setInterceptFileChooserDialog", { enabled: true })]),
      ...(frame ? [] : [call("Emulation.setFocusEmulationEnabled", { enabled: true })]),
    ]);
  }

  #end() {
    return this.gone ? "the page was closed" : "the page has crashed";
  }

  #learn({ frame, childFrames = [] }, parent, session) {
    const known = this.#frame(frame.id, parent, session);
    known.session = session;
    this.#shows(known, frame);
    childFrames.forEach((child) => this.#learn(child, known, session));
  }

  #frame(id, parent, session) {
    let frame = this.#frames.get(id);
    if (!frame) {
      frame = new Frame(id, parent, session);
      this.#frames.set(id, frame);
    }
    if (!parent && !this.top) {
      this.top = frame;
    }
    return frame;
  }

  #shows(frame, description) {
    frame.document = description.loaderId;
    frame.name = description.name ?? "";
    frame.url = description.url + (description.urlFragment ?? "");
  }

  #forget(frame) {
    for (const child of [...this.#frames.values()]) {
      if (child.parent === frame) {
        this.#forget(child);
      }
    }
    this.#frames.delete(frame.id);
  }

  #event(session, method, params) {
    this.#handlers[method]?.(params, session);
    this.changes.notify();
  }

  #handlers = {
    "Page.frameAttached": ({ frameId, parentFrameId }, session) =>
      this.#frame(frameId, this.#frames.get(parentFrameId), session),

    "Page.frameDetached": ({ frameId, reason }) => {
      const frame = this.#frames.get(frameId);
      if (frame && reason !== "swap") {
        this.#forget(frame);
      }
    },

    "Page.frameStartedNavigating": ({ frameId, navigationType }) => {
      const frame = this.#frames.get(frameId);
      if (frame && navigationType !== "sameDocument") {
        frame.navigating = true;
      }
    },

    "Page.frameNavigated": ({ frame: description, type }, session) => {
      const parent = this.#frames.get(description.parentId) ?? null;
      const frame = this.#frame(description.id, parent, session);
      for (const child of [...this.#frames.values()]) {
        if (child.parent === frame) {
          this.#forget(child);
        }
      }
      frame.session = session;
      frame.navigating = false;
      if (type === "BackForwardCacheRestore") {
        frame.reached = new Set(["DOMContentLoaded", "load"]);
      }
      this.#shows(frame, description);
    },

    "Page.navigatedWithinDocument": ({ frameId, url }) => {
      const frame = this.#frames.get(frameId);
      if (frame) {
        frame.url = url;
        frame.navigating = false;
      }
    },

    "Page.frameStoppedLoading": ({ frameId }) => {
      const frame = this.#frames.get(frameId);
      if (frame) {
        frame.navigating = false;
      }
    },

    "Page.lifecycleEvent": ({ frameId, name }) => {
      const frame = this.#frames.get(frameId);
      if (name === "init") {
        frame?.reached.clear();
      } else if (name === "DOMContentLoaded" || name === "load") {
        frame?.reached.add(name);
      }
    },

    "Runtime.executionContextCreated": ({ context }, session) => {
      const { frameId, isDefault } = context.auxData ?? {};
      const frame = this.#frames.get(frameId);
      if (frame && (isDefault || context.name === ownWorld)) {
        frame.session = session;
        frame.worlds.set(isDefault ? "" : context.name, context.uniqueId);
      }
    },

    "Runtime.executionContextDestroyed": ({ executionContextUniqueId: id }) => {
      for (const frame of this.#frames.values()) {
        for (const [name, world] of frame.worlds) {
          if (world === id) {
            frame.worlds.delete(name);
          }
        }
      }
    },

    "Runtime.executionContextsCleared": (params, session) => {
      for (const frame of this.#frames.values()) {
        if (frame.session === session) {
          frame.worlds.clear();
        }
      }
    },

    "Inspector.targetCrashed": (params, session) => {
      if (session === this.session) {
        this.crashed = true;
        this.top.navigating = false;
        this.top.worlds.clear();
      }
    },

    "Target.attachedToTarget": ({ sessionId, targetInfo }, session) => {
      if (!session) {
        return; // not a frame: a page, attached by the page library
      }
      // A frame that has moved into a target of its own has the target's id.
      const frame = this.#frames.get(targetInfo.targetId);
      if (frame) {
        frame.worlds.clear();
        frame.session = sessionId;
        this.#begin(sessionId, frame).catch(() => {}); // it has gone again
      }
    },

    "Target.detachedFromTarget": ({ sessionId }) => {
      this.gone = this.gone || sessionId === this.session;
      this.protocol.drop(sessionId);
    },
  };
}

// The value that crossed from the page, or the error that was thrown there.
function resultOf(result, exceptionDetails) {
  if (!exceptionDetails) {
    return result.unserializableValue ? numberOf(result.unserializableValue) : result.value;
  }
  const { exception, text } = exceptionDetails;
  const thrown = exception?.description?.split("\n    at ")[0] ?? exception?.value ?? text;
  throw new Error(String(thrown).replace(/^Error: /, ""));
}

function numberOf(text) {
  return text.endsWith("n") ? BigInt(text.slice(0, -1)) : Number(text);
}
