'use strict';
// Runs in the host.

const longest = 4 << 20;  // in bytes

// In milliseconds. A session that holds the lock for longer hangs, and is not waited for.
const lockPatience = 30000;
const lockPause = 20;

const failures = {
  unread: (combo, restoreAfter) => `No program has read the text within ${restoreAfter} ms after "${combo}". `
    + 'Check that a field has the keyboard, and that it pastes with this combo.',
  lost: () => 'Another program has copied something before the text was read.',
};

// Pastes a text with a key combination, and restores what was in the clipboard once the text
// has been read.
async function paste(text, { combo = 'ctrl+v', restoreAfter = 5000 }, { request, requestAlways, pause }) {
  if (text === '') return;
  if (Buffer.byteLength(text) > longest) throw new RangeError('The text is longer than 4 MiB.');
  try {
    const deadline = performance.now() + lockPatience;
    while (!await request('lockPaste') && performance.now() < deadline) await pause(lockPause);
    await request('beginPaste', text);
    await request('key', combo);
    const outcome = await request('waitForReader', restoreAfter);
    if (outcome !== 'read') throw new Error(failures[outcome](combo, restoreAfter));
  } catch (error) {
    await requestAlways('endPaste').catch(() => {});
    throw error;
  }
  await requestAlways('endPaste');
}

module.exports = { paste };
