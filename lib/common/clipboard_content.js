'use strict';
// Runs in the helper process: makes and reads the bytes in which the session module takes and
// returns what has been copied (src/backend/clipboard.h).

const textType = 'text/plain;charset=utf-8';

// Takes items { type, bytes }.
function packContent(items) {
  return Buffer.concat(items.flatMap(({ type, bytes }) => {
    const name = Buffer.from(type);
    const lengths = Buffer.alloc(8);
    lengths.writeUInt32LE(name.length, 0);
    lengths.writeUInt32LE(bytes.length, 4);
    return [lengths, name, bytes];
  }));
}

const packText = (text) => (text === '' ? null : packContent([{ type: textType, bytes: Buffer.from(text) }]));

// Returns the text in a content, or ''. Takes null when there is nothing.
function textIn(content) {
  for (let start = 0; content && start < content.length;) {
    const typeEnd = start + 8 + content.readUInt32LE(start);
    const end = typeEnd + content.readUInt32LE(start + 4);
    if (content.toString('utf8', start + 8, typeEnd) === textType) return content.toString('utf8', typeEnd, end);
    start = end;
  }
  return '';
}

module.exports = { packContent, packText, textIn, textType };
