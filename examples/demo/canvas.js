'use strict';
// Runs in the demo's terminal. It shows the pointer and keyboard input that it receives, and
// reports the input to the tour over the socket named by its first argument. Like any other
// program that a user runs, it knows nothing of the addon.

const net = require('node:net');

const COLUMNS = 100;
const ROWS = 28;
const BOX = { left: 1, top: 3, width: 64, height: 14 };  // in cells, borders included
const FIELDS = { typed: 19, pasted: 21, stopped: 25 };  // the row of each
const FIELD_LEFT = 11;
const PRESSED_ROW = 23;
const NOTE_ROW = 27;
const DIM = '\x1b[90m', PLAIN = '\x1b[0m', GREEN = '\x1b[92m', CYAN = '\x1b[96m', MARK = '\x1b[30;103m';

const state = {
  cell: null, origin: null, fields: {}, pressed: [], drawn: 0,
  clicks: { left: 0, middle: 0, right: 0 }, wheel: { up: 0, down: 0, left: 0, right: 0 }, mouse: true,
};
let mouseWanted = true;
let focus = 'typed';
let last = null;  // the end of the line that is being drawn, in pixels
let clicked = '';  // the button and cell of the previous click
const dots = new Map();

const out = (text) => process.stdout.write(text);
const put = (row, column, text) => out(`\x1b[${row};${column}H${text}${PLAIN}`);
const tour = net.connect(process.argv[2]);
const tell = () => tour.write(`${JSON.stringify(state)}\n`);

// Draws one dot. A cell has 2 by 4 braille dots.
function plot(x, y, colour) {
  const width = state.cell.width / 2, height = state.cell.height / 4;
  const dotX = Math.floor(x / width), dotY = Math.floor(y / height);
  const column = 1 + (dotX >> 1), row = 1 + (dotY >> 2);
  if (column <= BOX.left || column >= BOX.left + BOX.width - 1) return;
  if (row <= BOX.top || row >= BOX.top + BOX.height - 1) return;
  const bits = [[0x01, 0x08], [0x02, 0x10], [0x04, 0x20], [0x40, 0x80]][dotY & 3][dotX & 1];
  const key = row * COLUMNS + column;
  dots.set(key, (dots.get(key) ?? 0) | bits);
  put(row, column, colour + String.fromCharCode(0x2800 + dots.get(key)));
}

function line(from, to) {
  const steps = Math.max(1, Math.ceil(Math.hypot(to.x - from.x, to.y - from.y) / 3));
  for (let i = 0; i <= steps; ++i) {
    plot(from.x + (to.x - from.x) * i / steps, from.y + (to.y - from.y) * i / steps, GREEN);
  }
  ++state.drawn;
}

function showCounts() {
  const { clicks, wheel } = state;
  const lines = [`left   ${clicks.left}`, `middle ${clicks.middle}`, `right  ${clicks.right}`, '',
    `up     ${wheel.up}`, `down   ${wheel.down}`, `left   ${wheel.left}`, `right  ${wheel.right}`];
  lines.forEach((text, index) => put(5 + index + (index > 3 ? 1 : 0), 70, text));
}

function pointer(code, x, y, pressed) {
  const column = 1 + Math.floor(x / state.cell.width), row = 1 + Math.floor(y / state.cell.height);
  if (code >= 64) {
    // xterm reports releases of the horizontal wheel too.
    if (pressed) ++state.wheel[['up', 'down', 'left', 'right'][code - 64]];
  } else if (code & 32) {
    if ((code & 3) === 3) plot(x, y, CYAN);
    else if (last) line(last, last = { x, y, moved: true });
  } else if (pressed) {
    ++state.clicks[['left', 'middle', 'right'][code]];
    last = { x, y };
  } else {
    const place = `${code} ${column} ${row}`;
    if (last && !last.moved) put(row, column, MARK + (place === clicked ? '2' : 'LMR'[code]));
    clicked = place;
    last = null;
  }
  showCounts();
}

function text(character) {
  state.fields[focus] = (state.fields[focus] ?? '') + character;
  showField(focus);
}

function erase() {
  state.fields[focus] = [...state.fields[focus] ?? ''].slice(0, -1).join('');
  showField(focus);
}

// Shows at most two lines of a field.
function showField(name) {
  const width = COLUMNS - FIELD_LEFT;
  const characters = [...state.fields[name]];
  for (let index = 0; index === 0 || index < Math.min(characters.length, 2 * width); index += width) {
    put(FIELDS[name] + index / width, FIELD_LEFT, `${characters.slice(index, index + width).join('')}\x1b[K`);
  }
}

