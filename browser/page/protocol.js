// The browser's error for a command that it does not carry out.
class ProtocolError extends Error {}

// The browser's own protocol, spoken over the channel that the program has put into this page: an
// id for each command, a table of those that wait, events to whoever listens to their session.
class Protocol {
  #channel;
  #lastId = 0;
  #waiting = new Map();
  #listeners = new Map();
  #sharer = null;

  constructor(channel) {
    this.#channel = channel;
    channel.onmessage = (text) => this.#receive(JSON.parse(text));
  }

  // Gives the browser's answer; without a session the command goes to the browser itself. The end of
  // the session rejects the call.
  call(method, params = {}, sessionId = undefined) {
    const id = ++this.#lastId;
    return new Promise((resolve, reject) => {
      this.#waiting.set(id, { resolve, reject, sessionId });
      this.#channel.send(JSON.stringify({ id, method, params, sessionId }));
    });
  }

  // Events of the session go to `listener(method, params)`, in their order.
  listen(sessionId, listener) {
    this.#listeners.set(sessionId, listener);
  }

  // Events go to this one, too: those of no session, and of sessions that nobody listens to.
  share(sharer) {
    this.#sharer = sharer;
  }

  // The session is over: whatever waits in it ends.
  drop(sessionId) {
    this.#listeners.delete(sessionId);
    for (const [id, call] of this.#waiting) {
      if (call.sessionId === sessionId) {
        this.#waiting.delete(id);
        call.reject(new ProtocolError("the page has gone"));
      }
    }
  }

  #receive(message) {
    if (message.id === undefined) {
      const { method, params, sessionId } = message;
      this.#listeners.get(sessionId)?.(method, params);
      if (!sessionId || !this.#listeners.has(sessionId)) {
        this.#sharer?.(message);
      }
      return;
    }
    const call = this.#waiting.get(message.id);
    this.#waiting.delete(message.id);
    if (message.error) {
      call?.reject(new ProtocolError(message.error.message));
    } else {
      call?.resolve(message.result);
    }
  }
}
