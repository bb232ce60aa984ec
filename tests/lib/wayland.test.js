'use strict';
// Tests ostler/promises on a simulated Wayland desktop.

const assert = require('node:assert');
const { after, afterEach, before, it } = require('node:test');
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
  await assert.rejects(desktop.windows(), /listed on X11 only/);
  const { width, height } = await desktop.display();
  const region = { x: Math.trunc(width / 2), y: 1, width: Math.trunc(width / 3), height: Math.trunc(height / 2) };
  assert.deepStrictEqual((await desktop.pixels({ region })).data, decodePng(await desktop.screenshot({ region })).data);
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

// The release of the left button (BTN_LEFT, 272), which ends a drag.
const buttons = () => session.record().filter((line) => line.includes(' button 272 ')).map((line) => line.at(-1)).join('');

it('releases the button of an aborted drag, and stays open', async () => {
  const desktop = await open({});
  for (const call of [desktop.drag.bind(desktop, 0, 0, 30000, 0), desktop.click.bind(desktop, 5, 5, 'left', 99)]) {
    const controller = new AbortController();
    const running = call({ signal: controller.signal });
    const before = buttons().length;
    await waitUntil(() => buttons().length > before);
    const start = performance.now();
    controller.abort();
    await assert.rejects(running, { name: 'AbortError' });
    assert.ok(performance.now() - start < 150);
    await waitUntil(() => buttons().endsWith('0'));
  }
  await desktop.move(1, 2);
  await desktop.close();
});

it('asks once for the layout of a text, and an abort does not wait for the answer', async () => {
  const script = { ConnectToEIS: { eis: ['keyboard#us,de', 'pointer,button,scroll@1280,720,0,0'] } };
  const own = await startDesktop({ ...script, getLayout: { reply: '(uint32 0,)' } });
  const recorded = (part) => own.record().filter((line) => line.includes(part)).length;
  const desktop = await openDesktop({ env: own.env });
  await desktop.type('abcdefghijklm'.repeat(8));
  await waitUntil(() => recorded(' key 30 1') === 8);
  assert.strictEqual(recorded('getLayout'), 1);
  own.setScript({ ...script, getLayout: { silent: true }, ReadAll: { silent: true } });
  const controller = new AbortController();
  const typing = desktop.type('never', { signal: controller.signal });
  await waitUntil(() => recorded('getLayout') === 1);
  const start = performance.now();
  controller.abort();
  await assert.rejects(typing, { name: 'AbortError' });
  assert.ok(performance.now() - start < 150);
  await desktop.move(1, 2);
  assert.strictEqual(recorded(' key '), 0);
  await desktop.close();
  await own.stop();
});

it('writes with keys and dead keys, whatever Caps Lock says, or names what these cannot type', async () => {
  const own = await startDesktop({ ConnectToEIS: { eis: ['pointer,button,scroll', 'keyboard#es'] } });
  const desktop = await openDesktop({ env: own.env });
  const taps = (...codes) => codes.flatMap((code) => [`key ${code} 1`, `key ${code} 0`]);
  const sent = async (text, options) => {
    const before = own.record().length;
    const error = await desktop.write(text, options).then(() => [], ({ message }) => [message]);
    await desktop.move(1, 2);
    const record = await own.recordWhen((lines) => lines.slice(before).some((line) => line.endsWith('motion 1 2')));
    const events = record.slice(before).filter((line) => line.includes(' key '));
    return [...events.map((line) => line.replace(/^eis \d /, '')), ...error];
  };
  const never = { paste: 'never' };
  assert.deepStrictEqual(await sent('qué\r\n', never), taps(16, 22, 40, 18, 28));
  assert.deepStrictEqual(await sent('qж中ć', never),
    ['The text has characters that cannot be typed: ж (U+0436), 中 (U+4E2D), ć (U+0107).']);
  // Without a clipboard nothing can be pasted, which must not come out half way.
  assert.strictEqual(desktop.clipboard, 'none');
  assert.deepStrictEqual(await sent('qж', { paste: 'auto' }), ['The text has characters that cannot be typed: ж (U+0436).']);
  await own.act(['held', 1]);
  assert.deepStrictEqual(await sent('q', never), ['Shift is held down, which would change the text.']);
  await own.act(['remove', 1], ['add', 'keyboard#es']);  // nothing is held on the new keyboard
  assert.deepStrictEqual(await sent('q', never), taps(16));
  await own.act(['fragile', [2, 'frame', 'keyboard#es']]);
  const events = (await sent('qué', never)).filter((event) => event !== 'key 16 0');  // may still arrive
  assert.deepStrictEqual(events, ['key 16 1', 'The Wayland keyboard was replaced while keys were sent.']);
  await desktop.keyDown('ctrl');
  await own.recordWhen((lines) => lines.at(-1).endsWith('key 29 1'));
  assert.deepStrictEqual(await sent('q', never), ['Ctrl is held down, which would change the text.']);
  await desktop.keyUp('ctrl');
  await own.recordWhen((lines) => lines.at(-1).endsWith('key 29 0'));
  await own.act(['locked', 2]);
  assert.deepStrictEqual(await sent('q', never), taps(58, 16, 58));
  await desktop.close();
  await own.stop();
});

