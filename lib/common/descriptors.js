'use strict';
// Runs in the host and on the guard thread of the helper process.

const fs = require('node:fs');

// Throws when this process cannot open that many files. Node loses descriptors when they run out
// while it starts a process, so this is asked first.
function requireDescriptors(count) {
  const spare = [];
  try {
    for (let i = 0; i < count; i++) spare.push(fs.openSync('/dev/null'));
  } finally {
    spare.forEach((descriptor) => fs.closeSync(descriptor));
  }
}

module.exports = { requireDescriptors };
