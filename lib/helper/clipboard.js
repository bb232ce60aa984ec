'use strict';
// Runs in the helper process: the clipboard of its session.

const { startKeep } = require('../keep/start');
const { packText, textIn } = require('../shared/clipboard_content');

const missing = 'There is no clipboard: the desktop portal offers none in this session, and there is no X server. '
  + 'Set DISPLAY, and XAUTHORITY if the server requires it.';

class Clipboard {
  #session;
  #replaced;  // during a paste: { content } from before, null when there was nothing

  constructor(session) {
    this.#session = session;
    this.kind = session.clipboardKind();
  }

  getText() {
    this.#require();
    return textIn(this.#session.readClipboardText());
  }

  setText(text) {
    this.#require();
    this.#session.writeClipboard(packText(text));
  }

  // Replaces what has been copied by a text, until endPaste().
  beginPaste(text) {
    this.#require();
    const content = this.#session.readWholeClipboard();
    this.#replaced = { content };
    this.#session.writeClipboard(packText(text));
    this.#session.settleClipboard();
  }

  // Returns "read" once a program has read the text, "lost" when another program has copied
  // something, and "unread" after `longest` milliseconds.
  waitForReader(longest) {
    return this.#session.waitForReader(longest);
  }

  // Restores what beginPaste() has replaced. What another program has copied since stays.
  endPaste() {
    if (!this.#replaced) return;
    const { content } = this.#replaced;
    this.#replaced = undefined;
    if (this.#session.ownsClipboard()) this.#session.writeClipboard(content);
  }

  // Keeps what this session has copied when its process ends. Calls `done` when that can happen.
  close(done) {
    if (this.kind === 'none') return done();
    this.endPaste();
    if (!this.#session.ownsClipboard() || this.#session.handOverClipboard()) return done();
    const content = this.#session.readWholeClipboard();
    if (content === null) return done();
    startKeep(process.env, content, this.#session.clipboardOfferedAt(), done);
  }

  #require() {
    if (this.kind === 'none') throw new Error(missing);
  }
}

module.exports = { Clipboard };
