'use strict';
// Runs the demo on its own X server. Each step is checked by the input that the terminal received.

const { fork } = require('node:child_process');
const { once } = require('node:events');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');

const ostler = require('../..');
const { step, takePictures } = require('./steps');
const { Terminal } = require('./terminal');

// Letters, Greek, a currency, and punctuation that needs Shift. It has no character
// from U+0080 to U+00FF, because those cannot be typed into such a terminal (see docs/limits.md).
const LINE = 'Hello, Linux! (2 < 3) & "Καλημέρα, κόσμε" costs €42 {~50%} #1 ŁĘĆ';
const PASTED = 'déjà vu, señor Ångström? «Ja, für 42 €»';
const COMBOS = ['ctrl+k', 'alt+x', 'f5', 'ctrl+shift+right', 'up', 'shift+tab', 'f12'];

async function pointer(terminal) {
  await step('move in a circle', async () => {
    const [x, y] = terminal.cell(33, 9);
    for (let angle = 0; angle < 360; angle += 3) {
      ostler.move(x + 110 * Math.cos(angle * Math.PI / 180), y + 110 * Math.sin(angle * Math.PI / 180));
      await sleep(1);  // so that the terminal sees every position
    }
    const { x: reached } = ostler.cursorPosition();
    return `120 moves, pointer at ${reached}, ${ostler.cursorPosition().y}`;
  });

  await step('drag', async () => {
    const corners = [[5, 15], [5, 10], [11, 6], [17, 10], [5, 10], [17, 15], [5, 15], [17, 10], [17, 15]];
    for (let i = 1; i < corners.length; ++i) {
      ostler.drag(...terminal.cell(...corners[i - 1]), ...terminal.cell(...corners[i]));
    }
    await terminal.until('a drag', ({ drawn }) => drawn >= 5 * (corners.length - 1));
    return `${corners.length - 1} drags make a house`;
  });

  await step('press, move, release', async () => {
    const [left, y] = terminal.cell(45, 10);
    ostler.mouseDown(left, y);
    for (let x = 0; x <= 210; x += 3) {
      ostler.move(left + x, y - 80 * Math.sin(x / 210 * 4 * Math.PI));
      await sleep(1);
    }
    ostler.mouseUp(0, 0);
    return 'a wave by hand';
  });

  await step('click', async () => {
    const { left } = terminal.state.clicks;
    ostler.click(...terminal.cell(31, 9), 'middle', 1);
    ostler.click(...terminal.cell(35, 9), 'right', 1);
    ostler.click(...terminal.cell(33, 9), 'left', 2);
    await terminal.until('a click',
      ({ clicks }) => clicks.left === left + 2 && clicks.middle === 1 && clicks.right === 1);
    return 'middle, right, and a double click';
  });

  await step('scroll', async () => {
    ostler.scroll(...terminal.cell(33, 9), 0, 5);
    ostler.scroll(...terminal.cell(33, 9), 3, -2);
    await terminal.until('the wheel', ({ wheel }) => wheel.down === 5 && wheel.up === 2 && wheel.right === 3);
    return '5 down, 2 up, 3 right';
  });
}

function beginningInCommon(one, other) {
  let length = 0;
  while (length < one.length && one[length] === other[length]) ++length;
  return length;
}

// A slow program can miss a character that no key produces. A careful host checks what
// arrived, deletes the wrong characters and types them again, in shorter pieces. The letter at
// the end of each piece cannot be missed, and shows that the whole piece has arrived.
async function typeLine(terminal) {
  const wanted = [...LINE];
  const end = 'q';
  await terminal.into('typed');
  for (let good = 0, piece = wanted.length, attempt = 1; attempt <= 200; ++attempt, piece = 4) {
    ostler.type(wanted.slice(good, good + piece).join('') + end);
    await terminal.until('a letter', ({ fields }) => fields.typed.endsWith(end));
    const arrived = [...terminal.state.fields.typed];
    good = beginningInCommon(arrived, wanted);
    for (let wrong = arrived.length - good; wrong > 0; --wrong) ostler.key('backspace');
    const rest = wanted.slice(0, good).join('');
    await terminal.until('backspace', ({ fields }) => fields.typed === rest);
    if (good === wanted.length) {
      return `${good} characters${attempt > 1 ? `; the terminal was slow, which took ${attempt} pieces` : ''}`;
    }
  }
  throw new Error(`the terminal got ${terminal.state.fields.typed}`);
}

