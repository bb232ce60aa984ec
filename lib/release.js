'use strict';

const { spawn } = require('node:child_process');
const path = require('node:path');

// Starts a process that releases, on the X server of `env`, what a killed
// helper may have left pressed. It writes a line to its output when it has
// connected and acts when its input ends, which may name the button that the
// helper was clicking. A Wayland compositor does this itself when a client goes.
function startRelease(env) {
  const child = spawn(process.execPath, [path.join(__dirname, 'release_main.js')], {
    env: { ...env, ELECTRON_RUN_AS_NODE: '1' }, detached: true, stdio: ['pipe', 'pipe', 'ignore'],
  });
  for (const emitter of [child, child.stdin]) emitter.on('error', () => {});
  return child;
}

module.exports = { startRelease };
