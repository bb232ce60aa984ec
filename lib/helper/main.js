'use strict';
// Runs in the helper process of a desktop: loads the session module and makes the calls that the
// host requests, one at a time. Exits when the channel to the host closes.

const { once } = require('node:events');
const path = require('node:path');
const { setImmediate: nextTurn } = require('node:timers/promises');
const { Worker } = require('node:worker_threads');
const { openSession } = require('./open');
const { pageSize, writePicture } = require('../common/memory_file');
const { sessionKind } = require('../common/session_kind');
const { loadSession } = require('../common/session_module');
const { Clipboard } = require('./clipboard');
const { PasteLock } = require('./paste_lock');
const { Watches } = require('./watches');

const memoryFile = 5;  // the descriptor
const checkInterval = 400;  // in milliseconds

const kind = sessionKind(process.env);
// The guard thread reads the number of the running call here.
const runningCall = new Int32Array(new SharedArrayBuffer(4));
let isWatchingEscape = false;
let session, clipboard, pasteLock, watches;

// Errors are ignored, because a host that has exited needs no answer.
const send = (message) => process.send(message, () => {});

// An idle process does not notice that its session has ended. The messages that say so arrive on
// the main thread's connections, where one look takes some microseconds. What a call has left
// to be undone later is undone here too.
function lookAfter() {
  const end = session.sessionEnd();
  if (!end) return session.restoreKeyboard();
  if (kind === 'x11') {
    process.stderr.write(end);
    process.exit(1);
  }
  send({ ended: end });
}

const operations = {
  async open(remember, monitors) {
    const guard = new Worker(path.join(__dirname, 'guard.js'), { workerData: { kind, memoryFile, runningCall } });
    guard.unref();
    const guarded = once(guard, 'message');
    guarded.catch(() => {});  // the main thread may fail first, for the same reason
    const loaded = loadSession();
    openSession(loaded, { record: memoryFile, remember: kind === 'wayland' ? remember : undefined, monitors }, send);
    session = loaded;
    clipboard = new Clipboard(session, process.env);
    pasteLock = new PasteLock(session.lockFile, process.env);
    watches = new Watches(session, (watched) => send({ watched }));
    setInterval(lookAfter, checkInterval);
    await guarded;  // from now on calls can be interrupted
    return { clipboard: clipboard.kind };
  },
  screenshot(...args) {
    const picture = session.picture(...args);
    return picture && writePicture(memoryFile, picture);
  },
  getClipboard: () => clipboard.getText(),
  setClipboard: (text) => clipboard.setText(text),
  lockPaste: () => pasteLock.tryLock(),
  beginPaste: (text) => clipboard.beginPaste(text),
  waitForReader: (longest) => clipboard.waitForReader(longest),
  endPaste() {
    try {
      clipboard.endPaste();
    } finally {
      pasteLock.unlock();
    }
  },
  pixels: (...part) => session.pixels(memoryFile, pageSize, ...part),
  colourAt(...part) {
    const [red, green, blue] = session.pixels(-1, 0, ...part)?.data ?? [];
    return red === undefined ? null : { red, green, blue };
  },
  watch: (...args) => watches.start(...args),
  watchedPicture(number) {
    const picture = watches.take(number);
    return picture && writePicture(memoryFile, picture);
  },
  endWatch: (number) => watches.end(number),
  keyDown: (name) => session.setKey(name, true),
  keyUp: (name) => session.setKey(name, false),
  lock() {
    isWatchingEscape = session.lock(() => send({ press: Date.now() }));
    if (!isWatchingEscape) throw new Error(`Escape cannot be watched: ${session.escapeFailure()}.`);
  },
  unlock() {
    isWatchingEscape = false;
    session.unlock();
  },
};

// A press of Escape ends `type`. The host has to hear of the press before it hears that the call
// has ended, and the press is reported by the event loop.
async function reportPresses() {
  for (let turns = 0; isWatchingEscape && turns < 2; turns++) await nextTurn();
}

async function answer(method, args) {
  try {
    return { value: await (operations[method] ?? session[method])(...args) };
  } catch (error) {
    const message = error.cause ? `${error.message} ${error.cause.message}` : error.message;
    return { error: message, ended: session?.sessionEnd() || undefined };
  }
}

process.on('message', async ({ call, method, args }) => {
  runningCall[0] = call;
  session?.startCall(call);
  const result = await answer(method, args);
  runningCall[0] = 0;
  await reportPresses();
  send(result);
});

// Ends the process when the clipboard is kept by another one.
function end() {
  try {
    if (clipboard) clipboard.close(() => process.exit());
    else process.exit();
  } catch {
    process.exit();
  }
}

process.on('disconnect', () => {
  try {
    session?.releaseAll();
  } finally {
    end();
  }
});
