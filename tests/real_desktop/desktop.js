'use strict';
// Starts a desktop for tests (see session.sh), with a simulated user who answers the portal's
// dialog, and a window that reports the input it receives.

const { execFile, spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const readline = require('node:readline');
const { promisify } = require('node:util');
const { makeSession } = require('../support/desktop');
const wait = require('../support/wait');

// On a busy machine the desktop takes long for each of its steps.
const waitUntil = (condition, describe) => wait.waitUntil(condition, describe, 120);

const name = process.env.OSTLER_DESKTOP;
const suite = process.env.OSTLER_DESKTOP_SUITE;
const makeUser = require(`./${name}_user`);

// `witness` is a program of this directory that the desktop can run; witness.py is started.
async function startDesktop(size, scale = 1, monitors = 1, witness = 'witness.py') {
  const { directory, inside, env } = makeSession();
  fs.copyFileSync(path.join(__dirname, witness), inside(witness));
  const options = [name, process.env.OSTLER_DESKTOP_ROOT, directory, size, String(scale), String(monitors)];
  const session = spawn(path.join(__dirname, 'session.sh'), options, { stdio: ['pipe', 'pipe', 'inherit'] });
  const ended = once(session, 'exit');
  const events = [];
  readline.createInterface(session.stdout).on('line', (line) => events.push(line));
  const seen = (line, from = 0) => waitUntil(() => {
    if (session.exitCode !== null) throw new Error(`the desktop ended: ${fs.readFileSync(inside('log'))}`);
    return events.includes(line, from);
  }, () => events.slice(-10));
  // Calls a method on the session bus and returns the reply as GVariant text.
  const call = async (destination, object, method, ...values) => (await promisify(execFile)('gdbus',
    ['call', '--session', '-d', destination, '-o', object, '-m', method, '--', ...values], { env })).stdout;

  const desktop = {
    env,
    directory,
    // The input that the window received, one event a line (see witness.py).
    events,
    seen,
    // Sends a command line to session.sh.
    command: (line) => session.stdin.write(`${line}\n`),
    async stop() {
      session.stdin.end();
      await ended;
    },
  };
  await seen('ready');
  // The user's actions: share(ask), refuse(ask) and close(ask) call `ask`, answer the dialog that
  // it opens and return its result. endSharing() ends the session as the desktop's "stop" does;
  // isShared() returns whether any session is open. On GNOME share(ask, monitor) chooses one of two
  // monitors, counted from 0, and pointer() returns where the pointer is. moveTo(x, y) moves the pointer.
  Object.assign(desktop, await makeUser({ call, env, waitUntil }));
  if (witness === 'witness.py') {
    desktop.command(`"\${inside[@]}" python3 /run/desktop/witness.py &`);
    await seen('active');
  }
  return desktop;
}

module.exports = { name, suite, startDesktop, waitUntil };
