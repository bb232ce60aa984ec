'use strict';
// Tests the clipboard with other clients of an X server.

const assert = require('node:assert');
const { execFileSync, spawn } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, it } = require('node:test');
const { endWithOutput, program } = require('../support/children');
const { startHost } = require('../support/host');
const { waitUntil } = require('../support/wait');
const { startWitness, startX11 } = require('../support/x11');

let x11;
before(async () => { x11 = await startX11(); });
after(() => x11.stop());

const getClipboard = () => x11.call('getClipboard');
const setClipboard = (...values) => x11.call('setClipboard', ...values);
const alphabet = (length) => 'abcdefghijklmnopqrstuvwxyz'.repeat(length / 26 + 1).slice(0, length);
// xclip takes over the selection shortly after the call.
const becomes = (text, read = getClipboard) => waitUntil(
  async () => await read() === text, async () => (await read()).slice(0, 99));

it('reads an empty text when there is no owner or no display', async () => {
  assert.strictEqual(await getClipboard(), '');
  const host = await startHost({ ...x11.env, DISPLAY: '' });
  assert.strictEqual(await host.call('getClipboard'), '');
  await host.stop();
});

it('reads what an owner stores, whatever its type, and an empty text from an owner that fails', async () => {
  const most = 4 << 20;
  const cases = [
    ['UTF8_STRING 5', 'abcde'], ['UTF8_STRING 0', ''], ['STRING 3', 'abc'], ['INCR 1', '', 2000],
    [`UTF8_STRING ${most}`, alphabet(most)], [`UTF8_STRING ${most + 9}`, alphabet(most)],
    ['refuse 0', ''], ['die 0', ''], ['destroy 0', ''], ['ignore 0', '', 2000], ['drip 1500', '', 5000],
  ];
  for (const [answer, expected, wait = 0] of cases) {
    const owner = await startWitness(x11.env, 'owner', ...answer.split(' '));
    const started = Date.now();
    assert.ok(await getClipboard() === expected, `an owner that answers with ${answer}`);
    const took = Date.now() - started;
    if (wait > 0) assert.ok(took >= wait - 10 && took < wait + 1500, `${took} ms for an owner that answers with ${answer}`);
    await owner.stop();
  }
});

it('passes every text on unchanged', async () => {
  const read = () => execFileSync('xclip', ['-selection', 'clipboard', '-o'],
    { env: x11.env, encoding: 'utf8', maxBuffer: 1e8 });
  const texts = ['Grüße, Ж中😀', `"double" 'single' $(id) \`id\` \\ ; | & > %s\n\n`, alphabet(4 << 20)];
  for (const text of texts) {
    assert.strictEqual(await setClipboard(text), undefined);
    await becomes(text);
    await becomes(text, read);
  }
  await setClipboard();
  await becomes('');
  const large = alphabet(5 << 20);
  await setClipboard(large);
  await becomes(large, read);
  assert.strictEqual(await getClipboard(), '', 'longer than 4 MiB');
  const { pid } = x11.host;
  assert.strictEqual(fs.readFileSync(`/proc/${pid}/task/${pid}/children`, 'latin1'), '', 'no child process is left');
});

it('does not let xclip write to or hold open the output of a host', async () => {
  // Directories for PATH: one without xclip, one with an xclip that fails at once.
  const [none, failing] = ['none', 'failing'].map((name) => path.join(x11.env.XDG_RUNTIME_DIR, name));
  for (const directory of [none, failing]) fs.mkdirSync(directory);
  fs.writeFileSync(path.join(failing, 'xclip'), '#!/bin/sh\necho no >&2\nexit 1\n', { mode: 0o755 });
  const cases = [
    ['xclip', 'from a plain\0host'], ['no xclip', 'text', none], ['an xclip that fails', alphabet(900000), failing],
  ];
  for (const [name, written, PATH = x11.env.PATH] of cases) {
    const child = spawn(program('native_host'), ['clipboard'], { env: { ...x11.env, PATH } });
    child.stdin.on('error', () => {}).end(written);
    // The output ends only when no process, including xclip, holds it open.
    assert.deepStrictEqual(await endWithOutput(child), { end: 0, output: 'done\n' }, name);
    if (name === 'xclip') await becomes(written);
  }
});
