'use strict';
// Starts an X server and runs the tour on it. With --here it runs the demo in the user's own
// session instead.

const { spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

async function startServer() {
  // The server has its own process group, so that Ctrl-C does not end it before its clients.
  // With -terminate it exits with its last client, even if this process is killed.
  const server = spawn('Xvfb', ['-displayfd', '3', '-screen', '0', '1280x720x24', '-terminate', '-nolisten', 'tcp'],
    { stdio: ['ignore', 'ignore', 'ignore', 'pipe'], detached: true });
  server.on('error', () => {});
  const [number] = await Promise.race([
    once(server.stdio[3], 'data'),
    once(server, 'exit').then(([code]) => { throw new Error(`Xvfb ended with ${code}`); }),
  ]);
  return { server, display: `:${String(number).trim()}` };
}

async function ownDesktop() {
  const runtime = fs.mkdtempSync(path.join(os.tmpdir(), 'ostler-demo-'));
  let server, tour, ended;
  const pass = (signal) => {
    ended = signal;
    tour?.kill(signal);
  };
  ['SIGINT', 'SIGTERM', 'SIGHUP'].forEach((signal) => process.on(signal, pass));
  try {
    const started = await startServer();
    server = started.server;
    if (ended) throw new Error(`Ended by ${ended}.`);
    console.log(`The demo's own X server is ${started.display}.\n`);
    const { WAYLAND_DISPLAY, XAUTHORITY, ...rest } = process.env;
    tour = spawn(process.execPath, [path.join(__dirname, 'tour.js')], {
      stdio: 'inherit',
      env: { ...rest, DISPLAY: started.display, XDG_SESSION_TYPE: 'x11', XDG_RUNTIME_DIR: runtime },
    });
    const [code, signal] = await once(tour, 'exit');
    process.exitCode = code ?? 128 + os.constants.signals[signal];
  } finally {
    if (server && server.exitCode === null && server.signalCode === null) {
      server.kill();
      await once(server, 'exit');
    }
    fs.rmSync(runtime, { recursive: true, force: true });
  }
}

const options = process.argv.slice(2);
const unknown = options.filter((option) => !['--here', '--type'].includes(option));
if (unknown.length > 0 || (options.includes('--type') && !options.includes('--here'))) {
  console.error('npm run demo                     on an X server of its own');
  console.error('npm run demo -- --here           in this session, without typing or clicking');
  console.error('npm run demo -- --here --type    in this session, and types a line into the focused window');
  process.exitCode = 2;
} else if (options.includes('--here')) {
  require('./here').run(options.includes('--type'));
} else {
  ownDesktop().catch((error) => {
    console.error(error.message);
    process.exitCode = 1;
  });
}
