'use strict';
// Runs in the command `ostler`.
// The commands that act on a desktop. `read` turns the words and options of the command line
// into values. `run` gets the desktop, these values (the words when there is no `read`), and
// functions for input and output. Of its result `text` is printed, or `data` with --json.

const fs = require('node:fs');
const path = require('node:path');
const { UsageError, coordinates, number, oneOf, region, size } = require('./arguments');

const sleep = (milliseconds) => new Promise((resolve) => { setTimeout(resolve, Math.min(milliseconds, 2 ** 31 - 1)); });

const text = { type: 'string' };
const json = { json: { type: 'boolean', short: 'j' } };
const short = (letter) => ({ type: 'string', short: letter });

const positive = { least: 0 };
const buttons = { 1: 'left', 2: 'middle', 3: 'right' };
const buttonOf = (name = 'left') => oneOf(buttons[name] ?? name, Object.values(buttons), '--button');
const keysOf = (names) => (names === undefined ? [] : names.split(/[+,]/));
const durationOf = (given) => (given === undefined ? undefined : number(given, 'MS', positive));

const formats = { '.png': 'png', '.jpg': 'jpeg', '.jpeg': 'jpeg' };
const formatNames = { png: 'png', jpg: 'jpeg', jpeg: 'jpeg' };

function formatOf(file, given) {
  if (given !== undefined) return formatNames[oneOf(given.toLowerCase(), Object.keys(formatNames), '--format')];
  if (file === '-') return 'png';
  const format = formats[path.extname(file).toLowerCase()];
  if (!format) throw new UsageError(`FILE must end with .png or .jpg, not "${file}"`);
  return format;
}

function defaultFile(format) {
  const time = new Date(Date.now() - new Date().getTimezoneOffset() * 60000).toISOString();
  return `screenshot-${time.slice(0, 19).replace('T', '-').replaceAll(':', '')}.${format === 'jpeg' ? 'jpg' : 'png'}`;
}

// Reads a file. Node's message says the reason twice.
function readFile(file) {
  try {
    return fs.readFileSync(file, 'utf8');
  } catch (error) {
    throw new Error(`cannot read ${file}: ${/: (.*?), /.exec(error.message)?.[1] ?? error.message}`);
  }
}

function save(file, picture, isNamed = true) {
  if (picture === null) throw new Error('There is no picture. Check that the region is on the desktop.');
  if (file === '-') return { bytes: picture };
  try {
    fs.writeFileSync(file, picture);
  } catch (error) {
    throw new Error(`cannot write ${file}: ${/: (.*?), /.exec(error.message)?.[1] ?? error.message}`);
  }
  return { ...(!isNamed && { text: file }), data: { file, bytes: picture.length } };
}

// Makes a command that waits for the desktop and can save the picture.
function waiting(method, about, ...more) {
  return {
    usage: `[FILE.png] [--region X,Y,W,H] [--timeout SECONDS]${more.map((name) => ` [--${name} MS]`).join('')}`,
    about, words: [0, 1],
    options: { region: short('r'), timeout: short('t'), ...Object.fromEntries(more.map((name) => [name, text])) },
    read([file], options) {
      const wanted = {};
      if (file !== undefined && formatOf(file) !== 'png') throw new UsageError('FILE must end with .png');
      if (options.region !== undefined) wanted.region = region(options.region);
      if (options.timeout !== undefined) wanted.timeout = 1000 * number(options.timeout, 'SECONDS', positive);
      for (const name of more) if (options[name] !== undefined) wanted[name] = number(options[name], 'MS', positive);
      return { file, wanted };
    },
    async run(desktop, { file, wanted }) {
      const picture = await desktop[method](wanted);
      return file === undefined ? undefined : save(file, picture);
    },
  };
}

