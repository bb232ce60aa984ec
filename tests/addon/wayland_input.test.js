'use strict';
// What input operations send on a Wayland session: to the EIS server where it
// has a device for them, and otherwise to the portal.

const assert = require('node:assert');
const { spawnSync } = require('node:child_process');
const { after, before, describe, it } = require('node:test');
const { startDesktop } = require('../support/desktop');
const { waitUntil } = require('../support/wait');

// Starts a desktop with a host whose session is open. `sent` calls a method and returns the events
// that arrived: "motion 1 2" at EIS (each in its own frame, without device numbers), "PointerButton
// 272, 1" at the portal.
async function openSession(script, picture) {
  const desktop = await startDesktop(script, picture);
  const { call } = await desktop.startHost();
  await call('display');
  let seen = desktop.record().length;
  return {
    call,
    async sent(method, ...values) {
      const error = await call(method, ...values).then(() => undefined, ({ message }) => message);
      // Once this move has arrived, so have the events before it. If it fails, there is nothing to
      // wait for: the portal records each call before it answers.
      const marked = await call('move', 3, 4).then(() => true, () => false);
      const marks = /^eis \d motion (3|32|1283) 4$|Absolute \('\/session\/\d', \{\}, \d+, 3.0, 4.0\)/;
      const lines = await desktop.recordWhen(
        (record) => !marked || record.slice(seen).some((line) => marks.test(line)));
      const fresh = lines.slice(seen).filter((line) => !marks.test(line)).map((line) => line.replace(/^eis \d /, '')
        .replace(/^RemoteDesktop\.Notify(\w+) \('\/session\/1', \{\}, (.*)\)$/, '$1 $2'));
      seen = lines.length;
      return error ? [...fresh, error] : fresh;
    },
    async act(...commands) {
      await desktop.act(...commands);
      seen = desktop.record().length;
    },
    end: () => process.kill(desktop.portal(), 'SIGUSR1'),
    stop: desktop.stop,
  };
}

const key = (code) => [`key ${code} 1`, `key ${code} 0`];
const shifted = (code) => ['key 42 1', ...key(code), 'key 42 0'];
const keysym = (value) => [`KeyboardKeysym ${value}, 1`, `KeyboardKeysym ${value}, 0`];
const refused = ['org.freedesktop.DBus.Error.Failed', 'The session is not allowed to call NotifyKeyboardKeysym'];
const failure = (method, text) =>
  `Portal input call failed for org.freedesktop.portal.RemoteDesktop.Notify${method}: GDBus.Error:${text}`;

describe('through EIS', () => {
  let session;
  before(async () => {
    session = await openSession({ NotifyKeyboardKeysym: Array(3).fill({ error: refused }) });
  });
  after(() => session.stop());

  it('sends each event in a frame of its own', async () => {
    const cases = [
      ['a move to fractions', ['move', 10.6, 20.25], ['motion 10.6000004 20.25']],
      ['a move to nowhere', ['move', -5, NaN], ['motion 0 0']],
      ['a move beyond the edges', ['move', 100000, 720], ['motion 1279.99988 719.999939']],
      ['two clicks', ['click', 5, 6, 'RIGHT', 2],
        ['motion 5 6', 'button 273 1', 'button 273 0', 'button 273 1', 'button 273 0']],
      ['a press', ['mouseDown', 7, 8], ['motion 7 8', 'button 272 1']],
      ['a release where the pointer is', ['mouseUp', 9, 9], ['button 272 0']],
      ['a drag', ['drag', 0, 0, 0, 130], ['motion 0 0', 'button 272 1', 'motion 0 21.666666', 'motion 0 43.3333321',
        'motion 0 65', 'motion 0 86.6666641', 'motion 0 108.333336', 'motion 0 130', 'button 272 0']],
      ['wheel steps at once', ['scroll', 1, 1, 1, 2], ['motion 1 1', 'scroll 120 -240']],
      ['no wheel step', ['scroll', 1, 1, 0, 0], ['motion 1 1']],
      ['a combo', ['key', 'ctrl+shift+t'], ['key 29 1', 'key 42 1', ...key(20), 'key 42 0', 'key 29 0']],
      ['nothing of an invalid combo', ['key', 'ctrl+foo'], ['Unsupported key combo part on Wayland: foo']],
      ['plain keys', ['type', 'aB 1\r\n\t\b'], [...key(30), ...shifted(48), ...key(57), ...key(2), ...key(28),
        ...key(28), ...key(15), ...key(14)]],
    ];
    for (const [name, invocation, expected] of cases) {
      assert.deepStrictEqual(await session.sent(...invocation), expected, name);
    }
    assert.deepStrictEqual(await session.call('cursorPosition'), { x: 3, y: 4 });
  });

  it('types punctuation that the portal refuses on a US layout, asking once', async () => {
    assert.deepStrictEqual(await session.sent('type', 'a!;'),
      [...key(30), 'KeyboardKeysym 16777249, 1', ...shifted(2), ...key(39)]);
    assert.deepStrictEqual(await session.sent('type', '~"0)'),
      [...shifted(41), ...shifted(40), ...key(11), ...shifted(11)]);
    // U+FF0D must not be typed as Return, whose keysym is 0xFF0D.
    for (const [text, value] of [['€', 0x10020ac], ['\uff0d', 0x100ff0d]]) {
      assert.deepStrictEqual(await session.sent('type', `b${text}c`),
        [...key(48), `KeyboardKeysym ${value}, 1`, failure('KeyboardKeysym', refused.join(': '))]);
    }
    assert.deepStrictEqual(await session.sent('type', 'é'), keysym(0x10000e9));
  });
});

