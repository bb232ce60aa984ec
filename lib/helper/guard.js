'use strict';
// Runs on a thread of the helper process, which keeps running while a call blocks the main
// thread. Interrupts the calls that the host names. When the host has exited, it interrupts the
// running call, and kills the helper if that call does not end.

const fs = require('node:fs');
const net = require('node:net');
const { parentPort, workerData: { kind, memoryFile, runningCall } } = require('node:worker_threads');
const { startRelease } = require('../release/start');
const { isAnythingLeft } = require('../common/memory_file');
const { loadSession } = require('../common/session_module');

const control = 4;  // the descriptor of the pipe from the host, which is open as long as the host runs
const patience = 500;  // in milliseconds

const session = loadSession();

function kill() {
  try {
    // The release process acts when its input ends, which happens when this process is killed.
    if (kind === 'x11' && isAnythingLeft(memoryFile)) startRelease(process.env, memoryFile);
  } finally {
    process.kill(process.pid, 'SIGKILL');  // also when descriptors are short
  }
}

// Bun's sockets cannot be made from a descriptor. In Node the pending read of a file stream would
// keep the process from exiting.
const pipe = process.versions.bun ? fs.createReadStream('', { fd: control }) : new net.Socket({ fd: control });

let received = Buffer.alloc(0);
pipe.on('error', () => {}).on('data', (data) => {
  received = Buffer.concat([received, data]);
  while (received.length >= 4) {
    session.interrupt(received.readInt32LE());
    received = received.subarray(4);
  }
}).on('close', () => {
  session.interrupt(runningCall[0]);
  setTimeout(kill, patience);
});

parentPort.postMessage('ready');
