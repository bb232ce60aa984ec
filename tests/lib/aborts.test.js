'use strict';
// Tests that an aborted call of ostler/promises stops, leaves nothing pressed and does not end
// the desktop, and what happens when the helper does not react.

const assert = require('node:assert');
const fs = require('node:fs');
const { after, before, describe, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { openDesktop } = require('../../lib/promises');
const { helpersOf } = require('../support/helpers');
const { waitUntil } = require('../support/wait');
const { keyboardState, nothingDown, startWitness, startXvfb, textOf } = require('../support/x11');

let server, witness;
before(async () => {
  server = await startXvfb({ options: ['-ardelay', '2000'] });
  witness = await startWitness(server.env);
});
after(() => witness.stop().finally(server.stop));

const open = (options) => openDesktop({ env: server.env, ...options });
const pressed = () => keyboardState(server.env).down;
const long = 'Abcdefghij!'.repeat(300);

describe('an aborted call stops within 150 ms, with nothing pressed, and the desktop stays open', () => {
  for (const [method, ...values] of [
    ['type', long], ['drag', 0, 0, 1279, 719], ['drag', 0, 0, 30000, 0], ['click', 9, 9, 'right', 500],
    ['click', 9, 9, 'middle', 500], ['scroll', 9, 9, 0, 2 ** 30],
  ]) {
    it(`${method} ${String(values).slice(0, 20)}`, async (t) => {
      const desktop = await open();
      t.after(() => desktop.close());
      await witness.events();
      const controller = new AbortController();
      const call = desktop[method](...values, { signal: controller.signal });
      await assert.rejects(desktop.type('x', { timeout: 100 }), { code: 'ABORT_ERR' }, 'a call that waits for its turn');
      await waitUntil(async () => (await witness.events()).length > 0);
      const start = performance.now();
      controller.abort('enough');
      await assert.rejects(call, { name: 'AbortError', code: 'ABORT_ERR', cause: 'enough' });
      const took = performance.now() - start;
      assert.deepStrictEqual(pressed(), nothingDown);
      assert.ok(took < 150, `${took} ms`);
      await witness.events();
      await desktop.type('on');
      assert.strictEqual(textOf(await witness.events()), 'on');
    });
  }

  it('a call that times out, or that is aborted before it begins', async () => {
    const desktop = await open({ timeout: 60 });
    const timedOut = ({ code, cause }) => code === 'ABORT_ERR' && cause.name === 'TimeoutError';
    await assert.rejects(desktop.type(long), timedOut);
    await assert.rejects(desktop.move(1, 1, { signal: AbortSignal.abort() }), { name: 'AbortError' });
    await desktop.move(2, 2, { timeout: Infinity });
    await desktop.close();
    await assert.rejects(open({ signal: AbortSignal.abort() }), { name: 'AbortError' });
    assert.deepStrictEqual(helpersOf(process.pid), []);
  });
});

// Stops the helper at a moment when the server has a button down.
async function stopWhilePressed(helper) {
  await waitUntil(async () => {
    process.kill(helper, 'SIGSTOP');
    if (pressed() !== nothingDown) return true;
    process.kill(helper, 'SIGCONT');
    await sleep(3);
    return false;
  });
}

describe('what a helper that hangs or is killed has pressed is released, and nothing else happens', () => {
  const click = ['click', 9, 9, 'middle', 500];
  for (const [name, call, end, reason] of [
    ['an aborted drag hangs', ['drag', 0, 0, 30000, 0], (controller) => controller.abort(), 'aborted'],
    ['an aborted click hangs', click, (controller) => controller.abort(), 'aborted'],
    ['killed in a click', click, (_controller, helper) => process.kill(helper, 'SIGKILL'), 'exited'],
    ['closed in a click', click, (_controller, _helper, desktop) => desktop.close(), 'closed'],
  ]) {
    it(name, async (t) => {
      const desktop = await open();
      t.after(() => desktop.close());
      const [helper] = helpersOf(process.pid);
      const controller = new AbortController();
      const [method, ...values] = call;
      const rejected = assert.rejects(desktop[method](...values, { signal: controller.signal }));
      await stopWhilePressed(helper);
      await witness.events();
      await end(controller, helper, desktop);
      assert.strictEqual((await desktop.closed).reason, reason);
      await rejected;
      assert.strictEqual(pressed(), nothingDown);
      const events = (await witness.events()).filter(({ kind }) => kind === 'button');
      assert.deepStrictEqual(events.map(({ down }) => down), [0]);
      await assert.rejects(desktop.move(1, 1), { code: 'ERR_DESKTOP_CLOSED' });
    });
  }

  it('a slow start of the release process', async () => {
    const wrapper = `${server.env.XDG_RUNTIME_DIR}/node`;
    fs.writeFileSync(wrapper, `#!/bin/sh\ncase $* in *release*) sleep 1.5 ;; esac\nexec ${process.execPath} "$@"\n`,
      { mode: 0o755 });
    const { execPath } = process;
    process.execPath = wrapper;
    const desktop = await open().finally(() => { process.execPath = execPath; });
    await desktop.mouseDown(5, 5);
    process.execPath = wrapper;
    process.kill(helpersOf(process.pid)[0], 'SIGKILL');
    const end = await desktop.closed.finally(() => { process.execPath = execPath; });
    assert.deepStrictEqual(end, { reason: 'exited', code: null, signal: 'SIGKILL' });
    assert.strictEqual(pressed(), nothingDown);
  });
});

it('a thousand aborts at random times leave everything as it was', { timeout: 300000 }, async () => {
  const desktop = await open();
  const [helper] = helpersOf(process.pid);
  const descriptors = (pid) => fs.readdirSync(`/proc/${pid}/fd`).length;
  const state = () => ({
    ...keyboardState(server.env), helpers: helpersOf(process.pid), own: descriptors(process.pid),
    helper: descriptors(helper),
  });
  await desktop.setClipboard('old');
  await waitUntil(async () => await desktop.getClipboard() === 'old');
  await desktop.move(1, 1);  // the first one connects to ask for the monitors
  await assert.rejects(desktop.type('a'.repeat(9999), { timeout: 50 }));  // the guard has started when it interrupts
  const before = state();
  const calls = [
    (options) => desktop.type('aB!é漢', options), (options) => desktop.drag(1, 1, 200, 200, options),
    (options) => desktop.click(5, 5, 'right', 3, options), (options) => desktop.paste('new', { ...options, restoreAfter: 5 }),
    (options) => desktop.onEscape(() => {}, options).then((stop) => stop()),
    (options) => desktop.escapePresses(options).next(), (options) => desktop.waitForChange(options),
    (options) => desktop.waitForStill({ ...options, region: { x: 0, y: 0, width: 9, height: 9 } }),
    (options) => desktop.scroll(5, 5, 0, 50, options), (options) => desktop.key('ctrl+shift+a', options),
  ];
  for (let i = 0; i < 1000; i += 20) {
    await Promise.all(Array.from({ length: 20 }, (_, n) => {
      const controller = new AbortController();
      const delay = Math.random() * 60;
      setTimeout(() => controller.abort(), delay);
      return calls[(i + n) % calls.length]({ signal: controller.signal })
        .catch((error) => assert.strictEqual(error.code, 'ABORT_ERR', String(error)));
    }));
  }
  await desktop.key('a');
  await waitUntil(async () => await desktop.getClipboard() === 'old');
  await waitUntil(() => descriptors(process.pid) <= before.own && descriptors(helper) <= before.helper);
  assert.deepStrictEqual(state(), before);
  await witness.events();
  await desktop.type('Escape is free');  // a press that was left pending would stop it
  assert.strictEqual(textOf(await witness.events()), 'Escape is free');
  await desktop.close();
});

it('ten thousand queued calls run in their order', async () => {
  const desktop = await open();
  const { signal } = new AbortController();
  const done = [];
  const warnings = [];
  process.on('warning', (warning) => warnings.push(warning.message));
  await Promise.all(Array.from({ length: 10000 }, (_, i) =>
    desktop.cursorPosition({ signal, timeout: 60000 }).then(() => done.push(i))));
  assert.deepStrictEqual(done, Array.from({ length: 10000 }, (_, i) => i));
  assert.deepStrictEqual(warnings, []);
  await desktop.close();
});
