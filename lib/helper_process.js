'use strict';

const { fork } = require('node:child_process');
const { EventEmitter, once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { addonError } = require('./errors');
const { openPictureFile, readPicture } = require('./picture_file');
const { startRelease } = require('./release');
const { sessionKind } = require('./session');
const { settlesWithin } = require('./wait');

// For a release, or for the start of the process that does it, in milliseconds.
const releasePatience = 1000;

// The host's end of a helper process. Emits "press" for each press of Escape.
class HelperProcess extends EventEmitter {
  #child;
  #env;
  #pictures = openPictureFile();
  #request;  // the one that runs
  #standby;  // the process that will release the button of a drag
  #orderly = false;

  constructor(env) {
    super();
    this.#env = env;
    this.kind = sessionKind(env);
    // In a session of its own the helper gets no signal from the host's terminal.
    this.#child = fork(path.join(__dirname, 'helper.js'), {
      env, execArgv: [], serialization: 'advanced', detached: true,
      stdio: ['ignore', 'ignore', 'ignore', 'ipc', 'pipe', this.#pictures],  // the pipe is the guard's
    });
    this.#child.on('message', (message) => this.#receive(message));
    this.#child.stdio[4]?.on('error', () => {});
    const exited = new Promise((resolve) => {
      this.#child.once('exit', (code, signal) => resolve({ code, signal }));
      this.#child.once('error', (error) => resolve({ code: null, signal: null, error }));
    });
    // { code, signal, error? }, when nothing is left pressed any more.
    this.ended = exited.then(async (end) => {
      fs.closeSync(this.#pictures);
      if (this.#orderly && end.code === 0) this.#standby?.kill();
      else await this.#releaseAll();
      return end;
    });
  }

  // The method of the call that runs.
  get running() {
    return this.#request?.method;
  }

  // Calls a method, one at a time. When the helper ends, `fail` has to be called.
  request(method, ...args) {
    return new Promise((resolve, reject) => {
      const request = { method, args };
      this.#child.send(request, () => {});  // its end tells why it failed
      this.#request = { ...request, resolve, reject };
    });
  }

  // Has a process ready that releases the button of a drag at once: a new one takes a while to start.
  async prepareRelease() {
    if (this.kind !== 'x11' || this.#standby) return;
    this.#standby = startRelease(this.#env);
    await settlesWithin(once(this.#standby.stdout, 'readable'), releasePatience);
  }

  // Rejects the call that runs.
  fail(error) {
    this.#request?.reject(error);
    this.#request = undefined;
  }

  // Ends the running `type` at the next character.
  abort() {
    this.#child.send({ method: 'abort' }, () => {});
  }

  // Ends the helper, by force when it does not end within `patience` milliseconds.
  async end(patience) {
    this.#orderly = true;
    if (this.#child.connected) this.#child.disconnect();
    if (!await settlesWithin(this.ended, patience)) this.#child.kill('SIGKILL');
    await this.ended;
  }

  #receive({ press, error, value }) {
    if (press !== undefined) {
      this.emit('press', press);
      return;
    }
    const { method, resolve, reject } = this.#request;
    this.#request = undefined;
    if (error !== undefined) reject(addonError(error));
    else resolve(method === 'screenshot' ? readPicture(this.#pictures, value) : value);
  }

  // Releases what a helper that did not end by itself may have left pressed.
  async #releaseAll() {
    if (this.kind !== 'x11') return;
    const release = this.#standby ?? startRelease(this.#env);
    release.stdin.end(this.running === 'click' ? String(this.#request.args[2]).toLowerCase() : '');
    if (!await settlesWithin(once(release, 'exit').catch(() => {}), releasePatience)) release.kill('SIGKILL');
  }
}

module.exports = { HelperProcess };
