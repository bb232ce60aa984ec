'use strict';
// Tests that texts arrive exactly in real X clients, also in ones that handle their keys late.

const assert = require('node:assert');
const { execFileSync, spawn } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { after, afterEach, before, it } = require('node:test');
const { openDesktop } = require('../../lib/promises');
const { bound, endOf, temporaryDirectory } = require('../support/children');
const { helpersOf } = require('../support/helpers');
const { waitUntil } = require('../support/wait');
const { keyboardState, startWitness, startXvfb, textOf } = require('../support/x11');

const directory = temporaryDirectory();
let server, env, desktop;
before(async () => {
  server = await startXvfb();
  ({ env } = server);
  desktop = await openDesktop({ env });
});
after(() => desktop.close().finally(server.stop));
afterEach(() => setLayouts('us'));

const run = (command, ...args) => execFileSync(command, args, { env, encoding: 'utf8', stdio: 'pipe' });
const user = (...actions) => run('xdotool', ...actions);
const setLayouts = (...options) => run('setxkbmap', '-option', '', ...options);

async function startClient(command, ...args) {
  const child = spawn(...bound(command, ...args), { env, stdio: ['ignore', 'pipe', 'ignore'] });
  const exited = endOf(child);
  let output = '';
  child.stdout.on('data', (data) => { output += data; });
  const findWindow = () => user('search', '--onlyvisible', '--pid', String(child.pid)).split('\n').at(-2);
  await waitUntil(() => { try { return findWindow(); } catch { return false; } });
  user('windowfocus', '--sync', findWindow());
  return { child, exited, output: () => output, stop: () => child.kill('SIGKILL') && exited };
}

// Starts a client with a text field. `read` returns the text that it has received.
const clients = {
  async terminal() {
    const file = path.join(directory, String(performance.now()));
    const client = await startClient('xterm', '-u8', '-e', 'sh', '-c', `stty raw -echo; touch ${file}; cat >${file}`);
    await waitUntil(() => fs.existsSync(file));
    return { ...client, read: (length) => waitUntil(() => fs.statSync(file).size >= length)
      .then(() => fs.readFileSync(file, 'utf8'), () => fs.readFileSync(file, 'utf8')) };
  },
  async 'GTK entry'() {
    const client = await startClient('yad', '--entry', '--mouse');
    return { ...client, async read() {
      await desktop.key('return');
      await client.exited;
      return client.output().slice(0, -1);
    } };
  },
};

const texts = ['ada+x@example.org, "Hi" (50%) a/b_c; ~^`', 'Größe ¿Qué? Été à la forêt, É Ñ Ü ÿ', 'Съешь ещё №42 — Ελλάς ώ',
  '中😀 €½µ'].join(' ');
// How often Caps Lock switches to the next layout group.
const layouts = [['us', 0], ['fr', 0], ['us,ru', 1], ['gr', 0]];
for (const [name, start] of Object.entries(clients)) {
  for (const stopped of [0, 300]) {
    it(`a ${name}${stopped ? `, stopped for ${stopped} ms,` : ''} receives the text in each layout`, async () => {
      for (const [layout, switches] of layouts) {
        setLayouts(layout, '-option', 'grp:caps_toggle');
        for (let i = 0; i < switches; i++) user('key', 'Caps_Lock');
        const client = await start();
        if (stopped) {
          client.child.kill('SIGSTOP');
          setTimeout(() => client.child.kill('SIGCONT'), stopped);
        }
        await desktop.write(texts);
        assert.strictEqual(await client.read(Buffer.byteLength(texts)), texts, layout);
        await client.stop();
      }
    });
  }
}

it('types the right case, whatever Caps Lock says and while the user holds Shift', async () => {
  const witness = await startWitness(env);
  for (const [press, release] of [[['key', 'Caps_Lock'], ['key', 'Caps_Lock']], [['keydown', 'shift'], ['keyup', 'shift']]]) {
    user(...press);
    await witness.events();
    await desktop.write('aB1! éÉ жЖ');
    assert.strictEqual(textOf(await witness.events()), 'aB1! éÉ жЖ', `${press}`);
    user(...release);
  }
  assert.match(run('xset', 'q'), /Caps Lock: +off/);
  await witness.stop();
});

it('types more characters than there are spare keycodes, again and again', async () => {
  const witness = await startWitness(env);
  const text = String.fromCharCode(...Array.from({ length: 60 }, (_, i) => 0x100 + i));
  await desktop.write(`${text}\r\n${text.slice(0, 30)}\t`);
  assert.strictEqual(textOf(await witness.events()), `${text}\r${text.slice(0, 30)}\t`);
  await witness.stop();
});

it('restores the keyboard map after a while, at close, and when the helper was killed', async () => {
  const witness = await startWitness(env);
  await waitUntil(() => !/U0\d/.test(keyboardState(env).map));
  const { map } = keyboardState(env), others = helpersOf(process.pid);
  const ends = {
    'a while': () => {},
    close: (other) => other.close(),
    kill: () => helpersOf(process.pid).filter((pid) => !others.includes(pid)).forEach((pid) => process.kill(pid, 'SIGKILL')),
  };
  for (const [name, end] of Object.entries(ends)) {
    const other = await openDesktop({ env });
    await other.write('ж');
    assert.notStrictEqual(keyboardState(env).map, map);
    await end(other);
    await waitUntil(() => keyboardState(env).map === map, () => name);
    await other.close();
  }
  await witness.stop();
});

it('names what cannot be typed before it presses anything, or pastes it', async () => {
  const witness = await startWitness(env);
  await witness.events();
  const characters = 'The text has characters that cannot be typed: ';
  for (const [text, names] of [['ab\0', 'U+0000'], ['a\x1b\ud800\x07\x1b', 'U+001B, U+D800, U+0007']]) {
    await assert.rejects(desktop.write(text), { message: `${characters}${names}.` });
  }
  await waitUntil(() => !/U0\d/.test(keyboardState(env).map));
  const changes = keyboardState(env).map.match(/^keycode +\d+ =(?=\s*$)/gm);
  run('xmodmap', ...changes.flatMap((change) => ['-e', `${change} XF86AudioMute`]));
  await assert.rejects(desktop.write('xжy中ж', { paste: 'never' }), { message: `${characters}ж (U+0436), 中 (U+4E2D).` });
  assert.strictEqual(textOf(await witness.events()), '');
  for (const [text, paste, typed, pasted] of [['aжb中c\td', 'auto', 'avc\td', 'жb中'], ['ab', 'always', 'v', 'ab']]) {
    const writing = desktop.write(text, { paste });
    let seen = '';
    await waitUntil(async () => (seen += textOf(await witness.events())).includes('v'));
    assert.strictEqual(run('xclip', '-selection', 'clipboard', '-o'), pasted);
    await writing;
    assert.strictEqual(seen + textOf(await witness.events()), typed);
  }
  await witness.stop();
});