const commands = {
  screenshot: {
    usage: '[FILE.png|FILE.jpg|-] [--region X,Y,W,H|WxH+X+Y] [--size WxH] [--format png|jpeg] [--quality Q] '
      + '[--delay SECONDS] [--json]',
    about: 'takes a screenshot, to stdout with -; Q is the JPEG quality, from 0 to 1',
    direct: true, words: [0, 1],
    options: { region: short('r'), size: short('s'), format: short('f'), quality: short('q'), delay: short('d'), ...json },
    read([given], options) {
      const format = given === undefined && options.format === undefined ? 'png' : formatOf(given ?? '-', options.format);
      const wanted = { format };
      if (options.region !== undefined && options.size !== undefined) {
        throw new UsageError('--region and --size cannot be combined');
      }
      if (options.region !== undefined) wanted.region = region(options.region);
      if (options.size !== undefined) wanted.size = size(options.size);
      if (options.quality !== undefined) {
        if (format === 'png') throw new UsageError('--quality is for JPEG only');
        wanted.quality = number(options.quality, 'Q', { least: 0, most: 1 });
      }
      const delay = options.delay === undefined ? 0 : number(options.delay, 'SECONDS', positive);
      return { file: given ?? defaultFile(format), isNamed: given !== undefined, wanted, delay };
    },
    async run(desktop, { file, isNamed, wanted, delay }) {
      if (delay > 0) await sleep(delay * 1000);
      return save(file, await desktop.screenshot(wanted), isNamed);
    },
  },
  click: {
    usage: '[X Y] [--button left|middle|right|1|2|3] [--count N] [--modifiers ctrl,shift]',
    about: 'moves the pointer and clicks, or clicks where the pointer is',
    direct: true, words: [0, 2],
    options: { button: short('b'), count: short('n'), modifiers: short('m') },
    read(words, { button, count = '1', modifiers }) {
      if (words.length === 1) throw new UsageError('click needs both coordinates or none');
      const [x, y] = coordinates(['X', 'Y'])(words);
      return { x, y, button: buttonOf(button), modifiers: keysOf(modifiers),
        count: number(count, 'N', { least: 1, most: 2 ** 31 - 1, integer: true }) };
    },
    run: (desktop, options) => desktop.click(options),
  },
  move: {
    usage: 'X Y [--relative] [--duration MS]',
    about: 'moves the pointer, with --relative from where it is',
    direct: true, words: [2, 2],
    options: { relative: { type: 'boolean', short: 'R' }, duration: short('d') },
    read: (words, { relative, duration }) => ({ place: coordinates(['X', 'Y'])(words), relative, duration: durationOf(duration) }),
    async run(desktop, { place: [x, y], relative, duration }) {
      const from = relative ? await desktop.cursorPosition() : { x: 0, y: 0 };
      await desktop.move({ x: from.x + x, y: from.y + y, duration });
    },
  },
  drag: {
    usage: 'FROM_X FROM_Y TO_X TO_Y [--button left|middle|right|1|2|3] [--modifiers ctrl,shift] [--duration MS]',
    about: 'drags with a button',
    words: [4, 4],
    options: { button: short('b'), modifiers: short('m'), duration: short('d') },
    read(words, { button, modifiers, duration }) {
      const [fromX, fromY, toX, toY] = coordinates(['FROM_X', 'FROM_Y', 'TO_X', 'TO_Y'])(words);
      return { from: { x: fromX, y: fromY }, to: { x: toX, y: toY }, button: buttonOf(button),
        modifiers: keysOf(modifiers), duration: durationOf(duration) };
    },
    run: (desktop, options) => desktop.drag(options),
  },
  scroll: {
    usage: 'X Y DX DY',
    about: 'turns the wheel; a positive DY is down',
    words: [4, 4],
    read: (words) => [...coordinates(['X', 'Y'])(words.slice(0, 2)),
      ...words.slice(2).map((word, i) => number(word, ['DX', 'DY'][i], { least: -(2 ** 31), most: 2 ** 31 - 1, integer: true }))],
    run: (desktop, values) => desktop.scroll(...values),
  },
  type: {
    usage: 'TEXT...|- [--file FILE]',
    about: 'types texts one after the other, or with - the text that it reads from stdin',
    words: [0, Infinity],
    options: { file: short('f') },
    read(texts, { file }) {
      if (texts.length === 0 && file === undefined) throw new UsageError('usage: ostler type TEXT...|- [--file FILE]');
      return { texts, file };
    },
    async run(desktop, { texts, file }, { readInput }) {
      if (file !== undefined) await desktop.type(readFile(file));
      for (const typed of texts) await desktop.type(typed === '-' ? await readInput() : typed);
    },
  },
  write: {
    usage: 'TEXT|- [--paste auto|never|always] [--delay MS]',
    about: 'types a text exactly, and pastes what cannot be typed, or fails before the first key',
    words: [1, 1],
    options: { paste: text, delay: text },
    read: ([written], { paste = 'auto', delay = '5' }) => ({
      written, options: { paste: oneOf(paste, ['auto', 'never', 'always'], '--paste'), delay: number(delay, 'MS', positive) },
    }),
    async run(desktop, { written, options }, { readInput }) {
      await desktop.write(written === '-' ? await readInput() : written, options);
    },
  },
  key: {
    usage: 'COMBO...',
    about: 'presses key combinations such as ctrl+shift+t, one after the other',
    direct: true, words: [1, Infinity],
    async run(desktop, combos) {
      for (const combo of combos) await desktop.key(combo);
    },
  },
  'key-down': {
    usage: 'KEY...',
    about: 'presses keys and leaves them down: in a script until it ends, otherwise until key-up, on X11 only',
    direct: true, words: [1, Infinity],
    async run(desktop, names) {
      for (const name of names) await desktop.keyDown(name);
    },
  },
  'key-up': {
    usage: 'KEY...',
    about: 'releases keys',
    direct: true, words: [1, Infinity],
    async run(desktop, names) {
      for (const name of names) await desktop.keyUp(name);
    },
  },
  'wait-change': waiting('waitForChange', 'waits until the desktop changes, and saves the picture'),
  'wait-still': waiting('waitForStill', 'waits until nothing has changed for 500 ms or --quiet', 'quiet'),
  windows: {
    usage: '[--json]',
    about: 'lists the windows on X11, the lowest first: id, desktop, process, class, geometry, title; * is the active one',
    direct: true, words: [0, 0],
    options: json,
    async run(desktop) {
      const data = await desktop.windows();
      const line = (window) => [`0x${window.id.toString(16).padStart(8, '0')}${window.active ? '*' : ''}`,
        window.desktop ?? '-', window.pid ?? '-', window.class || '-',
        `${window.width}x${window.height}+${window.x}+${window.y}`, window.title].join('\t');
      return { text: data.length > 0 ? data.map(line).join('\n') : undefined, data };
    },
  },
  activate: {
    usage: 'ID',
    about: 'makes a window of "windows" the active one',
    direct: true, words: [1, 1],
    read: ([id]) => number(id, 'ID', { least: 1, most: 2 ** 32 - 1, integer: true }),
    run: (desktop, id) => desktop.activate(id),
  },
  pixel: {
    usage: 'X Y [--json]',
    about: 'prints the colour of a pixel as #rrggbb',
    direct: true, words: [2, 2],
    options: json,
    read: coordinates(['X', 'Y']),
    async run(desktop, [x, y]) {
      const data = await desktop.colourAt(x, y);
      if (data === null) throw new Error(`There is no pixel at ${x},${y}.`);
      const hex = (value) => value.toString(16).padStart(2, '0');
      return { text: `#${hex(data.red)}${hex(data.green)}${hex(data.blue)}`, data };
    },
  },
  clipboard: {
    usage: '[TEXT|-] [--json]',
    about: 'prints the text in the clipboard, or sets it, with - to the text that it reads from stdin',
    words: [0, 1],
    options: json,
    async run(desktop, [wanted], { readInput }) {
      if (wanted === undefined) {
        const data = await desktop.getClipboard();
        return { text: data, data: { text: data } };
      }
      await desktop.setClipboard(wanted === '-' ? await readInput() : wanted);
    },
  },
  cursor: {
    usage: '[--json]',
    about: 'prints the position of the pointer',
    direct: true, words: [0, 0],
    options: json,
    async run(desktop) {
      const data = await desktop.cursorPosition();
      return { text: `${data.x} ${data.y}`, data };
    },
  },
  display: {
    usage: '[--json]',
    about: 'prints the size of the desktop',
    direct: true, words: [0, 0],
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
    read: ([seconds]) => [number(seconds, 'SECONDS', positive)],
    run: (_desktop, [seconds]) => sleep(seconds * 1000),
  },
};

module.exports = { commands, readFile };
