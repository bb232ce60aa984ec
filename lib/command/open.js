'use strict';
// Runs in the command `ostler`.

const { openDesktop } = require('../promises');

const ownName = 'ostler';  // under which the command keeps its permission

// Opens the desktop of a command, and says so while the user is asked.
function openFor({ ask }) {
  return openDesktop({
    remember: ask ? false : ownName,
    onDialog: () => process.stderr.write("Waiting for permission in the desktop's dialog…\n"),
  });
}

module.exports = { openFor, ownName };
