'use strict';
// Runs in the host: the object that `openDesktop` returns.

const {
  buttonArguments, callback, checkArguments, checkCallOptions, clickArguments, dragArguments, duration, methods,
  monitorChoice, moveArguments, optional, options: checkOptions, partArguments, pasteMode, pixelArguments,
  screenshotArguments, text: checkText,
} = require('./check');
const { AbortError, DesktopClosedError } = require('./errors');
const { HelperProcess } = require('./helper_process');
const { paste } = require('./paste');
const { Permission } = require('./permission');
const { Limit, settlesWithin, sleep } = require('./wait');
const { write } = require('./write');

const asyncDispose = Symbol.asyncDispose ?? Symbol.for('Symbol.asyncDispose');

// In milliseconds.
const closePatience = 3000;  // before the helper of a closed session is killed
const interruptPatience = 100;  // before an interrupted call that holds nothing down is left to itself
const releasePatience = 500;  // before a helper that does not release what it holds down is killed
// Before a helper is killed that does not finish an aborted call. The longest wait of a call, for a
// compositor that does not read, is 10 s. On Wayland the user's consent ends with the helper.
const callPatience = 12000;

// The work of a call that makes one request.
const requesting = (...call) => ({ request }) => request(...call);

const isOptions = (value) => typeof value === 'object' && value !== null && !Array.isArray(value);

// Returns the place of a monitor.
function findMonitor(monitors, id) {
  const monitor = monitors.find((each) => each.id === id);
  if (!monitor) throw new RangeError(`There is no monitor "${id}", but ${monitors.map((each) => `"${each.id}"`).join(', ')}.`);
  const { x, y, width, height } = monitor;
  return { x, y, width, height };
}

