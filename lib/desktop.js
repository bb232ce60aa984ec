'use strict';

const { EventEmitter, on } = require('node:events');
const { AbortError, DesktopClosedError, sessionEnds } = require('./errors');
const { HelperProcess } = require('./helper_process');
const { paste } = require('./paste');
const { Limit, settlesWithin, sleep } = require('./wait');

const asyncDispose = Symbol.asyncDispose ?? Symbol.for('Symbol.asyncDispose');

// How long to wait before the helper is killed, in milliseconds.
const closePatience = 3000;  // when the session is closed
const typePatience = 100;    // when `type` is aborted
const callPatience = 3000;   // when any other call is aborted

// These methods are forwarded to the addon unchanged.
const forwarded = ['move', 'mouseDown', 'mouseUp', 'type', 'key', 'scroll', 'cursorPosition', 'display',
  'capabilities', 'listDisplays', 'listWindows', 'getActiveWindow', 'windowAtPoint', 'activateApplication',
  'concealApplication', 'restoreApplication', 'activateWindow', 'concealWindow', 'restoreWindow', 'prepareForInput',
  'getClipboard', 'setClipboard', 'checkPermissions', 'requestPermissions'];

const isOptions = (value) => typeof value === 'object' && value !== null && !Array.isArray(value);

function screenshotArguments({ region, format = 'png', quality = 0.8, ...rest }) {
  if (format !== 'png' && format !== 'jpeg') throw new TypeError(`The format must be "png" or "jpeg", not ${format}.`);
  const { width = 0, height = 0 } = rest.size ?? rest;
  const { x, y, width: columns, height: rows } = region ?? { x: 0, y: 0, width: 0, height: 0 };
  return ['', null, [], width, height, x, y, x + columns, y + rows, format === 'jpeg' ? quality : -1];
}

class Desktop {
  static {
    for (const method of forwarded) {
      const value = { [method](...args) { return this.#forward(method, args); } }[method];
      Object.defineProperty(this.prototype, method, { value, writable: true, configurable: true });
    }
  }

  #helper;
  #timeout;
  #turn = Promise.resolve();  // resolves when all earlier calls have ended
  #end;                       // says why the desktop has ended or is ending
  #escapeListeners = new Set();

  // Only openDesktop calls this.
  constructor({ env = process.env, timeout } = {}) {
    this.#helper = new HelperProcess(env);
    this.#timeout = timeout;
    this.#helper.on('press', (time) => this.#escapeListeners.forEach((call) => call(time)));
    this.closed = this.#helper.ended.then((end) => {
      this.#end = { reason: 'exited', ...this.#end, ...end };
      this.#helper.fail(this.#closedError());
      return this.#end;
    });
  }

  // Resolves when the session is open. When opening fails, the helper is ended.
  static async open({ signal, ...options } = {}) {
    if (signal?.aborted) throw new AbortError(signal.reason);
    const desktop = new Desktop(options);
    const limit = new Limit({ signal });
    try {
      await limit.race(desktop.#helper.request('open'));
      return desktop;
    } catch (error) {
      await desktop.#stop({ reason: limit.error ? 'aborted' : 'closed' }, 0);
      throw error;
    } finally {
      limit.end();
    }
  }

  click(...args) {
    if (!isOptions(args[0])) return this.#forward('click', args);
    const { x, y, button = 'left', count = 1, ...options } = args[0];
    return this.#forward('click', [x, y, button, count, { ...options, ...args[1] }]);
  }

  drag(fromX, fromY, toX, toY, options = {}) {
    return this.#perform(options, async ({ request }) => {
      const { signal, timeout = this.#timeout } = options;
      if (signal || timeout !== undefined) await this.#helper.prepareRelease();
      return request('drag', fromX, fromY, toX, toY);
    });
  }

  async screenshot(options = {}) {
    return this.#forward('screenshot', [...screenshotArguments(options), options]);
  }

  paste(text, options = {}) {
    return this.#perform(options, (calls) => paste(text, options, calls));
  }

