'use strict';
// The operations that are timed: the name that tables show, how often one round runs the
// operation, and whether it makes a picture, whose size in bytes is also reported.

module.exports = {
  noop: { label: 'call without effect', count: 10000 },
  display: { label: 'display', count: 2000 },
  cursorPosition: { label: 'cursorPosition', count: 300 },
  move: { label: 'move', count: 300 },
  key: { label: 'key (a)', count: 100 },
  combo: { label: 'key (ctrl+shift+a)', count: 100 },
  click: { label: 'click', count: 5 },
  type: { label: 'type, one character', count: 20 },
  getClipboard: { label: 'getClipboard', count: 2 },
  setClipboard: { label: 'setClipboard', count: 2 },
  jpeg: { label: 'JPEG, 1920x1080', count: 3, picture: true },
  jpeg720: { label: 'JPEG, 1280x720', count: 3, picture: true },
  jpeg768: { label: 'JPEG, 1366x768', count: 3, picture: true },
  crop: { label: 'JPEG, 200x200 region', count: 5, picture: true },
  png: { label: 'PNG, 1920x1080', count: 1, picture: true },
  pixels: { label: 'pixels, 1920x1080', count: 20 },
  require: { label: 'require', count: 1 },
};
