'use strict';
// Tests the Escape watcher of a host with a user who presses Escape.

const assert = require('node:assert');
const fs = require('node:fs');
const net = require('node:net');
const os = require('node:os');
const { execFile } = require('node:child_process');
const { once } = require('node:events');
const { after, afterEach, before, describe, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { promisify } = require('node:util');
const { runScript, startHost } = require('../support/host');
const { waitUntil } = require('../support/wait');
const { startX11, startXvfb, textOf } = require('../support/x11');

let x11, server, host;
before(async () => {
  // The long delay keeps a held key from repeating at once. A test below needs the server's socket in the file system.
  x11 = await startX11({ options: ['-ardelay', '2000', '-listen', 'unix'] });
  ({ server, host } = x11);
  process.once('exit', () => fs.rmSync(socketPath(server.env.DISPLAY), { force: true }));
});
after(() => x11.stop());
afterEach(() => unlock());

const socketPath = (display) => `/tmp/.X11-unix/X${display.slice(1)}`;
// Plays the user at the keyboard: xdotool is another client of the server.
const user = (...actions) => promisify(execFile)('xdotool', actions, { env: server.env });
const lock = (inHost = host) => inHost.run((addon) => {
  globalThis.calls = 0;
  return addon.lock(function (...values) { globalThis.calls += this === globalThis && values.length === 0 ? 1 : 100; });
});
const unlock = (inHost = host) => inHost.run((addon) => addon.unlock());
const calls = () => host.run(() => globalThis.calls);
const becomes = (count) => waitUntil(async () => await calls() === count, calls);
const threadsOf = ({ pid }) => fs.readdirSync(`/proc/${pid}/task`);
async function typed(text) {
  await x11.events();
  await host.call('type', text);
  return textOf(await x11.events());
}

it('calls back for each press of the user, also with modifiers and when the key repeats', async () => {
  assert.strictEqual(await lock(), true);
  for (const [i, keys] of ['Escape', 'shift+Escape', 'ctrl+alt+Escape'].entries()) {
    await user('key', keys);
    await becomes(i + 1);
  }
  await user('keydown', 'Escape');
  await waitUntil(async () => await calls() >= 6, calls);
  await user('keyup', 'Escape');
});

it('does not call back for the addon\'s own presses', async () => {
  assert.strictEqual(await lock(), true);
  // Some of these presses come just before, others just after the watcher reads its events.
  for (let i = 0; i < 30; i++) await host.run((addon) => { addon.key('escape'); addon.key('ctrl+escape'); });
  assert.strictEqual(await typed('goes on and on'), 'goes on and on');
  assert.strictEqual(await calls(), 0);
  // The server drops a synthetic press while the key is down. It must not hide the user's press.
  for (let i = 1; i <= 3; i++) {
    await host.run((addon) => {
      require('node:child_process').execFileSync('xdotool', ['keydown', 'Escape']);
      addon.key('escape');
    });
    await becomes(i);
    await user('keyup', 'Escape');
  }
});

it('follows Escape to another key and back', async () => {
  assert.strictEqual(await lock(), true);
  for (const [i, option] of ['caps:swapescape', ''].entries()) {
    await promisify(execFile)('setxkbmap', ['-option', option], { env: server.env });
    await sleep(300);
    await user('key', 'Caps_Lock', 'key', 'Caps_Lock', 'key', 'Escape');
    await becomes(i + 1);
  }
});

it('does not call back after unlock has returned', async () => {
  assert.strictEqual(await lock(), true);
  const locked = await host.run((addon) => {
    const { execFileSync } = require('node:child_process');
    execFileSync('xdotool', ['key', 'Escape']);
    execFileSync('sleep', ['0.5']);  // the watcher queues the callback meanwhile
    addon.unlock();
    return addon.lock(() => { globalThis.calls += 1000; });
  });
  assert.deepStrictEqual([locked, await calls(), await calls()], [true, 0, 0]);
  await user('key', 'Escape');
  await becomes(1000);
});

it('blocks the signals of the host on its thread', async () => {
  const threads = threadsOf(host);
  assert.strictEqual(await lock(), true);
  const [watcher] = threadsOf(host).filter((thread) => !threads.includes(thread));
  const [, blocked] = /SigBlk:\s*(\w+)/.exec(fs.readFileSync(`/proc/${host.pid}/task/${watcher}/status`));
  const isBlocked = (signal) => (BigInt(`0x${blocked}`) >> BigInt(os.constants.signals[signal] - 1)) % 2n === 1n;
  assert.ok(['SIGINT', 'SIGTERM', 'SIGUSR1', 'SIGCHLD'].every(isBlocked), blocked);
  assert.ok(!['SIGSEGV', 'SIGABRT'].some(isBlocked), blocked);
  assert.match(fs.readFileSync(`/proc/${host.pid}/status`, 'latin1'), /SigBlk:\s*0+\n/, 'the main thread');
});

it('stops type in the middle of a text, and every later type until the next lock', async () => {
  assert.strictEqual(await lock(), true);
  const text = 'abcdefghij'.repeat(400);  // 20 s
  await x11.events();
  const typing = host.call('type', text);
  let half = '';
  const more = async () => { half += textOf(await x11.events()); };
  await waitUntil(() => more().then(() => half.length > 20));
  await user('key', 'Escape');
  await typing;
  await more();
  // While the user holds Escape, the grab keeps typed characters from every client.
  assert.ok(half.length < 2000 && half.startsWith(text.slice(0, 20)), half);
  await becomes(1);
  assert.strictEqual(await typed('more'), '');
  await unlock();
  assert.strictEqual(await typed('more'), '');
  assert.strictEqual(await lock(), true);
  assert.strictEqual(await typed('more'), 'more');
});

it('runs only once, in one client at a time, and releases the key', async () => {
  const other = await startHost(server.env);
  assert.strictEqual(await lock(), true);
  assert.strictEqual(await host.run((addon) => addon.lock(() => { globalThis.calls += 100; })), false);
  assert.strictEqual(await lock(other), false, 'the key is held by another client');
  await user('key', 'Escape');
  await becomes(1);
  await unlock();
  await unlock();
  assert.strictEqual(await lock(other), true);
  assert.strictEqual(await lock(), false);
  await unlock(other);
  await other.stop();
  for (const value of [undefined, null, {}]) assert.strictEqual(await host.call('lock', value), false, `${value}`);
});

for (const [name, variable, value, stillTyped] of [
  ['in a Wayland session, and leaves typing stopped', 'XDG_SESSION_TYPE', 'Wayland', ''],
  ['without a display, and lets typing go on', 'DISPLAY', '', 'on'],
  ['when the display cannot be opened, and lets typing go on', 'DISPLAY', ':4711', 'on'],
]) {
  it(`returns false ${name}`, async () => {
    const setVariable = (to) => host.run((_addon, key, text) => { process.env[key] = text; }, variable, to);
    assert.strictEqual(await lock(), true);
    await user('key', 'Escape');
    await becomes(1);
    await unlock();
    await setVariable(value);
    assert.strictEqual(await lock(), false);
    assert.strictEqual(await typed('on'), stillTyped);
    await setVariable(server.env[variable]);
  });
}

it('leaves no thread, descriptor or client behind after 100 rounds', async () => {
  const held = () => [`/proc/${host.pid}/task`, `/proc/${host.pid}/fd`, `/proc/${server.pid}/fd`].map(
    (directory) => fs.readdirSync(directory).length);
  let atFirst;
  for (let round = 0; round <= 100; round++) {
    assert.strictEqual(await lock(), true);
    await unlock();
    atFirst ??= held();
  }
  await waitUntil(() => held().every((count, i) => count <= atFirst[i]), () => [atFirst, held()]);
});

describe('the end of the process', { concurrency: 4 }, () => {
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
  const ends = [
    ['process.exit in the callback', 7, 'lock(() => process.exit(7)); await say("press")'],
    ['process.exit just after a press', 7, 'lock(); await say("press"); process.exit(7)'],
    ['an uncaught exception', 1, 'lock(); process.nextTick(() => { throw 1 })'],
    ['an exception in the callback', 7,
      'process.on("uncaughtException", process.exit); lock(() => { throw 7 }); await say("press")'],
    ['a lock while the process exits', 7, 'process.on("exit", () => lock()); process.exitCode = 7'],
    ['a terminated Worker that alone had loaded the addon', 0,
      'await (await lockingWorker()).terminate(); await say("press"); setTimeout(() => {}, 300)'],
    ['a terminated Worker while the main thread has the addon too', 7,
      'load(); await (await lockingWorker()).terminate(); await say("press"); lock(); process.exit(7)'],
    ['a Worker that exits', 3, `const w = await lockingWorker('parentPort.once("message", () => process.exit(3))');
      w.once("exit", process.exit); w.postMessage(1)`],
    ['a running Worker', 7, 'await lockingWorker("setInterval(() => {}, 1000)"); await say("press"); process.exit(7)'],

    ['a server that is unresponsive at process.exit', 7, 'lock(); await say("hang"); process.exit(7)'],
    ['a server that is unresponsive at unlock', 7,
      'lock(); await say("hang"); load().unlock(); load().unlock(); process.exit(load().lock(() => {}) ? 1 : 7)'],
    ['a server that is unresponsive when a Worker is terminated', 7,
      'const w = await lockingWorker(); await say("hang"); await w.terminate(); process.exit(7)'],
    ['a server that dies', 1, 'lock(); await say("die")'],
    ['a server that dies while the script is busy', 1, 'lock(); load().move(1, 1); await say("die"); for (;;);'],
    ['a server that dies before unlock', 1,
      'lock(); await say("die"); load().unlock(); setInterval(() => {}, 1000)'],
    // exit() waits for a job of Node's thread pool while other threads continue.
    ['a server that dies while a Worker calls it', 1,
      `await lockingWorker('setInterval(() => require(process.env.OSTLER_ADDON).move(1, 1))');
      require('node:crypto').pbkdf2('', '', 4e6, 64, 'sha512', () => {}); await say("die"); setInterval(() => {}, 1)`],
  ];
  for (const [name, code, source] of ends) {
    it(`keeps the expected exit code: ${name}`, async () => {
      const [, cue] = /say\("(\w+)"\)/.exec(source) ?? [];
      // With -terminate the server exits with its last client, so the watcher must always keep one connection.
      const own = await startXvfb({ options: cue === 'press' ? [] : ['-terminate'] });
      const act = {
        press: () => promisify(execFile)('xdotool', ['key', 'Escape'], { env: own.env }),
        hang: () => process.kill(own.pid, 'SIGSTOP'),
        die: own.stop,
      }[cue];
      const { end, output } = await runScript(`${prelude}\n(async () => {${source}\n})();`, own.env, act);
      assert.strictEqual(end, code, output);
      await own.stop();
    });
  }
});

// The number, from 0, of the first connection that gets no answer.
for (const unanswered of [0, 1]) {
  it(`gives up after 5 s when connection ${unanswered} gets no answer, and ignores a later answer`, async () => {
    const sockets = [];
    const open = (socket) => {
      const real = net.connect(socketPath(server.env.DISPLAY));
      socket.on('close', () => real.destroy()).pipe(real).on('error', () => {}).pipe(socket);
    };
    const gate = net.createServer((socket) => {
      if (sockets.push(socket.on('error', () => {})) <= unanswered) open(socket);
    });
    const display = `:${process.pid}`;
    process.once('exit', () => fs.rmSync(socketPath(display), { force: true }));
    await once(gate.listen(socketPath(display)), 'listening');
    const other = await startHost(server.env);
    await other.call('cursorPosition');
    const threads = threadsOf(other).length;
    const setDisplay = (name) => other.run((_addon, value) => { process.env.DISPLAY = value; }, name);
    await setDisplay(display);
    const started = Date.now();
    assert.strictEqual(await lock(other), false);
    const elapsed = Date.now() - started;
    assert.ok(elapsed >= 4990 && elapsed < 15000, `${elapsed} ms`);
    assert.strictEqual(await lock(other), false);
    await setDisplay(server.env.DISPLAY);
    assert.strictEqual(threadsOf(other).length, threads + 1, 'only one worker waits, however often lock is called');
    if (unanswered === 0) assert.strictEqual(await lock(other), true, 'the waiting worker holds no shared lock');
    await unlock(other);
    sockets.slice(unanswered).forEach(open);
    await waitUntil(() => threadsOf(other).length === threads);
    assert.strictEqual(await lock(other), true);
    await unlock(other);
    gate.close();
    sockets.forEach((socket) => socket.destroy());
    await other.stop();
  });
}
