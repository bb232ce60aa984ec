'use strict';

const { once } = require('node:events');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after } = require('node:test');

const running = new Set();
// Anything that a test has not stopped or closed would keep this process running, so the test
// file fails 20 s after its last test.
after(() => setTimeout(() => {
  running.forEach((child) => child.kill('SIGKILL'));
  process.exit(1);
}, 20000).unref());

// Resolves to the exit code and signal of a child process. A child that is still running after
// the tests is killed.
function endOf(child) {
  running.add(child);
  return once(child, 'exit').finally(() => running.delete(child));
}

// Resolves, when a child has ended, to its exit code or signal and to all that it printed.
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

// Creates a directory that is deleted when this process exits.
function temporaryDirectory() {
  directories.push(fs.mkdtempSync(path.join(os.tmpdir(), 'ostler-test-')));
  return directories.at(-1);
}

// Returns the command and arguments that run a server until this process ends, even if it is
// killed.
const bound = (...command) => ['setpriv', ['--pdeathsig', 'KILL', ...command]];

// Returns the path of a test program.
const program = (name) => path.join(process.env.OSTLER_TEST_PROGRAMS, name);

module.exports = { bound, endOf, endWithOutput, program, temporaryDirectory };