it('uses the portal for what EIS has no device for, and asks for permission there', async () => {
  const noChannel = { error: ['org.freedesktop.DBus.Error.UnknownMethod', 'no'] };
  const gone = { error: ['org.freedesktop.DBus.Error.Failed', 'gone'] };
  const start = (devices) => ({
    response: `(uint32 0, {'devices': <uint32 ${devices}>, 'streams': <[(uint32 NODE, @a{sv} {})]>})`,
  });
  const denied = (what) => `Wayland portal session does not have permission for ${what}.`;
  const pointerDenied = {
    click: [denied('pointer motion')], scroll: [denied('pointer motion')], mouseUp: [denied('pointer button')],
  };
  const keysDenied = { key: [denied('keyboard keysym')], type: [denied('keyboard keysym')] };
  const pointer = {
    click: ['motion 64.0, 48.0', 'PointerButton 274, 1', 'PointerButton 274, 0'],
    scroll: ['motion 31.999999999900002, 2.0', 'PointerAxisDiscrete 1, 1', 'PointerAxisDiscrete 1, 1',
      'PointerAxisDiscrete 0, 1'],
    mouseUp: ['PointerButton 272, 0'],
  };
  const keys = {
    key: ['KeyboardKeysym 65507, 1', ...keysym(99), 'KeyboardKeysym 65507, 0'],
    type: [...keysym(65), ...keysym(0x100002d), ...keysym(0xff0d)],
  };
  const onEis = { click: ['motion 63.9999962 47.9999962', 'button 274 1', 'button 274 0'], mouseUp: ['button 272 0'] };
  const cases = [
    ['no channel', { ConnectToEIS: noChannel, Start: start(3) }, { ...pointer, ...keys }],
    ['each operation stops at the call that fails', { ConnectToEIS: noChannel, Start: start(3),
      NotifyPointerButton: [{}, gone], NotifyPointerAxisDiscrete: [{}, gone],
      NotifyKeyboardKeysym: [{}, gone, {}, {}, gone] }, {
      ...pointer, click: [...pointer.click, failure('PointerButton', gone.error.join(': '))],
      scroll: [pointer.scroll[0], ...Array(2).fill('PointerAxisDiscrete 0, 1'),
        failure('PointerAxisDiscrete', gone.error.join(': '))],
      key: [...keys.key.slice(0, 2), failure('KeyboardKeysym', gone.error.join(': '))],
      type: [...keys.type.slice(0, 3), failure('KeyboardKeysym', gone.error.join(': '))] },
    { scroll: [31.9999999999, 2, 0, -(2 ** 31)] }],
    ['the keyboard alone', { ConnectToEIS: noChannel, Start: start(1) }, { ...pointerDenied, ...keys }],
    ['the pointer alone', { ConnectToEIS: noChannel, Start: start(2) }, { ...pointer, ...keysDenied }],
    ['a device for each kind of input, the keyboard too late',
      { ConnectToEIS: { eis: ['pointer@32,48,32,0', 'button', 'keyboard!late'] }, Start: start(0) },
      { ...onEis, scroll: ['motion 32 2', denied('pointer axis')], ...keysDenied }],
    ['no device for the wheel', { ConnectToEIS: { eis: ['keyboard', 'pointer,button'] }, Start: start(0) },
      { ...onEis, click: ['motion 64 48', 'button 274 1', 'button 274 0'],
        scroll: ['motion 32 2', denied('pointer axis')],
        key: ['key 29 1', ...key(46), 'key 29 0'], type: [...shifted(30), denied('keyboard keysym')] }],
  ];
  const calls = {
    click: [70, 99, 'middle', 1], scroll: [31.9999999999, 2, 2, -1], mouseUp: [5, 5], key: ['ctrl+c'], type: ['A-\n'],
  };
  for (const [name, script, expected, otherCalls] of cases) {
    const session = await openSession(script);
    for (const [method, values] of Object.entries({ ...calls, ...otherCalls })) {
      const lines = (await session.sent(method, ...values)).map(
        (line) => line.replace(/^PointerMotionAbsolute \d+, /, 'motion '));
      assert.deepStrictEqual(lines, expected[method], `${name}: ${method}`);
    }
    await session.stop();
  }
});

