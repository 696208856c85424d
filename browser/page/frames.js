// The name of the world that is this system's own in each document of the visible page.
const ownWorld = "talvern";

// The error of a call when the document that it was made in has been left.
class DocumentGone extends Error {}

// One frame of a tab, the top one included: where it is, which document it shows and how far that
// has come. A frame from another site lives in a target with a session of its own.
class Frame {
  constructor(id, parent, session) {
    this.id = id;
    this.parent = parent;
    this.session = session;
    this.name = "";
    this.url = "";
    this.document = ""; // the loader's id
    this.navigating = false; // it has been asked for a document that is not there yet
    this.worlds = new Map(); // a world's name, "" for the page's own, to its unique id
    this.reached = new Set(); // "DOMContentLoaded", "load", "networkIdle"
    this.reachedBy = ""; // the document that has
  }

  // Whether this document has come as far as `state`.
  hasReached(state) {
    return state === "commit" || (this.reachedBy === this.document && this.reached.has(state));
  }

  shows({ loaderId, name = "", url, urlFragment = "" }) {
    this.document = loaderId;
    this.name = name;
    this.url = url + urlFragment;
    this.worlds.clear();
  }

  reaches(state, loaderId) {
    if (state === "init" || this.reachedBy !== loaderId) {
      this.reached.clear();
      this.reachedBy = loaderId;
    }
    this.reached.add(state);
  }
}

// The frames of a tab, kept up to date by the events of its sessions.
class Frames {
  top = null;

  #all = new Map();

  get(id) {
    return this.#all.get(id);
  }

  get list() {
    return [...this.#all.values()];
  }

  // The frame below the top one with this name or, when none has it, the one whose address matches;
  // nothing when there is none.
  find(wanted) {
    const below = this.list.filter((frame) => frame !== this.top);
    const named = below.filter((frame) => frame.name === wanted && wanted !== "");
    const matches = addressMatcher(wanted);
    const found = named.length > 0 ? named : below.filter((frame) => matches(frame.url));
    if (found.length > 1) {
      throw new Error(`there are ${found.length} frames "${wanted}"`);
    }
    return found[0];
  }

  // Takes in a tree of frames as the browser describes it.
  learn({ frame, childFrames = [] }, parent, session) {
    const known = this.#add(frame.id, parent, session);
    known.session = session;
    known.shows(frame);
    childFrames.forEach((child) => this.learn(child, known, session));
  }

  // What an event of a session tells.
  take(method, params, session) {
    this.#handlers[method]?.(params, session);
  }

  #add(id, parent, session) {
    let frame = this.#all.get(id);
    if (!frame) {
      frame = new Frame(id, parent, session);
      this.#all.set(id, frame);
    }
    if (!parent && !this.top) {
      this.top = frame;
    }
    return frame;
  }

  #forget(frame) {
    this.#forgetBelow(frame);
    this.#all.delete(frame.id);
  }

  #forgetBelow(frame) {
    for (const child of this.list) {
      if (child.parent === frame) {
        this.#forget(child);
      }
    }
  }

  #stopped({ frameId }) {
    const frame = this.#all.get(frameId);
    if (frame) {
      frame.navigating = false;
    }
  }

  #handlers = {
    "Page.frameAttached": ({ frameId, parentFrameId }, session) =>
      this.#add(frameId, this.#all.get(parentFrameId), session),

    "Page.frameDetached": ({ frameId, reason }) => {
      const frame = this.#all.get(frameId);
      if (frame && reason !== "swap") {
        this.#forget(frame);
      }
    },

    "Page.frameStartedNavigating": ({ frameId, navigationType }) => {
      const frame = this.#all.get(frameId);
      if (frame && navigationType !== "sameDocument") {
        frame.navigating = true;
      }
    },

    "Page.frameNavigated": ({ frame: description, type }, session) => {
      const parent = this.#all.get(description.parentId) ?? null;
      const frame = this.#add(description.id, parent, session);
      this.#forgetBelow(frame);
      frame.session = session;
      frame.navigating = false;
      frame.shows(description);
      if (type === "BackForwardCacheRestore") {
        ["DOMContentLoaded", "load"].forEach((one) => frame.reaches(one, frame.document));
      }
    },

    "Page.navigatedWithinDocument": ({ frameId, url }) => {
      const frame = this.#all.get(frameId);
      if (frame) {
        frame.url = url;
        frame.navigating = false;
      }
    },

    "Page.frameStoppedLoading": (params) => this.#stopped(params),

    "Page.lifecycleEvent": ({ frameId, loaderId, name }) =>
      this.#all.get(frameId)?.reaches(name, loaderId),

    // Comes only while a session reports its worlds, see Tab.
    "Runtime.executionContextCreated": ({ context }, session) => {
      const { frameId, isDefault } = context.auxData ?? {};
      const frame = this.#all.get(frameId);
      if (frame && (isDefault || context.name === ownWorld)) {
        frame.session = session;
        frame.worlds.set(isDefault ? "" : context.name, context.uniqueId);
      }
    },
  };
}
