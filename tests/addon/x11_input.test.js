'use strict';
// Pointer and keyboard on an X server, as another client receives them.

const assert = require('node:assert');
const { execFileSync } = require('node:child_process');
const { after, afterEach, before, describe, it } = require('node:test');
const { startHost } = require('../support/host');
const { waitUntil } = require('../support/wait');
const { keyboardState, startWitness, textOf } = require('../support/witness');
const { startXvfb } = require('../support/xvfb');

let server, witness, host, atFirst;
before(async () => {
  server = await startXvfb();
  setLayouts('us');
  witness = await startWitness(server.env);
  host = await startHost(server.env);
  atFirst = keyboardState(server.env);
});
after(async () => {
  await host.stop();
  await witness.stop();
  await server.stop();
});
// Whatever a test did: nothing stays down, and the map is the one found.
afterEach(() => assert.deepStrictEqual(keyboardState(server.env), atFirst));

const setLayouts = (...options) => execFileSync('setxkbmap', ['-option', '', ...options], { env: server.env });
const call = (...invocation) => host.call(...invocation);
const buttons = (events) => events.filter((event) => event.kind === 'button').map(
  ({ down, button, x, y }) => `${down ? 'down' : 'up'} ${button} at ${x},${y}`);

async function eventsOf(...invocation) {
  await witness.events();
  await call(...invocation);
  return witness.events();
}

describe('pointer', () => {
  it('moves to the nearest pixel, and reads zeros out of what is no number', async () => {
    assert.deepStrictEqual(await call('display'), { width: 1280, height: 720, pixelWidth: 1280, pixelHeight: 720 });
    const cases = [
      [[10.5, 20.49], [11, 20]], [['30', {}], [0, 0]], [[7, 8, 9, 10], [7, 8]], [[-10.5, 1e6], [0, 719]],
      [[50, 60], [50, 60]], [[], [0, 0]],
    ];
    for (const [to, [x, y]] of cases) {
      assert.strictEqual(await call('move', ...to), undefined);
      assert.deepStrictEqual(await call('cursorPosition'), { x, y });
    }
    await call('move', NaN, Infinity);
    assert.deepStrictEqual(Object.keys(await call('cursorPosition')), ['x', 'y']);
  });

  it('clicks the named button, as often as asked', async () => {
    const pair = (button) => [`down ${button} at 100,200`, `up ${button} at 100,200`];
    const cases = [
      [['left', 1], pair(1)], [['middle', 1], pair(2)], [['RIGHT', 2], [...pair(3), ...pair(3)]],
      [[' right', 1], pair(1)], [['', 0], []], [['left', -3], []], [[], []], [['left', 1.9], pair(1)],
    ];
    for (const [options, expected] of cases) {
      assert.deepStrictEqual(buttons(await eventsOf('click', 100, 200, ...options)), expected);
    }
    const times = (await eventsOf('click', 1, 1, 'left', 2)).filter(({ kind }) => kind === 'button').map(({ t }) => t);
    [9, 49, 9].forEach((least, i) => assert.ok(times[i + 1] - times[i] >= least, `${times}`));
  });

  it('drags in steps from press to release', async () => {
    const events = await eventsOf('drag', 10, 10, 131, 10.4);
    const path = events.slice(events.findIndex(({ kind }) => kind === 'button')).map(
      ({ kind, x, y }) => `${kind} ${x},${y}`);
    assert.deepStrictEqual(path, ['button 10,10', 'motion 30,10', 'motion 50,10', 'motion 71,10', 'motion 91,10',
      'motion 111,10', 'motion 131,10', 'button 131,10']);
  });

  it('presses and releases where the pointer is', async () => {
    assert.deepStrictEqual(buttons(await eventsOf('mouseDown', 40, 50)), ['down 1 at 40,50']);
    assert.deepStrictEqual(buttons(await eventsOf('mouseUp', 500, 600)), ['up 1 at 40,50']);
  });

  it('turns the wheel, horizontally first', async () => {
    const wheel = async (...amounts) => buttons(await eventsOf('scroll', 5, 5, ...amounts))
      .filter((event) => event.startsWith('down')).map((event) => event[5]).join('');
    assert.strictEqual(await wheel(-2, 3), '66555');
    assert.strictEqual(await wheel(1, -2), '744');
    assert.strictEqual(await wheel(0, 0), '');
  });
});

describe('key', () => {
  const keys = (events) => events.filter(({ kind }) => kind === 'key').map(
    ({ down, keysym }) => `${down ? '+' : '-'}${keysym.toString(16)}`).join(' ');

  it('holds the modifiers around the key', async () => {
    const cases = [
      ['ctrl+shift+a', '+ffe3 +ffe1 +41 -41 -ffe1 -ffe3'], ['A', '+61 -61'], ['a+ctrl', '+ffe3 +61 -61 -ffe3'],
      ['ctrl+alt', '+ffe3 +ffe9 -ffe9 -ffe3'], ['a+b', '+62 -62'], ['cmd', '+ffeb -ffeb'], ['ctrl+', '+ffe3 -ffe3'],
      ['f12', '+ffc9 -ffc9'], ['plus', '+3d -3d'], ['escape', '+ff1b -ff1b'], ['', ''],
      ['ctrl+ctrl+a', '+ffe3 +61 -61 -ffe3'],  // the server drops the second press and release
    ];
    for (const [combo, expected] of cases) assert.strictEqual(keys(await eventsOf('key', combo)), expected, combo);
  });

  it('presses nothing of a combo with a fault', async () => {
    await witness.events();
    const cases = [
      ['ctrl+FOO', 'Unsupported key combo part on Linux/X11: foo'],
      ['+', 'Key combo did not resolve to a key: +'],
      [' ', 'Key combo did not resolve to a key:  '],
      ['a\u{1F600}', 'Unsupported key combo part on Linux/X11: a\u{1F600}'],
    ];
    for (const [combo, message] of cases) await assert.rejects(call('key', combo), { message });
    await assert.rejects(host.run((addon) => addon.key('x'.repeat(4 << 20))),
      (error) => error.message.length > 4 << 20);
    await host.run((addon) => addon.key('ctrl\0+a+'.repeat(1 << 19)));
    assert.strictEqual(keys(await witness.events()), '+ffe3 -ffe3');
  });
});

