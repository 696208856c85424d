// A page that is open in the browser: its sessions, its frames, and calls into them.
class Tab {
  crashed = false;
  gone = false; // closed, by whomever
  frames = new Frames();

  #protocol;
  #changes;
  #answerDialog;
  #inputEnd = Promise.resolve(); // of all operations that use the mouse or the keys
  #learning = new Map(); // by session: the worlds that are being asked for

  // `changes` is told of whatever happens here; `answerDialog` gives the answer to a dialog.
  constructor(protocol, targetId, changes, answerDialog) {
    this.#answerDialog = answerDialog;
    this.#protocol = protocol;
    this.targetId = targetId;
    this.#changes = changes;
    this.ready = this.#attach();
    this.ready.catch(() => {}); // the page has gone again
  }

  get top() {
    return this.frames.top;
  }

  call(session, method, params) {
    if (this.gone || this.crashed) {
      return Promise.reject(new Error(this.#end()));
    }
    return this.#protocol.call(method, params, session);
  }

  // Gives the mouse and the keys to one operation at a time, in their order: what is typed goes to
  // whatever has the focus.
  async input(deadline, work) {
    const before = this.#inputEnd;
    let end;
    this.#inputEnd = Promise.all([before, new Promise((resolve) => (end = resolve))]);
    try {
      await deadline.within(before, () => "another operation still types or clicks");
      return await work(new Input(this, deadline));
    } finally {
      end();
    }
  }

  // Ends the script that runs in the page when it does not let the page answer. The next call has to
  // wait for that, or it would be ended too.
  async interruptBusy(session = this.session, patience = 1000) {
    const within = (time, method, params) => {
      const call = this.#protocol.call(method, params, session);
      const late = new Promise((resolve) => setTimeout(resolve, time, false));
      return Promise.race([call.then(() => true, () => true), late]);
    };
    if (!(await within(patience, "Runtime.evaluate", { expression: "0" }))) {
      await within(500, "Runtime.terminateExecution", {});
    }
  }

  // To be called before the page is asked to go elsewhere, which revives a crashed one. A page whose
  // script does not end cannot be left, and cannot be reached any more once it has been told to
  // leave: its script is ended before.
  async readyToLeave() {
    if (this.crashed) {
      this.crashed = false;
      return;
    }
    await this.interruptBusy();
  }

  // Waits for `condition`, as long as the page has not crashed.
  until(condition, deadline, late) {
    const alive = () => {
      if (this.gone || this.crashed) {
        throw new Error(this.#end());
      }
      return condition();
    };
    return this.#changes.until(alive, deadline, late);
  }

  // The id of a world of a frame's document, once there is one.
  async world(frame, name, deadline) {
    const late = () => "the page does not answer";
    while (!frame.worlds.has(name)) {
      await deadline.within(this.#learnWorlds(frame.session), late);
      if (this.frames.get(frame.id) !== frame) {
        throw new DocumentGone("the frame has gone");
      }
      if (!frame.worlds.has(name)) {
        await deadline.pause(20, late); // a document is just being replaced
      }
    }
    return frame.worlds.get(name);
  }

  // Calls a function, given as text, in a world of the frame's document with these arguments. What
  // it gives, or throws, crosses as a copy. Throws DocumentGone when the document is left meanwhile.
  callIn(frame, world, declaration, values) {
    return this.#run(frame, world, "Runtime.callFunctionOn", {
      functionDeclaration: declaration,
      uniqueContextId: world,
      arguments: values.map((value) => ({ value })),
      returnByValue: true,
      awaitPromise: true,
      userGesture: true,
    });
  }

  // Runs a text as a script of the page's own, and gives what a sent function does. Also a page that
  // forbids its scripts to do so allows it here.
  async evaluateIn(frame, world, expression) {
    const remote = await this.#run(frame, world, "Runtime.evaluate", {
      expression,
      uniqueContextId: world,
      awaitPromise: true,
      userGesture: true,
    });
    if (!remote?.objectId) {
      return { value: remote, later: true };
    }
    const { value } = await this.#run(frame, world, "Runtime.callFunctionOn", {
      functionDeclaration: sentFunction("(() => this)"),
      objectId: remote.objectId,
      returnByValue: true,
      awaitPromise: true,
    });
    return { value, later: true };
  }

  // The element that this system's own world of a frame has chosen, as the protocol names it.
  async chosenIn(frame, world) {
    const element = await this.#run(frame, world, "Runtime.callFunctionOn", {
      functionDeclaration: "function() { return talvernElements.chosen; }",
      uniqueContextId: world,
    });
    return element.objectId;
  }

  // Whatever this system's own worlds wait for is given up.
  stopWaiting() {
    for (const frame of this.frames.list) {
      const world = frame.worlds.get(ownWorld);
      if (world) {
        this.callIn(frame, world, "function() { talvernElements.stop(); }", []).catch(() => {});
      }
    }
  }

  // The page was closed.
  close() {
    this.gone = true;
    this.#changes.notify();
  }

  async #run(frame, world, method, params) {
    try {
      const { result, exceptionDetails } = await this.call(frame.session, method, params);
      return resultOf(result, exceptionDetails);
    } catch (error) {
      const isGone = /context|navigated|closed|gone|collected/i.test(error.message);
      if (!(error instanceof ProtocolError) || !isGone) {
        throw error;
      }
      if ([...frame.worlds.values()].includes(world)) {
        frame.worlds.clear();
      }
      throw new DocumentGone(error.message);
    }
  }

  async #attach() {
    const { sessionId } = await this.#protocol.call("Target.attachToTarget", {
      targetId: this.targetId,
      flatten: true,
    });
    this.session = sessionId;
    await this.#begin(sessionId, null);
  }

  // Begins to listen to a session: of the page itself, or of a frame from another site.
  async #begin(session, frame) {
    this.#protocol.listen(session, (method, params) => this.#event(session, method, params));
    const call = (method, params) => this.#protocol.call(method, params, session);
    // The frames come first: all other events speak of them.
    const [, tree] = await Promise.all([call("Page.enable"), call("Page.getFrameTree")]);
    this.frames.learn(tree.frameTree, frame?.parent ?? null, session);
    await Promise.all([
      call("Inspector.enable"),
      call("Page.setLifecycleEventsEnabled", { enabled: true }),
      call("Page.addScriptToEvaluateOnNewDocument", {
        source: codeInPage,
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

  // Has a session report which worlds its documents have. This is not left switched on, because the
  // lines of the page's console come with the worlds, however many there are.
  #learnWorlds(session) {
    let learning = this.#learning.get(session);
    if (!learning) {
      learning = this.call(session, "Runtime.enable", {})
        .catch((error) => {
          if (!(error instanceof ProtocolError)) {
            throw error;
          }
        })
        .finally(() => this.#learning.delete(session));
      this.#learning.set(session, learning);
      this.call(session, "Runtime.disable", {}).catch(() => {});
    }
    return learning;
  }

  #end() {
    return this.gone ? "the page was closed" : "the page has crashed";
  }

  #event(session, method, params) {
    this.frames.take(method, params, session);
    this.#handlers[method]?.(params, session);
    this.#changes.notify();
  }

  #handlers = {
    "Inspector.targetCrashed": (params, session) => {
      if (session === this.session) {
        this.crashed = true;
        this.top.navigating = false;
        this.top.worlds.clear();
      }
    },

    "Page.javascriptDialogOpening": async (params, session) => {
      const answer = await this.#answerDialog(params).catch(() => ({ accept: false }));
      if (answer) {
        this.call(session, "Page.handleJavaScriptDialog", answer).catch(() => {});
      }
    },

    "Target.attachedToTarget": ({ sessionId, targetInfo }) => {
      // A frame that has moved into a target of its own has the target's id.
      const frame = this.frames.get(targetInfo.targetId);
      if (frame) {
        frame.worlds.clear();
        frame.session = sessionId;
        this.#begin(sessionId, frame).catch(() => {}); // the frame has gone again
      }
    },

    "Target.detachedFromTarget": ({ sessionId }) => this.#protocol.drop(sessionId),
  };
}

// The value that crossed from the page, or the error that was thrown there.
function resultOf(result, exceptionDetails) {
  if (!exceptionDetails) {
    return result.unserializableValue ? numberOf(result.unserializableValue)
      : result.objectId ? result : result.value;
  }
  const { exception, text } = exceptionDetails;
  const thrown = exception?.description?.split("\n    at ")[0] ?? exception?.value ?? text;
  throw new Error(String(thrown).replace(/^Error: /, ""));
}

function numberOf(text) {
  return text.endsWith("n") ? BigInt(text.slice(0, -1)) : Number(text);
}