it('types by the keymap of the keyboard and the layout in use', async () => {
  const sources = (key, ...names) => `'${key}': <[${names.map((name) => `('xkb', '${name}')`)}]>`;
  const gnome = `{'org.gnome.desktop.input-sources': {${sources('sources', 'us', 'de')}, ${
    sources('mru-sources', 'fr', 'de', 'us')}}}`;
  const session = await openSession({
    ConnectToEIS: { eis: ['keyboard#es', 'pointer,button,scroll'] },
    NotifyKeyboardKeysym: { error: refused },
    getLayout: [{ reply: '(uint32 1,)' }, ...Array(2).fill({ error: ['org.test.No', 'no'] }),
      ...Array(50).fill({ reply: '(uint32 0,)' })],
    ReadAll: [{ reply: `(${gnome},)` }],
  });
  const altGr = (...events) => ['key 100 1', ...events, 'key 100 0'];
  const asked = (codePoint) => `KeyboardKeysym ${0x1000000 + codePoint}, 1`;
  const refusal = (keysym) => [`KeyboardKeysym ${keysym}, 1`, failure('KeyboardKeysym', refused.join(': '))];
  const kde = 'KeyboardLayouts.getLayout ()', settings = "Settings.ReadAll (['org.gnome.desktop.input-sources'],)";
  const keyboards = {
    // The portal is asked before the first dead key. The clients' locale decides what an accent and c produce.
    es: [['type', 'qué+', [...key(16), ...key(22), asked(0xe9), ...key(40), ...key(18), ...key(27)]],
      ['type', 'ć', refusal(0x1000107)]],
    de: [['type', '€', altGr(...key(18))], ['key', '/', shifted(8)]],
    fr: [['key', 'shift+1', ['key 42 1', ...key(2), 'key 42 0']]],
    ru: [['type', 'a', refusal(0x61)], ['key', 'ctrl+c', ['key 29 1', ...key(46), 'key 29 0']]],
    'us,de': [['type', 'zz', [kde, ...key(21), ...key(21)]], ['key', 'z', [kde, settings, ...key(21)]],
      ['key', 'z', [kde, settings, ...key(44)]]],
  };
  let device = 0;
  for (const [layouts, rows] of Object.entries(keyboards)) {
    if (layouts !== 'es') {
      await session.act(['remove', device], ['add', `keyboard#${layouts}`]);
      device = device === 0 ? 2 : device + 1;  // 1 is the pointer
      assert.deepStrictEqual(await session.sent('mouseUp', 0, 0), ['start', 'button 272 0']);
    }
    for (const [method, text, expected] of rows) {
      assert.deepStrictEqual(await session.sent(method, text), expected, `${layouts}: ${method} ${text}`);
    }
  }
  await session.act(['group', 1]);
  assert.deepStrictEqual(await session.sent('key', 'z'), key(21), 'the compositor tells the group');
  await session.act(['switch', 0]);
  await waitUntil(async () => `${await session.sent('key', 'z')}` === `${[kde, ...key(44)]}`);
  await session.act(['group', 1]);
  assert.deepStrictEqual(await session.sent('key', 'z'), key(21), 'the later one counts');
  const begin = performance.now();
  await session.call('type', 'áâ');
  assert.ok(performance.now() - begin > 100, 'Qt needs a pause before each dead key');
  await session.stop();
});

