'use strict';
// Runs in the helper process. Looks at parts of the desktop until they have changed or are still. Each
// look compares pixels in native code, between the calls of the host.

class Watches {
  #session;
  #report;
  #timers = new Map();

  // `report` is called with { number } of a watch that is done, or { number, error } of one that failed.
  constructor(session, report) {
    this.#session = session;
    this.#report = report;
  }

  // Watches a part until it has changed, or has not changed for `quiet` milliseconds if that is given.
  start(number, part, interval, quiet) {
    this.#session.watch(number, ...part);
    let since = performance.now();
    const look = () => {
      try {
        const hasChanged = this.#session.hasChanged(number);
        if (hasChanged) since = performance.now();
        if (quiet === undefined ? hasChanged : performance.now() - since >= quiet) this.#report({ number });
        else this.#timers.set(number, setTimeout(look, interval));
      } catch (error) {
        this.#report({ number, error: error.message });
      }
    };
    this.#timers.set(number, setTimeout(look, interval));
  }

  // Returns the picture that was seen last, or null when there was none.
  take(number) {
    const picture = this.#session.watchedPicture(number);
    this.end(number);
    return picture;
  }

  end(number) {
    clearTimeout(this.#timers.get(number));
    this.#timers.delete(number);
    this.#session.endWatch(number);
  }
}

module.exports = { Watches };
