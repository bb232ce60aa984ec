'use strict';
// Starts host processes that load the addon. The tests also check what the addon does to its
// host: output, exit code, signals and memory.

const assert = require('node:assert');
const { fork, spawn } = require('node:child_process');
const path = require('node:path');
const { endWithOutput } = require('./children');

// Node is built without sanitizers, so the runtime of the addon's sanitizer is preloaded. Leaks
// are not checked, because Node itself does not free everything at exit.
const hostEnvironment = (env) => {
  const { OSTLER_PRELOAD: runtime } = process.env;
  return runtime ? { ...env, LD_PRELOAD: runtime, ASAN_OPTIONS: 'detect_leaks=0' } : env;
};

// Starts a host in `env`. `run(function, ...values)` calls the function in the host with the
// addon and the values, and resolves to its result or rejects with its error.
// `call(method, ...values)` calls a method of the addon.
async function startHost(env) {
  const child = fork(path.join(__dirname, 'host_main.js'),
    { env: hostEnvironment(env), silent: true, serialization: 'advanced', execArgv: ['--expose-gc'] });
  const ended = endWithOutput(child);
  // The calls that have no answer yet, the oldest first: the host answers in their order.
  const unanswered = [];
  child.on('message', (message) => unanswered.shift()(message));
  const answer = () => Promise.race([
    new Promise((resolve) => { unanswered.push(resolve); }),
    ended.then(({ end, output }) => { throw new Error(`the host ended: ${end}: ${output}`); }),
  ]);
  await answer();
  async function run(task, ...values) {
    child.send({ source: String(task), values });
    const { value, error } = await answer();
    if (error !== undefined) throw new Error(error);
    return value;
  }
  return {
    pid: child.pid,
    run,
    call: (method, ...values) => run((addon, name, args) => addon[name](...args), method, values),
    // Lets the host exit normally, and checks that it has printed nothing.
    async stop() {
      child.disconnect();
      assert.deepStrictEqual(await ended, { end: 0, output: '' });
    },
  };
}

// Runs a script in a host. Each time the script prints a line, `atLine` is called, and then the
// script receives a line.
function runScript(source, env, atLine) {
  const child = spawn(process.execPath, ['-e', source],
    { env: hostEnvironment(env), timeout: 60000, killSignal: 'SIGKILL' });
  child.stdout.on('data', async () => {
    await atLine();
    child.stdin.on('error', () => {}).write('\n');
  });
  return endWithOutput(child);
}

module.exports = { runScript, startHost };