it('spans the monitors that are shared, each in its own scale', async () => {
  const place = (x, width, height) => `(uint32 NODE, {'position': <(${x}, 0)>, 'size': <(${width}, ${height})>})`;
  const sharing = (...streams) => ({ response: `(uint32 0, {'devices': <uint32 3>, 'streams': <[${streams}]>})` });
  const desktop = await open({ ConnectToEIS: { eis: ['keyboard', 'pointer,button,scroll@64,48,0,0@32,24,64,0'] },
    Start: sharing(place(64, 32, 24), place(0, 64, 48)) }, { monitors: 'all' });
  assert.match(session.record().find((line) => line.includes('SelectSources')), /'multiple': <true>/);
  const monitors = await desktop.monitors();
  assert.deepStrictEqual(monitors.map(({ x, width, height, scale }) => [x, width, height, scale]),
    [[0, 64, 48, 1], [64, 32, 24, 2]]);
  const { width, height } = await desktop.display();
  const [all, part, single] = (await Promise.all([{}, { region: { x: 60, y: 20, width: 8, height: 8 } },
    { monitor: monitors[1].id }].map((options) => desktop.screenshot(options)))).map(decodePng);
  assert.deepStrictEqual([width, height, all.width, all.height, part.width, single.width], [96, 48, 192, 96, 16, 64]);
  for (const [picture, x, y, expected] of [
    [all, 127, 95, [63, 47, 1]], [all, 128, 0, [0, 0, 1]], [all, 191, 47, [63, 47, 1]], [all, 128, 48, [0, 0, 0]],
    [part, 7, 15, [63, 27, 1]], [part, 8, 7, [0, 47, 1]], [part, 8, 8, [0, 0, 0]], [single, 5, 6, [5, 6, 1]],
  ]) assert.deepStrictEqual(picture.pixel(x, y), expected, `${x},${y}`);
  const motions = () => session.record().filter((line) => line.includes(' motion ')).map((line) => line.slice(13));
  for (const [x, y] of [[63, 40], [64, 20], [95, 23]]) {
    await desktop.move(x, y);
    await waitUntil(() => motions().at(-1) === `${x} ${y}`, motions);
  }
  await assert.rejects(desktop.move(70, 30), /No monitor shows the point 70,30/);
  await desktop.close();
  const unplaced = sharing(...Array(2).fill("(uint32 NODE, {'size': <(64, 48)>})"));
  await assert.rejects(open({ Start: unplaced }, { monitors: 'all' }), /does not tell where the shared monitors are/);
});

// Each end makes a desktop of its own unusable. `ended` is the reason that the session module gives.
const portalEnded = 'The Wayland portal session has ended.';
for (const [name, end, expected = portalEnded] of [
  ['the user stops sharing', (own) => process.kill(own.portal(), 'SIGUSR1')],
  ['the portal dies', (own) => process.kill(own.portal(), 'SIGKILL')],
  ['the bus dies', (own) => own.killBus()],
  ['PipeWire dies', (own) => own.killPipeWire(), 'Wayland ScreenCast stream failed: connection error'],
  ['the stream fails', (own) => own.show('fail picture lost'), 'Wayland ScreenCast stream failed: picture lost'],
]) {
  for (const isIdle of [true, false]) {
    it(`ends within a second when ${name} ${isIdle ? 'while no call runs' : 'during a call'}`, async () => {
      const own = await startDesktop();
      const desktop = await openDesktop({ env: own.env });
      const isClosed = { code: 'ERR_DESKTOP_CLOSED' };
      const rejected = isIdle ? undefined : assert.rejects(desktop.type('a'.repeat(9999)), isClosed);
      await desktop.cursorPosition({ timeout: 50 }).catch(() => {});
      const start = performance.now();
      end(own);
      const { reason, error, code } = await desktop.closed;
      assert.ok(performance.now() - start < 1000, `${performance.now() - start} ms`);
      assert.deepStrictEqual([reason, error.message, code], ['session ended', expected, 0]);
      await rejected;
      await assert.rejects(desktop.move(1, 1), isClosed);
      await own.stop();
    });
  }
}
