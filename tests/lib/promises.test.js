'use strict';
// Tests ostler/promises on X servers, also when a call is aborted or when the helper, the
// server or the host ends.

const assert = require('node:assert');
const { execFile, execFileSync, spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { promisify } = require('node:util');
const { openDesktop } = require('../../lib/promises');
const { endOf } = require('../support/children');
const { helpersOf, isAlive } = require('../support/helpers');
const { decodePng } = require('../support/png');
const { waitUntil } = require('../support/wait');
const { keyboardState, startWitness, startXvfb, textOf } = require('../support/x11');

let server, witness;
before(async () => {
  server = await startXvfb({ options: ['-ardelay', '2000'] });
  witness = await startWitness(server.env);
});
after(() => witness.stop().finally(server.stop));

const open = (options) => openDesktop({ env: server.env, ...options });
const pressed = () => keyboardState(server.env).down;
const nothing = `0 ${'0'.repeat(64)}`;
const user = (...actions) => promisify(execFile)('xdotool', actions, { env: server.env });

it('calls the addon in order, one call at a time', async () => {
  const desktop = await open();
  await witness.events();
  const calls = [
    desktop.type('first '), desktop.key('ctrl+foo'), desktop.click({ x: 7, y: 8, button: 'right', count: 2 }),
    desktop.type('second\0lost'), desktop.cursorPosition(), desktop.display(), desktop.checkPermissions('any'),
    ...[
      { region: { x: 1, y: 2, width: 30, height: 20 } }, { size: { width: 64, height: 36 } },
      { format: 'jpeg', width: 64, height: 36 }, { region: { x: 5000, y: 0, width: 1, height: 1 } },
    ].map((options) => desktop.screenshot(options)),
  ];
  const [, error, , , ...results] = await Promise.all(calls.map((call) => call.catch(({ message }) => message)));
  const events = await witness.events();
  assert.strictEqual(textOf(events), 'first second');
  const letters = events.findLastIndex(({ codePoint }) => codePoint === ' '.codePointAt());
  assert.deepStrictEqual(events.filter(({ kind }) => kind === 'button').map(({ button, x, y }) => [button, x, y]),
    Array(4).fill([3, 7, 8]));
  assert.ok(events.findIndex(({ kind }) => kind === 'button') > letters);
  assert.strictEqual(error, 'Unsupported key combo part on Linux/X11: foo');
  const [cursor, { width, height }, permission, region, scaled, jpeg, none] = results;
  assert.deepStrictEqual([cursor, width, height, permission, none], [{ x: 7, y: 8 }, 1280, 720, true, null]);
  assert.deepStrictEqual([region, scaled].map(decodePng).map((image) => image.width), [30, 64]);
  assert.deepStrictEqual([...jpeg.subarray(0, 2)], [0xff, 0xd8]);
  await desktop.close();
});

describe('an aborted call leaves nothing pressed', () => {
  const long = 'Abcdefghij'.repeat(300);
  const diagonal = [0, 0, 1279, 719];
  // The limit of 2 s allows for a busy machine.
  for (const [name, method, values, { ends, stop, down, limit = 150 }] of [
    ['type; the desktop stays open', 'type', [long], { ends: false }],
    ['type; the helper hangs', 'type', [long], { ends: true, stop: 'SIGSTOP', limit: 2000 }],
    ['drag; the helper is killed', 'drag', diagonal, { ends: true, limit: 2000 }],
    ['click with the right button; the helper hangs', 'click', [9, 9, 'right', 500],
      { ends: true, stop: 'SIGSTOP', down: 3 }],
  ]) {
    it(name, async () => {
      const desktop = await open();
      await desktop.drag(0, 0, 9, 9, { timeout: 5000 });  // the first drag takes longer to begin
      await witness.events();
      const controller = new AbortController();
      const call = desktop[method](...values, { signal: controller.signal });
      const waiting = desktop.type('x', { timeout: 100 });
      waiting.catch(() => {});
      await sleep(150);
      assert.notDeepStrictEqual(await witness.events(), []);
      if (stop) process.kill(helpersOf(process.pid)[0], stop);
      if (down) await user('mousedown', down);  // as if the helper had just done it
      const start = performance.now();
      controller.abort('enough');
      await assert.rejects(call, { name: 'AbortError', code: 'ABORT_ERR', cause: 'enough' });
      const took = performance.now() - start;
      assert.ok(took < limit, `${took} ms`);
      await assert.rejects(waiting, { code: 'ABORT_ERR' });
      if (ends) assert.strictEqual((await desktop.closed).reason, 'aborted');
      assert.deepStrictEqual(pressed(), nothing);
      await witness.events();
      const next = desktop.type('on');
      if (ends) await assert.rejects(next, { code: 'ERR_DESKTOP_CLOSED' });
      else await next;
      assert.strictEqual(textOf(await witness.events()), ends ? '' : 'on');
      await desktop.close();
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

describe('a desktop that ends rejects its calls and says why', () => {
  for (const [name, end, expected] of [
    ['closed', (desktop) => desktop.close(), { reason: 'closed', code: 0, signal: null }],
    ['helper killed', (_desktop, helper) => process.kill(helper, 'SIGKILL'),
      { reason: 'exited', code: null, signal: 'SIGKILL' }],
    ['X server ended', (_desktop, _helper, other) => other.stop(), { reason: 'exited', code: 1, signal: null }],
  ]) {
    it(name, async () => {
      const other = await startXvfb();
      const desktop = await openDesktop({ env: other.env });
      await desktop.mouseDown(5, 5);
      const running = assert.rejects(desktop.type('a'.repeat(2000)), { code: 'ERR_DESKTOP_CLOSED' });
      const waiting = assert.rejects(desktop.move(1, 1), { code: 'ERR_DESKTOP_CLOSED' });
      await sleep(50);
      await end(desktop, helpersOf(process.pid)[0], other);
      assert.deepStrictEqual(await desktop.closed, expected);
      await Promise.all([running, waiting]);
      await assert.rejects(desktop.display(), { code: 'ERR_DESKTOP_CLOSED', end: expected });
      if (expected.code !== 1) {
        assert.strictEqual(keyboardState(other.env).down, nothing);
        const again = await openDesktop({ env: other.env });
        await again.close();
      }
      await other.stop();
    });
  }
});

describe('a helper ends within a second when its host is killed, and leaves nothing pressed', () => {
  for (const [name, calls] of [
    ['while it waits', 'desktop.mouseDown(5, 5)'],
    ['while it types', 'desktop.type("Ab!".repeat(9999))'],
    ['while a drag blocks it', 'desktop.drag(0, 0, 90000, 0)'],
  ]) {
    it(name, async () => {
      const source = `require('ostler/promises').openDesktop().then((desktop) => { ${calls}; console.log('on'); })`;
      const host = spawn(process.execPath, ['-e', source],
        { env: server.env, cwd: path.join(__dirname, '..', '..'), stdio: ['ignore', 'pipe', 'inherit'] });
      const ended = endOf(host);
      await once(host.stdout, 'data');
      await sleep(100);
      const [helper] = helpersOf(host.pid);
      host.kill('SIGKILL');
      await ended;
      const start = performance.now();
      await waitUntil(() => !isAlive(helper));
      assert.ok(performance.now() - start < 1000);
      await waitUntil(() => pressed() === nothing, pressed);
    });
  }
});

it('takes a thousand pictures in the same memory', async () => {
  const other = await startXvfb({ screen: '640x480x24' });
  const painter = await startWitness(other.env);
  const desktop = await openDesktop({ env: other.env });
  const resident = (pid) => Number(/VmRSS:\s+(\d+)/.exec(fs.readFileSync(`/proc/${pid}/status`, 'utf8'))[1]) / 1024;
  const memory = () => [process.pid, ...helpersOf(process.pid)].map(resident);
  const take = async (count) => {
    for (let i = 0; i < count; i++) await desktop.screenshot({ format: 'jpeg', quality: 1 });
  };
  await take(200);
  const before = memory();
  await take(800);
  const growth = memory().map((size, i) => size - before[i]);
  assert.ok(growth.length === 2 && growth.every((megabytes) => megabytes < 25), `${growth} MB`);
  await desktop.close();
  await painter.stop();
  await other.stop();
});

it('pastes and restores the text of the clipboard, also when its owner does not answer', async () => {
  const desktop = await open();
  await desktop.setClipboard('old');
  await waitUntil(async () => await desktop.getClipboard() === 'old');
  const read = () => execFileSync('xclip', ['-selection', 'clipboard', '-o'], { env: server.env, encoding: 'utf8' });
  for (const [owner, combo, restored] of [[undefined, 'ctrl+v', 'old'], ['ignore', 'ctrl+shift+v', '']]) {
    const other = owner && await startWitness(server.env, 'owner', owner, '0');
    await witness.events();
    const pasting = desktop.paste('Grüße, 42 €', { combo });
    await waitUntil(async () => textOf(await witness.events()).toLowerCase() === 'v');
    assert.strictEqual(read(), 'Grüße, 42 €');
    await pasting;
    assert.strictEqual(await desktop.getClipboard(), restored);
    await other?.stop();
  }
  await assert.rejects(desktop.paste('x'.repeat((4 << 20) + 1)), RangeError);
  await desktop.close();
});

it('reports Escape to one listener or loop after the other', async () => {
  const desktop = await open(), other = await open();
  const times = [];
  const stop = await desktop.onEscape((time) => times.push(time));
  await assert.rejects(other.onEscape(() => {}), /another program holds it/);
  const typing = desktop.type('a'.repeat(4000));
  await user('key', 'Escape');
  await typing;
  await waitUntil(() => times.length === 1);
  await stop();
  const presses = other.escapePresses();
  for (let i = 0; i < 2; i++) {
    const press = presses.next();
    if (i === 0) await other.move(1, 1);  // returns once Escape is watched
    await user('key', 'Escape');
    assert.ok((await press).value >= times[0]);
  }
  await presses.return();
  await Promise.all([desktop, other].map((each) => each.close()));
});

it('waits for a region to change, and to stop changing', async () => {
  const other = await startXvfb({ screen: '320x200x24' });
  const desktop = await openDesktop({ env: other.env });
  const paint = (colour) => execFileSync('xsetroot', ['-solid', colour], { env: other.env });
  paint('blue');
  const region = { x: 10, y: 10, width: 20, height: 20 };
  await assert.rejects(desktop.waitForChange({ region, timeout: 300 }), { name: 'AbortError' });
  const change = desktop.waitForChange({ region });
  await desktop.move(1, 1);  // returns after the first picture has been taken
  paint('red');
  assert.deepStrictEqual(decodePng(await change).pixel(19, 19), [255, 0, 0]);
  const start = performance.now();
  const still = desktop.waitForStill({ region, quiet: 400, interval: 20 });
  await sleep(200);
  paint('lime');
  assert.deepStrictEqual(decodePng(await still).pixel(0, 0), [0, 255, 0]);
  assert.ok(performance.now() - start >= 600);
  await desktop.close();
  await other.stop();
});
