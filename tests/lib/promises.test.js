'use strict';
// Tests the methods of ostler/promises on X servers.

const assert = require('node:assert');
const { execFile, execFileSync } = require('node:child_process');
const fs = require('node:fs');
const { after, before, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { promisify } = require('node:util');
const { openDesktop } = require('../../lib/promises');
const { helpersOf } = require('../support/helpers');
const { decodePng } = require('../support/png');
const { waitUntil } = require('../support/wait');
const { startWitness, startXvfb, textOf } = require('../support/x11');

let server, witness;
before(async () => {
  server = await startXvfb({ options: ['-ardelay', '2000'] });
  witness = await startWitness(server.env);
});
after(() => witness.stop().finally(server.stop));

const open = (options) => openDesktop({ env: server.env, ...options });
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

it('reports Escape to one listener or loop after the other', async () => {
  const desktop = await open(), other = await open();
  const times = [];
  const stop = await desktop.onEscape((time) => times.push(time));
  await assert.rejects(other.onEscape(() => {}), { message: 'Escape cannot be watched: another program holds it. '
    + 'Close that program.' });
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

it('leaves no grab of Escape when watching is aborted while it starts, and says why it cannot start', async () => {
  const other = await startXvfb();
  const [desktop, next] = await Promise.all([0, 1].map(() => openDesktop({ env: other.env })));
  for (let i = 0; i < 20; i++) {
    // Some of these are aborted before the key is grabbed, some afterwards.
    await desktop.onEscape(() => {}, { timeout: i }).then((stop) => stop(),
      ({ code }) => assert.strictEqual(code, 'ABORT_ERR'));
    await assert.rejects(desktop.escapePresses({ signal: AbortSignal.timeout(i) }).next(), { code: 'ABORT_ERR' });
  }
  await desktop.move(1, 1);
  const stop = await next.onEscape(() => {});
  await stop();
  process.kill(other.pid, 'SIGSTOP');
  await assert.rejects(desktop.onEscape(() => {}),
    { message: 'Escape cannot be watched: the X server does not respond.' });
  process.kill(other.pid, 'SIGCONT');
  await Promise.all([desktop, next].map((each) => each.close()));
  await other.stop();
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

it('knows the monitors, and what none of them shows', async () => {
  const other = await startXvfb({ screen: '300x100x24' });
  const run = (program, ...args) => execFileSync(program, args, { env: other.env });
  const desktop = await openDesktop({ env: other.env });
  assert.deepStrictEqual(await desktop.monitors(), [{ id: 'screen', x: 0, y: 0, width: 300, height: 100, scale: 1 }]);
  await desktop.move(150, 50);
  run('xsetroot', '-solid', 'lime');
  run('xrandr', '--setmonitor', 'left', '100/26x100/26+0+0', 'screen');
  run('xrandr', '--setmonitor', 'right', '100/26x80/20+200+0', 'none');
  assert.deepStrictEqual((await desktop.monitors()).map(({ id, x, width, height }) => [id, x, width, height]),
    [['left', 0, 100, 100], ['right', 200, 100, 80]]);
  const right = decodePng(await desktop.screenshot({ monitor: 'right' }));
  assert.deepStrictEqual([right.width, right.height, right.pixel(99, 79)], [100, 80, [0, 255, 0]]);
  const part = decodePng(await desktop.screenshot({ region: { x: 90, y: 70, width: 210, height: 30 } }));
  for (const [x, y, expected] of [
    [9, 29, [0, 255, 0]], [10, 0, [0, 0, 0]], [109, 0, [0, 0, 0]], [110, 9, [0, 255, 0]], [110, 10, [0, 0, 0]],
  ]) assert.deepStrictEqual(part.pixel(x, y), expected, `${x},${y}`);
  for (const [x, y, refusal] of [[99, 99], [100, 99, /No monitor shows the point 100,99/], [299, 79], [299, 80, /No/], [999, 0]]) {
    if (refusal) await assert.rejects(desktop.move(x, y), { message: refusal });
    else await desktop.move(x, y);
  }
  await assert.rejects(desktop.screenshot({ monitor: 'x' }), { name: 'RangeError', message: /"left", "right"/ });
  await desktop.close();
  await other.stop();
});
