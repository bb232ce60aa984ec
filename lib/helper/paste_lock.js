'use strict';
// Runs in the helper process.

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

// Lets only one session at a time paste on a desktop: a second one would take the text of the first
// for what the user has copied, and restore that.
class PasteLock {
  #lockFile;  // that of the session module
  #file;
  #descriptor = -1;

  constructor(lockFile, { XDG_RUNTIME_DIR, WAYLAND_DISPLAY, DISPLAY = '' }) {
    this.#lockFile = lockFile;
    const desktop = (WAYLAND_DISPLAY || DISPLAY).replace(/\W/g, '_');
    this.#file = path.join(XDG_RUNTIME_DIR || os.tmpdir(), `ostler-${process.getuid()}-paste-${desktop}.lock`);
  }

  // Returns false while another session holds the lock. A folder without write permission has no
  // lock; then each session is on its own.
  tryLock() {
    if (this.#descriptor >= 0) return true;
    try {
      this.#descriptor = this.#lockFile(this.#file, false);
    } catch {
      return true;
    }
    return this.#descriptor >= 0;
  }

  unlock() {
    if (this.#descriptor >= 0) fs.closeSync(this.#descriptor);
    this.#descriptor = -1;
  }
}

module.exports = { PasteLock };
