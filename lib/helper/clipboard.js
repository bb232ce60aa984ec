'use strict';
// Runs in the helper process: the clipboard of its session.

const { startKeep } = require('../keep/start');
const { packText, textIn } = require('../common/clipboard_content');
const { needsDesktopClipboard, sessionKind } = require('../common/session_kind');
const { findDesktopClipboard } = require('./desktop_clipboard');

const missing = {
  server: 'There is no clipboard: the desktop portal offers none in this session, and there is no X server. '
    + 'Set DISPLAY, and XAUTHORITY if the server requires it.',
  reader: 'There is no clipboard: the desktop portal offers none in this session, and an X11 program cannot read that '
    + 'of KDE. Install wl-clipboard.',
};

class Clipboard {
  #session;
  #env;
  #reader;    // reads instead of the session module, on some desktops
  #missing;   // says what is missing
  #offered = '';  // the text that setText() or beginPaste() has set last
  #replaced;  // during a paste: { content } from before, null when there was nothing

  constructor(session, env) {
    this.#session = session;
    this.#env = env;
    this.kind = session.clipboardKind();
    if (this.kind === 'none') this.#missing = missing.server;
    if (this.kind !== 'x11' || sessionKind(env) !== 'wayland' || !needsDesktopClipboard(env)) return;
    this.#reader = findDesktopClipboard(session);
    this.kind = this.#reader?.kind ?? 'none';
    if (!this.#reader) this.#missing = missing.reader;
  }

  getText() {
    this.#require();
    return this.#reader ? this.#reader.readText() : textIn(this.#session.readClipboardText());
  }

  setText(text) {
    this.#require();
    this.#offered = text;
    this.#session.writeClipboard(packText(text));
  }

  // Replaces what has been copied by a text, until endPaste().
  beginPaste(text) {
    this.#require();
    const content = this.#readEverything();
    this.#replaced = { content };
    this.setText(text);
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
    if (!this.#isOurs()) return;
    this.#session.writeClipboard(content);
    this.#offered = textIn(content);
  }

  // Keeps what this session has copied when its process ends. Calls `done` when that can happen.
  close(done) {
    if (this.kind === 'none') return done();
    this.endPaste();
    if (!this.#isOurs() || (this.#session.handOverClipboard() && !this.#vanishes)) return done();
    const content = this.#session.readWholeClipboard();
    if (content === null) return done();
    startKeep(this.#env, content, this.#session.clipboardOfferedAt(), done);
  }

  // Whether the desktop drops what the session has copied. Of KDE only Klipper keeps it.
  get #vanishes() {
    return this.kind === 'portal' && needsDesktopClipboard(this.#env) && this.#session.readKlipper() === null;
  }

  #readEverything() {
    return this.#reader ? this.#reader.readEverything() : this.#session.readWholeClipboard();
  }

  // Returns whether the clipboard still has what this session has set last. An X11 program does
  // not learn everything that happens on a desktop with a reader.
  #isOurs() {
    if (!this.#session.ownsClipboard()) return false;
    return !this.#reader || this.#reader.readText() === this.#offered;
  }

  #require() {
    if (this.#missing) throw new Error(this.#missing);
  }
}

module.exports = { Clipboard };