async function keyboard(terminal) {
  await step('type a line', () => typeLine(terminal));
  await step('press combos', async () => {
    COMBOS.forEach((combo) => ostler.key(combo));
    await terminal.until('a combo', ({ pressed }) => pressed.join() === COMBOS.join());
    return COMBOS.join(', ');
  });
}

// Waits for the clipboard, which programs take over with a delay. xclip, which serves the text
// of setClipboard, takes it over shortly after the call.
async function clipboardHolds(text) {
  const end = Date.now() + 3000;
  for (let held; (held = ostler.getClipboard()) !== text; await sleep(10)) {
    if (Date.now() > end) throw new Error(`the clipboard holds ${JSON.stringify(held)}`);
  }
}

async function clipboard(terminal) {
  await step('copy', async () => {
    terminal.tell({ mouse: false });
    await terminal.until('the order to leave the mouse alone', ({ mouse }) => !mouse);
    const [, y] = terminal.cell(1, 19);
    const { cell, origin } = terminal.state;
    const start = origin.left + 10 * cell.width;
    ostler.drag(start + 1, y, start + [...LINE].length * cell.width + 1, y);
    await clipboardHolds(LINE).finally(() => terminal.tell({ mouse: true }));
    return 'the line, selected with the mouse, is what the clipboard holds';
  });

  await step('paste', async () => {
    await terminal.into('pasted');
    ostler.setClipboard(PASTED);
    await clipboardHolds(PASTED);
    ostler.key('shift+insert');
    await terminal.until('the text', ({ fields }) => fields.pasted === PASTED);
    return PASTED;
  });
}

async function interruption(terminal) {
  await step('the user presses Escape', async () => {
    const user = fork(path.join(__dirname, 'user.js'));
    const ended = once(user, 'exit').then(() => { throw new Error('the process of the user ended'); });
    ended.catch(() => {});  // it also ends when it is no longer needed
    const text = 'the quick brown fox jumps over the lazy dog '.repeat(40);
    let calls = 0;
    await Promise.race([once(user, 'message'), ended]);
    await terminal.into('stopped');
    if (!ostler.lock(() => ++calls)) throw new Error('the watcher did not start');
    try {
      const pressed = once(user, 'message');
      user.send({ after: 700 });
      ostler.type(text);
      const stopped = Date.now();
      const [{ at }] = await Promise.race([pressed, ended]);
      await sleep(300);  // the terminal still has to show the last characters
      const out = terminal.state.fields.stopped.length;
      if (out === 0 || !text.startsWith(terminal.state.fields.stopped)) throw new Error('the terminal got another text');
      if (out === text.length) throw new Error('nothing stopped the text');
      if (calls !== 1) throw new Error(`the callback ran ${calls} times`);
      const result = `${out} of ${text.length} characters got out, stopped ${stopped - at} ms after the press`;
      terminal.tell({ note: result });
      return result;
    } finally {
      ostler.unlock();
      user.disconnect();
    }
  });
}

async function main() {
  let terminal;
  await step('start a terminal', async () => { terminal = await Terminal.start(); });
  if (!terminal) return;
  await step('connect', () => {
    const { width, height } = ostler.display();
    return `the desktop has ${width} by ${height} pixels`;
  });
  await pointer(terminal);
  await keyboard(terminal);
  await clipboard(terminal);
  await interruption(terminal);
  const [left, top] = terminal.cell(0.5, 2.5);
  const [right, bottom] = terminal.cell(64.5, 16.5);
  await takePictures(ostler, { left, top, right, bottom });
  await terminal.stop();
}

main();
