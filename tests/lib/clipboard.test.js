'use strict';
// Tests the clipboard of ostler/promises on X servers, with xclip as the other program.

const assert = require('node:assert');
const { spawn, spawnSync } = require('node:child_process');
const { randomBytes } = require('node:crypto');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { openDesktop } = require('../../lib/promises');
const { endOf } = require('../support/children');
const { isAlive } = require('../support/helpers');
const { waitUntil } = require('../support/wait');
const { startWitness, startXvfb, textOf } = require('../support/x11');

let server, witness, desktop;
before(async () => {
  server = await startXvfb();
  witness = await startWitness(server.env);
  desktop = await openDesktop({ env: server.env });
});
after(() => desktop.close().then(witness.stop).finally(server.stop));

const picture = randomBytes(3 << 20);
const xclip = (args, input) => spawnSync('xclip', ['-selection', 'clipboard', ...args],
  { env: server.env, input, maxBuffer: 1 << 25, stdio: ['pipe', args[0] === '-o' ? 'pipe' : 'ignore', 'ignore'] }).stdout;
const read = (type = 'UTF8_STRING') => xclip(['-o', '-t', type]);
// xclip may return before it owns the selection.
async function copy(input, ...args) {
  await desktop.setClipboard('');
  xclip(['-i', ...args], input);
  await waitUntil(() => read('TARGETS').length > 0);
}
const readLater = () => {
  const child = spawn('xclip', ['-selection', 'clipboard', '-o'], { env: server.env, stdio: ['ignore', 'pipe', 'ignore'] });
  let text = '';
  child.stdout.on('data', (data) => { text += data; });
  return once(child, 'close').then(() => text);
};
const pressed = async (letter) => textOf(await witness.events()).toLowerCase().includes(letter);

describe('gives a text to other programs and takes theirs', () => {
  for (const size of [0, 1, 240 * 1024, 240 * 1024 + 1, 4 << 20]) {
    it(`${size} bytes`, async () => {
      const text = `${'é'.repeat(size >> 1)}${'x'.repeat(size & 1)}`;
      await desktop.setClipboard(text);
      assert.ok(read().toString() === text);
      await copy(`${text}!`);
      assert.ok(await desktop.getClipboard() === `${text}!`);
    });
  }

  it('in the forms that they ask for', async () => {
    await desktop.setClipboard('é€');
    assert.deepStrictEqual(read('TARGETS').toString().trim().split('\n'),
      ['TARGETS', 'TIMESTAMP', 'MULTIPLE', 'text/plain;charset=utf-8', 'UTF8_STRING', 'text/plain', 'STRING']);
    assert.deepStrictEqual([read('STRING'), read('text/plain').toString(), read('image/png').length], 
      [Buffer.from([0xe9, 63]), 'é€', 0]);
    assert.ok(Number.parseInt(read('TIMESTAMP'), 10) > 0);
  });
});

