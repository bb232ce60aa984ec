'use strict';
// Starts the processes that run the operations, and gives them one interface.

const { fork, spawn } = require('node:child_process');
const { once } = require('node:events');
const path = require('node:path');
const readline = require('node:readline');

// Resolves to the next message or line of a child. Rejects if the child exits before.
async function answerOf(child, arrival) {
  const ended = new AbortController();
  try {
    return await Promise.race([arrival(ended.signal), once(child, 'exit', { signal: ended.signal })
      .then(([code, signal]) => { throw new Error(`the process ended with ${signal ?? code}`); })]);
  } finally {
    ended.abort();
  }
}

const patience = 5000;  // in milliseconds, before a child that does not exit is killed

// Resolves when a child has exited, also when it already had.
async function ended(child) {
  if (child.exitCode !== null || child.signalCode !== null) return;
  const timer = setTimeout(() => child.kill('SIGKILL'), patience);
  await once(child, 'exit');
  clearTimeout(timer);
}

// Starts a subject in JavaScript. `operations` lists what it can do. `time` runs an operation
// `count` times and resolves to { nanoseconds, bytes, memory }, with the mean time.
async function startSubject(name, env) {
  const child = fork(path.join(__dirname, 'subject_process.js'), [name],
    { env, serialization: 'advanced', stdio: ['ignore', 'ignore', 'ignore', 'ipc'] });
  const message = () => answerOf(child, (signal) => once(child, 'message', { signal }).then(([value]) => value));
  const { operations, error } = await message();
  if (error) {
    child.disconnect();
    throw new Error(error);
  }
  return {
    name,
    operations,
    async time(operation, count) {
      child.send({ operation, count }, () => {});  // the exit says why sending failed
      const answer = await message();
      if (answer.error) throw new Error(`${name}: ${answer.error}`);
      return answer;
    },
    async stop() {
      if (child.connected) child.disconnect();
      await ended(child);
    },
  };
}

// Starts the plain program, which reads and prints lines.
function startPlainProgram(programs, env) {
  const child = spawn(path.join(programs, 'plain'), { env, stdio: ['pipe', 'pipe', 'inherit'] });
  const lines = readline.createInterface(child.stdout);
  return {
    name: 'plain program',
    operations: ['cursorPosition', 'move', 'key', 'combo', 'type', 'getClipboard', 'setClipboard', 'jpeg',
      'jpeg720', 'jpeg768', 'crop', 'png', 'pixels'],
    async time(operation, count) {
      child.stdin.write(`${operation} ${count}\n`);
      const [line] = await answerOf(child, (signal) => once(lines, 'line', { signal }));
      const [nanoseconds, bytes] = line.split(' ').map(Number);
      return { nanoseconds: nanoseconds / count, bytes: bytes || undefined };
    },
    async stop() {
      child.stdin.on('error', () => {}).end();
      await ended(child);
    },
  };
}

module.exports = { startPlainProgram, startSubject };
