'use strict';
// Runs on a thread of the helper process. Kills the helper when the host has exited but
// the helper's main thread cannot notice that, because a call of the addon blocks it.

const net = require('node:net');
const { workerData: { kind, buttons, running } } = require('node:worker_threads');
const { startRelease } = require('./release');

// The host keeps the other end of this pipe open until it exits.
new net.Socket({ fd: 4 }).resume().on('error', () => {}).on('close', () => {
  setTimeout(() => {
    // The release process acts when its input ends, which happens when this process is killed.
    if (kind === 'x11') startRelease(process.env).stdin.write(buttons[running[0]]);
    process.kill(process.pid, 'SIGKILL');
  }, 300);
});
