'use strict';
// Runs in the process that release.js starts. It releases no keys, because the addon sends
// the press and the release of a key together.

const ostler = require('..');

ostler.display();  // connects
process.stdout.on('error', () => {}).write('\n');
let button = '';
process.stdin.on('data', (data) => { button += data; }).on('end', () => {
  ostler.mouseUp(0, 0);
  // The addon can release these two buttons only with a click. The server ignores the press
  // of a button that is down.
  if (button !== 'middle' && button !== 'right') return;
  const { x, y } = ostler.cursorPosition();
  ostler.click(x, y, button, 1);
});
