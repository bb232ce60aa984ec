'use strict';
// Runs in the helper process.

const { spawn } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { openMemoryFile } = require('../common/memory_file');

// Starts a process that offers the content of the clipboard of `env` until another program copies
// something. `offeredAt` is when this process offered it. Calls `done` when the new process has
// taken the content over or has failed.
function startKeep(env, content, offeredAt, done) {
  const file = openMemoryFile();
  try {
    fs.ftruncateSync(file, 0);
    fs.writeSync(file, content, 0, content.length, 0);
    const child = spawn(process.execPath, [path.join(__dirname, 'main.js'), offeredAt], {
      env: { ...env, ELECTRON_RUN_AS_NODE: '1' }, cwd: '/', detached: true, stdio: [file, 'pipe', 'ignore'],
    });
    child.on('error', done);
    child.stdout?.on('error', () => {}).once('data', done).on('close', done);
  } finally {
    fs.closeSync(file);
  }
}

module.exports = { startKeep };
