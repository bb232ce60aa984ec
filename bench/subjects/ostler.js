'use strict';

module.exports = (load) => {
  const ostler = load(process.env.OSTLER_ADDON ?? '../..');
  let x = 0;
  const shot = (width, height, left, top, right, bottom, quality) =>
    ostler.screenshot('', null, [], width, height, left, top, right, bottom, quality);
  return {
    noop: () => ostler.checkPermissions(''),
    display: () => { ostler.display(); },
    cursorPosition: () => { ostler.cursorPosition(); },
    move: () => ostler.move(600 + (x ^= 1), 400),
    key: () => ostler.key('a'),
    combo: () => ostler.key('ctrl+shift+a'),
    click: () => ostler.click(600, 400, 'left', 1),
    type: () => ostler.type('a'),
    getClipboard: () => { ostler.getClipboard(); },
    setClipboard: () => ostler.setClipboard('A line of text for the clipboard'),
    jpeg: () => shot(0, 0, 0, 0, 0, 0, 0.75),
    jpeg720: () => shot(1280, 720, 0, 0, 0, 0, 0.75),
    jpeg768: () => shot(1366, 768, 0, 0, 0, 0, 0.75),
    crop: () => shot(0, 0, 800, 300, 1000, 500, 0.75),
    png: () => shot(0, 0, 0, 0, 0, 0, -1),
  };
};
