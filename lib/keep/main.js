'use strict';
// Runs in the process that start.js starts.

const fs = require('node:fs');
const { loadSession } = require('../common/session_module');

const memoryFile = 0, ready = 1;  // the descriptors

const content = Buffer.alloc(fs.fstatSync(memoryFile).size);
fs.readSync(memoryFile, content, 0, content.length, 0);
loadSession().keepClipboard(content, Number(process.argv[2]), () => {
  try {
    fs.writeSync(ready, '.');  // Deno has a second descriptor of this pipe, so it stays open
  } catch {
    // The helper has been killed.
  }
  fs.closeSync(ready);
});
