'use strict';
// ostler/promises. Its PNGs are compressed for speed, which is its default.

module.exports = (load) => {
  const { openDesktop } = load('../../lib/promises');
  let opened, x = 0;
  const desktop = () => (opened ??= openDesktop());
  const jpeg = async (options) => (await desktop()).screenshot({ format: 'jpeg', quality: 0.75, ...options });
  process.once('disconnect', async () => { await (await opened)?.close(); });
  return {
    display: async () => { await (await desktop()).display(); },
    cursorPosition: async () => { await (await desktop()).cursorPosition(); },
    move: async () => (await desktop()).move(600 + (x ^= 1), 400),
    key: async () => (await desktop()).key('a'),
    combo: async () => (await desktop()).key('ctrl+shift+a'),
    type: async () => (await desktop()).type('a'),
    click: async () => (await desktop()).click(600, 400),
    jpeg: () => jpeg(),
    jpeg720: () => jpeg({ size: { width: 1280, height: 720 } }),
    jpeg768: () => jpeg({ size: { width: 1366, height: 768 } }),
    crop: () => jpeg({ region: { x: 800, y: 300, width: 200, height: 200 } }),
    png: async () => (await desktop()).screenshot(),
    pixels: async () => (await (await desktop()).pixels()).data,
  };
};
