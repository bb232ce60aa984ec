'use strict';
// Tests how a desktop of ostler/promises ends: by itself, with the X server, with its helper, with
// its host, and when the host runs out of descriptors.

const assert = require('node:assert');
const { spawn, spawnSync } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { openDesktop } = require('../../lib/promises');
const { endOf, temporaryDirectory } = require('../support/children');
const { helpersOf, isAlive } = require('../support/helpers');
const { waitUntil } = require('../support/wait');
const { keyboardState, nothingDown, startWitness, startXvfb, textOf } = require('../support/x11');

const root = path.join(__dirname, '..', '..');

let server, witness;
before(async () => {
  server = await startXvfb({ options: ['-ardelay', '2000'] });
  witness = await startWitness(server.env);
});
after(() => witness.stop().finally(server.stop));

const pressed = () => keyboardState(server.env).down;
const isClosed = { code: 'ERR_DESKTOP_CLOSED' };

describe('a desktop that ends rejects its calls and says why', () => {
  for (const [name, end, expected, message] of [
    ['closed', (desktop) => desktop.close(), { reason: 'closed', code: 0, signal: null }, /^The desktop was closed/],
    ['helper killed', (_desktop, helper) => process.kill(helper, 'SIGKILL'),
      { reason: 'exited', code: null, signal: 'SIGKILL' }, /^The helper process ended with SIGKILL\. Call/],
    ['X server ended', (_desktop, _helper, other) => other.stop(), { reason: 'exited', code: 1, signal: null },
      /^The helper process ended with code 1. The X server has ended\. Call/],
  ]) {
    for (const isIdle of [false, true]) {
      it(`${name} ${isIdle ? 'while no call runs' : 'during a call'}`, async () => {
        const other = await startXvfb();
        const desktop = await openDesktop({ env: other.env });
        await desktop.keyDown('ctrl');
        await desktop.mouseDown({ x: 5, y: 5, button: 'right' });
        const calls = isIdle ? [] : [desktop.type('a'.repeat(2000)), desktop.move(1, 1)];
        const rejected = calls.map((call) => assert.rejects(call, isClosed));
        await sleep(50);
        const start = performance.now();
        await end(desktop, helpersOf(process.pid)[0], other);
        assert.deepStrictEqual(await desktop.closed, expected);
        assert.ok(performance.now() - start < 1000);
        await Promise.all(rejected);
        await assert.rejects(desktop.display(), { ...isClosed, end: expected, message });
        if (expected.code !== 1) assert.strictEqual(keyboardState(other.env).down, nothingDown);
        await other.stop();
      });
    }
  }

  it('says what the helper wrote when it could not start', async () => {
    const env = { ...server.env, NODE_OPTIONS: '--no-such-option' };
    await assert.rejects(openDesktop({ env }), { ...isClosed, message: /ended with code 9: .*--no-such-option is not/ });
  });
});

it('names a library that the session module needs and the linker does not find', async () => {
  const directory = temporaryDirectory();
  for (const name of ['lib', 'load.js', 'package.json']) {
    fs.cpSync(path.join(root, name), path.join(directory, name), { recursive: true });
  }
  const session = fs.readFileSync(process.env.OSTLER_SESSION, 'latin1').replace('libXtst.so.6', 'libXtst.so.7');
  fs.mkdirSync(path.join(directory, 'build'));
  fs.writeFileSync(path.join(directory, 'build', 'session.node'), session, 'latin1');
  const { openDesktop: openThere } = require(path.join(directory, 'lib', 'promises.js'));
  await assert.rejects(openThere({ env: server.env }),
    { message: /^ostler needs libXtst.so.7: install the package that contains it. libXtst.so.7: / });
});

const everyCall = ['type("Ab!".repeat(9999))', 'drag(0, 0, 30000, 0)', 'click(5, 5, "middle", 999)',
  'scroll(5, 5, 0, 2 ** 30)', 'keyDown("rightctrl").then(() => desktop.mouseDown({ button: "right" })).then(() => desktop.type("a".repeat(9999)))', 'waitForChange()',
  'onEscape(() => {})'];

describe('a helper ends within a second when its host is killed, and leaves nothing pressed', () => {
  for (const call of everyCall) {
    it(call, async () => {
      const source = `require('ostler/promises').openDesktop().then((desktop) => { desktop.${call}; console.log('on'); })`;
      const host = spawn(process.execPath, ['-e', source],
        { env: server.env, cwd: root, stdio: ['ignore', 'pipe', 'inherit'] });
      const ended = endOf(host);
      await once(host.stdout, 'data');
      await sleep(100 + 20 * Math.random());
      const [helper] = helpersOf(host.pid);
      host.kill('SIGKILL');
      await ended;
      const start = performance.now();
      await waitUntil(() => !isAlive(helper));
      assert.ok(performance.now() - start < 1000);
      await waitUntil(() => pressed() === nothingDown, pressed);
      await witness.events();
      await sleep(100);
      assert.deepStrictEqual(await witness.events(), []);
    });
  }
});

