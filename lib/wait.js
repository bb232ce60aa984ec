'use strict';

const { AbortError } = require('./errors');

const sleep = (milliseconds) => new Promise((resolve) => setTimeout(resolve, milliseconds));

// Whether a promise that does not reject settles within so many milliseconds.
async function settlesWithin(promise, milliseconds) {
  let timer;
  const late = new Promise((resolve) => { timer = setTimeout(resolve, milliseconds, false); });
  try {
    return await Promise.race([promise.then(() => true), late]);
  } finally {
    clearTimeout(timer);
  }
}

// The signal and the timeout of one call. `aborted` rejects with an AbortError.
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
        const timedOut = () => abort(new DOMException(`${timeout} ms are over.`, 'TimeoutError'));
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
