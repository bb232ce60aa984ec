'use strict';
// Runs the demo on the user's own desktop. It moves the pointer and takes pictures, but never
// clicks, and types only with --type.

const { setTimeout: sleep } = require('node:timers/promises');

const ostler = require('../..');
const { step, takePictures } = require('./steps');

const LINE = 'Hello from ostler, 1 + 1 = 2!';

async function run(typing) {
  console.log('In 3 seconds, this moves the pointer in a circle and back, taps Shift and takes pictures.');
  console.log(typing
    ? `After Shift it waits 5 seconds and types "${LINE}" into the focused window: focus one that may receive it.`
    : 'It does not click, type or change the clipboard (with --type it types a line).');
  console.log('On Wayland the desktop first asks for permission. Ctrl-C ends the demo.\n');
  await sleep(3000);

  let size;
  await step('connect', () => {
    size = ostler.display();
    return `the desktop has ${size.width} by ${size.height} pixels`;
  });
  if (!size) return;

  await step('move in a circle and back', async () => {
    const before = ostler.cursorPosition();
    const radius = Math.min(size.width, size.height) / 6;
    for (let angle = 0; angle <= 360; angle += 3) {
      const turn = angle * Math.PI / 180;
      ostler.move(size.width / 2 + radius * Math.cos(turn), size.height / 2 + radius * Math.sin(turn));
      await sleep(8);
    }
    ostler.move(before.x, before.y);
  });
  await step('press a combo', () => {
    ostler.key('shift');
    return 'shift';
  });
  if (typing) {
    await sleep(5000);
    await step('type a line', () => ostler.type(LINE));
  }
  await takePictures(ostler, {
    left: size.width / 4, top: size.height / 4, right: size.width * 3 / 4, bottom: size.height * 3 / 4,
  });
}

module.exports = { run };
