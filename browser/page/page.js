// What a macro knows as `page`: the operations on the page that is driven, and where it goes.
class Page extends FrameOperations {
  #play;
  #tabs;
  #downloads;

  constructor(play, tabs, downloads) {
    super(play, () => ({ tab: tabs.used, frame: tabs.used.top }));
    this.#play = play;
    this.#tabs = tabs;
    this.#downloads = downloads;
  }

  goto(url, options = {}) {
    const address = String(url);
    return this.#step("goto", [address], options, ["waitUntil"], async (deadline) => {
      if (!URL.canParse(address)) {
        throw new Error(`goto: "${address}" is no address, such as https://example.com/`);
      }
      const tab = this.#tab;
      await this.#navigate(address, options, deadline, async (late) => {
        const call = tab.call(tab.session, "Page.navigate", { url: address });
        const answer = await deadline.within(call, late);
        if (answer.isDownload && this.#downloads.expected > 0) {
          return tab.top.document;
        }
        if (answer.isDownload) {
          throw new Error(`goto ${address}: this is a download, no page`);
        }
        if (answer.errorText) {
          await this.#crashOf(answer.errorText);
          throw new Error(`goto ${address}: ${answer.errorText}`);
        }
        return answer.loaderId;
      });
    });
  }

  reload(options = {}) {
    return this.#step("reload", [], options, ["waitUntil"], (deadline) => {
      const tab = this.#tab;
      return this.#navigate(tab.top.url, options, deadline, async (late) => {
        const before = tab.top.document;
        await deadline.within(tab.call(tab.session, "Page.reload", {}), late);
        await tab.until(() => tab.top.document !== before, deadline, late);
        return tab.top.document;
      });
    });
  }

  // Gives false when there is no page to go back to.
  goBack(options = {}) {
    return this.#step("goBack", [], options, ["waitUntil"], async (deadline) => {
      const tab = this.#tab;
      const { session, top } = tab;
      const question = tab.call(session, "Page.getNavigationHistory", {});
      const history = await deadline.within(question, () => "the page does not answer");
      if (history.currentIndex === 0) {
        return false;
      }
      const entry = history.entries[history.currentIndex - 1];
      await this.#navigate(entry.url, options, deadline, async (late) => {
        const before = top.document;
        const { url } = top;
        const call = tab.call(session, "Page.navigateToHistoryEntry", { entryId: entry.id });
        await deadline.within(call, late);
        await tab.until(() => top.document !== before || top.url !== url, deadline, late);
        return top.document;
      });
      return true;
    });
  }

  waitForURL(url, options = {}) {
    return this.#step("waitForURL", [url], options, ["waitUntil"], async (deadline) => {
      const matches = addressMatcher(url);
      const state = documentState(options.waitUntil ?? "load");
      const tab = this.#tab;
      await tab.until(
        () => matches(tab.top.url) && tab.top.hasReached(state),
        deadline,
        () => `waitForURL ${url}: the page is ${tab.top.url}`,
      );
    });
  }

  waitForLoadState(state = "load", options = {}) {
    return this.#step("waitForLoadState", [state], options, [], async (deadline) => {
      const wanted = documentState(state);
      const tab = this.#tab;
      await tab.until(
        () => !tab.top.navigating && tab.top.hasReached(wanted),
        deadline,
        () => `waitForLoadState ${state}: ${tab.top.url} does not get there`,
      );
    });
  }

  waitForTimeout(milliseconds) {
    return this.#step("waitForTimeout", [milliseconds], { timeout: 0 }, [], (deadline) =>
      deadline.pause(timeoutOf("waitForTimeout", milliseconds)),
    );
  }

  url() {
    return this.#tab.top.url;
  }

  setDefaultTimeout(timeout) {
    this.#play.setDefaultTimeout(timeout);
  }

  screenshot(options = {}) {
    const { path = "", fullPage = false } = options;
    return this.#step("screenshot", [path], options, ["path", "fullPage"], async (deadline) => {
      const late = () => "screenshot: the page is not drawn";
      const tab = this.#tab;
      // Behind another page it would not be drawn.
      await deadline.within(tab.call(tab.session, "Page.bringToFront", {}), late);
      const question = { what: "screenshot", path: String(path), fullPage: Boolean(fullPage) };
      return deadline.within(this.#play.program.ask(question), late);
    });
  }

  // The operations on a frame below this page, found by its name or by its address.
  frame(wanted) {
    return new FrameOperations(this.#play, async (deadline) => {
      const tab = this.#tab;
      const late = () => `the frame "${wanted}" is not there`;
      return { tab, frame: await tab.until(() => tab.frames.find(wanted), deadline, late) };
    });
  }

  // The pages that are open, in the order in which they were opened.
  pages() {
    return this.#step("pages", [], {}, [], (deadline) => this.#tabs.describe(deadline));
  }

  // Has this and later plays drive another page: one of those that `pages` gives, or the one with
  // such an address, once it is there.
  usePage(other, options = {}) {
    return this.#step("usePage", [other?.url ?? other], options, [], async (deadline) => {
      const tabs = this.#tabs;
      const isMeant =
        typeof other?.id === "string"
          ? (tab) => tab.targetId === other.id
          : ((matches) => (tab) => tab.top && matches(tab.top.url))(addressMatcher(other));
      const find = () => {
        const found = tabs.all.filter(isMeant);
        if (found.length > 1) {
          throw new Error(`there are ${found.length} pages ${other}`);
        }
        return found[0];
      };
      const late = () => `the page ${other?.url ?? other} is not there`;
      await tabs.use(await tabs.changes.until(find, deadline, late), deadline);
    });
  }

  // The path of the file that is downloaded because of what the function `action` does.
  download(action, options = {}) {
    return this.#step("download", [action], options, [], (deadline) => {
      if (typeof action !== "function") {
        throw new Error("download takes a function, such as () => page.click(\"#save\")");
      }
      return this.#downloads.fileOf(action, deadline);
    });
  }

  // How dialogs are answered until the play ends: true, false, the text of a prompt, or a function
  // of the dialog's message that gives one of these.
  onDialog(answer) {
    this.#play.noteLine();
    this.#tabs.answerDialogs(answer);
  }

  get #tab() {
    return this.#tabs.used;
  }

  #step(name, values, options, known, work) {
    return this.#play.step(name, values, options, known, work);
  }

  // Waits until the document that `start` asked for, or one that has come in its place, is there.
  async #navigate(url, options, deadline, start) {
    const state = documentState(options.waitUntil ?? "load");
    const tab = this.#tab;
    const { top } = tab;
    const late = () => `${url} does not come`;
    const before = top.document;
    await tab.readyToLeave();
    const asked = await start(late);
    await tab.until(
      () =>
        // Within one document only the address changes.
        (asked ? top.document === asked : top.url === new URL(url).href) ||
        (top.document !== before && !top.navigating),
      deadline,
      late,
    );
    await tab.until(
      () => !top.navigating && top.hasReached(state),
      deadline,
      () => `${url} does not finish loading`,
    );
  }

  // Whether a page has crashed as it was asked for, or just does not come, is known a little later.
  async #crashOf(errorText) {
    if (errorText === "net::ERR_ABORTED") {
      const soon = new Deadline(300, new AbortController().signal);
      const tab = this.#tab;
      await tab.until(() => false, soon, () => "").catch((error) => {
        if (tab.crashed) {
          throw error;
        }
      });
    }
  }
}
