'use strict';

const { PNG } = require('pngjs');

// Decodes a PNG to { width, height, depth, colorType, interlace, data, pixel(x, y) }, with four bytes a pixel in `data`
// and [red, green, blue] from `pixel`.
function decodePng(file) {
  const image = PNG.sync.read(file);
  image.pixel = (x, y) => [...image.data.subarray((y * image.width + x) * 4).subarray(0, 3)];
  return image;
}

module.exports = { decodePng };
