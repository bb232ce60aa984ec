'use strict';

const { AbortError } = require('./errors');

const sleep = (milliseconds) => new Promise((resolve) => setTimeout(resolve, milliseconds));

// Resolves to whether a promise, which must not reject, resolves within the given time.
async function settlesWithin(promise, milliseconds) {
  let timer;
  const timeout = new Promise((resolve) => { timer = setTimeout(resolve, milliseconds, false); });
  try {
    return await Promise.race([promise.then(() => true), timeout]);
  } finally {
    clearTimeout(timer);
  }
}

// Holds the signal and the timeout of one call. When either of them fires, `aborted` rejects
// with an AbortError, which is then also in `error`.
class Limit {
  #timer;
  #signal;
  #onAbort;

  constructor({ signal, timeout }) {
    this.#signal = signal;
    this.aborted = new Promise((_resolve, reject) => {
      const abort = (reason) => {
        this.error = new AbortError(reason);
        reject(this.error);
      };
      this.#onAbort = () => abort(signal.reason);
      if (signal?.aborted) this.#onAbort();
      signal?.addEventListener('abort', this.#onAbort);
      if (timeout !== undefined && timeout !== Infinity) {
        const timedOut = () => abort(new DOMException(`${timeout} ms have passed.`, 'TimeoutError'));
        this.#timer = setTimeout(timedOut, timeout);
      }
    });
    this.aborted.catch(() => {});
  }

  race(promise) {
    return Promise.race([this.aborted, promise]);
  }

  end() {
    clearTimeout(this.#timer);
    this.#signal?.removeEventListener('abort', this.#onAbort);
  }
}

module.exports = { Limit, settlesWithin, sleep };
