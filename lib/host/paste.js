'use strict';
// Runs in the host.

const { sleep } = require('./wait');

const longest = 4 << 20;  // in bytes
// In milliseconds. One read from an owner that hangs takes 2000.
const patience = 5000;

// Sets the clipboard and waits until reading it returns the text, because xclip takes
// the clipboard over shortly after the call.
async function setClipboardAndWait(text, { request, pause }) {
  const expected = Buffer.from(text.split('\0', 1)[0]).toString();
  if (Buffer.byteLength(expected) > longest) throw new RangeError('The text is longer than 4 MiB.');
  await request('setClipboard', text);
  const deadline = performance.now() + patience;
  while (await request('getClipboard') !== expected) {
    if (performance.now() > deadline) throw new Error('The clipboard did not take the text. Install xclip.');
    await pause(10);
  }
}

// Pastes a text with a key combination, and then restores the old text of the clipboard.
async function paste(text, { combo = 'ctrl+v', restoreAfter = 500 }, { request, requestAlways, pause }) {
  if (text === '') return;
  const old = await request('getClipboard');
  try {
    await setClipboardAndWait(text, { request, pause });
    await request('key', combo);
    await pause(restoreAfter);
  } finally {
    await setClipboardAndWait(old, { request: requestAlways, pause: sleep }).catch(() => {});
  }
}

module.exports = { paste, setClipboardAndWait };
