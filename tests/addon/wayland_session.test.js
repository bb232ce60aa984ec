'use strict';
// A Wayland session from its first call to the end of its host.

const assert = require('node:assert');
const { describe, it } = require('node:test');
const { startDesktop } = require('../support/desktop');
const { runScript } = require('../support/host');
const { decodePng } = require('../support/png');
const { waitUntil } = require('../support/wait');

const closed = (record) => record.some((line) => line.startsWith('Session.Close'));

async function shot(host, ...sizes) {
  const values = ['', null, [], ...(sizes.length > 0 ? sizes : Array(6).fill(0)), -1];
  return decodePng(Buffer.from(await host.call('screenshot', ...values)));
}

// Waits until screenshots fail and returns the message of the next one, which has to fail too.
async function screenshotFailure(host) {
  const failure = () => host.call('screenshot').then(() => '', ({ message }) => message);
  await waitUntil(async () => await failure() !== '');
  return failure();
}

it('opens with the first call that needs it, and closes with the host', async () => {
  const desktop = await startDesktop();
  const host = await desktop.startHost();
  await host.call('capabilities');
  assert.deepStrictEqual(desktop.record(), []);

  assert.deepStrictEqual(await host.call('display'), { width: 1280, height: 720, pixelWidth: 1280, pixelHeight: 720 });
  const whole = await shot(host);
  assert.deepStrictEqual([whole.width, whole.height], [64, 48]);
  for (const [x, y] of [[0, 0], [63, 0], [17, 23], [63, 47]]) assert.deepStrictEqual(whole.pixel(x, y), [x, y, 1]);
  const crop = await shot(host, 8, 8, 640, 360, 1280, 720);
  assert.deepStrictEqual([crop.width, crop.height, crop.pixel(0, 0)], [32, 24, [32, 24, 1]]);

  await host.call('move', 30.6, 12);
  assert.deepStrictEqual(await host.call('cursorPosition'), { x: 31, y: 12 });
  desktop.show('BGRx 64 48 9 5 6');
  await waitUntil(async () => (await shot(host)).pixel(0, 0)[2] === 9);
  await host.call('move', 100, 100);
  assert.deepStrictEqual(await host.call('cursorPosition'), { x: 5, y: 6 }, 'the stream has the last word');
  desktop.show('cursor 7 8');
  await waitUntil(async () => (await host.call('cursorPosition')).x === 7);
  assert.strictEqual((await shot(host)).pixel(0, 0)[2], 9);

  desktop.show('fail picture lost');
  assert.strictEqual(await screenshotFailure(host), 'Wayland ScreenCast stream failed: picture lost');
  assert.strictEqual((await host.call('display')).width, 1280);

  assert.strictEqual(desktop.record().filter((line) => line.startsWith('RemoteDesktop.Start')).length, 1);
  await desktop.stopHosts();
  assert.ok(closed(desktop.record()));
  await desktop.stop();
});

it('follows a change of format, from one whole frame to the next', async () => {
  const desktop = await startDesktop({ Start: { response: "(uint32 0, {'streams': <[(uint32 NODE, @a{sv} {})]>})" } });
  const host = await desktop.startHost();
  const formats = { 1: ['BGRx', 64, 48], 2: ['RGBx', 100, 20], 3: ['BGRA', 33, 70] };
  for (const wanted of [1, 2, 3, 1, 2, 1, 3, 2, 1, 2, 3]) {
    desktop.show([...formats[wanted], wanted].join(' '));
    for (let seed = 0; seed !== wanted;) {
      const image = await shot(host);
      const [, width, height] = formats[seed = image.pixel(0, 0)[2]];
      assert.deepStrictEqual([image.width, image.height, image.pixel(width - 1, height - 1)],
        [width, height, [width - 1, height - 1, seed]]);
    }
  }
  assert.strictEqual((await host.call('display')).width, 64, 'the first size of the stream');
  await desktop.stop();
});

it('fails when PipeWire dies, before the first frame and after it', async () => {
  for (const seed of [0, 1]) {
    const desktop = await startDesktop({}, `BGRx 64 48 ${seed}`);
    const host = await desktop.startHost();
    const opened = host.call('display').then(() => '', ({ message }) => message);
    await desktop.recordWhen((record) => record.some((line) => /OpenPipeWireRemote/.test(line)));
    if (seed !== 0) await opened;
    desktop.killPipeWire();
    assert.match(await opened || await screenshotFailure(host), /^Wayland ScreenCast stream failed: /);
    await desktop.stop();
  }
});

it('restarts a stream that sent no first frame', async () => {
  const desktop = await startDesktop();
  desktop.show('still 3');
  const host = await desktop.startHost();
  const began = Date.now();
  assert.strictEqual((await shot(host)).pixel(0, 0)[2], 1);
  assert.ok(Date.now() - began > 1900);
  await desktop.stop();
});

it('lifts the limit of the frame rate if only the cursor arrives', async () => {
  const desktop = await startDesktop();
  desktop.show('limited');
  assert.strictEqual((await shot(await desktop.startHost())).pixel(0, 0)[2], 1);
  await desktop.stop();
});

it('throws once the session has ended', async () => {
  const ends = {
    'by the user': (desktop) => process.kill(desktop.portal(), 'SIGUSR1'),
    'with the portal': (desktop) => process.kill(desktop.portal(), 'SIGKILL'),
    'with the bus': (desktop) => desktop.killBus(),
  };
  for (const [name, end] of Object.entries(ends)) {
    const desktop = await startDesktop();
    const host = await desktop.startHost();
    await shot(host);
    end(desktop);
    assert.strictEqual(await screenshotFailure(host), 'The Wayland portal session has ended.', name);
    for (const input of [['move', 1, 1], ['mouseUp', 0, 0], ['key', 'a'], ['type', 'a']]) {
      await assert.rejects(host.call(...input), { message: 'The Wayland portal session has ended.' }, `${name}: ${input}`);
    }
    assert.strictEqual((await host.call('display')).width, 1280, name);
    await desktop.stop();
  }
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
  };
  for (const [name, [script, code, output = /^$/]] of Object.entries(ends)) {
    it(`${name} closes the session`, async () => {
      const desktop = await startDesktop();
      const result = await runScript(`const addon = () => require(process.env.OSTLER_ADDON); ${script}`, desktop.env);
      assert.strictEqual(result.end, code);
      assert.match(result.output, output);
      assert.ok(closed(desktop.record()));
      await desktop.stop();
    });
  }
});