// Types until the witness was in time for every character once: a sign that no
// key bears is on one for 5 ms only, and a client that looks later says nothing
// of the addon.
async function assertTyped(text, expected = text) {
  const characters = [...expected], right = new Set();
  for (let round = 0; round < 100; round++) {
    const presses = (await eventsOf('type', text)).filter(
      ({ kind, down, keysym }) => kind === 'key' && down && keysym !== 0xffe1);
    assert.strictEqual(presses.length, characters.length, text);
    for (const [i, { age, codePoint }] of presses.entries()) {
      if (age >= 5) continue;
      assert.strictEqual(String.fromCodePoint(codePoint), characters[i], `${i} of ${text}`);
      right.add(i);
    }
    if (right.size === characters.length) return;
  }
  throw new Error('the machine is too slow for a client that is in time');
}

describe('type', () => {
  it('delivers exactly the text', async () => {
    const texts = [
      String.fromCharCode(...Array.from({ length: 95 }, (_, i) => 32 + i)), 'Grüße, señor; ½ µ ÿ', 'Жук и ёж',
      'Ελληνικά', '漢字かな한글', '👍😀𝄞', 'a\tb\b', '€', '\ufffd\u200d',
    ];
    for (const text of texts) await assertTyped(text);
    const others = [['a\r\nb', 'a\r\rb'], ['ab\0cd', 'ab'], ['', ''], ['\ud800x', '\ufffdx']];
    for (const [text, arrived] of others) await assertTyped(text, arrived);
  });

  it('delivers it while another layout is active', async () => {
    // The layouts, how often to switch to the next one (setxkbmap keeps the number of the active one), and its "z".
    const cases = [['us,ru', 1, 0x6d1], ['us,de', 0, 0x79], ['us,ru,de,gr', 2, 0x7e6]];
    try {
      for (const [layouts, switches, z] of cases) {
        setLayouts(layouts, '-option', 'grp:caps_toggle');
        for (let i = 0; i < switches; i++) await call('key', 'capslock');
        assert.strictEqual((await eventsOf('key', 'z')).find(({ kind }) => kind === 'key').keysym, z, layouts);
        await assertTyped('Zyx, "Жук"!\t');
      }
    } finally {
      setLayouts('us');
    }
  });

  it('waits 5 ms a character and leaves the memory flat', async () => {
    const { elapsed, grown } = await host.run((addon) => {
      const resident = () => Number(/VmRSS:\s*(\d+)/.exec(require('node:fs').readFileSync('/proc/self/status'))[1]);
      addon.type('€'.repeat(200));
      global.gc();
      const before = resident(), start = performance.now();
      addon.type('€'.repeat(1000));
      return { elapsed: performance.now() - start, grown: resident() - before };
    });
    assert.ok(elapsed >= 5000, `${elapsed}`);
    // Unread events of 1000 characters would be 1800 KB. AddressSanitizer keeps what is freed.
    if (!process.env.OSTLER_PRELOAD) assert.ok(grown < 900, `${grown} KB`);
  });
});

describe('a keyboard that lacks keys', () => {
  let bare, bareHost;
  before(async () => {
    bare = await startXvfb();
    bareHost = await startHost(bare.env);
  });
  after(async () => {
    await bareHost.stop();
    await bare.stop();
  });

  // The keyboard map has no empty row then, and no Page Up.
  const startFillingWitness = () => startWitness(bare.env, 'fill');

  it('types on a keycode that an interrupted host left mapped', async () => {
    const { map } = keyboardState(bare.env);
    while (keyboardState(bare.env).map === map) {
      const killed = await startHost(bare.env);
      const failure = assert.rejects(killed.call('type', '€'.repeat(1000)), /SIGKILL/);
      await waitUntil(() => keyboardState(bare.env).map !== map);
      process.kill(killed.pid, 'SIGKILL');
      await failure;
    }
    await (await startFillingWitness()).stop();
    await bareHost.call('type', '!');
  });

  it('says which key is missing and types what it can', async () => {
    const other = await startFillingWitness();
    await assert.rejects(bareHost.call('type', 'ab!c'),
      { message: 'Unable to synthesize an X11 keycode for the requested text input.' });
    assert.strictEqual(textOf(await other.events()), 'ab');
    await assert.rejects(bareHost.call('key', 'ctrl+pageup'), { message: 'Unable to resolve X11 keycode for: pageup' });
    assert.strictEqual(textOf(await other.events()), '');
    await other.stop();
    assert.deepStrictEqual(keyboardState(bare.env).keysDown, []);
  });
});
