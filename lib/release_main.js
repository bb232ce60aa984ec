'use strict';
// The process of release.js. No key has to be released: the addon sends the
// press and release of a key in one request.

const ostler = require('..');

ostler.display();  // connects
process.stdout.on('error', () => {}).write('\n');
let button = '';
process.stdin.on('data', (data) => { button += data; }).on('end', () => {
  ostler.mouseUp(0, 0);
  // Of these two buttons the addon has no release alone. The server ignores the
  // press of a button that is down.
  if (button !== 'middle' && button !== 'right') return;
  const { x, y } = ostler.cursorPosition();
  ostler.click(x, y, button, 1);
});
