'use strict';
// Runs in the host. Checks arguments before anything happens: a value of the wrong type is a
// TypeError and a value out of range a RangeError, both with the name of the argument.

const { inspect } = require('node:util');

const largestInt = 2 ** 31 - 1;
const largestCoordinate = 2 ** 15 - 1;  // coordinates have 16 bits in the X protocol
const largestSide = 2 ** 14;  // of a picture, in pixels

const show = (value) => inspect(value, { depth: 0, breakLength: Infinity, maxStringLength: 40 });

function fail(Kind, name, expected, value) {
  throw new Kind(`The argument "${name}" must be ${expected}, not ${show(value)}.`);
}

// These functions make checks. A check takes a value and its name, and returns the value.

const inRange = (least, most, expected, isInteger = false) => (value, name) => {
  if (typeof value !== 'number') fail(TypeError, name, expected, value);
  const isRight = value >= least && value <= most && (!isInteger || Number.isInteger(value));
  if (!isRight) fail(RangeError, name, expected, value);
  return value;
};

const integer = (least, most = largestInt) => inRange(least, most, `an integer from ${least} to ${most}`, true);

const ofType = (type, expected) => (value, name) => (
  typeof value === type ? value : fail(TypeError, name, expected, value));

const optional = (check, fallback) => (value, name) => (value === undefined ? fallback : check(value, name));

const oneOf = (...choices) => (value, name) => {
  const expected = `one of ${choices.map((choice) => `"${choice}"`).join(', ')}`;
  if (typeof value !== 'string') fail(TypeError, name, expected, value);
  if (!choices.includes(value.toLowerCase())) fail(RangeError, name, expected, value);
  return value.toLowerCase();
};

function options(value, name) {
  if (typeof value !== 'object' || value === null || Array.isArray(value)) fail(TypeError, name, 'an object', value);
  return value;
}

// Checks an object with a check for each of its properties.
const record = (checks) => (value, name) => Object.fromEntries(
  Object.entries(checks).map(([key, check]) => [key, check(options(value, name)[key], `${name}.${key}`)]));

function strings(value, name) {
  if (!Array.isArray(value)) fail(TypeError, name, 'an array of strings', value);
  return value.map((element, i) => text(element, `${name}[${i}]`));
}

function timeout(value, name) {
  if (value === undefined || value === null) return undefined;
  if (typeof value !== 'number' || !(value >= 0)) fail(RangeError, name, 'a number of milliseconds from 0', value);
  return value;
}

function signal(value, name) {
  if (value === undefined || value === null) return undefined;
  const isSignal = typeof value === 'object' && typeof value.aborted === 'boolean' &&
    typeof value.addEventListener === 'function';
  return isSignal ? value : fail(TypeError, name, 'an AbortSignal', value);
}

const text = ofType('string', 'a string');
const coordinate = inRange(-largestCoordinate - 1, largestCoordinate,
  `a number from ${-largestCoordinate - 1} to ${largestCoordinate}`);
const duration = inRange(0, largestInt, `a number of milliseconds from 0 to ${largestInt}`);
const pasteMode = oneOf('auto', 'never', 'always');
const button = oneOf('left', 'middle', 'right');
const side = integer(1, largestSide);
const steps = integer(-largestInt - 1);

const region = record({ x: coordinate, y: coordinate, width: integer(1), height: integer(1) });
const size = record({ width: side, height: side });

// The arguments of each method that is forwarded to the session module: names and checks.
const point = { x: coordinate, y: coordinate };
const methods = {
  click: { ...point, button: optional(button, 'left'), count: optional(integer(1), 1) },
  move: point,
  drag: { fromX: coordinate, fromY: coordinate, toX: coordinate, toY: coordinate },
  mouseDown: point,
  mouseUp: { x: optional(coordinate, 0), y: optional(coordinate, 0) },
  keyDown: { name: text },
  keyUp: { name: text },
  type: { text },
  key: { combo: text },
  scroll: { ...point, dx: steps, dy: steps },
  windows: {},
  activate: { id: integer(1, 2 ** 32 - 1) },
  cursorPosition: {},
  display: {},
  monitors: {},
  capabilities: {},
  listDisplays: {},
  listWindows: {},
  getActiveWindow: {},
  windowAtPoint: { scope: text, ...point },
  activateApplication: { applicationId: text },
  concealApplication: { applicationId: text },
  restoreApplication: { applicationId: text },
  activateWindow: { windowId: text },
  concealWindow: { windowId: text },
  restoreWindow: { windowId: text },
  prepareForInput: {
    scope: text, included: (value, name) => (value === null || value === undefined ? null : strings(value, name)),
    excluded: strings, ...point,
  },
  getClipboard: {},
  setClipboard: { text },
  checkPermissions: { permission: text },
  requestPermissions: { permission: text },
};

