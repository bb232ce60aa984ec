'use strict';
// The Escape watcher of a host, beside a person who presses Escape.

const assert = require('node:assert');
const fs = require('node:fs');
const net = require('node:net');
const os = require('node:os');
const { execFile, spawn } = require('node:child_process');
const { once } = require('node:events');
const { after, afterEach, before, describe, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { promisify } = require('node:util');
const { hostEnvironment, startHost } = require('../support/host');
const { waitUntil } = require('../support/wait');
const { startWitness, textOf } = require('../support/witness');
const { startXvfb } = require('../support/xvfb');

let server, host, witness;
before(async () => {
  // A key of a person who is slow does not repeat at once.
  // A test below connects to its socket by path.
  server = await startXvfb({ options: ['-ardelay', '2000', '-listen', 'unix'] });
  process.once('exit', () => fs.rmSync(`/tmp/.X11-unix/X${server.display.slice(1)}`, { force: true }));
  witness = await startWitness(server.env);
  host = await startHost(server.env);
});
after(() => Promise.all([host, witness].map((client) => client.stop())).finally(server.stop));
afterEach(() => unlock());

// A person at the keyboard: another client, with XTEST.
const person = (...actions) => promisify(execFile)('xdotool', actions, { env: server.env });
const lock = (inHost = host) => inHost.run((addon) => {
  globalThis.calls = 0;
  return addon.lock(function (...values) { globalThis.calls += this === globalThis && values.length === 0 ? 1 : 100; });
});
const unlock = (inHost = host) => inHost.run((addon) => addon.unlock());
const calls = () => host.run(() => globalThis.calls);
const becomes = (count) => waitUntil(async () => await calls() === count, calls);
async function typed(text) {
  await witness.events();
  await host.run((addon, value) => addon.type(value), text);
  return textOf(await witness.events());
}

it('calls back for each press, with modifiers held and while it repeats, but not for the addon\'s own', async () => {
  assert.strictEqual(await lock(), true);
  for (const [i, keys] of ['Escape', 'shift+Escape', 'ctrl+alt+Escape'].entries()) {
    await person('key', keys);
    await becomes(i + 1);
  }
  await unlock();
  assert.strictEqual(await lock(), true);
  // Sent at any time between two looks of the watcher.
  for (let i = 0; i < 30; i++) await host.run((addon) => { addon.key('escape'); addon.key('ctrl+escape'); });
  assert.strictEqual(await typed('goes on and on'), 'goes on and on');
  assert.strictEqual(await calls(), 0);
  // One that the server drops, because the key is down already, does not hide the person's.
  for (let i = 1; i <= 3; i++) {
    await host.run((addon) => {
      require('node:child_process').execFileSync('xdotool', ['keydown', 'Escape']);
      addon.key('escape');
    });
    await becomes(i);
    await person('keyup', 'Escape');
  }
});

it('runs on a server that has no other client', async () => {
  const lonely = await startXvfb({ options: ['-terminate'] });
  const other = await startHost(lonely.env);
  assert.strictEqual(await lock(other), true);
  await unlock(other);
  await other.stop();
  await lonely.stop();
});

it('follows Escape to another key and back', async () => {
  assert.strictEqual(await lock(), true);
  let count = 0;
  for (const option of ['caps:swapescape', '']) {
    await promisify(execFile)('setxkbmap', ['-option', option], { env: server.env });
    await sleep(300);
    await person('key', 'Caps_Lock', 'key', 'Caps_Lock', 'key', 'Escape');
    await becomes(++count);
  }
});

it('calls back no more once unlock has returned', async () => {
  assert.strictEqual(await lock(), true);
  const locked = await host.run((addon) => {
    const { execFileSync } = require('node:child_process');
    execFileSync('xdotool', ['key', 'Escape']);
    execFileSync('sleep', ['0.5']);  // the watcher queues the callback meanwhile
    addon.unlock();
    return addon.lock(() => { globalThis.calls += 1000; });
  });
  assert.deepStrictEqual([locked, await calls(), await calls()], [true, 0, 0]);
  await person('key', 'Escape');
  await becomes(1000);
});

it('leaves the signals of the host to its other threads', async () => {
  const threads = () => fs.readdirSync(`/proc/${host.pid}/task`);
  const blocked = (thread) => BigInt(
    `0x${/SigBlk:\s*(\w+)/.exec(fs.readFileSync(`/proc/${host.pid}/task/${thread}/status`))[1]}`);
  const before = threads();
  const ownBlocked = blocked(host.pid);
  assert.strictEqual(await lock(), true);
  const [watcher] = threads().filter((thread) => !before.includes(thread));
  const mask = (...names) => names.reduce((bits, name) => bits | 1n << BigInt(os.constants.signals[name] - 1), 0n);
  const handled = ['SIGINT', 'SIGTERM', 'SIGUSR1', 'SIGCHLD'];
  assert.strictEqual(blocked(watcher) & mask(...handled, 'SIGSEGV', 'SIGABRT'), mask(...handled));
  assert.strictEqual(blocked(host.pid), ownBlocked);
});

it('stops a text half way, and the ones that follow until the next lock', async () => {
  assert.strictEqual(await lock(), true);
  const text = 'abcdefghij'.repeat(400);  // 20 s
  await witness.events();
  const typing = host.run((addon, value) => addon.type(value), text);
  let half = '';
  const more = async () => { half += textOf(await witness.events()); };
  await waitUntil(() => more().then(() => half.length > 20));
  await person('key', 'Escape');
  await typing;
  await more();
  // While the person's key is down, what is typed goes to nobody.
  assert.ok(half.length < 2000 && half.startsWith(text.slice(0, 20)), half);
  await becomes(1);
  assert.strictEqual(await typed('more'), '');
  await unlock();
  assert.strictEqual(await typed('more'), '');
  assert.strictEqual(await lock(), true);
  assert.strictEqual(await typed('more'), 'more');
  await person('keydown', 'Escape');
  await waitUntil(async () => await calls() >= 4, calls);
  await person('keyup', 'Escape');
});

it('runs once at a time, in one client at a time, and gives the key back', async () => {
  const other = await startHost(server.env);
  assert.strictEqual(await lock(), true);
  assert.strictEqual(await host.run((addon) => addon.lock(() => { globalThis.calls += 100; })), false);
  assert.strictEqual(await lock(other), false, 'the key is held by another client');
  await person('key', 'Escape');
  await becomes(1);
  await unlock();
  await unlock();
  assert.strictEqual(await lock(other), true);
  assert.strictEqual(await lock(), false);
  await unlock(other);
  await other.stop();
});

it('answers false without a function or an X11 session', async () => {
  for (const value of [undefined, null, 'text', {}]) {
    assert.strictEqual(await host.run((addon, callback) => addon.lock(callback), value), false);
  }
  const cases = [['XDG_SESSION_TYPE', 'Wayland', ''], ['DISPLAY', '', 'on'], ['DISPLAY', ':4711', 'on']];
  const setEnvironment = (...pair) => host.run((addon, name, value) => { process.env[name] = value; }, ...pair);
  for (const [variable, value, stillTyped] of cases) {
    assert.strictEqual(await lock(), true);
    await person('key', 'Escape');
    await becomes(1);
    await unlock();
    await setEnvironment(variable, value);
    assert.strictEqual(await lock(), false, `${variable}=${value}`);
    assert.strictEqual(await typed('on'), stillTyped, `${variable}=${value}`);
    await setEnvironment(variable, server.env[variable]);
  }
});

it('leaves no thread, descriptor or client behind after 100 rounds', async () => {
  const held = () => [`/proc/${host.pid}/task`, `/proc/${host.pid}/fd`, `/proc/${server.pid}/fd`].map(
    (directory) => fs.readdirSync(directory).length);
  await lock();
  await unlock();
  const before = held();
  for (let round = 0; round < 100; round++) {
    assert.strictEqual(await lock(), true);
    await unlock();
  }
  await waitUntil(() => held().every((count, i) => count <= before[i]), () => [before, held()]);
});

describe('the end of the process', () => {
  // Runs a script; `atLine` acts at each line that it prints, then it goes on.
  async function runScript(source, { env = server.env, atLine = () => person('key', 'Escape') } = {}) {
    const prelude = `
      const { Worker } = require('node:worker_threads');
      const load = () => require(process.env.OSTLER_ADDON);
      const lock = (callback = () => {}) => { if (!load().lock(callback)) process.exit(99); };
      const say = (line) => new Promise((resolve) => {
        process.stdin.once('data', () => { process.stdin.unref(); resolve(); }).ref();
        console.log(line);
      });
      const lockingWorker = (rest = '') => new Promise((resolve) => {
        const worker = new Worker(\`const { parentPort } = require('node:worker_threads');
          parentPort.postMessage(require(process.env.OSTLER_ADDON).lock(() => {})); \${rest}\`, { eval: true });
        worker.once('message', (locked) => locked ? resolve(worker) : process.exit(99));
      });`;
    const child = spawn(process.execPath, ['-e', `${prelude}\n(async () => {${source}\n})();`],
      { env: hostEnvironment(env), timeout: 60000, killSignal: 'SIGKILL' });
    let output = '';
    child.stderr.on('data', (data) => { output += data; });
    child.stdout.on('data', async () => {
      await atLine();
      child.stdin.write('\n');
    });
    child.stdin.on('error', () => {});
    const [code, signal] = await once(child, 'close');
    return { code, signal, output };
  }
  const ends = [
    ['process.exit', 'lock(); process.exit(7)', 7],
    ['process.exit in the callback', 'lock(() => process.exit(7)); await say("press")', 7],
    ['process.exit with a press on its way', 'lock(); await say("press"); process.exit(7)', 7],
    ['an uncaught exception', 'lock(); process.nextTick(() => { throw 1 })', 1],
    ['an exception in the callback',
      'process.on("uncaughtException", process.exit); lock(() => { throw 7 }); await say("press")', 7],
    ['a lock while the process exits', 'process.on("exit", () => lock()); process.exitCode = 7', 7],
    ['a terminated Worker that alone had the addon',
      'await (await lockingWorker()).terminate(); await say("press"); setTimeout(() => {}, 300)', 0],
    ['a terminated Worker beside the main thread',
      'load(); await (await lockingWorker()).terminate(); await say("press"); lock(); process.exit(7)', 7],
    ['a Worker that exits',
      `const w = await lockingWorker('parentPort.once("message", () => process.exit(3))');
      w.once("exit", process.exit); w.postMessage(1)`, 3],
    ['a living Worker', 'await lockingWorker("setInterval(() => {}, 1000)"); await say("press"); process.exit(7)', 7],
  ];
  for (const [name, source, expected] of ends) {
    it(`keeps its exit code: ${name}`, async () => {
      const { code, signal, output } = await runScript(source);
      assert.deepStrictEqual([code, signal], [expected, null], output);
    });
  }

  it('does not wait long for an X server that has gone silent, and comes with code 1 when that dies', async () => {
    const silences = ['lock(); await say("stop"); process.exit(7)',
      'lock(); await say("stop"); load().unlock(); load().unlock(); process.exit(load().lock(() => {}) ? 1 : 7)',
      'const w = await lockingWorker(); await say("stop"); await w.terminate(); process.exit(7)'];
    const deaths = ['lock(); await say("die")', 'lock(); load().move(1, 1); await say("die"); for (;;);',
      'lock(); await say("die"); load().unlock(); setInterval(() => {}, 1000)',
      // A job of Node's thread pool, for which exit() waits while other threads go on.
      `await lockingWorker('setInterval(() => require(process.env.OSTLER_ADDON).move(1, 1))');
      require('node:crypto').pbkdf2('', '', 4e6, 64, 'sha512', () => {}); await say('die'); setInterval(() => {}, 1)`];
    await Promise.all([...silences, ...deaths].map(async (source) => {
      const other = await startXvfb();
      const silent = silences.includes(source);
      const atLine = () => (silent ? process.kill(other.pid, 'SIGSTOP') : other.stop());
      const { code, signal, output } = await runScript(source, { env: other.env, atLine });
      assert.deepStrictEqual([code, signal], [silent ? 7 : 1, null], source + output);
      if (silent) process.kill(other.pid, 'SIGKILL');
    }));
  });
});

it('gives a display that never answers 5 s; what comes later changes nothing', async () => {
  for (const silentFrom of [0, 1]) {  // connections that are let through to the real server
    const sockets = [];
    const open = (socket) => {
      const real = net.connect(`/tmp/.X11-unix/X${server.display.slice(1)}`);
      socket.on('close', () => real.destroy()).pipe(real).on('error', () => {}).pipe(socket);
    };
    const gate = net.createServer((socket) => {
      if (sockets.push(socket.on('error', () => {})) <= silentFrom) open(socket);
    });
    const number = process.pid;
    const socketPath = `/tmp/.X11-unix/X${number}`;
    process.once('exit', () => fs.rmSync(socketPath, { force: true }));
    await once(gate.listen(socketPath), 'listening');
    const other = await startHost(server.env);
    const threads = () => fs.readdirSync(`/proc/${other.pid}/task`).length;
    const before = await other.run((addon) => addon.cursorPosition()) && threads();
    const lockOn = (display) => other.run((addon, name) => {
      const usual = process.env.DISPLAY;
      process.env.DISPLAY = name;
      const started = Date.now();
      const locked = addon.lock(() => {});
      process.env.DISPLAY = usual;
      return [locked, Date.now() - started];
    }, display);
    const [locked, elapsed] = await lockOn(`:${number}`);
    assert.ok(!locked && elapsed >= 4990 && elapsed < 15000, `${locked} after ${elapsed} ms`);
    assert.strictEqual((await lockOn(`:${number}`))[0], false);
    assert.strictEqual(threads(), before + 1, 'one worker is late, however often lock is called');
    if (silentFrom === 0) assert.strictEqual(await lock(other), true, 'nothing is held that others need');
    await unlock(other);
    sockets.slice(silentFrom).forEach(open);
    await waitUntil(() => threads() === before);
    assert.strictEqual(await lock(other), true);
    await unlock(other);
    gate.close();
    sockets.forEach((socket) => socket.destroy());
    await other.stop();
  }
});
