'use strict';
// The helper process of a desktop: loads the addon and calls it as the host
// says, one call at a time. Ends with the channel to its host.

const path = require('node:path');
const { setImmediate: nextTurn } = require('node:timers/promises');
const { Worker } = require('node:worker_threads');
const { writePicture } = require('./picture_file');
const { sessionKind } = require('./session');

const pictures = 5;  // the descriptor

let addon;
let aborted = false;
let leftIsDown = false;
// The button of the click that runs, as an index, where the guard can read it.
const buttons = ['left', 'middle', 'right'];
const running = new Int32Array(new SharedArrayBuffer(4));

const operations = {
  open() {
    const workerData = { kind: sessionKind(process.env), buttons, running };
    new Worker(path.join(__dirname, 'guard.js'), { workerData }).unref();
    addon = require('..');
    addon.display();
  },
  // Types character by character, so that messages arrive between two.
  async type(text) {
    if (typeof text !== 'string') return;
    for (const character of text.split('\0', 1)[0]) {
      if (aborted) return;
      addon.type(character);
      await nextTurn();
    }
  },
  click(x, y, button, count) {
    running[0] = Math.max(0, buttons.indexOf(String(button).toLowerCase()));
    try {
      addon.click(x, y, button, count);
    } finally {
      running[0] = 0;
    }
  },
  mouseDown(x, y) {
    leftIsDown = true;
    addon.mouseDown(x, y);
  },
  mouseUp(x, y) {
    addon.mouseUp(x, y);
    leftIsDown = false;
  },
  screenshot(...args) {
    const picture = addon.screenshot(...args);
    return picture && writePicture(pictures, picture);
  },
  lock: () => addon.lock(() => send({ press: Date.now() })),
};

// A host that has gone needs no answer.
const send = (message) => process.send(message, () => {});

process.on('message', async ({ method, args }) => {
  if (method === 'abort') {
    aborted = true;
    return;
  }
  aborted = false;
  try {
    const value = await (operations[method] ?? addon[method])(...args);
    send({ value });
  } catch (error) {
    send({ error: error.cause ? `${error.message} ${error.cause.message}` : error.message });
  }
});

process.on('disconnect', () => {
  try {
    if (leftIsDown) addon.mouseUp(0, 0);
  } finally {
    process.exit();
  }
});
