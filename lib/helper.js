'use strict';
// Runs in the helper process of a desktop: loads the addon and makes the calls that the host
// requests, one at a time. Exits when the channel to the host closes.

const path = require('node:path');
const { setImmediate: nextTurn } = require('node:timers/promises');
const { Worker } = require('node:worker_threads');
const { writePicture } = require('./picture_file');
const { sessionKind } = require('./session');

const pictures = 5;  // the descriptor of the picture file

let addon;
let aborted = false;
let leftIsDown = false;
// The guard thread reads in `running` the index of the button that is being clicked.
const buttons = ['left', 'middle', 'right'];
const running = new Int32Array(new SharedArrayBuffer(4));

const operations = {
  open() {
    const workerData = { kind: sessionKind(process.env), buttons, running };
    new Worker(path.join(__dirname, 'guard.js'), { workerData }).unref();
    addon = require('..');
    addon.display();
  },
  // Types one character at a time, so that an abort message can arrive in between.
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

// Errors are ignored, because a host that has exited needs no answer.
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