it('a helper that was stopped in any call can still be closed', async () => {
  const closing = [];
  for (const call of everyCall) {
    const desktop = await openDesktop({ env: server.env });
    eval(`desktop.${call}`).catch(() => {});
    await sleep(100);
    process.kill(helpersOf(process.pid).at(-1), 'SIGSTOP');
    closing.push(desktop.close().then(() => assert.rejects(desktop.display(), isClosed, call)));
  }
  await Promise.all(closing);
  assert.deepStrictEqual(helpersOf(process.pid), []);
  assert.strictEqual(pressed(), nothingDown);
});

it('works in a Worker of the host, and with two desktops at once', async () => {
  const source = `const { openDesktop } = require('ostler/promises');
    const { parentPort, Worker, isMainThread } = require('node:worker_threads');
    if (isMainThread) {
      new Worker(process.argv[1], { eval: true, argv: [] }).on('message', (text) => console.log(text));
    } else {
      (async () => {
        const desktops = await Promise.all([openDesktop(), openDesktop()]);
        await Promise.all(desktops.map((desktop, i) => desktop.type('ab'[i].repeat(40))));
        await Promise.all(desktops.map((desktop) => desktop.close()));
        parentPort.postMessage('typed');
      })();
    }`;
  await witness.events();
  const { stdout, stderr } = spawnSync(process.execPath, ['-e', `process.argv[1] = ${JSON.stringify(source)}; ${source}`],
    { env: server.env, cwd: root, encoding: 'utf8' });
  assert.deepStrictEqual([stdout, stderr], ['typed\n', '']);
  assert.strictEqual([...textOf(await witness.events())].sort().join(''), 'a'.repeat(40) + 'b'.repeat(40));
});

// Runs `task` in a host that may open at most `limit` files, and returns what it printed. In the host,
// `take(n)` takes all descriptors but n, and `release()` returns them.
function runWithFewDescriptors(task, limit = 64) {
  const source = `const { openDesktop } = require('ostler/promises');
    const fs = require('node:fs');
    const taken = [];
    const count = () => fs.readdirSync('/proc/self/fd').length;
    const take = (left) => {
      try { for (;;) taken.push(fs.openSync('/dev/null')); } catch { taken.splice(0, left).forEach(fs.closeSync); }
    };
    const childOf = () => Number(fs.readFileSync('/proc/self/task/' + process.pid + '/children', 'latin1').split(' ')[0]);
    const release = () => taken.splice(0).forEach(fs.closeSync);
    (${task})({ openDesktop, childOf, count, take, release }).then((value) => console.log(JSON.stringify(value)));`;
  const { stdout, stderr, signal } = spawnSync('prlimit', [`--nofile=${limit}`, process.execPath, '-e', source],
    { env: server.env, cwd: root, encoding: 'utf8', timeout: 60000 });
  assert.deepStrictEqual([stderr, signal], ['', null]);
  return JSON.parse(stdout);
}

describe('a host that is short of descriptors', () => {
  it('lives on when no desktop can be opened, and loses none', () => {
    const [before, after, outcomes] = runWithFewDescriptors(async ({ openDesktop: openOne, count, take, release }) => {
      await openOne().then((desktop) => desktop.close());
      const first = count();
      const results = [];
      for (let left = 0; left <= 16; left += 2) {
        take(left);
        results.push(await openOne().then((desktop) => desktop.close().then(() => 'opened'), (error) => error.name));
        release();
      }
      return [first, count(), results];
    });
    assert.strictEqual(after, before);
    assert.strictEqual(outcomes[0], 'Error');
    assert.strictEqual(outcomes.at(-1), 'opened');
  });

  it('rejects the call of a helper that dies, and releases its button once it can', () => {
    const outcome = runWithFewDescriptors(async ({ openDesktop: openOne, childOf, take, release }) => {
      const desktop = await openOne();
      await desktop.mouseDown(5, 5);
      const helper = childOf();
      take(0);
      const call = desktop.type('a'.repeat(9999)).catch((error) => error.code);
      process.kill(helper, 'SIGKILL');
      setTimeout(release, 300);
      return [await call, await desktop.closed];
    });
    assert.deepStrictEqual(outcome, [isClosed.code, { reason: 'exited', code: null, signal: 'SIGKILL' }]);
    assert.strictEqual(pressed(), nothingDown);
  });

  it('loses none in 500 failures to start the helper', () => {
    const [before, after] = runWithFewDescriptors(async ({ openDesktop: openOne, count }) => {
      const failures = [{ A: 'a\0b' }, { A: 'a'.repeat(200000) }, null];
      await openOne({ env: failures[1] }).catch(() => {});
      const first = count();
      for (let i = 0; i < 500; i++) {
        if (await openOne({ env: failures[i % 3] }).catch(() => true) !== true) throw new Error('it opened');
      }
      return [first, count()];
    });
    assert.strictEqual(after, before);
  });
});
