'use strict';
// Tests session.node, the module of the helper process, in a process of its own: holding,
// releasing and interrupting, on an X server and on a simulated Wayland desktop.

const assert = require('node:assert');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { startDesktop } = require('../support/desktop');
const { startHost } = require('../support/host');
const { waitUntil } = require('../support/wait');
const { keyboardState, nothingDown, startXvfb } = require('../support/x11');

const { OSTLER_SESSION } = process.env;
const startSession = (env) => startHost({ ...env, OSTLER_ADDON: OSTLER_SESSION });

// Opens the session of a host with a record in a file, and returns the codes that are in it.
async function openWithRecord(host, directory) {
  const file = path.join(directory, 'held');
  fs.writeFileSync(file, Buffer.alloc(4096));
  await host.run((session, name) => session.open({ record: require('node:fs').openSync(name, 'r+') }), file);
  return () => [...fs.readFileSync(file)].flatMap((byte, i) => [0, 1, 2, 3, 4, 5, 6, 7]
    .filter((bit) => byte >> bit & 1).map((bit) => 8 * i + bit));
}

// Makes a call that a Worker interrupts after `delay` ms. Resolves to the message of its error.
const interrupted = (host, delay, ...call) => host.run((session, module, milliseconds, method, ...values) => {
  const { Worker } = require('node:worker_threads');
  const number = globalThis.number = (globalThis.number ?? 0) + 1;
  const ready = new Int32Array(new SharedArrayBuffer(4));
  // A terminated Worker must not take the module with it.
  globalThis.workers = [...globalThis.workers ?? [], new Worker(`
    const { workerData: { module, milliseconds, number } } = require('node:worker_threads');
    const session = require(module);
    setTimeout(() => session.interrupt(number), milliseconds);`,
  { eval: true, workerData: { module, milliseconds, number, ready } })];
  session.startCall(number);
  try {
    session[method](...values);
    return 'it ended';
  } catch (error) {
    return error.message;
  } finally {
    session.startCall(0);
  }
}, OSTLER_SESSION, delay, ...call);

const endless = [
  ['type', 'aB!'.repeat(20000)], ['drag', 0, 0, 30000, 0], ['click', 5, 5, 'right', 9999],
];

describe('on an X server', () => {
  let server, host, codes;
  before(async () => {
    server = await startXvfb({ options: ['-ardelay', '60000'] });
    host = await startSession(server.env);
    await assert.rejects(host.call('setKey', 'ctrl', true), { message: 'The session is not open.' });
    codes = await openWithRecord(host, server.env.XDG_RUNTIME_DIR);
  });
  after(() => host.stop().finally(server.stop));
  const pressed = () => keyboardState(server.env).down;

  it('writes pixels to the file, or gives them itself when it cannot', async () => {
    const lengths = (file, flags) => host.run((session, name, mode) => {
      const descriptor = require('node:fs').openSync(name, mode);
      const { width, height, data } = session.pixels(descriptor, 4096, 0, 0, 20, 10);
      require('node:fs').closeSync(descriptor);
      return [width, height, data?.length];
    }, file, flags);
    const file = path.join(server.env.XDG_RUNTIME_DIR, 'pixels');
    fs.writeFileSync(file, '');
    for (const [name, flags, length] of [['a file to read', 'r', 800], ['a file to write', 'r+', undefined]]) {
      assert.deepStrictEqual(await lengths(file, flags), [20, 10, length], name);
    }
    assert.strictEqual(fs.statSync(file).size, 4096 + 800);
  });

  it('holds buttons and keys, and releases all', async () => {
    const button = 256;
    for (const name of ['left', 'middle', 'right']) await host.call('setButton', name, true);
    assert.deepStrictEqual(codes(), [button + 1, button + 2, button + 3]);
    await host.call('setButton', 'middle', false);
    for (const name of ['ctrl', 'a', 'f12', 'escape']) await host.call('setKey', name, true);
    await host.call('setKey', 'a', false);
    assert.deepStrictEqual(codes(), [9, 37, 96, button + 1, button + 3]);
    assert.notStrictEqual(pressed(), nothingDown);
    for (const [name, message] of [
      ['ctrl+a', /^This is not the name of one key: ctrl\+a$/], ['', /^This is not the name of one key: $/],
      ['foo', /^Unsupported key combo part on Linux\/X11: foo\. Known are /],
    ]) await assert.rejects(host.call('setKey', name, true), { message });
    // A tap of a key that is held down keeps it in the record.
    await host.call('key', 'ctrl+b');
    assert.deepStrictEqual(codes(), [9, 37, 96, button + 1, button + 3]);
    await host.call('releaseAll');
    assert.deepStrictEqual([codes(), pressed()], [[], nothingDown]);
  });

  for (const call of [...endless, ['scroll', 5, 5, 0, 2 ** 31 - 1]]) {
    it(`interrupts ${call[0]} and keeps what was held before`, async () => {
      await host.call('setKey', 'shift', true);
      const before = keyboardState(server.env);
      assert.strictEqual(await interrupted(host, 60, ...call), 'The call was interrupted.');
      // The server releases Shift after the first character that needs it.
      assert.deepStrictEqual([codes(), keyboardState(server.env).map], [[50], before.map]);
      await host.call('releaseAll');
      assert.strictEqual(pressed(), nothingDown);
    });
  }

  it('knows only one call, its record and its end', async () => {
    await host.run((session) => { session.startCall(77); session.interrupt(76); session.move(1, 1); session.startCall(0); });
    await assert.rejects(host.call('open', {}), { message: 'The session is open already.' });
    const other = await startSession(server.env);
    await assert.rejects(other.run((session) => session.open({ record: require('node:fs').openSync('/dev/null', 'r+') })),
      { message: 'Unable to map the record of pressed keys: Invalid argument' });
    await other.call('open', {});
    assert.strictEqual(await other.call('sessionEnd'), '');
    await other.stop();
    const end = await startXvfb();
    const last = await startSession(end.env);
    await last.call('open', {});
    await end.stop();
    assert.strictEqual(await last.call('sessionEnd'), 'The X server has ended.');
    await assert.rejects(last.stop(), /X connection/);  // Xlib ends the process
  });
});