it('fills an empty slot when the portal refuses, and waits for a device that was removed', async () => {
  const pointerRefused = ['org.freedesktop.DBus.Error.Failed', 'Session is not allowed to call NotifyPointer methods'];
  const session = await openSession({
    ConnectToEIS: { eis: ['pointer,button', 'keyboard!late'] },
    NotifyKeyboardKeysym: [{ error: refused }], NotifyPointerAxisDiscrete: { error: pointerRefused },
  });
  const gone = (kind) => [`Wayland input device is no longer available: ${kind}`];
  const steps = [
    ['late keyboard', [], 'key', 'ctrl+a', ['KeyboardKeysym 65507, 1', 'start', 'key 29 1', ...key(30), 'key 29 0']],
    ['after it', [], 'type', 'a', key(30)],
    ['no scroll device', [], 'scroll', 9, 9, 1, 0,
      ['motion 9 9', 'PointerAxisDiscrete 1, 1', failure('PointerAxisDiscrete', pointerRefused.join(': '))]],
    ['late scroll device', [['add', 'scroll']], 'scroll', 9, 9, 1, 0,
      ['motion 9 9', 'PointerAxisDiscrete 1, 1', 'start', 'scroll 120 0']],
    ['removed keyboard', [['remove', 1]], 'type', 'a', gone('keyboard')],
    ['replaced keyboard', [['add', 'keyboard']], 'type', 'a', ['start', ...key(30)]],
    ['second keyboard', [['add', 'keyboard'], ['remove', 3]], 'key', 'a', ['start', ...key(30)]],
    ['removed scroll device', [['remove', 2]], 'scroll', 9, 9, 1, 0, ['motion 9 9', ...gone('scroll')]],
    ['removed button', [['remove', 0], ['add', 'pointer']], 'mouseDown', 9, 9,
      ['start', 'motion 9 9', ...gone('button')]],
    ['removed pointer', [['remove', 5]], 'move', 9, 9, gone('pointer')],
    ['replaced pointer', [['add', 'pointer,button']], 'mouseDown', 9, 9, ['start', 'motion 9 9', 'button 272 1']],
  ];
  for (const [name, commands, method, ...values] of steps) {
    const expected = values.pop();
    if (commands.length > 0) await session.act(...commands);
    assert.deepStrictEqual(await session.sent(method, ...values), expected, name);
  }
  await session.stop();
});

const hasPing = spawnSync('/usr/bin/python3', ['-c', 'import ctypes; ctypes.CDLL("libei.so.1").ei_new_ping']).status === 0;
it('throws if the keyboard goes away while keys are sent', { skip: !hasPing && 'libei is older than 1.4' }, async () => {
  const session = await openSession({});
  const lost = 'The Wayland keyboard was replaced while keys were sent.';
  let keyboard = 0;
  const replacedAfter = async (event, ...invocation) => {
    await session.act(['fragile', [keyboard, event, 'keyboard']]);
    keyboard = keyboard === 0 ? 2 : keyboard + 1;  // 1 is the pointer
    return session.sent(...invocation);
  };
  for (const invocation of [['key', 'a'], ['type', 'a'], ['type', 'abc']]) {
    const lines = (await replacedAfter('frame', ...invocation)).filter((line) => line !== 'key 30 0');  // may still arrive
    assert.deepStrictEqual(lines, ['key 30 1', 'start', lost], `${invocation}`);
  }
  // What has arrived before is not lost.
  await waitUntil(async () => {
    const lines = await replacedAfter('report', 'type', 'ab');
    if (lines.at(-1) === lost) return false;  // the machine is slow
    assert.deepStrictEqual(lines, [...key(30), 'start', ...key(48)]);
    return true;
  });
  await session.stop();
});

