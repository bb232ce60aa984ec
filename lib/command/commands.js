'use strict';
// The commands that act on a desktop. `read` turns the words and options of the command line
// into values. `run` gets the desktop, these values (the words when there is no `read`), and
// functions for input and output. Of its result `text` is printed, or `data` with --json.

const fs = require('node:fs');
const path = require('node:path');
const { sleep } = require('../host/wait');
const { UsageError, number, numbers, oneOf } = require('./arguments');

const text = { type: 'string' };
const json = { json: { type: 'boolean' } };

const coordinates = (names) => (words) => words.map((word, i) => number(word, names[i]));

// Makes a command from a method of the desktop whose arguments are all numbers.
function pointing(method, about, ...names) {
  return {
    usage: names.join(' '), about, words: [names.length, names.length], read: coordinates(names),
    run: (desktop, values) => desktop[method](...values),
  };
}

const formats = { '.png': 'png', '.jpg': 'jpeg', '.jpeg': 'jpeg' };

const commands = {
  screenshot: {
    usage: 'FILE.png|FILE.jpg [--region X,Y,W,H] [--size WxH] [--quality Q] [--json]',
    about: 'takes a screenshot; Q is the JPEG quality, from 0 to 1',
    words: [1, 1],
    options: { region: text, size: text, quality: text, ...json },
    read([file], options) {
      const format = formats[path.extname(file).toLowerCase()];
      if (!format) throw new UsageError(`FILE must end with .png or .jpg, not "${file}"`);
      const wanted = { format };
      if (options.region !== undefined) {
        const [x, y, width, height] = numbers(options.region, ',', ['X', 'Y', 'W', 'H']);
        wanted.region = { x, y, width, height };
      }
      if (options.size !== undefined) {
        const [width, height] = numbers(options.size, 'x', ['W', 'H']);
        wanted.size = { width, height };
      }
      if (options.quality !== undefined) wanted.quality = number(options.quality, 'Q');
      return { file, wanted };
    },
    async run(desktop, { file, wanted }) {
      const picture = await desktop.screenshot(wanted);
      if (picture === null) throw new Error('There is no picture. Check that the region is on the desktop.');
      fs.writeFileSync(file, picture);
      return { data: { file, bytes: picture.length } };
    },
  },
  click: {
    usage: 'X Y [--button left|middle|right] [--count N]',
    about: 'moves the pointer and clicks',
    words: [2, 2],
    options: { button: text, count: text },
    read: (words, { button = 'left', count = '1' }) => [...coordinates(['X', 'Y'])(words),
      oneOf(button, ['left', 'middle', 'right'], '--button'), number(count, 'N')],
    run: (desktop, values) => desktop.click(...values),
  },
  move: pointing('move', 'moves the pointer', 'X', 'Y'),
  drag: pointing('drag', 'drags with the left button', 'FROM_X', 'FROM_Y', 'TO_X', 'TO_Y'),
  scroll: pointing('scroll', 'turns the wheel; a positive DY is down', 'X', 'Y', 'DX', 'DY'),
  type: {
    usage: 'TEXT|-',
    about: 'types a text, or with - the text that it reads from stdin',
    words: [1, 1],
    async run(desktop, [typed], { readInput }) {
      await desktop.type(typed === '-' ? await readInput() : typed);
    },
  },
  write: {
    usage: 'TEXT|- [--paste auto|never|always] [--delay MS]',
    about: 'types a text exactly, and pastes what cannot be typed, or fails before the first key',
    words: [1, 1],
    options: { paste: text, delay: text },
    read: ([written], { paste = 'auto', delay = '5' }) => ({
      written, options: { paste: oneOf(paste, ['auto', 'never', 'always'], '--paste'), delay: number(delay, 'MS') },
    }),
    async run(desktop, { written, options }, { readInput }) {
      await desktop.write(written === '-' ? await readInput() : written, options);
    },
  },
  key: {
    usage: 'COMBO...',
    about: 'presses key combinations such as ctrl+shift+t, one after the other',
    words: [1, Infinity],
    async run(desktop, combos) {
      for (const combo of combos) await desktop.key(combo);
    },
  },
  clipboard: {
    usage: '[TEXT] [--json]',
    about: 'prints the text in the clipboard, or sets it',
    words: [0, 1],
    options: json,
    async run(desktop, [wanted]) {
      if (wanted === undefined) {
        const data = await desktop.getClipboard();
        return { text: data, data: { text: data } };
      }
      await desktop.setClipboard(wanted);
    },
  },
  cursor: {
    usage: '[--json]',
    about: 'prints the position of the pointer',
    words: [0, 0],
    options: json,
    async run(desktop) {
      const data = await desktop.cursorPosition();
      return { text: `${data.x} ${data.y}`, data };
    },
  },
  display: {
    usage: '[--json]',
    about: 'prints the size of the desktop',
    words: [0, 0],
    options: json,
    async run(desktop) {
      const data = await desktop.display();
      return { text: `${data.width}x${data.height}`, data };
    },
  },
  watch: {
    usage: '[--json]',
    about: 'prints a line for each press of Escape, until it is interrupted',
    words: [0, 0],
    options: json,
    async run(desktop, _words, { print }) {
      for await (const time of desktop.escapePresses()) {
        print({ text: new Date(time).toISOString(), data: { time } });
      }
    },
  },
  sleep: {
    usage: 'SECONDS',
    about: 'waits, in a script for "run"',
    words: [1, 1],
    read: coordinates(['SECONDS']),
    run: (_desktop, [seconds]) => sleep(seconds * 1000),
  },
};

module.exports = { commands };