describe('pastes and restores', () => {
  for (const [name, make, check] of [
    ['a text', () => copy('old'), () => read().toString() === 'old'],
    ['a picture', () => copy(picture, '-t', 'image/png'), () => read('image/png').equals(picture)],
    ['nothing', () => desktop.setClipboard(''), () => read('TARGETS').length === 0],
  ]) {
    it(name, async () => {
      for (const [text, delay] of [['Grüße, 42 €', 0], ['x'.repeat(4 << 20), 0], ['late', 2000]]) {
        await make();
        await witness.events();
        const pasting = desktop.paste(text, { combo: 'ctrl+shift+v' });
        await waitUntil(() => pressed('v'));
        await new Promise((resolve) => setTimeout(resolve, delay));
        assert.ok(await readLater() === text);
        await pasting;
        assert.ok(check(), text.slice(0, 9));
      }
      await make();
      await assert.rejects(desktop.paste('unread', { restoreAfter: 50 }), /No program has read the text within 50 ms after "ctrl\+v"/);
      await assert.rejects(desktop.paste('aborted', { timeout: 300 }), { name: 'AbortError' });
      await desktop.move(1, 1);
      assert.ok(check());
    });
  }

  it('what another program copies during the paste', async () => {
    await witness.events();
    const lost = assert.rejects(desktop.paste('mine'), /Another program has copied something/);
    await waitUntil(() => pressed('v'));
    xclip(['-i'], 'theirs');
    await lost;
    assert.strictEqual(read().toString(), 'theirs');
  });

  // The owners of x11_witness.cpp. What they do not deliver cannot be restored.
  for (const [owner, amount] of [['ignore', 0], ['refuse', 0], ['die', 0], ['drip', 300], ['destroy', 9], ['UTF8_STRING', 9]]) {
    it(`when the owner does this: ${owner}`, async () => {
      const other = await startWitness(server.env, 'owner', owner, String(amount));
      const start = performance.now();
      await witness.events();
      const pasting = desktop.paste('exact');
      await waitUntil(() => pressed('v'));
      assert.strictEqual(await readLater(), 'exact');
      await pasting;
      assert.ok(performance.now() - start < 7000);
      assert.strictEqual(await desktop.getClipboard(), owner === 'UTF8_STRING' ? 'abcdefghi' : '');
      await other.stop();
    });
  }

  it('what the user has copied, when two desktops paste at once', async () => {
    const other = await openDesktop({ env: server.env });
    await copy('the user\'s');
    await witness.events();
    const pasting = [desktop, other].map((each, i) => each.paste(`text ${i}`));
    const texts = [];
    while (texts.length < 2) {
      await waitUntil(() => pressed('v'));
      texts.push(await readLater());
    }
    await Promise.all(pasting);
    assert.deepStrictEqual([...texts.sort(), read().toString()], ['text 0', 'text 1', 'the user\'s']);
    await other.close();
  });

  it('nothing for a text that is too long', () => assert.rejects(desktop.paste('x'.repeat((4 << 20) + 1)), RangeError));
});

const keepFile = path.join(__dirname, '..', '..', 'lib', 'keep', 'main.js');
const keepers = () => fs.readdirSync('/proc').filter((pid) => {
  try {
    return fs.readFileSync(`/proc/${pid}/cmdline`, 'latin1').includes(keepFile) &&
      fs.readFileSync(`/proc/${pid}/environ`, 'latin1').includes(`DISPLAY=${server.env.DISPLAY}\0`);
  } catch {
    return false;
  }
});

describe('keeps the text when the session ends, until another program copies', () => {
  const source = `require('ostler/promises').openDesktop().then(async (desktop) => {
    await desktop.setClipboard('kept'); ACT; console.log('on'); })`;
  for (const [name, act, signal] of [
    ['closed', 'await desktop.close()'],
    ['the host is killed', '', 'SIGKILL'],
    ['the host is killed during a paste', 'desktop.paste("lost"); await desktop.move(1, 1, { timeout: 200 }).catch(() => {})', 'SIGKILL'],
  ]) {
    it(name, async () => {
      const host = spawn(process.execPath, ['-e', source.replace('ACT', act)],
        { env: server.env, cwd: path.join(__dirname, '..', '..'), stdio: ['ignore', 'pipe', 'inherit'] });
      const ended = endOf(host);
      await once(host.stdout, 'data');
      if (signal) host.kill(signal);
      await ended;
      await waitUntil(() => keepers().length === 1 && read().toString() === 'kept');
      const [keeper] = keepers();
      xclip(['-i'], 'other');
      await waitUntil(() => !isAlive(keeper) && read().toString() === 'other');
    });
  }

  it('not when another program has copied meanwhile', async () => {
    const other = await openDesktop({ env: server.env });
    await other.setClipboard('first');
    await desktop.setClipboard('second');
    await other.close();
    assert.deepStrictEqual([keepers(), await desktop.getClipboard()], [[], 'second']);
  });
});
