'use strict';
// Runs the examples on an X server.

const assert = require('node:assert');
const { execFileSync, spawn, spawnSync } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, it } = require('node:test');
const { endOf, temporaryDirectory } = require('../support/children');
const { decodePng } = require('../support/png');
const { waitUntil } = require('../support/wait');
const { startXvfb } = require('../support/x11');

const root = path.join(__dirname, '..', '..');
const directory = temporaryDirectory();

let server;
before(async () => { server = await startXvfb(); });
after(() => server.stop());

// Starts a program. `output()` returns what it has printed, `ended` resolves to its exit code.
function start(command, ...args) {
  const child = spawn(command, args, { env: server.env, cwd: directory, stdio: ['ignore', 'pipe', 'pipe'] });
  let text = '';
  for (const stream of [child.stdout, child.stderr]) stream.on('data', (data) => { text += data; });
  endOf(child);
  return { output: () => text, ended: once(child, 'close').then(([code]) => code) };
}
const example = (name) => start(process.execPath, path.join(root, 'examples', name));

it('fills in a form in a GTK window', async () => {
  const form = example('promises/form.js');
  assert.strictEqual(await form.ended, 0, form.output());
  assert.match(form.output(), /Ada Lovelace\|Zürich\|a room with a view\|/);
});

it('fills in a form with a script', async () => {
  const form = start('yad', '--form', '--mouse', '--field=Name', '--field=City');
  const search = ['search', '--onlyvisible', '--class', 'yad'];
  await waitUntil(() => spawnSync('xdotool', search, { env: server.env }).status === 0);
  const run = start(path.join(root, 'bin', 'ostler.js'), 'run', path.join(root, 'examples', 'form.ostler'));
  assert.strictEqual(await run.ended, 0, run.output());
  assert.strictEqual(await form.ended, 0);
  assert.match(form.output(), /Ada Lovelace\|London\|/);
  assert.strictEqual(decodePng(fs.readFileSync(path.join(directory, 'form.png'))).width, 1280);
});

it('stops on Escape', async () => {
  const typing = example('promises/stop_on_escape.js');
  await waitUntil(() => typing.output().includes('press Escape'));
  execFileSync('xdotool', ['key', 'Escape'], { env: server.env });
  assert.strictEqual(await typing.ended, 0);
  assert.match(typing.output(), /stopped/);
});