class Desktop {
  static {
    for (const method of Object.keys(methods)) {
      if (Object.hasOwn(Desktop.prototype, method)) continue;
      const value = { async [method](...args) { return this.#forward(method, args); } }[method];
      Object.defineProperty(Desktop.prototype, method, { value, writable: true, configurable: true });
    }
  }

  #helper;
  #timeout;
  #turn = Promise.resolve();  // resolves when all earlier calls have ended
  #end;                       // says why the desktop has ended or is ending
  #escapeListeners = new Set();
  #watches = new Map();  // the function that ends the wait, by the number of a watch
  #lastWatch = 0;

  // Only openDesktop calls this.
  constructor({ env = process.env, timeout }) {
    this.#helper = new HelperProcess(env);
    this.#timeout = timeout;
    this.#helper.on('press', (time) => this.#escapeListeners.forEach((call) => call(time)));
    this.#helper.on('watched', ({ number, error }) => this.#watches.get(number)?.(error));
    this.#helper.on('ended', (message) => {
      this.#stop({ reason: 'session ended', error: new Error(message) }, closePatience);
    });
    this.closed = this.#helper.ended.then((end) => {
      this.#end = { reason: 'exited', ...this.#end, ...end, ...(this.#end?.error && { error: this.#end.error }) };
      this.#helper.fail(this.#closedError());
      return this.#end;
    });
  }

  // Resolves when the session is open. When opening fails, the helper is ended.
  static async open(given) {
    const { signal, timeout, env } = checkCallOptions(given);
    optional(checkOptions)(env, 'env');
    if (signal?.aborted) throw new AbortError(signal.reason);
    const monitors = optional(monitorChoice, 'one')(given?.monitors, 'monitors');
    const permission = new Permission(given ?? {});
    const limit = new Limit({ signal });
    let desktop;
    try {
      const remember = await limit.race(permission.load());
      desktop = new Desktop({ env, timeout });
      permission.follow(desktop.#helper);
      const { clipboard } = await limit.race(desktop.#helper.request('open', remember, monitors));
      await limit.race(permission.saved());
      desktop.remembered = permission.remembered;
      desktop.clipboard = clipboard;
      return desktop;
    } catch (error) {
      await desktop?.#stop({ reason: limit.error ? 'aborted' : 'closed' }, 0);
      throw error;
    } finally {
      permission.end();
      limit.end();
    }
  }

  async move(...args) {
    const [given, positional] = isOptions(args[0]) ? [args[0]] : [args[2], { x: args[0], y: args[1] }];
    if (args.length > 1 && given?.duration === undefined) return this.#forward('move', args);
    return this.#perform(checkCallOptions(given), requesting('moveFor', ...moveArguments({ ...given, ...positional })));
  }

  async click(...args) {
    if (args.length > 0 && !isOptions(args[0])) return this.#forward('click', args);
    const options = checkCallOptions({ ...args[0], ...args[1] });
    return this.#perform(options, requesting('clickHolding', ...clickArguments(options)));
  }

  async drag(...args) {
    if (!isOptions(args[0])) return this.#forward('drag', args);
    const options = checkCallOptions(args[0]);
    return this.#perform(options, requesting('dragHolding', ...dragArguments(options)));
  }

  async mouseDown(...args) {
    return this.#setButton('mouseDown', true, args);
  }

  async mouseUp(...args) {
    return this.#setButton('mouseUp', false, args);
  }

  async screenshot(given) {
    const options = checkCallOptions(given);
    const args = screenshotArguments(options);
    return this.#perform(options, async ({ request }) => {
      if (options.monitor === undefined) return request('screenshot', ...args);
      const region = findMonitor(await request('monitors'), options.monitor);
      return request('screenshot', ...screenshotArguments({ ...options, monitor: undefined, region }));
    });
  }

  async write(text, given) {
    const { paste: mode, delay, ...options } = checkCallOptions(given);
    const chosen = optional(pasteMode, 'auto')(mode, 'paste');
    const checked = {
      // A paste that cannot work must not be discovered after half of the text.
      paste: chosen === 'auto' && this.clipboard === 'none' ? 'never' : chosen,
      delay: Math.round(optional(duration, 5)(delay, 'delay')),
    };
    checkText(text, 'text');
    return this.#perform(options, (calls) => write(text, checked, calls));
  }

  // Resolves to { width, height, data } with the pixels as red, green, blue and 255.
  async pixels(given) {
    const options = checkCallOptions(given);
    return this.#perform(options, requesting('pixels', ...partArguments(options.region)));
  }

  async colourAt(x, y, given) {
    return this.#perform(checkCallOptions(given), requesting('colourAt', ...pixelArguments(x, y)));
  }

  async paste(text, given) {
    const { combo, restoreAfter, ...options } = checkCallOptions(given);
    const checked = {
      combo: optional(checkText, 'ctrl+v')(combo, 'combo'),
      restoreAfter: optional(duration, 5000)(restoreAfter, 'restoreAfter'),
    };
    checkText(text, 'text');
    return this.#perform(options, (calls) => paste(text, checked, calls));
  }

  // Calls `listener` for each press of Escape. Resolves to a function that removes the listener.
  async onEscape(listener, given) {
    const options = checkCallOptions(given);
    callback(listener, 'listener');
    const call = (time) => listener(time);
    await this.#perform(options, async ({ request, requestAlways, limit }) => {
      if (this.#escapeListeners.size === 0) {
        if (this.#helper.kind === 'wayland') {
          throw new Error('Escape cannot be watched on Wayland. Offer the user another way to stop.');
        }
        await request('unlock');  // the listener that was removed last may still wait for its turn to do so
        await request('lock');
        // An abort must not leave the key grabbed: no other program would see it.
        if (limit.error) await requestAlways('unlock');
      }
      if (limit.error) throw limit.error;
      this.#escapeListeners.add(call);
    });
    return async () => {
      if (!this.#escapeListeners.delete(call) || this.#end) return;
      await this.#perform({}, async ({ request }) => {
        if (this.#escapeListeners.size === 0) await request('unlock');
      });
    };
  }

  // Yields the time of each press of Escape.
  async *escapePresses(given) {
    const { signal } = checkCallOptions(given);
    const times = [];
    let wake = () => {};
    const stop = await this.onEscape((time) => { times.push(time); wake(); }, { signal });
    const limit = new Limit({ signal });
    this.closed.then(() => wake());
    try {
      for (;;) {
        while (times.length > 0) yield times.shift();
        if (this.#end) throw this.#closedError();
        await limit.race(new Promise((resolve) => { wake = resolve; }));
      }
    } finally {
      limit.end();
      await stop();
    }
  }

  // Resolves to the first picture that differs from the one taken when it was this call's turn.
  async waitForChange(given) {
    return this.#watch(checkCallOptions(given));
  }

  // Resolves to a picture that has not changed for `quiet` milliseconds.
  async waitForStill(given) {
    const options = checkCallOptions(given);
    return this.#watch(options, optional(duration, 500)(options.quiet, 'quiet'));
  }

  // Ends the session: interrupts the running call and rejects the calls that have not begun.
  async close() {
    await this.#stop({ reason: 'closed' }, closePatience);
  }

  [asyncDispose]() {
    return this.close();
  }

  #setButton(method, pressed, args) {
    if (args.length > 0 && !isOptions(args[0])) return this.#forward(method, args);
    const options = checkCallOptions(args[0]);
    return this.#perform(options, requesting('setButton', ...buttonArguments(pressed, options)));
  }

  #forward(method, args) {
    const options = checkCallOptions(isOptions(args.at(-1)) ? args.pop() : {});
    return this.#perform(options, requesting(method, ...checkArguments(method, args)));
  }

  // Runs `work` when all earlier calls have ended. `work` gets the limit of this call and three
  // functions: `request` calls a method of the session module and `pause` waits, and both fail
  // once this call is aborted. `requestAlways` calls a method even then.
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
      return work({ limit, request, requestAlways, pause });
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
      throw this.#end?.error ? this.#closedError() : error;
    }
  }

  // Stops the running call, which was aborted. Returns when nothing that it pressed is held down.
  async #interrupt(settled) {
    this.#helper.interrupt();
    if (await settlesWithin(settled, interruptPatience)) return;
    const endWithin = async (patience) => {
      if (!await settlesWithin(settled, patience)) await this.#stop({ reason: 'aborted' }, 0);
    };
    if (this.#end || this.#helper.holdsAnything) {
      await endWithin(this.#helper.kind === 'wayland' ? callPatience : releasePatience);
    } else {
      endWithin(callPatience);  // not awaited
    }
  }

  // The helper looks at the part between the calls, and compares the pixels. Only the picture that
  // this returns is encoded.
  async #watch({ region, timeout = this.#timeout, interval, signal }, quiet) {
    const part = partArguments(region);
    const pause = optional(duration, 100)(interval, 'interval');
    const limit = new Limit({ signal, timeout });
    const number = ++this.#lastWatch;
    const perform = (...call) => limit.race(this.#perform({ timeout: null }, requesting(...call)));
    const ended = this.closed.then(() => { throw this.#closedError(); });
    ended.catch(() => {});
    try {
      for (;;) {
        const done = new Promise((resolve, reject) => {
          this.#watches.set(number, (error) => (error ? reject(new Error(error)) : resolve()));
        });
        done.catch(() => {});
        await perform('watch', number, part, pause, quiet);
        await limit.race(Promise.race([done, ended]));
        const picture = await perform('watchedPicture', number);
        if (picture !== null) return picture;
      }
    } catch (error) {
      if (!this.#end) this.#perform({ timeout: null }, requesting('endWatch', number)).catch(() => {});
      throw error;
    } finally {
      this.#watches.delete(number);
      limit.end();
    }
  }

  async #stop(end, patience) {
    this.#end ??= end;
    await this.#helper.end(patience);
    await this.closed;
  }

  #closedError() {
    return new DesktopClosedError(this.#end, this.#helper.complaints);
  }
}

module.exports = { Desktop };
