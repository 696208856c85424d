// The end of a play takes its operations with it, also those that the macro did not wait for.
class Run {
  // Where a macro's own lines begin in the function that is made of it.
  static firstLine = 2;

  pieces = [];

  #ended = false;
  #defaultTimeout = 30000;
  #lastLine = 0;
  #trace;

  constructor(trace) {
    this.#trace = trace;
  }

  end() {
    this.#ended = true;
  }

  setDefaultTimeout(timeout) {
    this.#defaultTimeout = Number(timeout);
  }

  // Keeps values as pieces of the extract: a text as it is, nothing as an empty one, an object as
  // its JSON.
  extract(...values) {
    this.#begin();
    for (const value of values) {
      this.pieces.push(textOf(value).toWellFormed());
    }
  }

  // Runs one operation and puts the line of the macro that called it on the error that it ends
  // with.
  async step(name, values, timeout, work) {
    const line = this.#begin();
    const started = performance.now();
    const tell = (outcome) =>
      this.#trace?.(
        `line ${line}: ${name}(${values.map(shortened).join(", ")}) ${outcome}` +
          ` after ${Math.round(performance.now() - started)} ms`,
      );
    try {
      const result = await work(new Deadline(timeout ?? this.#defaultTimeout));
      tell("done");
      return result;
    } catch (error) {
      tell(`failed, ${error.message}`);
      error.macroLine = line;
      throw error;
    }
  }

  // What a macro threw, as its message and the line that it comes from: 0 when no line is known.
  describe(thrown) {
    const isError = thrown instanceof Error;
    return {
      message: (isError ? thrown.message || thrown.name : textOf(thrown)).toWellFormed(),
      line: (isError && (thrown.macroLine || lineOf(thrown))) || this.#lastLine,
    };
  }

  // Remembers the line of the macro that is being run.
  noteLine() {
    this.#lastLine = lineOf(new Error()) || this.#lastLine;
    return this.#lastLine;
  }

  #begin() {
    if (this.#ended) {
      throw new Error("the macro has ended");
    }
    return this.noteLine();
  }
}

// The innermost line of the macro in an error's stack, 0 when there is none.
function lineOf(error) {
  const found = /\bmacro:(\d+):\d+/.exec(error.stack ?? "");
  return found ? Number(found[1]) - Run.firstLine : 0;
}

function textOf(value) {
  if (value === undefined || value === null) {
    return "";
  }
  return typeof value === "object" ? JSON.stringify(value) : String(value);
}

function shortened(value) {
  const text = typeof value === "string" ? JSON.stringify(value) : String(value);
  return text.length > 60 ? `${text.slice(0, 57)}...` : text;
}
