'use strict';
// Other clients of the X server, under a test's command: build/tests/*.

const { once } = require('node:events');
const { spawn } = require('node:child_process');
const path = require('node:path');
const readline = require('node:readline');

async function startClient(env, name, ...options) {
  const child = spawn(path.join(process.env.OSTLER_TEST_PROGRAMS, name), options,
    { env, stdio: ['pipe', 'pipe', 'inherit'] });
  const exited = once(child, 'exit');
  const lines = readline.createInterface(child.stdout)[Symbol.asyncIterator]();
  async function nextLine() {
    const { value, done } = await lines.next();
    if (done) throw new Error(`${name} ended`);
    return value;
  }
  return {
    nextLine,
    ask(line) {
      child.stdin.write(`${line}\n`);
      return nextLine();
    },
    async stop() {
      child.stdin.end();
      await exited;
    },
  };
}

// A person with a keyboard; `ask` says what to press.
const startPerson = (env) => startClient(env, 'escape_person');

// An owner of the clipboard that behaves as `mode` says.
async function startOwner(env, mode, ...options) {
  const owner = await startClient(env, 'selection_owner', mode, ...options);
  await owner.nextLine();
  return owner;
}

module.exports = { startOwner, startPerson };