  // Calls `listener` for each press of Escape. Resolves to a function that removes the listener.
  async onEscape(listener, options = {}) {
    const call = (time) => listener(time);
    await this.#perform(options, async ({ request }) => {
      if (this.#escapeListeners.size === 0 && !await request('lock')) {
        throw new Error(this.#helper.kind === 'wayland' ?
          'Escape cannot be watched on Wayland. Offer the user another way to stop.' :
          'Escape cannot be watched: another program holds it. Close that program.');
      }
      this.#escapeListeners.add(call);
    });
    return async () => {
      if (!this.#escapeListeners.delete(call) || this.#end) return;
      await this.#perform({ timeout: Infinity }, async ({ request }) => {
        if (this.#escapeListeners.size === 0) await request('unlock');
      });
    };
  }

  // Yields the time of each press of Escape.
  async *escapePresses({ signal } = {}) {
    const emitter = new EventEmitter();
    const presses = on(emitter, 'press', { signal });
    const stop = await this.onEscape((time) => emitter.emit('press', time), { signal });
    this.closed.then(() => emitter.listenerCount('error') > 0 && emitter.emit('error', this.#closedError()));
    try {
      for await (const [time] of presses) yield time;
    } finally {
      await stop();
    }
  }

  // Resolves to the first picture that differs from the one taken when it was this call's turn.
  waitForChange(options = {}) {
    let first;
    return this.#watch(options, (picture) => {
      first ??= picture;
      return !picture.equals(first);
    });
  }

  // Resolves to a picture that has not changed for `quiet` milliseconds.
  waitForStill({ quiet = 500, ...options } = {}) {
    let since, last;
    return this.#watch(options, (picture) => {
      if (!last?.equals(picture)) since = performance.now();
      last = picture;
      return performance.now() - since >= quiet;
    });
  }

  // Ends the session and rejects the calls that have not begun.
  async close() {
    if (this.#helper.running === 'type') this.#helper.abort();
    await this.#stop({ reason: 'closed' }, this.#helper.running === 'drag' ? 0 : closePatience);
  }

  [asyncDispose]() {
    return this.close();
  }

  #forward(method, args) {
    const options = isOptions(args.at(-1)) ? args.pop() : {};
    return this.#perform(options, ({ request }) => request(method, ...args));
  }

  // Runs `work` when all earlier calls have ended. `work` gets three functions: `request` calls
  // a method of the addon and `pause` waits, and both fail once this call is aborted.
  // `requestAlways` calls a method even then.
  async #perform({ signal, timeout = this.#timeout }, work) {
    if (this.#end) throw this.#closedError();
    const limit = new Limit({ signal, timeout });
    const requestAlways = (...call) => this.#request(...call);
    const request = async (...call) => {
      if (limit.error) throw limit.error;
      return this.#request(...call);
    };
    const pause = (milliseconds) => limit.race(sleep(milliseconds));
    let begun = false;
    const working = this.#turn.then(() => {
      if (limit.error) throw limit.error;
      begun = true;
      return work({ request, requestAlways, pause });
    });
    const settled = working.then(() => {}, () => {});
    this.#turn = settled;
    try {
      return await limit.race(working);
    } catch (error) {
      if (begun && error === limit.error) await this.#interrupt(settled);
      Error.captureStackTrace(error);  // adds the caller's frames
      throw error;
    } finally {
      limit.end();
    }
  }

  async #request(method, ...args) {
    if (this.#end) throw this.#closedError();
    try {
      return await this.#helper.request(method, ...args);
    } catch (error) {
      if (this.#helper.kind === 'wayland' && sessionEnds.test(error.message)) {
        this.#stop({ reason: 'session ended', error }, closePatience);
      }
      throw error;
    }
  }

  // Ends the running call, which was aborted, or the helper when the call cannot be ended.
  async #interrupt(settled) {
    const endWithin = async (patience) => {
      if (!await settlesWithin(settled, patience)) await this.#stop({ reason: 'aborted' }, 0);
    };
    switch (this.#helper.running) {
      case 'type':
        this.#helper.abort();
        return endWithin(typePatience);
      case 'drag':
        return endWithin(0);
      default:
        endWithin(callPatience);  // not awaited: these calls are short or leave nothing pressed
    }
  }

  async #watch({ region, timeout = this.#timeout, interval = 100, signal }, isDone) {
    const limit = new Limit({ signal, timeout });
    try {
      for (;;) {
        // Two PNGs are equal if and only if their pixels are.
        const picture = await limit.race(this.screenshot({ region }));
        if (picture !== null && isDone(picture)) return picture;
        await limit.race(sleep(interval));
      }
    } finally {
      limit.end();
    }
  }

  async #stop(end, patience) {
    this.#end ??= end;
    await this.#helper.end(patience);
    await this.closed;
  }

  #closedError() {
    return new DesktopClosedError(this.#end, this.#helper.kind);
  }
}

module.exports = { Desktop };
