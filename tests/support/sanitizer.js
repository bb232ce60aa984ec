'use strict';
// Required before a test that runs under a sanitizer, whose runtime LD_PRELOAD
// has put into this Node process. The Node processes that a test starts need it
// as well; other programs must not have it: xkbcomp leaks, so the X server that
// asked it for a keyboard map would not start.

const { ChildProcess } = require('node:child_process');

const runtime = process.env.LD_PRELOAD;
delete process.env.LD_PRELOAD;

const { spawn } = ChildProcess.prototype;
ChildProcess.prototype.spawn = function spawnWithRuntime(options) {
  if (options.file === process.execPath) options.envPairs.push(`LD_PRELOAD=${runtime}`);
  return spawn.call(this, options);
};
