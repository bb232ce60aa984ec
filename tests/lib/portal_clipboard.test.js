'use strict';
// Tests the clipboard of ostler/promises on a simulated Wayland desktop.

const assert = require('node:assert');
const { after, before, describe, it } = require('node:test');
const { openDesktop } = require('../../lib/promises');
const { startDesktop } = require('../support/desktop');

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
  it(`reads, pastes and restores through a portal that sends ${clipboard}`, async () => {
    const desktop = await open({ clipboard });
    assert.strictEqual(desktop.clipboard, 'portal');
    assert.strictEqual(await desktop.getClipboard(), '');
    await session.act({ copy: { 'text/plain': 'escaped', 'image/png': 'picture', [text]: 'é€' } });
    assert.strictEqual(await desktop.getClipboard(), 'é€');
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
    const start = performance.now();
    await assert.rejects(desktop.getClipboard({ timeout: 300 }), { name: 'AbortError' });
    assert.strictEqual(await desktop.getClipboard(), '');  // 2 s for an owner that sends nothing
    assert.ok(performance.now() - start < 4000);
    await desktop.close();
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
