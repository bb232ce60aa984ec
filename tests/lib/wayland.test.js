'use strict';
// Tests ostler/promises on a simulated Wayland desktop.

const assert = require('node:assert');
const { after, afterEach, before, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { openDesktop } = require('../../lib/promises');
const { startDesktop } = require('../support/desktop');
const { helpersOf } = require('../support/helpers');
const { decodePng } = require('../support/png');
const { waitUntil } = require('../support/wait');

let session;
before(async () => { session = await startDesktop(); });
after(() => session.stop());
afterEach(() => assert.deepStrictEqual(helpersOf(process.pid), []));

const open = (script, options) => {
  session.setScript(script);
  return openDesktop({ env: session.env, ...options });
};
const presses = (code) => session.record().filter((line) => line.endsWith(`key ${code} 1`)).length;

it('opens after the dialog, stays open after an aborted type, and closes the session', async () => {
  const desktop = await open({ Start: { delay: 300 } });
  assert.ok(session.record().some((line) => line.startsWith('RemoteDesktop.ConnectToEIS')));
  assert.strictEqual(decodePng(await desktop.screenshot()).width, 64);
  await assert.rejects(desktop.onEscape(() => {}), /on Wayland/);
  const controller = new AbortController();
  const typing = desktop.type('a'.repeat(2000), { signal: controller.signal });
  await waitUntil(() => presses(30) > 3);
  controller.abort();
  await assert.rejects(typing, { name: 'AbortError' });
  await desktop.type('b😀');
  await waitUntil(() => presses(48) === 1);
  assert.ok(session.record().some((line) => line.endsWith('{}, 16905728, 0)')));
  assert.ok(presses(30) < 1500);
  await desktop.close();
  await waitUntil(() => session.record().some((line) => line.startsWith('Session.Close')));
});

it('says what to do after a refusal, and ends when opening is aborted', async () => {
  await assert.rejects(open({ Start: { response: '(uint32 1, @a{sv} {})' } }),
    { message: 'The user denied the Wayland portal request. Call openDesktop again to ask once more.' });
  const opening = open({ Start: { when: 'never' } }, { signal: AbortSignal.timeout(1500) });
  await assert.rejects(opening, ({ name, cause }) => name === 'AbortError' && cause.name === 'TimeoutError');
});

it('ends with the session', async () => {
  const desktop = await open({});
  session.show('fail picture lost');
  const failure = 'Wayland ScreenCast stream failed: picture lost';
  let error;
  await waitUntil(() => desktop.screenshot().then(() => sleep(20), (reason) => { error = reason; }).then(() => error));
  assert.strictEqual(error.message, failure);
  await assert.rejects(desktop.display(), { code: 'ERR_DESKTOP_CLOSED' });
  const { reason, error: why } = await desktop.closed;
  assert.deepStrictEqual([reason, why.message], ['session ended', failure]);
});
