'use strict';

const { spawn } = require('node:child_process');
const path = require('node:path');

// Starts a process that releases the buttons which a killed helper may have left pressed on
// the X server of `env`. The process writes a line to its stdout once it has connected, and
// releases the buttons when its stdin ends. The stdin may name the button that the helper was
// clicking. On Wayland the compositor releases what a disconnected client had pressed.
function startRelease(env) {
  const child = spawn(process.execPath, [path.join(__dirname, 'release_main.js')], {
    env: { ...env, ELECTRON_RUN_AS_NODE: '1' }, detached: true, stdio: ['pipe', 'pipe', 'ignore'],
  });
  for (const emitter of [child, child.stdin]) emitter.on('error', () => {});
  return child;
}

module.exports = { startRelease };
