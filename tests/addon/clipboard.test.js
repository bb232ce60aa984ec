'use strict';
// The clipboard between the addon and other clients of an X server.

const assert = require('node:assert');
const { execFileSync, spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, it } = require('node:test');
const { program } = require('../support/children');
const { startHost } = require('../support/host');
const { waitUntil } = require('../support/wait');
const { startXvfb } = require('../support/xvfb');

let server, host, programs;
before(async () => {
  server = await startXvfb();
  host = await startHost(server.env);
  // For PATH: one directory without xclip, one with an xclip that gives up at once.
  programs = ['none', 'failing'].map((name) => path.join(server.env.XDG_RUNTIME_DIR, name));
  programs.forEach((directory) => fs.mkdirSync(directory));
  fs.writeFileSync(path.join(programs[1], 'xclip'), '#!/bin/sh\necho no >&2\nexit 1\n', { mode: 0o755 });
});
after(() => host.stop().finally(server.stop));

const getClipboard = () => host.run((addon) => addon.getClipboard());
const setClipboard = (...values) => host.run((addon, args) => addon.setClipboard(...args), values);
const alphabet = (length) => 'abcdefghijklmnopqrstuvwxyz'.repeat(length / 26 + 1).slice(0, length);
// xclip takes the selection over a little after the call.
const becomes = (text, read = getClipboard) => waitUntil(
  async () => await read() === text, async () => (await read()).slice(0, 99));

it('reads what an owner stores, whatever its type, and nothing from one that does not answer', async () => {
  assert.strictEqual(await getClipboard(), '', 'nobody owns it');
  const most = 4 << 20;
  const cases = [
    ['UTF8_STRING 8 5', 'abcde'], ['UTF8_STRING 8 0', ''], ['STRING 8 3', 'abc'], ['INTEGER 32 2', 'a\0'],
    ['INCR 32 1', ''], [`UTF8_STRING 8 ${most}`, alphabet(most)], [`UTF8_STRING 8 ${most + 9}`, alphabet(most)],
    ['refuse', ''], ['dies', ''], ['destroys', ''], ['silent', ''],
  ];
  for (const [options, expected] of cases) {
    const owner = spawn(program('selection_owner'), options.split(' '), { env: server.env });
    await once(owner.stdout, 'data');
    const started = Date.now();
    assert.ok(await getClipboard() === expected, options);
    if (options === 'silent') assert.ok(Date.now() - started >= 1990);
    if (owner.exitCode === null) {
      owner.kill();
      await once(owner, 'exit');
    }
  }
  const stranded = await startHost({ ...server.env, DISPLAY: '' });
  assert.strictEqual(await stranded.run((addon) => addon.getClipboard()), '');
  await stranded.stop();
});

it('hands every text on unchanged', async () => {
  const read = () => execFileSync('xclip', ['-selection', 'clipboard', '-o'],
    { env: server.env, encoding: 'utf8', maxBuffer: 1e8 });
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
  assert.strictEqual(fs.readFileSync(`/proc/${host.pid}/task/${host.pid}/children`, 'latin1'), '');
});

it('keeps the output of a host that shares its descriptors from xclip', async () => {
  for (const [written, PATH] of [['from a plain\0host'], ['no xclip', programs[0]], [alphabet(900000), programs[1]]]) {
    const child = spawn(program('plain_host'), [process.env.OSTLER_ADDON],
      { env: { ...server.env, PATH: PATH ?? server.env.PATH } });
    let output = '';
    for (const stream of child.stdio.slice(1)) stream.on('data', (data) => { output += data; });
    child.stdin.on('error', () => {}).end(written);
    // "close" comes when nobody, xclip included, holds its output any more.
    assert.deepStrictEqual([...await once(child, 'close'), output], [0, null, 'done\n']);
    if (!PATH) await becomes(written);
  }
});
