'use strict';

const { setTimeout: sleep } = require('node:timers/promises');

// Waits until `condition` resolves to true. Fails after `seconds` with what `describe` returns then.
async function waitUntil(condition, describe = () => String(condition), seconds = 20) {
  const deadline = Date.now() + seconds * 1000;
  while (!await condition()) {
    if (Date.now() > deadline) throw new Error(`still false after ${seconds} s: ${JSON.stringify(await describe())}`);
    await sleep(5);
  }
}

module.exports = { waitUntil };
