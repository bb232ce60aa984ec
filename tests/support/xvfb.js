'use strict';
// X servers for tests: each on a free display, ended by its process id.

const { spawn } = require('node:child_process');
const { bound, endOf, temporaryDirectory } = require('./children');

// The environment of an X11 session on `display`, whatever session the tests
// themselves were started in.
function x11Environment(display, runtimeDirectory) {
  const { WAYLAND_DISPLAY, XAUTHORITY, ...rest } = process.env;
  return { ...rest, DISPLAY: display, XDG_SESSION_TYPE: 'x11', XDG_RUNTIME_DIR: runtimeDirectory };
}

// Starts Xvfb; resolves to { display, env, stop }. `screen` is WxHxDEPTH, `enter`
// the command that runs it elsewhere.
async function startXvfb({ screen = '1280x720x24', options = [], enter = [] } = {}) {
  const runtimeDirectory = temporaryDirectory();
  // -noreset: a server that resets when its last client leaves can refuse the next one.
  // -nolisten unix: leaves the abstract socket, which vanishes even when the server is killed.
  const server = spawn(
    ...bound(...enter, 'Xvfb', '-displayfd', '3', '-screen', '0', screen, '-noreset', '-nolisten', 'tcp',
      '-nolisten', 'unix', ...options),
    { stdio: ['ignore', 'ignore', 'ignore', 'pipe'] });
  const exited = endOf(server);
  const number = await new Promise((resolve, reject) => {
    let text = '';
    server.stdio[3].on('data', (data) => { if ((text += data).endsWith('\n')) resolve(text.trim()); });
    server.once('error', reject);
    server.once('exit', (code) => reject(new Error(`Xvfb ended with ${code}`)));
  });
  const display = `:${number}`;
  return {
    display,
    pid: server.pid,
    env: x11Environment(display, runtimeDirectory),
    async stop() {
      server.kill();
      await exited;
    },
  };
}

module.exports = { startXvfb };
