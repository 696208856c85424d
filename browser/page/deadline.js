// The longest time that a timer takes: a longer one would fire at once.
const longestTimer = 2 ** 31 - 1;

// The time of one operation, which every wait inside it shares, and the signal of its play, whose end
// ends them all.
class Deadline {
  // By how many milliseconds a wait for code inside the visible page outlasts that code's own waits:
  // its answer says what did not come true, which is worth more than a time-out to the millisecond.
  static grace = 500;

  #signal;

  // `timeout` in milliseconds; 0 is no limit.
  constructor(timeout, signal) {
    this.end = timeout > 0 ? performance.now() + timeout : Infinity;
    this.#signal = signal;
  }

  // Milliseconds left, or null without a limit, as the visible page's code takes it.
  get left() {
    return this.end === Infinity ? null : Math.max(0, this.end - performance.now());
  }

  get isOver() {
    // A timer may come a fraction of a millisecond early.
    return this.end - performance.now() < 2 || this.#signal.aborted;
  }

  // What `promise` gives; an error with the text of `late` when it times out, and the signal's own
  // error when the play ends first.
  async within(promise, late, grace = 0) {
    let timer;
    let ended;
    const end = new Promise((resolve, reject) => {
      ended = () => reject(this.#signal.reason);
      this.#signal.addEventListener("abort", ended);
      if (this.#signal.aborted) {
        ended();
      }
      if (this.end !== Infinity) {
        const wait = Math.min(this.left + grace, longestTimer);
        timer = setTimeout(() => reject(new Error(late())), wait);
      }
    });
    try {
      return await Promise.race([promise, end]);
    } finally {
      clearTimeout(timer);
      this.#signal.removeEventListener("abort", ended);
    }
  }

  // Waits for a while that is a part of the operation.
  pause(milliseconds, late) {
    return this.within(new Promise((resolve) => setTimeout(resolve, milliseconds)), late);
  }
}

// Notifies all who wait that something they look at has changed.
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
