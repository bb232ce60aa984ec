'use strict';
// Runs in the command `ostler`.

// Reports wrong arguments of a command; the process then exits with code 2.
class UsageError extends Error {}

// Parses a number within limits.
function number(text, name, { least = -Infinity, most = Infinity, integer = false } = {}) {
  const value = text.trim() === '' ? NaN : Number(text);
  if (!Number.isFinite(value)) throw new UsageError(`${name} must be a number, not "${text}"`);
  if (value < least || value > most || (integer && !Number.isInteger(value))) {
    const range = most === Infinity ? `from ${least}` : `from ${least} to ${most}`;
    throw new UsageError(`${name} must be ${integer ? 'an integer' : 'a number'} ${range}, not ${text}`);
  }
  return value;
}

const onScreen = { least: -32768, most: 32767 };  // coordinates have 16 bits in the X protocol

const coordinates = (names) => (words) => words.map((word, i) => number(word, names[i], onScreen));

// Parses a list such as "1,2,3" to numbers, one for each name.
function numbers(text, separator, names, limits) {
  const parts = text.split(separator);
  if (parts.length !== names.length) throw new UsageError(`expected ${names.join(separator)}, not "${text}"`);
  return parts.map((part, i) => number(part, names[i], limits));
}

const side = { least: 1, most: 2 ** 14, integer: true };

// Parses X,Y,W,H or the WxH+X+Y of X programs.
function region(text) {
  const geometry = /^([\d.]+)x([\d.]+)\+?(-?[\d.]+)\+?(-?[\d.]+)$/.exec(text);
  const words = geometry ? [geometry[3], geometry[4], geometry[1], geometry[2]] : text.split(',');
  if (words.length !== 4) throw new UsageError(`expected X,Y,W,H or WxH+X+Y, not "${text}"`);
  const [x, y] = coordinates(['X', 'Y'])(words.slice(0, 2));
  const [width, height] = words.slice(2).map((word, i) => number(word, 'WH'[i], { ...side, most: 32767 }));
  return { x, y, width, height };
}

function size(text) {
  const [width, height] = numbers(text, 'x', ['W', 'H'], side);
  return { width, height };
}

// Counts the letters by which two words differ.
function distance(a, b) {
  let row = [...b].map((_, i) => i + 1);
  [...a].forEach((letter, i) => {
    let diagonal = i;
    let left = i + 1;
    row = row.map((above, j) => {
      const cost = Math.min(above + 1, left + 1, diagonal + (letter === b[j] ? 0 : 1));
      diagonal = above;
      left = cost;
      return cost;
    });
  });
  return row.at(-1) ?? a.length;
}

// Returns a question that names the choice which is most like a wrong word, if any is.
function didYouMean(word, choices) {
  const [best] = choices.map((choice) => [distance(word, choice), choice]).sort(([a], [b]) => a - b);
  return best && best[0] <= Math.max(1, word.length / 3) ? `; did you mean "${best[1]}"?` : '';
}

function oneOf(text, choices, name) {
  if (!choices.includes(text)) throw new UsageError(`${name} must be one of ${choices.join(', ')}, not "${text}"`);
  return text;
}

const token = /(\s+)|(?<!\S)(#.*)|'([^']*)'|"((?:[^"\\]|\\.)*)"|\\(.)|([^\s'"\\]+)|(.)/gs;

// Splits a line into words as a shell does. '...' keeps everything literally, and "..."
// everything except \" and \\. A backslash keeps the next character literally, and # at the
// start of a word begins a comment. There are no variables and no patterns.
function splitLine(line) {
  const words = [];
  let word;
  for (const [, blank, comment, single, double, escaped, plain, stray] of line.matchAll(token)) {
    if (stray) throw new UsageError(`unmatched ${stray}`);
    if (blank || comment) {
      if (word !== undefined) words.push(word);
      word = undefined;
    } else {
      word = (word ?? '') + (single ?? double?.replace(/\\(["\\])/g, '$1') ?? escaped ?? plain);
    }
  }
  return word === undefined ? words : [...words, word];
}

module.exports = { UsageError, coordinates, didYouMean, number, oneOf, region, size, splitLine };
