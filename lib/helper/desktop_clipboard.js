'use strict';
// Runs in the helper process. Reads the clipboard of KDE where the portal offers none (until Plasma
// 6.3). An X11 client cannot: KWin gives what a Wayland program has copied to X11 clients only
// while an X11 window has the focus, and the previous text, without an error, at other times.
// Writing through the X server works there, and shows when a program reads.

const { spawnSync } = require('node:child_process');
const { packContent, packText, textType } = require('../common/clipboard_content');

const longest = 16 << 20;  // in bytes
// In milliseconds: for one run of a program, and for a whole read, during which no other call is answered.
const patience = 2000, wholePatience = 5000;

const isPicture = /^\S+ \d+x\d+ \d+bpp$/u;  // what Klipper says of one

const textNames = [textType, 'UTF8_STRING', 'text/plain', 'TEXT', 'STRING', 'COMPOUND_TEXT'];

// Reads with wl-paste, through the compositor's data-control protocol.
class DataControl {
  kind = 'data-control';
  #deadline;

  static isThere() {
    return spawnSync('wl-paste', ['--version'], { stdio: 'ignore', timeout: patience }).status === 0;
  }

  readText() {
    const types = this.#types();
    const type = textNames.find((name) => types.includes(name));
    return type ? this.#read(type)?.toString() ?? '' : '';
  }

  // Returns what lib/common/clipboard_content.js describes, or null.
  readEverything() {
    const types = this.#types();
    const [text] = textNames.filter((name) => types.includes(name));
    const others = types.filter((type) => !textNames.includes(type));
    let left = longest;
    const items = [];
    for (const type of [...text ? [text] : [], ...others.sort((a, b) => (b === 'image/png') - (a === 'image/png'))]) {
      const bytes = this.#read(type);
      if (!bytes?.length || bytes.length > left) continue;
      left -= bytes.length;
      items.push({ type: type === text ? textType : type, bytes });
    }
    return items.length > 0 ? packContent(items) : null;
  }

  // A read begins with the list of types.
  #types() {
    this.#deadline = performance.now() + wholePatience;
    const types = this.#run('--list-types')?.toString() ?? '';
    return [...new Set(types.split('\n').filter(Boolean))];
  }

  #read(type) {
    return this.#run('--no-newline', '--type', type);
  }

  #run(...args) {
    const timeout = Math.min(patience, Math.floor(this.#deadline - performance.now()));
    if (timeout <= 0) return undefined;  // 0 would be no limit
    const { status, stdout } = spawnSync('wl-paste', args,
      { stdio: ['ignore', 'pipe', 'ignore'], timeout, maxBuffer: longest + 1 });
    return status === 0 ? stdout : undefined;
  }
}

// Asks Klipper, the clipboard manager of KDE. It has only texts to give.
class Klipper {
  kind = 'klipper';
  #session;

  constructor(session) {
    this.#session = session;
  }

  readText() {
    const text = this.#session.readKlipper() ?? '';
    return isPicture.test(text) ? '' : text;
  }

  readEverything() {
    if (isPicture.test(this.#session.readKlipper() ?? '')) {
      throw new Error('A picture is in the clipboard, which could not be restored. Install wl-clipboard.');
    }
    return packText(this.readText());
  }
}

// Returns what reads the clipboard of KDE, or undefined when nothing does.
function findDesktopClipboard(session) {
  if (DataControl.isThere()) return new DataControl();
  return session.readKlipper() === null ? undefined : new Klipper(session);
}

module.exports = { findDesktopClipboard };
