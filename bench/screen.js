'use strict';
// Starts an X server for the benchmark, which shows a realistic picture.

const { spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

// Resolves to the environment for the server's clients and a function that stops the server.
// The server and the picture end when this process does, even if it is killed.
async function startScreen(programs) {
  const runtime = fs.mkdtempSync(path.join(os.tmpdir(), 'ostler-bench-'));
  const bound = (...command) => ['--pdeathsig', 'KILL', ...command];
  const server = spawn('setpriv',
    bound('Xvfb', '-displayfd', '3', '-screen', '0', '1920x1080x24', '-noreset', '-nolisten', 'tcp'),
    { stdio: ['ignore', 'ignore', 'ignore', 'pipe'] });
  let picture;
  const stop = async () => {
    picture?.stdin.end();
    server.kill();
    if (server.exitCode === null && server.signalCode === null) await once(server, 'exit');
    fs.rmSync(runtime, { recursive: true, force: true });
  };
  try {
    const [number] = await Promise.race([once(server.stdio[3], 'data'),
      once(server, 'exit').then(([code]) => { throw new Error(`Xvfb ended with ${code}`); })]);
    const { WAYLAND_DISPLAY, XAUTHORITY, ...rest } = process.env;
    const env = { ...rest, DISPLAY: `:${String(number).trim()}`, XDG_SESSION_TYPE: 'x11', XDG_RUNTIME_DIR: runtime };
    picture = spawn('setpriv', bound(path.join(programs, 'picture')),
      { env, stdio: ['pipe', 'pipe', 'ignore'] });
    await Promise.race([once(picture.stdout, 'data'),
      once(picture, 'exit').then(([code]) => { throw new Error(`the picture ended with ${code}`); })]);
    return { env, stop };
  } catch (error) {
    await stop();
    throw error;
  }
}

module.exports = { startScreen };
