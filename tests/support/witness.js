'use strict';
// A second X client that sees what the addon does: build/tests/x11_witness.

const { execFileSync, spawn } = require('node:child_process');
const readline = require('node:readline');
const { endOf, program } = require('./children');

const witness = program('x11_witness');

// Starts the witness's window on the server of `env`; resolves once it shows.
async function startWitness(env, ...options) {
  const child = spawn(witness, options, { env, stdio: ['pipe', 'pipe', 'inherit'] });
  const exited = endOf(child);
  const lines = readline.createInterface(child.stdout)[Symbol.asyncIterator]();
  async function readUntil(kind) {
    const events = [];
    for (;;) {
      const { value, done } = await lines.next();
      if (done) throw new Error('the witness ended');
      const event = JSON.parse(value);
      if (event.kind === kind) return events;
      events.push(event);
    }
  }
  await readUntil('ready');
  return {
    // All events since the last call, up to what the server had by now.
    events() {
      child.stdin.write('\n');
      return readUntil('synced');
    },
    async stop() {
      child.kill();
      await exited;
    },
  };
}

// The keyboard map, and what is held down, as another client reads them.
const keyboardState = (env) => JSON.parse(execFileSync(witness, ['state'], { env }));

// The text of all key presses.
const textOf = (events) => String.fromCodePoint(
  ...events.filter((event) => event.kind === 'key' && event.down && event.codePoint).map((event) => event.codePoint));

module.exports = { startWitness, keyboardState, textOf };
