'use strict';
// Tests the methods of ostler/promises on X servers.

const assert = require('node:assert');
const { execFile, execFileSync, spawn } = require('node:child_process');
const fs = require('node:fs');
const { after, before, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { promisify } = require('node:util');
const { openDesktop } = require('../../lib/promises');
const { bound, endOf } = require('../support/children');
const { helpersOf } = require('../support/helpers');
const { decodePng } = require('../support/png');
const { waitUntil } = require('../support/wait');
const { startWitness, startX11, startXvfb, textOf } = require('../support/x11');

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
  assert.match(error, /^Unsupported key combo part on Linux\/X11: foo\. Known are letters, /);
  const [cursor, { width, height }, permission, region, scaled, jpeg, none] = results;
  assert.deepStrictEqual([cursor, width, height, permission, none], [{ x: 7, y: 8 }, 1280, 720, true, null]);
  assert.deepStrictEqual([region, scaled].map(decodePng).map((image) => image.width), [30, 64]);
  assert.deepStrictEqual([...jpeg.subarray(0, 2)], [0xff, 0xd8]);
  await desktop.close();
});

it('holds keys and buttons around clicks, drags and other calls', async () => {
  const desktop = await open();
  const keysyms = { Control_L: 0xffe3, Shift_R: 0xffe2, F14: 0xffcb, KP_Enter: 0xff8d, Print: 0xff61, KP_Home: 0xff95 };
  const names = Object.fromEntries(Object.entries(keysyms).map(([name, keysym]) => [keysym, name]));
  const shown = ({ kind, down, button, x, y, keysym }) => (kind === 'key' ? `${down ? '+' : '-'}${names[keysym] ?? keysym}` :
    `${down ? '+' : '-'}${button} ${x},${y}`);
  await desktop.move(1, 1);
  for (const [name, calls, expected] of [
    ['a click with modifiers', [['click', { x: 5, y: 6, button: 'right', modifiers: ['ctrl', 'rightshift'] }]],
      ['+Control_L', '+Shift_R', '+3 5,6', '-3 5,6', '-Shift_R', '-Control_L']],
    ['a click where the pointer is', [['move', 8, 9, { duration: 30 }], ['click']], ['+1 8,9', '-1 8,9']],
    ['a drag with a button, a modifier and a duration', [['drag',
      { from: { x: 10, y: 10 }, to: { x: 40, y: 20 }, button: 'middle', modifiers: ['ctrl'], duration: 50 }]],
    ['+Control_L', '+2 10,10', '-2 40,20', '-Control_L']],
    ['keys and buttons held by hand', [['keyDown', 'ctrl'], ['mouseDown', { button: 'right' }], ['key', 'ctrl+KP_Enter'],
      ['click', { x: 2, y: 2, modifiers: ['ctrl'] }], ['mouseUp', { x: 3, y: 3, button: 'right' }], ['keyUp', 'Control_L']],
    ['+Control_L', '+3 40,20', '+KP_Enter', '-KP_Enter', '+1 2,2', '-1 2,2', '-3 3,3', '-Control_L']],
    ['keys that no layout or few keyboards have', [['key', 'f14'], ['key', 'Print'], ['key', 'kp7']],
      ['+F14', '-F14', '+Print', '-Print', '+KP_Home', '-KP_Home']],
    ['the wheel', [['scroll', 4, 4, 0, 1], ['scroll', 4, 4, -1, 0]], ['+5 4,4', '-5 4,4', '+6 4,4', '-6 4,4']],
    ['nothing with an unknown modifier', [['click', { x: 5, y: 5, modifiers: ['ctrl', 'hyperspace'] }]], []],
  ]) {
    await witness.events();
    for (const [method, ...values] of calls) await desktop[method](...values).catch((error) => assert.match(error.message, /Known are/));
    const events = (await witness.events()).filter(({ kind }) => kind === 'key' || kind === 'button');
    assert.deepStrictEqual(events.map(shown), expected, name);
  }
  const start = performance.now();
  await desktop.move(200, 100, { duration: 200 });
  const moves = (await witness.events()).filter(({ kind }) => kind === 'motion');
  assert.ok(performance.now() - start >= 200);
  assert.ok(moves.length >= 10, `${moves.length} moves`);
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
  assert.strictEqual(times.length, 1, 'the press is reported before the end of the call');
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

it('reads the same pixels as the addon from screens of every depth, shared with the server or not', async () => {
  const region = { x: 3, y: 5, width: 17, height: 9 };
  for (const [screen, options] of [['320x200x24', []], ['320x200x16', []], ['320x200x30', []],
    ['320x200x24', ['-extension', 'MIT-SHM']]]) {
    const x11 = await startX11({ screen, options });
    execFileSync('xsetroot', ['-mod', '5', '7', '-fg', '#3366cc', '-bg', '#fedcba'], { env: x11.env });
    const desktop = await openDesktop({ env: x11.env });
    const helper = helpersOf(process.pid).at(-1);
    // The mode of each segment of the helper; 1000 means that it goes with its last user.
    const segments = () => fs.readFileSync('/proc/sysvipc/shm', 'utf8').split('\n').map((line) => line.trim().split(/ +/))
      .filter(([, , , , creator]) => Number(creator) === helper).map(([, , mode]) => mode);
    const addon = (...values) => x11.run((ostler, ...args) => ostler.screenshot('', null, [], ...args)?.toString('base64'), ...values);
    for (const [given, values] of [
      [{ format: 'jpeg', quality: 0.5 }, [0, 0, 0, 0, 0, 0, 0.5]],
      [{ format: 'jpeg', quality: 0.5, region }, [0, 0, 3, 5, 20, 14, 0.5]],
      [{ compression: 'small', size: { width: 64, height: 40 } }, [64, 40, 0, 0, 0, 0, -1]],
      [{ region: { ...region, x: -2, y: 195 }, compression: 'small' }, [0, 0, -2, 195, 15, 204, -1]],
    ]) assert.strictEqual((await desktop.screenshot(given)).toString('base64'), await addon(...values), `${screen} ${options}`);
    const { width, height, data } = await desktop.pixels({ region });
    const fast = await desktop.screenshot({ region });
    assert.deepStrictEqual([width, height], [17, 9]);
    assert.deepStrictEqual(data, decodePng(fast).data);
    const [red, green, blue] = data.subarray(-4);
    assert.deepStrictEqual(await desktop.colourAt(19, 13), { red, green, blue });
    assert.deepStrictEqual(await Promise.all([desktop.colourAt(320, 0), desktop.pixels({ region: { ...region, y: 200 } })]), [null, null]);
    assert.deepStrictEqual(segments(), options.length ? [] : ['1600']);
    process.kill(helper, 'SIGKILL');
    await desktop.closed;
    await waitUntil(() => segments().length === 0);
    await x11.stop();
  }
});

it('lists and activates windows where a window manager runs', async () => {
  const other = await startXvfb();
  const desktop = await openDesktop({ env: other.env });
  await assert.rejects(desktop.windows(), /no window manager/);
  const start = (...command) => { endOf(spawn(...bound(...command), { env: other.env, stdio: 'ignore' })); };
  start('openbox');
  await waitUntil(() => desktop.windows().then(() => true, () => false));
  start('xterm', '-T', 'Grüße', '-class', 'First', '-geometry', '20x5+100+50');
  await waitUntil(async () => (await desktop.windows()).length === 1);
  start('xterm', '-T', 'second', '-geometry', '20x5+400+300');
  await waitUntil(async () => (await desktop.windows()).some(({ title, active }) => title === 'second' && active));
  const [first, second] = await desktop.windows();
  assert.deepStrictEqual([first.title, first.class, first.desktop, first.active, second.class], ['Grüße', 'First', 0, false, 'XTerm']);
  assert.match(fs.readFileSync(`/proc/${first.pid}/comm`, 'utf8'), /xterm/);
  const seen = execFileSync('xdotool', ['getwindowgeometry', '--shell', String(first.id)], { env: other.env, encoding: 'utf8' });
  const { x, y, width, height } = first;
  // The frame is at the place that was asked for, and xdotool adds its border twice.
  assert.ok(seen.includes(`X=${2 * x - 100}\nY=${2 * y - 50}\nWIDTH=${width}\nHEIGHT=${height}\n`), seen);
  await desktop.activate(first.id);
  assert.strictEqual(Number(execFileSync('xdotool', ['getactivewindow'], { env: other.env })), first.id);
  assert.deepStrictEqual((await desktop.windows()).map(({ title }) => title), ['second', 'Grüße']);
  await assert.rejects(desktop.activate(12345), /no window with the id 12345/);
  await desktop.close();
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
