'use strict';

const { setTimeout: sleep } = require('node:timers/promises');

// Waits until `condition` resolves to true. Fails after 20 s with what `describe` returns then.
async function waitUntil(condition, describe = () => String(condition)) {
  const deadline = Date.now() + 20000;
  while (!await condition()) {
    if (Date.now() > deadline) throw new Error(`still false after 20 s: ${JSON.stringify(await describe())}`);
    await sleep(5);
  }
}

module.exports = { waitUntil };
