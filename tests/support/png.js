'use strict';

const assert = require('node:assert');
const zlib = require('node:zlib');

// Decodes an 8-bit RGB or RGBA PNG without interlacing to { width, height, pixels, pixel(x, y) }, without alpha.
function decodePng(file) {
  assert.strictEqual(file.toString('latin1', 0, 8), '\x89PNG\r\n\x1a\n');
  const data = [];
  let header;
  for (let at = 8; at < file.length; at += 12 + file.readUInt32BE(at)) {
    const chunk = file.subarray(at + 8, at + 8 + file.readUInt32BE(at));
    const type = file.toString('latin1', at + 4, at + 8);
    if (type === 'IHDR') header = chunk;
    if (type === 'IDAT') data.push(chunk);
  }
  const [width, height] = [header.readUInt32BE(0), header.readUInt32BE(4)];
  const bytes = header[9] === 6 ? 4 : 3;
  assert.deepStrictEqual([...header.subarray(8)], [8, bytes === 4 ? 6 : 2, 0, 0, 0]);
  const raw = zlib.inflateSync(Buffer.concat(data));
  const stride = width * bytes;
  const samples = Buffer.alloc(stride * height);
  const predictors = [
    () => 0, (a) => a, (_, b) => b, (a, b) => (a + b) >> 1,
    (a, b, c) => [a, b, c].sort((p, q) => Math.abs(a + b - c - p) - Math.abs(a + b - c - q))[0],
  ];
  for (let y = 0; y < height; y++) {
    const predict = predictors[raw[y * (stride + 1)]];
    for (let i = 0; i < stride; i++) {
      const at = y * stride + i;
      const left = i >= bytes ? samples[at - bytes] : 0;
      const up = y > 0 ? samples[at - stride] : 0;
      const corner = i >= bytes && y > 0 ? samples[at - stride - bytes] : 0;
      samples[at] = raw[y * (stride + 1) + 1 + i] + predict(left, up, corner);
    }
  }
  const pixels = bytes === 3 ? samples : samples.filter((_, i) => i % 4 !== 3);
  return { width, height, pixels, pixel: (x, y) => [...pixels.subarray((y * width + x) * 3, (y * width + x + 1) * 3)] };
}

module.exports = { decodePng };
