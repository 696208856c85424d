// What an operation gives to the macro: a promise that knows whether anybody waits for it.
class Awaited extends Promise {
  static get [Symbol.species]() {
    return Promise;
  }

  isHeard = false;
  isRaced = false; // against other promises, of which one is enough

  then(...values) {
    this.isHeard = true;
    return super.then(...values);
  }
}

for (const name of ["race", "any"]) {
  const original = Promise[name];
  Promise[name] = function (promises) {
    const all = [...promises];
    all.forEach((one) => one instanceof Awaited && (one.isRaced = true));
    return original.call(this, all);
  };
}

// One play of a macro: its pieces, its operations and the signal that ends them all.
class Play {
  // Where a macro's own lines begin in the function that is made of it.
  static firstLine = 2;

  pieces = [];

  #controller = new AbortController();
  #defaultTimeout = 30000;
  #lastLine = 0;
  #lines = new WeakMap(); // of errors
  #operations = new Set(); // those that still run and those that nobody has waited for
  #trace;

  constructor(program, trace) {
    this.program = program;
    this.#trace = trace;
  }

  // The first operation that still runs, or has run without anybody's waiting for it, as an error.
  forgotten() {
    for (const { name, line, promise, runs } of this.#operations) {
      if (!promise.isHeard || (runs && !promise.isRaced)) {
        return { message: `${name} was not awaited`, line };
      }
    }
    return null;
  }

  // Ends whatever still runs, with `stop` for what waits inside the pages.
  async end(stop) {
    this.#controller.abort(new Error("the macro has ended"));
    const running = [...this.#operations].filter(({ runs }) => runs);
    if (running.length > 0) {
      stop();
      const late = new Promise((resolve) => setTimeout(resolve, 1000));
      await Promise.race([Promise.allSettled(running.map(({ promise }) => promise)), late]);
    }
  }

  setDefaultTimeout(timeout) {
    this.#begin();
    this.#defaultTimeout = timeoutOf("setDefaultTimeout", timeout);
  }

  // Keeps values as pieces of the extract: a text as it is, nothing as an empty one, an object as
  // its JSON.
  extract(...values) {
    this.#begin();
    for (const value of values) {
      this.pieces.push(textOf(value).toWellFormed());
    }
  }

  // Runs one operation and keeps the line of the macro that called it with the error that it ends
  // with. `known` are the names of its options besides "timeout".
  step(name, values, options, known, work) {
    const line = this.#begin();
    let settle;
    const promise = new Awaited((resolve) => (settle = resolve));
    const operation = { name, line, promise, runs: true };
    this.#operations.add(operation);
    settle(this.#run(operation, values, options, known, work));
    return promise;
  }

  // What a macro threw, as its message and the line that it comes from: 0 when no line is known.
  describe(thrown) {
    const isError = thrown instanceof Error;
    return {
      message: (isError ? thrown.message || thrown.name : textOf(thrown)).toWellFormed(),
      line: (isError && (this.#lines.get(thrown) || lineOf(thrown))) || this.#lastLine,
    };
  }

  // Remembers the line of the macro that is being run.
  noteLine() {
    this.#lastLine = lineOf(new Error()) || this.#lastLine;
    return this.#lastLine;
  }

  async #run(operation, values, options, known, work) {
    const { name, line } = operation;
    const started = performance.now();
    const tell = (outcome) =>
      this.#trace?.(
        `line ${line}: ${name}(${values.map(shortened).join(", ")}) ${outcome}` +
          ` after ${Math.round(performance.now() - started)} ms`,
      );
    try {
      if (values.includes(undefined)) {
        throw new Error(`${name}: a value is undefined, such as a variable that is not set`);
      }
      checkOptions(name, options, known);
      const timeout = timeoutOf(name, options.timeout ?? this.#defaultTimeout);
      const result = await work(new Deadline(timeout, this.#controller.signal));
      tell("done");
      return result;
    } catch (thrown) {
      const error = thrown instanceof Error ? thrown : new Error(textOf(thrown));
      tell(`failed, ${error.message}`);
      this.#lines.set(error, line);
      throw error;
    } finally {
      operation.runs = false;
      if (operation.promise.isHeard) {
        this.#operations.delete(operation);
      }
    }
  }

  #begin() {
    if (this.#controller.signal.aborted) {
      throw new Error("the macro has ended");
    }
    return this.noteLine();
  }
}

function checkOptions(name, options, known) {
  if (options === null || typeof options !== "object") {
    throw new Error(`${name} takes its options as an object, such as { timeout: 5000 }`);
  }
  const unknown = Object.keys(options).find((one) => one !== "timeout" && !known.includes(one));
  if (unknown !== undefined) {
    throw new Error(`${name} knows no option "${unknown}"`);
  }
}

function timeoutOf(name, timeout) {
  if (typeof timeout !== "number" || !(timeout >= 0)) {
    throw new Error(`${name}: a time-out is a number of milliseconds`);
  }
  return timeout;
}

// The innermost line of the macro in an error's stack, 0 when there is none.
function lineOf(error) {
  const found = /\bmacro:(\d+):\d+/.exec(error.stack ?? "");
  return found ? Number(found[1]) - Play.firstLine : 0;
}

function textOf(value) {
  if (value === undefined || value === null) {
    return "";
  }
  if (typeof value !== "object") {
    return String(value);
  }
  const json = typeof value.toJSON === "function" ? value.toJSON() : undefined;
  return typeof json === "string" ? json : JSON.stringify(value);
}

function shortened(value) {
  const text = typeof value === "string" ? JSON.stringify(value) : String(value);
  return text.length > 60 ? `${text.slice(0, 57)}...` : text;
}
