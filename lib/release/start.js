'use strict';
// Runs in the host and on the guard thread of the helper process.

const { spawn } = require('node:child_process');
const path = require('node:path');
const { requireDescriptors } = require('../common/descriptors');

const descriptorsOfRelease = 8;

// Starts a process that waits until its stdin ends and then releases, on the X server of `env`,
// everything in the record of the memory file. On Wayland no other process can do this, only
// the compositor.
// Throws when descriptors have run out.
function startRelease(env, memoryFile) {
  requireDescriptors(descriptorsOfRelease);
  const child = spawn(process.execPath, [path.join(__dirname, 'main.js')], {
    env: { ...env, ELECTRON_RUN_AS_NODE: '1' }, detached: true, stdio: ['pipe', 'ignore', 'ignore', memoryFile],
  });
  child.on('error', () => {});
  child.stdin?.on('error', () => {});
  return child;
}

module.exports = { startRelease };
