'use strict';
// Screenshots of an X server whose picture another client painted.

const assert = require('node:assert');
const { execFileSync, spawnSync } = require('node:child_process');
const fs = require('node:fs');
const { describe, it } = require('node:test');
const { startHost } = require('../support/host');
const { decodePng } = require('../support/png');
const { startWitness } = require('../support/witness');
const { startXvfb } = require('../support/xvfb');

const grey = { 8: 146, 15: 132, 16: 132, 24: 132, 30: 132 };
const bars = (depth) => [[255, 0, 0], [0, 255, 0], [0, 0, 255], [255, 255, 0], [0, 255, 255],
  [grey[depth], depth === 16 ? 130 : grey[depth], depth === 8 ? 170 : grey[depth]], [255, 255, 255], [0, 0, 0]];

async function withDesktop(task, ...options) {
  const server = await startXvfb(...options);
  const witness = await startWitness(server.env);
  const host = await startHost(server.env);
  const shot = async (...values) => {
    const file = await host.run((addon, args) => addon.screenshot(...args), values);
    return file && Buffer.from(file);
  };
  try {
    await task(shot, server.env, host);
    await host.stop();
  } finally {
    await witness.stop();
    await server.stop();
  }
}

describe('screenshot', () => {
  for (const depth of [8, 15, 16, 24, 30]) {
    it(`has the right colours at depth ${depth}`, () => withDesktop(async (shot) => {
      const image = decodePng(await shot('', null, [], 0, 0, 0, 0, 0, 0, -1));
      assert.deepStrictEqual([image.width, image.height], [640, 480]);
      bars(depth).forEach((colour, i) => [40 + i * 80, i * 80, i * 80 + 79].forEach(
        (x) => assert.deepStrictEqual(image.pixel(x, 7 * i), colour, `bar ${i}`)));
    }, { screen: `640x480x${depth}`, options: depth === 8 ? ['-cc', '4'] : [] }));
  }

  it('is black where the visual has no masks', () => withDesktop(async (shot) => {
    const { data } = decodePng(await shot('', null, [], 0, 0, 0, 0, 0, 0, -1));
    assert.ok(data.every((byte, i) => byte === (i % 4 === 3 ? 255 : 0)));
  }, { screen: '64x48x8' }));

  it('is null when the server refuses it, as after the screen has shrunk', () => withDesktop(async (shot, env) => {
    assert.notStrictEqual(await shot(), null);
    spawnSync('xrandr', ['--fb', '320x200'], { env });  // fails in part, yet shrinks the screen
    assert.strictEqual(await shot(), null);
  }));

  it('fails when the memory does not hold a picture', { skip: Boolean(process.env.OSTLER_PRELOAD) }, () => withDesktop(
    async (shot, env, { pid }) => {
      const limit = (bytes) => execFileSync('prlimit', ['--pid', pid, `--as=${bytes}:`]);
      for (const megabytes of [8, 16, 30]) {
        const [, kilobytes] = /VmSize:\s*(\d+)/.exec(fs.readFileSync(`/proc/${pid}/status`));
        limit(kilobytes * 1024 + (megabytes << 20));
        await assert.rejects(shot(), { message: 'std::bad_alloc' });
        limit('unlimited');
      }
      assert.notStrictEqual(await shot(), null);
    }, { screen: '3840x2160x24' }));

  it('crops, resamples and encodes as asked', () => withDesktop(async (shot) => {
    const whole = decodePng(await shot('', null, [], 0, 0, 0, 0, 0, 0, NaN));
    assert.deepStrictEqual([whole.width, whole.height, whole.depth, whole.colorType, whole.interlace],
      [640, 480, 8, 2, false]);
    const crop = decodePng(await shot('x', ['y'], 5, 100, 100, 70, 20, 95, 30, -1));
    assert.deepStrictEqual([crop.width, crop.height], [25, 10]);
    assert.deepStrictEqual([crop.pixel(9, 0), crop.pixel(10, 9)], [[255, 0, 0], [0, 255, 0]]);
    const half = decodePng(await shot('', null, [], 320, 240, 0, 0, -5, 10, -1));
    assert.deepStrictEqual([half.width, half.height, half.pixel(39, 0), half.pixel(40, 239)],
      [320, 240, [255, 0, 0], [0, 255, 0]]);
    for (const quality of [0, 0.75, undefined]) {
      assert.strictEqual((await shot('', null, [], 0, 0, 0, 0, 0, 0, quality)).toString('hex', 0, 3), 'ffd8ff');
    }
    assert.strictEqual(await shot('', null, [], 0, 0, 640, 0, 700, 10, -1), null);
    const wrapped = decodePng(await shot('', null, [], 0, 0, -2147483648, 0, 2147483647, 10, -1));
    assert.strictEqual(wrapped.width, 640, 'a width that wraps to -1 is no crop');
    await assert.rejects(shot('', null, [], 2147483647, 2147483647, 0, 0, 0, 0, 1),
      { message: 'cannot create std::vector larger than max_size()' });
    const beyondJpeg = await shot('', null, [], 2147483647, 1 << 20, 0, 0, 0, 0, 1);
    assert.strictEqual(beyondJpeg, null, 'nothing is made that no encoder takes');
  }, { screen: '640x480x24' }));
});
