'use strict';
// A Wayland session from its first call to the end of its host.

const assert = require('node:assert');
const { spawn } = require('node:child_process');
const { once } = require('node:events');
const { describe, it } = require('node:test');
const { startDesktop } = require('../support/desktop');
const { hostEnvironment, startHost } = require('../support/host');
const { decodePng } = require('../support/png');

const closed = (record) => record.some((line) => line.startsWith('Session.Close'));

it('opens with the first call that needs it, and closes with the host', async () => {
  const desktop = await startDesktop();
  const host = await startHost(desktop.env);
  const call = (method, ...values) => host.run((addon, name, args) => addon[name](...args), method, values);
  const shot = async (...values) => decodePng(Buffer.from(await call('screenshot', '', null, [], ...values, -1)));
  await call('capabilities');
  assert.deepStrictEqual(desktop.record(), []);

  assert.deepStrictEqual(await call('display'), { width: 1280, height: 720, pixelWidth: 1280, pixelHeight: 720 });
  const whole = await shot(0, 0, 0, 0, 0, 0);
  assert.deepStrictEqual([whole.width, whole.height], [64, 48]);
  for (const [x, y] of [[0, 0], [63, 0], [17, 23], [63, 47]]) assert.deepStrictEqual(whole.pixel(x, y), [x, y, 1]);
  const crop = await shot(8, 8, 640, 360, 1280, 720);
  assert.deepStrictEqual([crop.width, crop.height, crop.pixel(0, 0)], [32, 24, [32, 24, 1]]);
  const half = await shot(32, 24, 0, 0, 0, 0);
  assert.deepStrictEqual([half.width, half.height, half.pixel(1, 0)], [32, 24, [3, 1, 1]]);

  await call('move', 30.6, 12);
  assert.deepStrictEqual(await call('cursorPosition'), { x: 31, y: 12 });
  await desktop.source('frame 9 cursor 5 6');
  while ((await shot(0, 0, 0, 0, 0, 0)).pixel(0, 0)[2] !== 9);
  await call('move', 100, 100);
  assert.deepStrictEqual(await call('cursorPosition'), { x: 5, y: 6 }, 'the stream has the last word');

  await desktop.source('fail picture lost');
  const screenshot = () => call('screenshot');
  for (;;) {
    const error = await screenshot().then(() => null, (failure) => failure);
    if (error === null) continue;
    assert.match(error.message, /^Wayland ScreenCast stream failed: .*picture lost/);
    break;
  }
  assert.strictEqual((await call('display')).width, 1280);

  assert.strictEqual(desktop.record().filter((line) => line.startsWith('RemoteDesktop.Start')).length, 1);
  await host.stop();
  assert.ok(closed(desktop.record()));
  await desktop.stop();
});

it('asks again after a refusal, and keeps nothing of it', async () => {
  const refusal = { response: '(uint32 1, @a{sv} {})' };
  const desktop = await startDesktop({ script: { Start: [refusal, refusal] } });
  const host = await startHost(desktop.env);
  for (let attempt = 1; attempt <= 2; attempt++) {
    await assert.rejects(host.run((addon) => addon.display()), { message: 'The user denied the Wayland portal request.' });
    assert.deepStrictEqual(desktop.record().filter((line) => /Close|Start/.test(line)).length, 2 * attempt);
  }
  assert.strictEqual((await host.run((addon) => addon.display())).width, 1280);
  await host.stop();
  await desktop.stop();
});

it('fails in its own words where there is no bus, and when the daemon dies the picture is gone', async () => {
  const desktop = await startDesktop();
  const stranded = await startHost({ ...desktop.env, DBUS_SESSION_BUS_ADDRESS: `unix:path=${desktop.env.XDG_RUNTIME_DIR}/none` });
  await assert.rejects(stranded.run((addon) => addon.move(1, 1)), { message: /^Unable to connect to the session D-Bus: / });
  await stranded.stop();

  const host = await startHost(desktop.env);
  await host.run((addon) => addon.display());
  await desktop.source('kill');
  const failure = await host.run((addon) => {
    for (;;) {
      try { addon.screenshot(); } catch (error) { return error.message; }
    }
  });
  assert.match(failure, /^Wayland ScreenCast stream failed: /);
  desktop.killBus();  // which must not end the host
  assert.strictEqual((await host.run((addon) => addon.display())).width, 1280);
  await host.stop();
  await desktop.stop();
});

describe('the end of the process', () => {
  const worker = `const { Worker } = require('node:worker_threads');
    const worker = new Worker('require(process.env.OSTLER_ADDON).display();'
      + 'require("node:worker_threads").parentPort.postMessage(1); setInterval(() => {}, 1000)', { eval: true });
    worker.once('message', async () => { await worker.terminate(); process.exitCode = 5; });`;
  const ends = {
    'of the script': ['addon().display()', 0],
    'by process.exit': ['addon().display(); process.exit(3)', 3],
    'by an uncaught exception': ['addon().display(); throw new Error("uncaught")', 1, /uncaught/],
    'after a Worker that alone used the addon': [worker, 5],
    'in a signal handler': ['addon().display(); process.once("SIGTERM", () => process.exit(4)); process.kill(process.pid, "SIGTERM"); setInterval(() => {}, 1000)', 4],
  };
  for (const [name, [script, code, output = /^$/]] of Object.entries(ends)) {
    it(`${name} closes the session`, async () => {
      const desktop = await startDesktop();
      const child = spawn(process.execPath, ['-e', `const addon = () => require(process.env.OSTLER_ADDON); ${script}`],
        { env: hostEnvironment(desktop.env) });
      let text = '';
      for (const stream of [child.stdout, child.stderr]) stream.on('data', (data) => { text += data; });
      const [status, signal] = await once(child, 'close');
      assert.deepStrictEqual([status, signal], [code, null]);
      assert.match(text, output);
      assert.ok(closed(desktop.record()));
      await desktop.stop();
    });
  }
});
