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

// How long to wait for the release process to start, and to finish, in milliseconds.
const releasePatience = 1000;

// Controls a helper process from the host. Emits "press" for each press of Escape.
class HelperProcess extends EventEmitter {
  #child;
  #env;
  #pictures = openPictureFile();
  #request;  // the request that is running
  #standby;  // the process that will release the button of a drag
  #orderly = false;

  constructor(env) {
    super();
    this.#env = env;
    this.kind = sessionKind(env);
    // In a session of its own the helper gets no signals from the host's terminal.
    this.#child = fork(path.join(__dirname, 'helper.js'), {
      env, execArgv: [], serialization: 'advanced', detached: true,
      stdio: ['ignore', 'ignore', 'ignore', 'ipc', 'pipe', this.#pictures],  // the guard reads the pipe
    });
    this.#child.on('message', (message) => this.#receive(message));
    this.#child.stdio[4]?.on('error', () => {});
    const exited = new Promise((resolve) => {
      this.#child.once('exit', (code, signal) => resolve({ code, signal }));
      this.#child.once('error', (error) => resolve({ code: null, signal: null, error }));
    });
    // Resolves to { code, signal, error? } once everything has been released.
    this.ended = exited.then(async (end) => {
      fs.closeSync(this.#pictures);
      if (this.#orderly && end.code === 0) this.#standby?.kill();
      else await this.#releaseAll();
      return end;
    });
  }

  // Returns the method of the running call.
  get running() {
    return this.#request?.method;
  }

  // Calls a method. Only one call may run at a time. When the helper ends, call `fail`.
  request(method, ...args) {
    return new Promise((resolve, reject) => {
      const request = { method, args };
      this.#child.send(request, () => {});  // the exit of the helper says why sending failed
      this.#request = { ...request, resolve, reject };
    });
  }

  // Starts the process that releases the button of an aborted drag in advance, because starting takes a while.
  async prepareRelease() {
    if (this.kind !== 'x11' || this.#standby) return;
    this.#standby = startRelease(this.#env);
    await settlesWithin(once(this.#standby.stdout, 'readable'), releasePatience);
  }

  // Rejects the running call.
  fail(error) {
    this.#request?.reject(error);
    this.#request = undefined;
  }

  // Makes the running `type` stop at the next character.
  abort() {
    this.#child.send({ method: 'abort' }, () => {});
  }

  // Ends the helper, and kills it when it does not exit within `patience` milliseconds.
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

  // Releases the buttons that a helper may have left pressed when it did not exit normally.
  async #releaseAll() {
    if (this.kind !== 'x11') return;
    const release = this.#standby ?? startRelease(this.#env);
    release.stdin.end(this.running === 'click' ? String(this.#request.args[2]).toLowerCase() : '');
    if (!await settlesWithin(once(release, 'exit').catch(() => {}), releasePatience)) release.kill('SIGKILL');
  }
}

module.exports = { HelperProcess };
