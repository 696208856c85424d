// The time of one operation, which every wait inside it shares.
class Deadline {
  // How much longer than its own waits something inside the visible page is waited for. An answer
  // that names what was waited for is worth more than one that comes on the dot.
  static grace = 500;

  // `timeout` in milliseconds; 0 is no limit.
  constructor(timeout) {
    this.end = timeout > 0 ? performance.now() + timeout : Infinity;
  }

  // Milliseconds left, or null without a limit, as the visible page's code takes it.
  get left() {
    return this.end === Infinity ? null : Math.max(0, this.end - performance.now());
  }

  // What `promise` gives, or an error with the text of `late` when the time is over before.
  async within(promise, late, grace = 0) {
    if (this.end === Infinity) {
      return promise;
    }
    let timer;
    const end = new Promise((resolve, reject) => {
      timer = setTimeout(() => reject(new Error(late())), this.left + grace);
    });
    try {
      return await Promise.race([promise, end]);
    } finally {
      clearTimeout(timer);
    }
  }
}

// Tells all who wait that something they look at has changed.
class Changes {
  #waiting = new Set();

  notify() {
    for (const look of [...this.#waiting]) {
      look();
    }
  }

  // What `condition` gives once it is not falsy; what it throws ends the wait.
  async until(condition, deadline, late) {
    const found = condition();
    if (found) {
      return found;
    }
    let look;
    const change = new Promise((resolve, reject) => {
      look = () => {
        try {
          const value = condition();
          if (value) {
            resolve(value);
          }
        } catch (error) {
          reject(error);
        }
      };
      this.#waiting.add(look);
    });
    try {
      return await deadline.within(change, late);
    } finally {
      this.#waiting.delete(look);
    }
  }
}
