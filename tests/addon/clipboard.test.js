'use strict';
// The clipboard between the addon and other clients of an X server.

const assert = require('node:assert');
const { execFileSync, spawn } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { startHost } = require('../support/host');
const { startOwner } = require('../support/x11_clients');
const { startXvfb } = require('../support/xvfb');

let server, host, programs;
before(async () => {
  server = await startXvfb();
  host = await startHost(server.env);
  // Directories for PATH: one without xclip, one with an xclip that gives up at once.
  programs = fs.mkdtempSync(path.join(os.tmpdir(), 'ostler-programs-'));
  for (const name of ['none', 'failing']) fs.mkdirSync(path.join(programs, name));
  const failing = path.join(programs, 'failing', 'xclip');
  fs.writeFileSync(failing, '#!/bin/sh\necho no >&2\nexit 1\n', { mode: 0o755 });
});
after(async () => {
  await host.stop().finally(server.stop);
  fs.rmSync(programs, { recursive: true });
});

const getClipboard = () => host.run((addon) => addon.getClipboard());
const setClipboard = (...values) => host.run((addon, args) => addon.setClipboard(...args), values);
const alphabet = (length) => 'abcdefghijklmnopqrstuvwxyz'.repeat(Math.ceil(length / 26)).slice(0, length);

// xclip takes the selection over a little after the call.
async function waitForClipboard(read, text) {
  const deadline = Date.now() + 10000;
  for (;;) {
    const seen = await read();
    if (seen === text) return;
    assert.ok(Date.now() < deadline, `${seen.length} characters: ${seen.slice(0, 50)}`);
  }
}

describe('reading', () => {
  async function readFrom(mode, ...options) {
    const owner = await startOwner(server.env, mode, ...options);
    try {
      const started = process.hrtime.bigint();
      const text = await getClipboard();
      const milliseconds = Number(process.hrtime.bigint() - started) / 1e6;
      assert.strictEqual(await owner.nextLine(), 'UTF8_STRING');
      return { text, milliseconds };
    } finally {
      await owner.stop();
    }
  }

  it('gives an empty text without an owner', async () => {
    assert.strictEqual(await getClipboard(), '');
  });

  it('takes what the owner stored as text, one byte for each item, up to 4 MiB', async () => {
    const most = 4 * 1024 * 1024;
    const cases = [
      [['text', 'Grüße, Ж中😀\n'], 'Grüße, Ж中😀\n'], [['text', ''], ''], [['latin1', 'plain'], 'plain'],
      [['numbers', 'AB'], 'A\0'], [['incr', '65'], 'A'],
      [['big', most], alphabet(most)], [['big', most + 1], alphabet(most)],
      [['big', 2 * most], alphabet(most)],
    ];
    for (const [owner, expected] of cases) {
      const { text } = await readFrom(...owner);
      assert.ok(text === expected, `${owner}: ${text.length} characters: ${text.slice(0, 50)}`);
    }
  });

  it('gives an empty text when the owner refuses, forgets or ends, and gives a silent one 2 s', async () => {
    assert.strictEqual((await readFrom('refuse')).text, '');
    assert.strictEqual((await readFrom('forgetful')).text, '');
    assert.strictEqual((await readFrom('dies')).text, '');
    const { text, milliseconds } = await readFrom('silent');
    assert.strictEqual(text, '');
    assert.ok(milliseconds >= 1990, `${milliseconds}`);
  });

  it('gives an empty text without a display', async () => {
    const other = await startHost({ ...server.env, DISPLAY: '' });
    assert.strictEqual(await other.run((addon) => addon.getClipboard()), '');
    await other.stop();
  });
});

describe('writing', () => {
  it('hands every text on unchanged, for other clients to read', async () => {
    const otherClient = () => execFileSync('xclip', ['-selection', 'clipboard', '-o'],
      { env: server.env, maxBuffer: 2 ** 24, encoding: 'utf8' });
    const texts = ['Grüße, Ж中😀', `"double" 'single' $(touch /tmp/x) \`id\` \\ ; | & > %s\n\n`,
      alphabet(1000000)];
    for (const text of texts) {
      assert.strictEqual(await setClipboard(text), undefined);
      await waitForClipboard(otherClient, text);
      await waitForClipboard(getClipboard, text);
    }
    await setClipboard();
    await waitForClipboard(getClipboard, '');
  });

  it('leaves no process, descriptor or complaint behind, whatever becomes of xclip', async () => {
    const { before, after, children } = await host.run((addon, directories, text) => {
      const { readFileSync, readdirSync } = require('node:fs');
      const found = process.env.PATH;
      const descriptors = () => readdirSync('/proc/self/fd').length;
      const before = descriptors();
      for (const directory of directories) {
        process.env.PATH = directory;
        addon.setClipboard('short');
        addon.setClipboard(text);
      }
      process.env.PATH = found;
      addon.setClipboard('short');
      const { DISPLAY } = process.env;
      delete process.env.DISPLAY;
      addon.setClipboard(text);
      process.env.DISPLAY = DISPLAY;
      const children = readFileSync(`/proc/self/task/${process.pid}/children`, 'latin1');
      return { before, after: descriptors(), children };
    }, ['none', 'failing'].map((name) => path.join(programs, name)), alphabet(1 << 20));
    assert.strictEqual(after, before);
    assert.strictEqual(children, '');
  });
});

describe('writing in a host that shares its descriptors and dies of SIGPIPE', () => {
  // Resolves when the host has ended and nobody holds its output any more.
  function plainHost(text, env) {
    const child = spawn(path.join(process.env.OSTLER_TEST_PROGRAMS, 'plain_host'), [process.env.OSTLER_ADDON],
      { env: { ...server.env, ...env }, stdio: ['pipe', 'pipe', 'pipe', 'pipe'] });
    let output = '';
    for (const stream of child.stdio.slice(1)) stream.on('data', (data) => { output += data; });
    child.stdin.on('error', () => {});  // it ended early, which the exit code tells
    child.stdin.end(text);
    return new Promise((resolve) => child.once('close', (code, signal) => resolve({ code, signal, output })));
  }
  const well = { code: 0, signal: null, output: 'done\n' };

  it('keeps them from the xclip that stays', async () => {
    const text = 'from a plain\0host';  // whose texts are no C strings
    assert.deepStrictEqual(await plainHost(text), well);
    await waitForClipboard(getClipboard, text);
  });

  it('survives an xclip that is missing or fails', async () => {
    const text = alphabet(1 << 20);
    assert.deepStrictEqual(await plainHost('short', { PATH: path.join(programs, 'none') }), well);
    assert.deepStrictEqual(await plainHost(text, { PATH: path.join(programs, 'none') }), well);
    assert.deepStrictEqual(await plainHost(text, { PATH: path.join(programs, 'failing') }), well);
  });
});
