// What the program calls in this page. It has put two channels here: one to itself, and one to the
// browser; the browser's messages arrive under the name of the second one.

// Questions that only the program can answer.
class Program {
  #send;
  #lastId = 0;
  #waiting = new Map();

  constructor(send) {
    this.#send = send;
  }

  tell(message) {
    this.#send(JSON.stringify(message));
  }

  ask(question) {
    const id = ++this.#lastId;
    return new Promise((resolve, reject) => {
      this.#waiting.set(id, { resolve, reject });
      this.tell({ id, ...question });
    });
  }

  // `error` is empty when it was done.
  answered(id, error, value) {
    const { resolve, reject } = this.#waiting.get(id);
    this.#waiting.delete(id);
    if (error) {
      reject(new Error(error));
    } else {
      resolve(value);
    }
  }
}

Error.stackTraceLimit = 50;

const program = new Program(globalThis.talvernProgram);
const tabs = new Tabs(new Protocol(globalThis.talvernBrowser), program);
const downloads = new Downloads();
delete globalThis.talvernProgram;

const AsyncFunction = (async () => {}).constructor;

// The names and values of an object's own properties, without inherited ones.
function ownNames(pairs) {
  const object = Object.create(null);
  for (const [name, value] of pairs) {
    object[name] = value;
  }
  return object;
}

// Of the play that runs.
let library = null;

return {
  attach: (targetId, macroTarget) => tabs.attach(targetId, macroTarget),

  // The page library has come, as one object.
  loaded(module) {
    PageLibrary.module = module;
  },

  // An event of the browser itself.
  heard(method, params) {
    downloads.heard(method, params);
    library?.heard(method, params);
  },

  answered: (id, error, value) => program.answered(id, error, value),

  // Plays a macro to its end. Gives its pieces and, when it was stopped by an error, `error` with
  // its message and line; `syntax` says that the line is still to be found, `gone` that the last
  // visible page was closed meanwhile.
  async play(source, variables, options, traces) {
    const play = new Play(program, traces ? (text) => program.tell({ what: "trace", text }) : null);
    let macro;
    try {
      macro = new AsyncFunction(
        ...["page", "vars", "extract", "options", "puppeteer"],
        `${source}\n//# sourceURL=macro`,
      );
    } catch ({ message }) {
      return { pieces: [], error: { message, syntax: true } };
    }
    library = new PageLibrary(play, tabs, program);
    const page = new Page(play, tabs, downloads);
    const extract = (...values) => play.extract(...values);
    const { pieces } = play;
    try {
      const puppeteer = () => library.objects();
      await macro(page, ownNames(variables), extract, ownNames(options), puppeteer);
      const error = play.forgotten();
      return error ? { pieces, error } : { pieces };
    } catch (thrown) {
      return { pieces, error: play.describe(thrown), gone: tabs.used.gone };
    } finally {
      await play.end(() => tabs.stopWaiting());
      tabs.answerDialogs(null);
      await library.end();
    }
  },
};
