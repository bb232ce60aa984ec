'use strict';

// Reports wrong arguments of a command; the process then exits with code 2.
class UsageError extends Error {}

function number(text, name) {
  const value = text.trim() === '' ? NaN : Number(text);
  if (!Number.isFinite(value)) throw new UsageError(`${name} must be a number, not "${text}"`);
  return value;
}

// Parses a list such as "1,2,3" to numbers, one for each name.
function numbers(text, separator, names) {
  const parts = text.split(separator);
  if (parts.length !== names.length) throw new UsageError(`expected ${names.join(separator)}, not "${text}"`);
  return parts.map((part, i) => number(part, names[i]));
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

module.exports = { UsageError, number, numbers, oneOf, splitLine };
