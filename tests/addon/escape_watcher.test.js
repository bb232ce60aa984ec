'use strict';
// The Escape watcher of a host, and a person who presses Escape beside it.

const assert = require('node:assert');
const fs = require('node:fs');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');
const { after, afterEach, before, describe, it } = require('node:test');
const { startHost } = require('../support/host');
const { waitUntil } = require('../support/wait');
const { startWitness, textOf } = require('../support/witness');
const { startPerson } = require('../support/x11_clients');
const { startXvfb } = require('../support/xvfb');

let server, host, person, witness;
before(async () => {
  server = await startXvfb();
  person = await startPerson(server.env);
  witness = await startWitness(server.env);
  host = await startHost(server.env);
});
after(async () => {
  await Promise.all([host, person, witness].map((client) => client.stop())).finally(server.stop);
});
afterEach(() => unlock());

// The host notes who was called back, and how.
const lock = (name = 'first') => host.run((addon, callback) => {
  globalThis.calls = [];
  return addon.lock(function (...values) {
    if (this !== globalThis || values.length > 0) throw new Error('called otherwise than promised');
    globalThis.calls.push(callback);
  });
}, name);
const unlock = () => host.run((addon) => addon.unlock());
const calls = () => host.run(() => globalThis.calls);
const key = (combo) => host.run((addon, text) => addon.key(text), combo);
const setEnvironment = (...pair) => host.run((addon, name, value) => { process.env[name] = value; }, ...pair);

async function waitForCalls(...expected) {
  await waitUntil(async () => (await calls()).length >= expected.length);
  assert.deepStrictEqual(await calls(), expected);
}

// What another client receives of a text.
async function typed(text) {
  await witness.events();
  await host.run((addon, value) => addon.type(value), text);
  return textOf(await witness.events());
}

describe('a press of Escape', () => {
  it('calls back once, whatever modifiers are held', async () => {
    assert.strictEqual(await lock(), true);
    const presses = ['tap', 'tap shift', 'tap ctrl', 'tap ctrl shift alt'];
    for (let count = 1; count <= presses.length; ++count) {
      await person.ask(presses[count - 1]);
      await waitForCalls(...Array(count).fill('first'));
    }
  });

  it('calls back again and again while it is held down', async () => {
    assert.strictEqual(await lock(), true);
    await person.ask('hold 1500');
    await waitUntil(async () => (await calls()).length >= 5);
  });

  it('stops a text half way, and the ones that follow until the next lock', async () => {
    assert.strictEqual(await lock(), true);
    assert.strictEqual(await typed('before'), 'before');
    const text = 'abcdefghij'.repeat(400);  // 20 s
    await witness.events();
    const typing = host.run((addon, value) => addon.type(value), text);
    let half = '';
    const moreTyped = async () => { half += textOf(await witness.events()); };
    await waitUntil(() => moreTyped().then(() => half.length > 20));
    await person.ask('tap');
    await typing;
    await moreTyped();
    assert.ok(half.length < text.length && text.startsWith(half), half.slice(-30));
    await waitForCalls('first');
    assert.strictEqual(await typed('more'), '');
    await unlock();
    assert.strictEqual(await typed('more'), '');
    assert.strictEqual(await lock(), true);
    assert.strictEqual(await typed('more'), 'more');
  });

  it('is the rest of the desktop\'s again after unlock', async () => {
    const escapes = async () => (await witness.events())
      .filter(({ keysym, down }) => keysym === 0xff1b && down).length;
    assert.strictEqual(await lock(), true);
    await witness.events();
    await person.ask('tap');
    await waitForCalls('first');
    assert.strictEqual(await escapes(), 0);
    await unlock();
    await person.ask('tap');
    await waitUntil(async () => await escapes() === 1);
    assert.deepStrictEqual(await calls(), ['first']);
  });
});

describe('the addon\'s own Escape', () => {
  it('neither calls back nor stops a text', async () => {
    assert.strictEqual(await lock(), true);
    for (const combo of Array(15).fill(['escape', 'ctrl+escape']).flat()) {
      await key(combo);
      await sleep(Math.random() * 30);  // at any time between two looks of the watcher
    }
    assert.strictEqual(await typed('goes on'), 'goes on');
    await person.ask('tap');
    await waitForCalls('first');
  });

  it('is not mistaken for a person\'s when another client took it', async () => {
    assert.strictEqual(await lock(), true);
    assert.strictEqual(await person.ask('seize'), 'done');
    for (let i = 0; i < 5; ++i) await key('escape');
    assert.strictEqual(await person.ask('yield'), 'done');
    await sleep(300);  // the watcher looks every 100 ms, which nothing shows
    await person.ask('tap');
    await waitForCalls('first');
  });
});

describe('lock', () => {
  it('leaves the first watcher alone when it is called again', async () => {
    assert.strictEqual(await lock('first'), true);
    assert.strictEqual(await host.run((addon) => addon.lock(() => globalThis.calls.push('second'))), false);
    await person.ask('tap');
    await waitForCalls('first');
    await unlock();
    await unlock();
    assert.strictEqual(await lock('third'), true);
    await person.ask('tap');
    await waitForCalls('third');
  });

  it('answers false without a function', async () => {
    for (const value of [undefined, null, 'text', {}]) {
      assert.strictEqual(await host.run((addon, callback) => addon.lock(callback), value), false);
    }
  });

  it('answers false while another client has the key, or there is none', async () => {
    for (const [take, giveBack] of [['grab', 'ungrab'], ['lose', 'find']]) {
      assert.strictEqual(await person.ask(take), 'done');
      assert.strictEqual(await lock(), false);
      assert.strictEqual(await lock(), false);
      assert.strictEqual(await person.ask(giveBack), 'done');
      assert.strictEqual(await lock(), true);
      await unlock();
    }
  });

  it('answers false where there is no X11 session; only without a display does typing go on', async () => {
    const cases = [
      ['XDG_SESSION_TYPE', 'Wayland', 'x11', ''], ['DISPLAY', '', server.display, 'on'],
      ['DISPLAY', ':4711', server.display, 'on'],
    ];
    for (const [variable, value, usual, expected] of cases) {
      assert.strictEqual(await lock(), true);
      await person.ask('tap');
      await waitForCalls('first');
      await unlock();
      await setEnvironment(variable, value);
      assert.strictEqual(await lock(), false, `${variable}=${value}`);
      assert.strictEqual(await typed('on'), expected, `${variable}=${value}`);
      await setEnvironment(variable, usual);
    }
    const socket = path.join(server.env.XDG_RUNTIME_DIR, 'wayland-1');
    fs.writeFileSync(socket, '');
    assert.strictEqual(await lock(), false);
    fs.rmSync(socket);
  });

  it('leaves no thread, descriptor or client behind with its unlock', async () => {
    const held = async () => ({
      ...await host.run(() => {
        const { readdirSync } = require('node:fs');
        const [threads, descriptors] = ['task', 'fd'].map((name) => readdirSync(`/proc/self/${name}`).length);
        return { threads, descriptors };
      }),
      clients: fs.readdirSync(`/proc/${server.pid}/fd`).length,
    });
    assert.strictEqual(await lock(), true);
    await unlock();
    const before = await held();
    for (let round = 0; round < 100; ++round) {
      assert.strictEqual(await lock(), true);
      if (round % 10 === 0) await person.ask('tap');
      await unlock();
    }
    const noMore = async () => Object.entries(await held()).every(([what, count]) => count <= before[what]);
    await waitUntil(noMore, async () => [before, await held()]);
  });
});
