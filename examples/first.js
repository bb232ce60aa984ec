'use strict';
const fs = require('node:fs');
const ostler = require('ostler');

const { width, height } = ostler.display();
ostler.click(width / 2, height / 2, 'left', 1);  // focuses the window in the middle
ostler.type('Hello, desktop!');
ostler.key('ctrl+a');
const png = ostler.screenshot('', null, [], 0, 0, 0, 0, 0, 0, -1);
if (png) fs.writeFileSync('desktop.png', png);
