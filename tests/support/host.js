'use strict';
// A host process that has loaded the addon: what the addon does to its host
// (output, exit code, signals, memory) is part of what the tests look at.

const assert = require('node:assert');
const { fork } = require('node:child_process');
const { once } = require('node:events');
const path = require('node:path');
const { endOf } = require('./children');

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
  let output = '';
  const closed = [child.stdout, child.stderr].map((stream) => {
    stream.on('data', (data) => { output += data; });
    return once(stream, 'close');
  });
  const ended = Promise.all([endOf(child), ...closed]).then(([[code, signal]]) => ({ code, signal }));
  const answer = () => new Promise((resolve, reject) => {
    const onMessage = (message) => { child.off('exit', onExit); resolve(message); };
    const onExit = (code, signal) => reject(new Error(`the host ended: ${signal ?? code}: ${output}`));
    child.once('message', onMessage);
    child.once('exit', onExit);
  });
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
      assert.deepStrictEqual({ ...await ended, output }, { code: 0, signal: null, output: '' });
    },
  };
}

module.exports = { hostEnvironment, startHost };