describe('on Wayland', () => {
  for (const [way, script] of [
    ['through libei', {}],
    ['through the portal', { ConnectToEIS: { error: ['org.freedesktop.DBus.Error.UnknownMethod', 'none'] } }],
  ]) {
    it(`holds, releases and interrupts ${way}`, async () => {
      const desktop = await startDesktop(script);
      const host = await startSession(desktop.env);
      const codes = await openWithRecord(host, desktop.env.XDG_RUNTIME_DIR);
      // How often keys and buttons are pressed more than they are released.
      const down = () => desktop.record().map((line) => (
        / (?:key|button) \d+ ([01])$|NotifyKeyboardKeysym.* (?:uint32 )?([01])\)|NotifyPointerButton.* (?:uint32 )?([01])\)/
          .exec(line)?.slice(1).find(Boolean))).reduce((sum, is) => sum + (is === undefined ? 0 : is === '1' ? 1 : -1), 0);
      await host.call('setButton', 'right', true);
      for (const name of ['ctrl', 'a']) await host.call('setKey', name, true);
      await host.call('setKey', 'a', false);
      assert.deepStrictEqual(codes(), [29, 273]);
      await waitUntil(() => down() === 2, desktop.record);
      await host.call('releaseAll');
      await waitUntil(() => down() === 0, desktop.record);
      for (const call of [...endless, ['scroll', 5, 5, 0, way === 'through libei' ? 1 : 2 ** 31 - 1]]) {
        const expected = call[0] === 'scroll' && way === 'through libei' ? 'it ended' : 'The call was interrupted.';
        assert.strictEqual(await interrupted(host, 60, ...call), expected, call[0]);
        await waitUntil(() => down() === 0, desktop.record);
        assert.deepStrictEqual(codes(), []);
      }
      assert.strictEqual(await host.call('sessionEnd'), '');
      process.kill(desktop.portal(), 'SIGUSR1');
      await waitUntil(async () => await host.call('sessionEnd') === 'The Wayland portal session has ended.');
      await assert.rejects(host.call('setButton', 'left', true), { message: 'The Wayland portal session has ended.' });
      assert.deepStrictEqual(codes(), []);
      await host.stop();
      await desktop.stop();
    });
  }
});
