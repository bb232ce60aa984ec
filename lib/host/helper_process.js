'use strict';
// Runs in the host.

const { fork } = require('node:child_process');
const { EventEmitter, once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { startRelease } = require('../release/start');
const { requireDescriptors } = require('../common/descriptors');
const { isAnythingHeld, isAnythingLeft, openMemoryFile, readPicture, readPixels } = require('../common/memory_file');
const { sessionKind } = require('../common/session_kind');
const { callError } = require('./errors');
const { settlesWithin, sleep } = require('./wait');

// In milliseconds.
const releasePatience = 30000;  // a busy machine starts a process slowly
const releasePause = 200;  // before another try, for example when descriptors were short
const complaintsPatience = 200;

// Two for each of three pipes, and some for Node's own purposes meanwhile.
const descriptorsOfHelper = 12;
const longestComplaints = 4096;  // in characters

// Returns the path of the helper's program. A bundle does not contain it.
function findHelper() {
  const file = typeof __dirname === 'string' && path.join(__dirname, '..', 'helper', 'main.js');
  if (file && fs.existsSync(file)) return file;
  throw new Error('ostler/promises starts a process from its own files, which a bundle does not contain: '
    + 'keep "ostler" external in your bundler (see docs/promises.md).');
}

// The methods whose results come through the memory file.
const readers = { screenshot: readPicture, watchedPicture: readPicture, pixels: readPixels };

const events = ['press', 'watched', 'asking', 'granted', 'unsaved'];

// Controls a helper process from the host. Emits "press" for each press of Escape, "watched" with a
// number and perhaps an error when a part that is watched has changed or is still, and "ended" with a
// message when the session has ended. While it opens, it emits "asking" before the user
// may be asked, "granted" when the user has agreed, and "unsaved" with the reason when the
// permission cannot be remembered.
class HelperProcess extends EventEmitter {
  #child;
  #env;
  #memoryFile;
  #request;  // the request that is running
  #calls = 0;
  #orderly = false;

  // What the helper has written to stderr, for an error message.
  complaints = '';

  // Throws when no process can be started, or fails later: then `ended` resolves with an error.
  constructor(env) {
    super();
    this.#env = env;
    this.kind = sessionKind(env);
    const helper = findHelper();
    this.#memoryFile = openMemoryFile();
    try {
      requireDescriptors(descriptorsOfHelper);
      // In a session of its own the helper gets no signals from the host's terminal. Node's
      // permission model warns about its flags in each process, which must not count as a complaint.
      this.#child = fork(helper, {
        env: { ...env, NODE_NO_WARNINGS: '1' }, execArgv: [], serialization: 'advanced', detached: true,
        stdio: ['ignore', 'ignore', 'pipe', 'ipc', 'pipe', this.#memoryFile],  // the guard reads the second pipe
      });
    } catch (error) {
      fs.closeSync(this.#memoryFile);
      throw error;
    }
    this.ended = this.#watch();
  }

  // Returns whether keys or buttons are held down.
  get holdsAnything() {
    return this.#memoryFile !== undefined && isAnythingHeld(this.#memoryFile);
  }

  // Calls a method. Only one call may run at a time. When the helper ends, call `fail`.
  request(method, ...args) {
    return new Promise((resolve, reject) => {
      this.#calls = this.#calls % 0x7fffffff + 1;
      this.#request = { call: this.#calls, method, resolve, reject };
      // The exit of the helper says why sending failed. A process that could not start has no channel.
      this.#child.send?.({ call: this.#calls, method, args }, () => {});
    });
  }

  // Rejects the running call.
  fail(error) {
    this.#request?.reject(error);
    this.#request = undefined;
  }

  // Makes the running call stop before its next step and release what it has pressed.
  interrupt() {
    if (!this.#request) return;
    const number = Buffer.alloc(4);
    number.writeInt32LE(this.#request.call);
    this.#child.stdio[4]?.write(number, () => {});
  }

  // Ends the helper, and kills it when it does not exit within `patience` milliseconds.
  async end(patience) {
    this.#orderly = true;
    this.interrupt();
    if (this.#child.connected) this.#child.disconnect();
    if (!await settlesWithin(this.ended, patience)) this.#child.kill('SIGKILL');
    await this.ended;
  }

  // Resolves to { code, signal, error?, stillPressed? } when the helper has ended and everything
  // has been released. Never rejects.
  async #watch() {
    const child = this.#child;
    child.on('message', (message) => this.#receive(message));
    child.stdio?.[4]?.on('error', () => {});
    child.stderr?.on('error', () => {}).setEncoding('utf8').on('data', (data) => {
      this.complaints = (this.complaints + data).slice(-longestComplaints);
    });
    const drained = child.stderr ? once(child.stderr, 'close').catch(() => {}) : Promise.resolve();
    const end = await new Promise((resolve) => {
      child.once('exit', (code, signal) => resolve({ code, signal }));
      child.once('error', (error) => resolve({ code: null, signal: null, error }));
    });
    await settlesWithin(drained, complaintsPatience);
    // In Deno the process that keeps the clipboard inherits the helper's ends of these, which would
    // keep the host from exiting.
    child.stdio?.[4]?.destroy();
    child.stderr?.destroy();
    if (child.connected) child.disconnect();
    if (!(this.#orderly && end.code === 0) && !await this.#release()) end.stillPressed = true;
    fs.closeSync(this.#memoryFile);
    this.#memoryFile = undefined;
    return end;
  }

  #receive(message) {
    const event = events.find((name) => message[name] !== undefined);
    if (event) {
      this.emit(event, message[event]);
      return;
    }
    const { ended, error, value } = message;
    if (ended !== undefined) this.emit('ended', ended);
    // A message can arrive after the helper's exit, when the memory file is closed.
    const isAnswer = error !== undefined || ended === undefined;
    if (!isAnswer || !this.#request || this.#memoryFile === undefined) return;
    const { method, resolve, reject } = this.#request;
    this.#request = undefined;
    if (error !== undefined) reject(callError(error, this.#env));
    else resolve(readers[method] ? readers[method](this.#memoryFile, value) : value);
  }

  // Releases the keys and buttons that the helper has left pressed. Resolves to whether that is done.
  async #release() {
    if (this.kind !== 'x11') return true;
    const deadline = performance.now() + releasePatience;
    while (isAnythingLeft(this.#memoryFile)) {
      const left = deadline - performance.now();
      if (left <= 0) return false;
      if (await this.#runRelease(left)) return true;
      await sleep(releasePause);
    }
    return true;
  }

  async #runRelease(patience) {
    let release;
    try {
      release = startRelease(this.#env, this.#memoryFile);
    } catch {
      return false;
    }
    release.stdin?.end();
    const exited = new Promise((resolve) => {
      release.once('exit', (code) => resolve(code === 0)).once('error', () => resolve(false));
    });
    if (!await settlesWithin(exited, patience)) release.kill('SIGKILL');
    return exited;
  }
}

module.exports = { HelperProcess };
