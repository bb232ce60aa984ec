'use strict';
// Runs in the host.

const { AbortError } = require('./errors');

const longestTimer = 2 ** 31 - 1;  // in milliseconds; a longer timer would fire at once

const sleep = (milliseconds) => new Promise((resolve) => setTimeout(resolve, Math.min(milliseconds, longestTimer)));

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

// Each signal gets one listener, however many calls use it: Node warns about more than ten.
const callbacksOf = new WeakMap();

// Calls `callback` when the signal aborts. Returns a function that prevents it.
function onAbort(signal, callback) {
  let entry = callbacksOf.get(signal);
  if (!entry) {
    const callbacks = new Set();
    entry = { callbacks, listener: () => [...callbacks].forEach((call) => call()) };
    callbacksOf.set(signal, entry);
    signal.addEventListener('abort', entry.listener);
  }
  entry.callbacks.add(callback);
  return () => {
    if (!entry.callbacks.delete(callback) || entry.callbacks.size > 0) return;
    signal.removeEventListener('abort', entry.listener);
    callbacksOf.delete(signal);
  };
}

// Holds the signal and the timeout of one call. When either of them fires, `aborted` rejects
// with an AbortError, which is then also in `error`.
class Limit {
  #timer;
  #ignoreSignal = () => {};

  constructor({ signal, timeout }) {
    this.aborted = new Promise((_resolve, reject) => {
      const abort = (reason) => {
        this.error ??= new AbortError(reason);
        reject(this.error);
      };
      if (signal?.aborted) abort(signal.reason);
      else if (signal) this.#ignoreSignal = onAbort(signal, () => abort(signal.reason));
      if (timeout !== undefined && timeout !== null && timeout !== Infinity) {
        const timedOut = () => abort(new DOMException(`${timeout} ms have passed.`, 'TimeoutError'));
        this.#timer = setTimeout(timedOut, Math.min(timeout, longestTimer));
      }
    });
    this.aborted.catch(() => {});
  }

  race(promise) {
    return Promise.race([this.aborted, promise]);
  }

  end() {
    clearTimeout(this.#timer);
    this.#ignoreSignal();
  }
}

module.exports = { Limit, settlesWithin, sleep };