const modifiers = (digit) => ['shift+', 'alt+', 'ctrl+'].filter((_, bit) => (digit - 1) >> bit & 1).sort().join('');
const LETTERS = { A: 'up', B: 'down', C: 'right', D: 'left', H: 'home', F: 'end', P: 'f1', Q: 'f2', R: 'f3', S: 'f4' };
const NUMBERS = { 2: 'insert', 3: 'delete', 5: 'pageup', 6: 'pagedown', 15: 'f5', 17: 'f6', 18: 'f7', 19: 'f8',
  20: 'f9', 21: 'f10', 23: 'f11', 24: 'f12' };

function press(combo) {
  state.pressed.push(combo);
  put(PRESSED_ROW, FIELD_LEFT, state.pressed.join('  '));
}

// The sequences that a terminal sends. Longer forms come before their beginnings.
const GRAMMAR = [
  [/^\x1b\[<(\d+);(\d+);(\d+)([Mm])/, (code, x, y, end) => pointer(Number(code), Number(x), Number(y), end === 'M')],
  [/^\x1b\[200~([\s\S]*?)\x1b\[201~/, (pasted) => [...pasted].forEach(text)],
  [/^\x1b\[3;(\d+);(\d+)t/, (left, top) => { state.origin = { left: Number(left), top: Number(top) }; }],
  [/^\x1b\[6;(\d+);(\d+)t/, (height, width) => { state.cell = { width: Number(width), height: Number(height) }; }],
  [/^\x1b\[0n/, () => { state.mouse = mouseWanted; }],
  [/^\x1b\[1;(\d)([A-DFHP-S])/, (digit, letter) => press(modifiers(Number(digit)) + LETTERS[letter])],
  [/^\x1b[[O]([A-DFHP-S])/, (letter) => press(LETTERS[letter])],
  [/^\x1b\[(\d\d?)(?:;(\d))?~/, (number, digit) => press(modifiers(Number(digit ?? 1)) + NUMBERS[number])],
  [/^\x1b\[Z/, () => press('shift+tab')],
  [/^\x1b([a-z])/, (letter) => press(`alt+${letter}`)],
  [/^[\b\x7f]/, erase],
  [/^([\x01-\x1a])/, (control) => press(`ctrl+${String.fromCharCode(control.charCodeAt(0) + 96)}`)],
  [/^([^\x1b])/u, text],
];

let input = '';
function read(data) {
  input += data;
  for (let more = true; more;) {
    more = GRAMMAR.some(([form, action]) => {
      const match = form.exec(input);
      if (match === null) return false;
      input = input.slice(match[0].length);
      action(...match.slice(1));
      return true;
    });
  }
  tell();
}

// Carries out an order of the tour: changes the field that receives text, shows a note, or
// switches mouse reports. Without reports the terminal selects text as it does for a user.
function obey({ into, note, mouse }) {
  if (into) {
    focus = into;
    state.fields[into] = '';
    showField(into);
  }
  if (note) put(NOTE_ROW, FIELD_LEFT, `${DIM}${note}\x1b[K`);
  // The terminal answers the status query at the end when it has switched.
  if (mouse !== undefined) out(`\x1b[?1003${(mouseWanted = mouse) ? 'h' : 'l'}\x1b[5n`);
  tell();
}

function drawPage() {
  out('\x1b[2J\x1b[?25l\x1b[?1003h\x1b[?1006h\x1b[?1016h\x1b[?2004h\x1b[13;2t\x1b[16t');
  put(1, 1, `\x1b[7m${' ostler: this terminal shows what reached it'.padEnd(COLUMNS)}`);
  put(BOX.top, BOX.left, `${DIM}┌${'─'.repeat(BOX.width - 2)}┐`);
  for (let row = BOX.top + 1; row < BOX.top + BOX.height - 1; ++row) {
    put(row, BOX.left, `${DIM}│`);
    put(row, BOX.left + BOX.width - 1, `${DIM}│`);
  }
  put(BOX.top + BOX.height - 1, BOX.left, `${DIM}└${'─'.repeat(BOX.width - 2)}┘`);
  put(BOX.top + BOX.height, 5, `${DIM}dragged               moved, clicked           pressed, moved, released`);
  put(4, 70, `${DIM}buttons`);
  put(9, 70, `${DIM}wheel`);
  for (const [name, row] of Object.entries(FIELDS)) put(row, 1, `${DIM}${name}`);
  put(PRESSED_ROW, 1, `${DIM}pressed`);
  showCounts();
}

process.stdin.setRawMode(true);
process.stdin.setEncoding('utf8').on('data', read);
let orders = '';
tour.setEncoding('utf8').on('data', (data) => {
  const lines = (orders += data).split('\n');
  orders = lines.pop();
  lines.forEach((order) => obey(JSON.parse(order)));
});
tour.on('close', () => process.exit()).on('error', () => process.exit(1));
if (process.stdout.columns === COLUMNS && process.stdout.rows === ROWS) drawPage();
else process.stdout.once('resize', drawPage);
