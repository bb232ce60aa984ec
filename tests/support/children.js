'use strict';

const { once } = require('node:events');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after } = require('node:test');

const running = new Set();
// What a test has not stopped or closed would keep this process for ever, so it fails instead.
after(() => setTimeout(() => {
  running.forEach((child) => child.kill('SIGKILL'));
  process.exit(1);
}, 20000).unref());

// Gives the end of a child process, which comes after the tests at the latest.
function endOf(child) {
  running.add(child);
  return once(child, 'exit').finally(() => running.delete(child));
}

// Resolves at the end of a child to its exit code, or its signal, and all that it printed.
async function endWithOutput(child) {
  let output = '';
  const closed = [child.stdout, child.stderr].map((stream) => {
    stream.on('data', (data) => { output += data; });
    return once(stream, 'close');
  });
  const [[code, signal]] = await Promise.all([endOf(child), ...closed]);
  return { end: signal ?? code, output };
}

const directories = [];
process.once('exit', () => directories.forEach((name) => fs.rmSync(name, { recursive: true, force: true })));
for (const signal of ['SIGINT', 'SIGTERM', 'SIGHUP']) process.once(signal, () => process.exit(1));

// A new directory, which goes with this process.
function temporaryDirectory() {
  directories.push(fs.mkdtempSync(path.join(os.tmpdir(), 'ostler-test-')));
  return directories.at(-1);
}

// The command and arguments of a server that ends when this process does, even if that is killed.
const bound = (...command) => ['setpriv', ['--pdeathsig', 'KILL', ...command]];

// The path of a program of the tests.
const program = (name) => path.join(process.env.OSTLER_TEST_PROGRAMS, name);

module.exports = { bound, endOf, endWithOutput, program, temporaryDirectory };
