'use strict';

const { PNG } = require('pngjs');

// Decodes a PNG to { width, height, depth, colorType, interlace, data, pixel(x, y) }. `data` has
// four bytes per pixel, and `pixel` returns [red, green, blue].
function decodePng(file) {
  const image = PNG.sync.read(file);
  image.pixel = (x, y) => [...image.data.subarray((y * image.width + x) * 4).subarray(0, 3)];
  return image;
}

module.exports = { decodePng };
