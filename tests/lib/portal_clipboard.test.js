'use strict';
// Tests the clipboard of ostler/promises on a simulated Wayland desktop.

const assert = require('node:assert');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { openDesktop } = require('../../lib/promises');
const { temporaryDirectory } = require('../support/children');
const { startDesktop } = require('../support/desktop');
const { waitUntil } = require('../support/wait');
const { startXvfb } = require('../support/x11');

let session;
before(async () => { session = await startDesktop(); });
after(() => session.stop());

const open = (script) => {
  session.setScript(script);
  return openDesktop({ env: session.env });
};
const text = 'text/plain;charset=utf-8';
const recorded = (line) => session.recordWhen((record) => record.includes(line));

for (const clipboard of ['as', '(as)']) {
  it(`reads, pastes and restores through a portal that sends ${clipboard}, also what was copied before`, async () => {
    const desktop = await open({ clipboard });
    assert.strictEqual(desktop.clipboard, 'portal');
    assert.strictEqual(await desktop.getClipboard(), '');
    await session.act({ copy: { 'text/plain': 'escaped', 'image/png': 'picture', [text]: 'é€' } });
    await waitUntil(async () => await desktop.getClipboard() === 'é€');
    const pasting = desktop.paste('x'.repeat(4 << 20));
    await session.recordWhen((record) => record.some((line) => line.endsWith(' key 47 1')));
    await session.act({ paste: text });
    await pasting;
    await recorded(`clipboard ${text} 4194304 xxxxxxxxx`);
    for (const [type, expected] of [['image/png', '7 picture'], ['UTF8_STRING', '5 é€'], ['no/type', undefined]]) {
      await session.act({ paste: type });
      if (expected) await recorded(`clipboard ${type} ${expected}`);
      else await session.recordWhen((record) => record.some((line) => /SelectionWriteDone .* false\)/.test(line)));
    }
    await session.act({ copy: { [text]: null } });
    await waitUntil(() => desktop.getClipboard({ timeout: 300 }).then(() => false, ({ name }) => name === 'AbortError'));
    const start = performance.now();
    assert.strictEqual(await desktop.getClipboard(), '');  // 2 s for an owner that sends nothing
    assert.ok(performance.now() - start < 4000);
    await desktop.close();
    for (const copied of [{ [text]: 'before' }, {}]) {
      await session.act({ copy: copied });
      const next = await open({ clipboard });
      assert.strictEqual(await next.getClipboard(), copied[text] ?? '');
      await next.move(1, 1);
      await next.close();
    }
  });
}

describe('without a clipboard, the calls that need one reject', () => {
  for (const [name, script] of [
    ['the user has not granted it', {}],
    ['the portal has none', { RequestClipboard: { error: ['org.freedesktop.DBus.Error.UnknownMethod', 'none'] } }],
  ]) {
    it(name, async () => {
      const desktop = await open(script);
      assert.strictEqual(desktop.clipboard, 'none');
      for (const call of [() => desktop.getClipboard(), () => desktop.setClipboard('a'), () => desktop.paste('a')]) {
        await assert.rejects(call(), /^Error: There is no clipboard: .* Set DISPLAY/);
      }
      await desktop.close();
    });
  }
});

// wl-paste offers a text, a picture and a type that it does not send, or hangs.
const wlPaste = `#!/bin/sh
[ "$1" = --version ] || [ ! -e "$0.hangs" ] || exec sleep 60
case "$*" in
  --version) ;;
  --list-types) printf 'UTF8_STRING\\nimage/png\\ntext/plain\\nlost\\n' ;;
  *UTF8_STRING) printf 'theirs' ;;
  *image/png) printf 'a\\0b' ;;
  *) exit 1 ;;
esac`;

describe('without the portal, there is the X server\'s clipboard, and on KDE what reads more', () => {
  let server, directory;
  before(async () => {
    server = await startXvfb();
    directory = temporaryDirectory();
    fs.writeFileSync(path.join(directory, 'wl-paste'), wlPaste, { mode: 0o755 });
  });
  after(() => server.stop());

  for (const [kind, currentDesktop, script, expected, hasWlPaste] of [
    ['x11', 'GNOME', {}, 'from X'],
    ['data-control', 'KDE', {}, 'theirs', true],
    ['klipper', 'X:KDE', { getClipboardContents: { reply: "('klip',)" } }, 'klip'],
    ['none', 'KDE', {}, /^Error: There is no clipboard: .* Install wl-clipboard\.$/],
  ]) {
    it(kind, async () => {
      // A portal that runs already would not take Klipper's name.
      const own = await startDesktop(script);
      const env = { ...own.env, DISPLAY: server.env.DISPLAY, XDG_CURRENT_DESKTOP: currentDesktop };
      if (hasWlPaste) env.PATH = `${directory}:${env.PATH}`;
      execFileSync('xclip', ['-selection', 'clipboard', '-i'], { env, input: 'from X', stdio: ['pipe', 'ignore', 'ignore'] });
      const desktop = await openDesktop({ env });
      assert.strictEqual(desktop.clipboard, kind);
      if (kind === 'none') {
        await assert.rejects(desktop.getClipboard(), expected);
      } else {
        assert.strictEqual(await desktop.getClipboard(), expected);
        // What is written is the X server's everywhere.
        await desktop.setClipboard('ours');
        const read = ['-selection', 'clipboard', '-o'];
        assert.strictEqual(execFileSync('xclip', read, { env, encoding: 'utf8' }), 'ours');
      }
      if (hasWlPaste) {
        fs.writeFileSync(path.join(directory, 'wl-paste.hangs'), '');
        const start = performance.now();
        assert.strictEqual(await desktop.getClipboard(), '');
        const took = performance.now() - start;
        assert.ok(took < 5000, `${took}`);
      }
      await desktop.close();
      await own.stop();
    });
  }
});
