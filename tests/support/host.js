'use strict';
// A host process that has loaded the addon: what the addon does to its host
// (output, exit code, signals, memory) is part of what the tests look at.

const assert = require('node:assert');
const { fork, spawn } = require('node:child_process');
const { once } = require('node:events');
const path = require('node:path');
const { endWithOutput } = require('./children');

// Node has no sanitizer in it, so the runtime of the addon's comes first; Node's
// own memory at its end is not looked at.
const hostEnvironment = (env) => {
  const { OSTLER_PRELOAD: runtime } = process.env;
  return runtime ? { ...env, LD_PRELOAD: runtime, ASAN_OPTIONS: 'detect_leaks=0' } : env;
};

// Starts a host in `env`. `run(function, ...values)` calls the function with
// the addon and the values there, and gives its result or throws its error;
// `call(method, ...values)` calls a method of the addon.
async function startHost(env) {
  const child = fork(path.join(__dirname, 'host_main.js'),
    { env: hostEnvironment(env), silent: true, serialization: 'advanced', execArgv: ['--expose-gc'] });
  const ended = endWithOutput(child);
  const answer = () => Promise.race([
    once(child, 'message').then(([message]) => message),
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
    // Ends the host as a script that is through does. Nothing it did may have
    // printed anything.
    async stop() {
      child.disconnect();
      assert.deepStrictEqual(await ended, { end: 0, output: '' });
    },
  };
}

// Runs a script as a host. At each line that it prints `atLine` is called, then it gets a line.
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