// Returns the checked arguments of a method.
function checkArguments(method, values) {
  return Object.entries(methods[method]).map(([name, check], i) => check(values[i], name));
}

// Returns the checked options that every call takes, and the others unchanged.
function checkCallOptions(value = {}) {
  const given = options(value, 'options');
  return { ...given, signal: signal(given.signal, 'signal'), timeout: timeout(given.timeout, 'timeout') };
}

// Returns the part of the desktop that a native method looks at. Without a region it is empty, which
// means the whole.
function partArguments(given) {
  const { x, y, width, height } = optional(region, { x: 0, y: 0, width: 0, height: 0 })(given, 'region');
  return [Math.trunc(x), Math.trunc(y), width, height];
}

// Returns the arguments of the native `picture`, except those of `monitor`.
function screenshotArguments(given) {
  const format = optional(oneOf('png', 'jpeg'), 'png')(given.format, 'format');
  const quality = optional(inRange(0, 1, 'a number from 0 to 1'), 0.8)(given.quality, 'quality');
  const compression = optional(oneOf('fast', 'small'), 'fast')(given.compression, 'compression');
  const part = partArguments(given.region);
  const direct = given.width === undefined && given.height === undefined ? undefined :
    { width: side(given.width, 'width'), height: side(given.height, 'height') };
  const target = optional(size)(given.size, 'size') ?? direct;
  if (optional(text)(given.monitor, 'monitor') !== undefined && (given.region || target)) {
    throw new TypeError('The argument "monitor" cannot be combined with "region" or a size.');
  }
  if (given.region && target) throw new TypeError('The arguments "region" and "size" cannot be combined.');
  return [...part, target?.width ?? 0, target?.height ?? 0, format === 'jpeg' ? quality : -1, compression === 'fast'];
}

const buttonOf = optional(button, 'left');
const modifiersOf = optional(strings, []);
const durationOf = optional(duration, 0);

// Returns whether a call names a place, and the place.
function placeArguments({ x, y }) {
  if (x === undefined && y === undefined) return [false, 0, 0];
  return [true, coordinate(x, 'x'), coordinate(y, 'y')];
}

// The arguments of the session module's methods for calls with options.
const moveArguments = ({ x, y, duration: time }) => [
  coordinate(x, 'x'), coordinate(y, 'y'), durationOf(time, 'duration')];

const clickArguments = ({ button: name, count, modifiers, ...place }) => [
  buttonOf(name, 'button'), optional(integer(1), 1)(count, 'count'), modifiersOf(modifiers, 'modifiers'),
  ...placeArguments(place)];

function dragArguments({ from, to, button: name, modifiers, duration: time }) {
  const ends = [['from', from], ['to', to]].flatMap(([end, place]) => Object.values(record(point)(place, end)));
  return [...ends, buttonOf(name, 'button'), modifiersOf(modifiers, 'modifiers'), durationOf(time, 'duration')];
}

const buttonArguments = (pressed, { button: name, ...place }) => [
  buttonOf(name, 'button'), pressed, ...placeArguments(place)];

// The part that shows one pixel.
const pixelArguments = (x, y) => [Math.trunc(coordinate(x, 'x')), Math.trunc(coordinate(y, 'y')), 1, 1];

const callback = ofType('function', 'a function');
const monitorChoice = oneOf('one', 'all');

const nameOfPermission = /^[a-z\d][\w.-]{0,63}$/i;  // it becomes part of a file's name

// Returns the name under which a permission is remembered, or { load, save }, or undefined.
function remember(value, name) {
  if (value === undefined || value === false) return undefined;
  if (value === true) return 'default';
  if (typeof value === 'string') {
    if (nameOfPermission.test(value)) return value;
    fail(RangeError, name, 'a name of up to 64 letters, digits, "_", "-" and "."', value);
  }
  if (typeof value?.load === 'function' && typeof value.save === 'function') return value;
  return fail(TypeError, name, 'a boolean, a name or an object with the functions load and save', value);
}

module.exports = {
  buttonArguments, callback, checkArguments, checkCallOptions, clickArguments, dragArguments, duration, methods,
  monitorChoice, moveArguments, optional, options, partArguments, pasteMode, pixelArguments, remember,
  screenshotArguments, text,
};
