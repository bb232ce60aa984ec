'use strict';
// Plays the user for the tour: a separate process with its own X connection, whose Escape is
// just like one from a real keyboard.

const ostler = require('../..');

ostler.display();  // connects
process.on('message', ({ after }) => {
  setTimeout(() => {
    const at = Date.now();
    ostler.key('escape');
    process.send({ at });
  }, after);
});
process.on('disconnect', () => process.exit());
process.send({});
