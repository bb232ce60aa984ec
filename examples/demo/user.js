'use strict';
// A user at the keyboard, for the tour: another process with a connection of
// its own, whose Escape is no different from one on a real keyboard.

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
