'use strict';
// Tests screenshots of an X server on which another client has painted.

const assert = require('node:assert');
const { execFileSync, spawnSync } = require('node:child_process');
const fs = require('node:fs');
const { it } = require('node:test');
const { decodePng } = require('../support/png');
const { withX11 } = require('../support/x11');

const shot = async ({ call }, ...values) => {
  const file = await call('screenshot', ...values);
  return file && Buffer.from(file);
};
// `sizes` has the target size and the corners of the crop.
const pngOf = async (x11, sizes = [0, 0, 0, 0, 0, 0], quality = -1) => decodePng(
  await shot(x11, '', null, [], ...sizes, quality));

// The sixth bar is grey, as closely as the depth allows.
for (const [depth, grey] of Object.entries({
  8: [146, 146, 170], 15: [132, 132, 132], 16: [132, 130, 132], 24: [132, 132, 132], 30: [132, 132, 132],
})) {
  it(`has the right colours at depth ${depth}`, withX11({
    screen: `640x480x${depth}`, options: depth === '8' ? ['-cc', '4'] : [],
  }, async (x11) => {
    const image = await pngOf(x11);
    assert.deepStrictEqual([image.width, image.height], [640, 480]);
    const bars = [[255, 0, 0], [0, 255, 0], [0, 0, 255], [255, 255, 0], [0, 255, 255], grey, [255, 255, 255],
      [0, 0, 0]];
    bars.forEach((colour, i) => [0, 40, 79].forEach(
      (x) => assert.deepStrictEqual(image.pixel(80 * i + x, 7 * i), colour, `bar ${i}`)));
  }));
}

it('returns a black picture when the visual has no masks', withX11({ screen: '64x48x8' }, async (x11) => {
  assert.ok((await pngOf(x11)).data.every((byte, i) => byte === (i % 4 === 3 ? 255 : 0)));
}));

it('returns null when the server refuses, for example after the screen has shrunk', withX11({}, async (x11) => {
  assert.notStrictEqual(await shot(x11), null);
  spawnSync('xrandr', ['--fb', '320x200'], { env: x11.env });  // fails in part, yet shrinks the screen
  assert.strictEqual(await shot(x11), null);
}));

it('throws when there is not enough memory for a picture', { skip: Boolean(process.env.OSTLER_PRELOAD) }, withX11({
  screen: '3840x2160x24',
}, async (x11) => {
  const { pid } = x11.host;
  const limit = (bytes) => execFileSync('prlimit', ['--pid', pid, `--as=${bytes}:`]);
  for (const megabytes of [8, 16, 30]) {
    const [, kilobytes] = /VmSize:\s*(\d+)/.exec(fs.readFileSync(`/proc/${pid}/status`));
    limit(kilobytes * 1024 + (megabytes << 20));
    await assert.rejects(shot(x11), { message: 'std::bad_alloc' }, `${megabytes} MiB`);
    limit('unlimited');
  }
  assert.notStrictEqual(await shot(x11), null);
}));

// Each of the two copies of the screen that Xlib makes has 2,000 pages.
it('uses the memory of one screenshot for the next', { skip: Boolean(process.env.OSTLER_PRELOAD) }, withX11({
  screen: '1920x1080x24',
}, async (x11) => {
  const faults = await x11.run((addon) => {
    const crop = () => addon.screenshot('', null, [], 0, 0, 800, 300, 1000, 500, 0.75);
    const pageFaults = () => process.resourceUsage().minorPageFault;
    for (let i = 0; i < 5; i++) crop();
    const before = pageFaults();
    for (let i = 0; i < 20; i++) crop();
    return (pageFaults() - before) / 20;
  });
  assert.ok(faults < 500, `${faults} page faults in a screenshot`);
}));

it('crops, resamples and encodes as asked', withX11({ screen: '640x480x24' }, async (x11) => {
  const whole = await pngOf(x11, undefined, NaN);
  assert.deepStrictEqual([whole.width, whole.height, whole.depth, whole.colorType, whole.interlace],
    [640, 480, 8, 2, false]);
  const crop = await pngOf(x11, [100, 100, 70, 20, 95, 30]);
  assert.deepStrictEqual([crop.width, crop.height], [25, 10]);
  assert.deepStrictEqual([crop.pixel(9, 0), crop.pixel(10, 9)], [[255, 0, 0], [0, 255, 0]]);
  const half = await pngOf(x11, [320, 240, 0, 0, -5, 10]);
  assert.deepStrictEqual([half.width, half.height, half.pixel(39, 0), half.pixel(40, 239)],
    [320, 240, [255, 0, 0], [0, 255, 0]]);
  const wrapped = await pngOf(x11, [0, 0, -2147483648, 0, 2147483647, 10]);
  assert.strictEqual(wrapped.width, 640, 'a crop whose width wraps to -1 is ignored');
  for (const quality of [0, 0.75, undefined]) {
    assert.strictEqual((await shot(x11, 'x', ['y'], 5, 0, 0, 0, 0, 0, 0, quality)).toString('hex', 0, 3), 'ffd8ff');
  }
  assert.strictEqual(await shot(x11, '', null, [], 0, 0, 640, 0, 700, 10, -1), null, 'an empty crop');
  await assert.rejects(shot(x11, '', null, [], 2147483647, 2147483647, 0, 0, 0, 0, 1),
    { message: 'cannot create std::vector larger than max_size()' });
}));
