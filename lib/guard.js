'use strict';
// A thread of the helper that ends the helper when the host is gone and the
// helper's main thread does not notice, because a call of the addon blocks it.

const net = require('node:net');
const { workerData: { kind, buttons, running } } = require('node:worker_threads');
const { startRelease } = require('./release');

// The host holds the other end of this descriptor for as long as it lives.
new net.Socket({ fd: 4 }).resume().on('error', () => {}).on('close', () => {
  setTimeout(() => {
    // Its input ends with this process.
    if (kind === 'x11') startRelease(process.env).stdin.write(buttons[running[0]]);
    process.kill(process.pid, 'SIGKILL');
  }, 300);
});
