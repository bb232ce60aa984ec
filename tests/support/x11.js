'use strict';
// Starts X servers for tests, with a host and a witness: a second client that reports what the
// host does (x11_witness.cpp).

const { execFileSync, spawn } = require('node:child_process');
const { once } = require('node:events');
const readline = require('node:readline');
const { bound, endOf, program, temporaryDirectory } = require('./children');
const { startHost } = require('./host');

// Starts Xvfb on a free display. `screen` is WxHxDEPTH, `enter` a command that
// runs the server in another root directory.
async function startXvfb({ screen = '1280x720x24', options = [], enter = [] } = {}) {
  // -noreset: a server that resets when its last client leaves can refuse the next one.
  // -nolisten unix: leaves the abstract socket, which vanishes even when the server is killed.
  const command = bound(...enter, 'Xvfb', '-displayfd', '3', '-screen', '0', screen, '-noreset', '-nolisten', 'tcp',
    '-nolisten', 'unix', ...options);
  const server = spawn(...command, { stdio: ['ignore', 'ignore', 'ignore', 'pipe'] });
  const exited = endOf(server);
  const failed = exited.then(([code]) => { throw new Error(`Xvfb ended with ${code}`); });
  const [number] = await Promise.race([once(readline.createInterface(server.stdio[3]), 'line'), failed]);
  const { WAYLAND_DISPLAY, XAUTHORITY, ...rest } = process.env;
  return {
    pid: server.pid,
    env: { ...rest, DISPLAY: `:${number}`, XDG_SESSION_TYPE: 'x11', XDG_RUNTIME_DIR: temporaryDirectory() },
    async stop() {
      server.kill('SIGCONT');  // a test may have sent SIGSTOP
      server.kill();
      await exited;
    },
  };
}

// Starts a witness on the server of `env`; resolves once it is ready. For the options see x11_witness.cpp.
async function startWitness(env, ...options) {
  const child = spawn(program('x11_witness'), options, { env, stdio: ['pipe', 'pipe', 'inherit'] });
  const exited = endOf(child);
  const lines = readline.createInterface(child.stdout)[Symbol.asyncIterator]();
  async function readUntil(kind) {
    const events = [];
    for (;;) {
      const { value, done } = await lines.next();
      if (done) throw new Error('the witness ended');
      const event = JSON.parse(value);
      if (event.kind === kind) return events;
      events.push(event);
    }
  }
  await readUntil('ready');
  return {
    // Resolves to all events since the last call that the server has sent by now.
    events: () => child.stdin.write('\n') && readUntil('synced'),
    async stop() {
      child.kill();
      await exited;
    },
  };
}

// Starts an X server with a witness and a host.
async function startX11(options) {
  const server = await startXvfb(options);
  const witness = await startWitness(server.env);
  const host = await startHost(server.env);
  return {
    env: server.env, server, host, run: host.run, call: host.call, events: witness.events,
    async stop() {
      await host.stop().finally(witness.stop).finally(server.stop);
    },
  };
}

// Makes a test that has its own server, witness and host.
const withX11 = (options, test) => async () => {
  const x11 = await startX11(options);
  await test(x11).finally(x11.stop);
};

// Returns the keyboard map and the pressed keys and buttons, as other clients read them.
const keyboardState = (env) => ({
  map: execFileSync('xmodmap', ['-pke'], { env, encoding: 'utf8' }),
  down: execFileSync(program('x11_witness'), ['state'], { env, encoding: 'utf8' }),
});

// The `down` of keyboardState() when nothing is pressed.
const nothingDown = `0 ${'0'.repeat(64)}`;

// Returns the text of all key presses.
const textOf = (events) => String.fromCodePoint(
  ...events.filter((event) => event.kind === 'key' && event.down && event.codePoint).map((event) => event.codePoint));

module.exports = { keyboardState, nothingDown, startWitness, startX11, startXvfb, textOf, withX11 };
