'use strict';
// Runs in the host.

const { paste } = require('./paste');

const shown = 10;  // characters in an error message

// Control characters have no key, and half a surrogate pair is no character.
const impossible = /[^\P{Cc}\n\r\t]|\p{Cs}/gu;

function fail(characters) {
  const names = characters.slice(0, shown).map((character) => {
    const code = `U+${character.codePointAt(0).toString(16).toUpperCase().padStart(4, '0')}`;
    return /[\p{C}\p{Z}\p{M}]/u.test(character) ? code : `${character} (${code})`;
  });
  if (characters.length > shown) names.push(`and ${characters.length - shown} more`);
  throw new Error(`The text has characters that cannot be typed: ${names.join(', ')}.`);
}

// Splits a text into the parts to type and to paste. What lies between two characters that cannot
// be typed is pasted with them, because pasting takes long, but not a line end or a tab: a
// program may act on these keys.
function split(text, untypable) {
  const parts = [];
  const add = (isPasted, characters) => {
    if (characters.length === 0) return;
    if (parts.at(-1)?.isPasted !== isPasted) parts.push({ isPasted, text: '' });
    parts.at(-1).text += characters.join('');
  };
  for (const piece of text.split(/([\n\r\t]+)/)) {
    const characters = [...piece];
    const first = characters.findIndex((character) => untypable.has(character));
    if (first === -1) {
      add(false, characters);
      continue;
    }
    const after = characters.findLastIndex((character) => untypable.has(character)) + 1;
    add(false, characters.slice(0, first));
    add(true, characters.slice(first, after));
    add(false, characters.slice(after));
  }
  return parts;
}

// Types a text and pastes what cannot be typed, or fails before anything is pressed.
async function write(text, { paste: mode, delay }, calls) {
  const wrong = text.match(impossible);
  if (wrong) fail([...new Set(wrong)]);
  if (mode === 'always') return paste(text, {}, calls);
  const untypable = [...await calls.request('untypable', text)];
  if (mode === 'never' && untypable.length > 0) fail(untypable);
  for (const part of split(text, new Set(untypable))) {
    if (part.isPasted) await paste(part.text, {}, calls);
    else await calls.request('write', part.text, delay);
  }
}

module.exports = { write };