it('sends nothing but releases while the screen is locked', async () => {
  const session = await openSession({ GetActive: {} });
  const becomes = async (locked, events) => {
    await session.act(['lock', locked]);
    await waitUntil(async () => `${await session.sent('key', 'a')}` === `${events}`);
  };
  const refused = ['The screen is locked.'];
  assert.deepStrictEqual(await session.sent('mouseDown', 5, 5), ['motion 5 5', 'button 272 1']);
  await becomes(true, refused);
  for (const input of [['move', 6, 6], ['type', 'a'], ['scroll', 1, 1, 0, 1], ['mouseDown', 1, 1]]) {
    assert.deepStrictEqual(await session.sent(...input), refused, `${input}`);
  }
  await session.call('mouseUp', 0, 0);
  await waitUntil(async () => `${await session.sent('move', 6, 6)}` === `button 272 0,${refused}`);
  await becomes(false, key(30));
  await session.stop();
  const other = await openSession({ GetActive: { reply: '(true,)' } });
  assert.deepStrictEqual(await other.sent('key', 'a'), refused, 'before the session');
  await other.stop();
});

it('releases what is held once the session has ended', async () => {
  const session = await openSession({});
  assert.deepStrictEqual(await session.sent('mouseDown', 5, 5), ['motion 5 5', 'button 272 1']);
  session.end();
  const seen = [];
  await waitUntil(async () => seen.push(...await session.sent('scroll', 5, 5, 0, 1)) && seen.includes('button 272 0'));
  assert.ok(seen.includes('The Wayland portal session has ended.'), `${seen}`);
  await session.stop();
});

it('moves on the monitor that the stream shows, and across the edge between two', async () => {
  const monitors = (...ids) => `pointer@1280,720,0,0${ids[0] ?? ''}@1280,720,1280,0${ids[1] ?? ''}`;
  const start = (properties) => ({ response: `(uint32 0, {'streams': <[(uint32 NODE, {${properties}})]>})` });
  const [first, second, nowhere] = ['16 24', '48 24', ''];  // the pointer in the stream of 64x48 pixels
  const both = "'size': <(2560, 720)>";
  const cases = [
    ['mapping id', first, monitors('=one', '=two'), "'size': <(1280, 720)>, 'mapping_id': <'two'>",
      [[[5, 6.5], ['motion 1285 6.5']]]],
    ['position', first, monitors(), "'size': <(1280, 720)>, 'position': <(1280, 0)>", [[[5, 6.5], ['motion 1285 6.5']]]],
    ['both monitors', first, monitors(), both, [[[100, 100], ['motion 100 100']],
      [[1300, 100], ['motion 1920 360', 'motion 1300 100', 'motion 640 360']]]],
    ['pointer on the other monitor', second, monitors(), both, [[[100, 100], ['motion 640 360', 'motion 100 100']]]],
    ['pointer elsewhere', nowhere, monitors(), both, [[[1300, 100], ['motion 1920 360', 'motion 1300 100', 'motion 640 360']]]],
    ['held at the corner', '0 1', 'pointer@2560,720,0,0', both,
      [[[100, 100], ['motion 100 100']], [[100, 15.5], Array(2).fill('motion 100 15.5')]]],
  ];
  for (const [name, pointer, device, properties, moves] of cases) {
    const session = await openSession({ ConnectToEIS: { eis: [device, 'button'] }, Start: start(properties) },
      `BGRx 64 48 1 ${pointer}`.trim());
    for (const [[x, y], expected] of moves) {
      // After a pause, the move that marks the end is preceded by a stop, too.
      const sent = (await session.sent('move', x, y)).slice(0, expected.length);
      assert.deepStrictEqual(sent, expected, `${name} ${x},${y}`);
    }
    await session.stop();
  }
});
