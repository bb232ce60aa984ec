'use strict';

module.exports = (load) => {
  const { Key, Point, clipboard, keyboard, mouse, screen } = load('@nut-tree-fork/nut-js');
  keyboard.config.autoDelayMs = 0;
  mouse.config.autoDelayMs = 0;
  let x = 0;
  const tap = async (...keys) => {
    await keyboard.pressKey(...keys);
    await keyboard.releaseKey(...keys);
  };
  return {
    display: async () => { await screen.width(); await screen.height(); },
    cursorPosition: async () => { await mouse.getPosition(); },
    move: () => mouse.setPosition(new Point(600 + (x ^= 1), 400)),
    key: () => tap(Key.A),
    combo: () => tap(Key.LeftControl, Key.LeftShift, Key.A),
    getClipboard: async () => { await clipboard.getContent(); },
    setClipboard: () => clipboard.setContent('A line of text for the clipboard'),
  };
};
