// What the pages download, as the browser reports it.
class Downloads {
  expected = 0; // operations that wait for one

  #changes = new Changes();
  #all = new Map(); // by the browser's id, in their order

  // Takes an event of the browser itself.
  heard(method, params) {
    if (method === "Browser.downloadWillBegin" || method === "Browser.downloadProgress") {
      this.#all.set(params.guid, { ...this.#all.get(params.guid), ...params });
      this.#changes.notify();
    }
  }

  // The path of the file that is downloaded because of what `action` does.
  async fileOf(action, deadline) {
    const before = new Set(this.#all.keys());
    const find = () => {
      const found = [...this.#all.values()].find(({ guid }) => !before.has(guid));
      if (found?.state === "canceled") {
        throw new Error(`download: ${found.url} was not downloaded to its end`);
      }
      return found?.state === "completed" && found;
    };
    ++this.expected;
    try {
      await action();
      const late = () => "download: no file comes";
      return (await this.#changes.until(find, deadline, late)).filePath;
    } finally {
      --this.expected;
    }
  }
}
