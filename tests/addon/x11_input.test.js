'use strict';
// Tests pointer and keyboard on an X server by the events that another client receives.

const assert = require('node:assert');
const { execFileSync } = require('node:child_process');
const { after, afterEach, before, it } = require('node:test');
const { startHost } = require('../support/host');
const { waitUntil } = require('../support/wait');
const { keyboardState, startX11, textOf, withX11 } = require('../support/x11');

let x11, call, atFirst;
before(async () => {
  x11 = await startX11();
  ({ call } = x11);
  setLayouts('us');
  atFirst = keyboardState(x11.env);
});
after(() => x11.stop());
// After each test nothing is pressed, and the keyboard map is the original one.
afterEach(() => assert.deepStrictEqual(keyboardState(x11.env), atFirst));

const setLayouts = (...options) => execFileSync('setxkbmap', ['-option', '', ...options], { env: x11.env });

async function eventsOf(...invocation) {
  await x11.events();
  await call(...invocation);
  return x11.events();
}
const buttonsOf = async (...invocation) => (await eventsOf(...invocation)).filter(({ kind }) => kind === 'button').map(
  ({ down, button, x, y }) => `${down ? 'down' : 'up'} ${button} at ${x},${y}`);
const keysOf = (events) => events.filter(({ kind }) => kind === 'key').map(
  ({ down, keysym }) => `${down ? '+' : '-'}${keysym.toString(16)}`).join(' ');

it('moves to the nearest pixel of the screen', async () => {
  const cases = [
    [[10.5, 20.49], { x: 11, y: 20 }], [['30', {}], { x: 0, y: 0 }], [[7, 8, 9, 10], { x: 7, y: 8 }],
    [[-10.5, 1e6], { x: 0, y: 719 }], [[], { x: 0, y: 0 }],
  ];
  for (const [to, expected] of cases) {
    assert.strictEqual(await call('move', ...to), undefined);
    assert.deepStrictEqual(await call('cursorPosition'), expected, `move(${to})`);
  }
  await call('move', NaN, Infinity);
  assert.deepStrictEqual(await call('display'), { width: 1280, height: 720, pixelWidth: 1280, pixelHeight: 720 });
});

it('clicks the named button the given number of times', async () => {
  const clicks = (button, count) => Array(count).fill([`down ${button} at 9,8`, `up ${button} at 9,8`]).flat();
  const cases = [
    [['left', 1], clicks(1, 1)], [['middle', 1.9], clicks(2, 1)], [['RIGHT', 2], clicks(3, 2)],
    [[' right', 1], clicks(1, 1)], [['left', -3], []], [[], []],
  ];
  for (const [options, expected] of cases) {
    assert.deepStrictEqual(await buttonsOf('click', 9, 8, ...options), expected, `click(9, 8, ${options})`);
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

it('presses and releases where the pointer is, and turns the wheel, horizontally first', async () => {
  assert.deepStrictEqual(await buttonsOf('mouseDown', 40, 50), ['down 1 at 40,50']);
  assert.deepStrictEqual(await buttonsOf('mouseUp', 500, 600), ['up 1 at 40,50']);
  for (const [dx, dy, expected] of [[-2, 3, '66555'], [1, -2, '744'], [0, 0, '']]) {
    const downs = (await buttonsOf('scroll', 5, 5, dx, dy)).filter((event) => event.startsWith('down'));
    assert.strictEqual(downs.map((event) => event[5]).join(''), expected, `scroll by ${dx}, ${dy}`);
  }
});

it('holds the modifiers around the key', async () => {
  const cases = [
    ['ctrl+shift+a', '+ffe3 +ffe1 +41 -41 -ffe1 -ffe3'], ['ctrl+alt', '+ffe3 +ffe9 -ffe9 -ffe3'],
    ['plus', '+3d -3d'], ['escape', '+ff1b -ff1b'], ['', ''],
    ['ctrl+ctrl+a', '+ffe3 +61 -61 -ffe3'],  // the server drops the second press and release
  ];
  for (const [combo, expected] of cases) assert.strictEqual(keysOf(await eventsOf('key', combo)), expected, combo);
});

it('presses nothing of an invalid combo', async () => {
  await x11.events();
  const cases = [
    ['ctrl+FOO', 'Unsupported key combo part on Linux/X11: foo'],
    ['a\u{1F600}', 'Unsupported key combo part on Linux/X11: a\u{1F600}'],
    ['x'.repeat(4 << 20), `Unsupported key combo part on Linux/X11: ${'x'.repeat(4 << 20)}`],
  ];
  for (const [combo, message] of cases) await assert.rejects(call('key', combo), { message }, combo.slice(0, 99));
  await call('key', 'ctrl\0+a+'.repeat(1 << 19));
  assert.strictEqual(keysOf(await x11.events()), '+ffe3 -ffe3', 'a text ends at its first NUL');
});

// Types the text until the witness has looked up every character in time at least once. A
// character that no key produces is mapped for only 5 ms, so a later lookup proves nothing.
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
  throw new Error('the machine is too slow for the witness to look up keysyms in time');
}

it('types exactly the text', async () => {
  const ascii = String.fromCharCode(...Array.from({ length: 95 }, (_, i) => 32 + i));
  for (const text of [ascii, 'Grüße, señor; ½ µ ÿ', 'Жук Ελληνικά', '漢字かな한글', '👍😀𝄞', 'a\tb\b', '€\ufffd\u200d']) {
    await assertTyped(text);
  }
  const others = [['a\r\nb', 'a\r\rb'], ['ab\0cd', 'ab'], ['', ''], ['\ud800x', '\ufffdx']];
  for (const [text, arrived] of others) await assertTyped(text, arrived);
});

// How often to switch to the next layout (setxkbmap keeps the active group), and what its "z" key produces.
for (const [layouts, switches, z] of [['us,ru', 1, '+6d1'], ['us,de', 0, '+79'], ['us,ru,de,gr', 2, '+7e6']]) {
  it(`types exactly the text when the layouts are ${layouts} and another than the first is active`, async () => {
    try {
      setLayouts(layouts, '-option', 'grp:caps_toggle');
      for (let i = 0; i < switches; i++) await call('key', 'capslock');
      assert.strictEqual(keysOf(await eventsOf('key', 'z')).split(' ')[0], z);
      await assertTyped('Zyx, "Жук"!\t');
    } finally {
      setLayouts('us');
    }
  });
}

it('waits 5 ms per character and does not leak memory', async () => {
  const { elapsed, grown } = await x11.run((addon) => {
    const resident = () => Number(/VmRSS:\s*(\d+)/.exec(require('node:fs').readFileSync('/proc/self/status'))[1]);
    addon.type('€'.repeat(200));
    global.gc();
    const before = resident(), start = performance.now();
    addon.type('€'.repeat(1000));
    return { elapsed: performance.now() - start, grown: resident() - before };
  });
  assert.ok(elapsed >= 5000, `${elapsed}`);
  // The unread events of 1000 characters would take 1800 KB. AddressSanitizer does not reuse freed memory.
  if (!process.env.OSTLER_PRELOAD) assert.ok(grown < 900, `${grown} KB`);
});

it('types on a keycode that a killed host left mapped, and says which key is missing', withX11({}, async (bare) => {
  const { map } = keyboardState(bare.env);
  while (keyboardState(bare.env).map === map) {
    const killed = await startHost(bare.env);
    const failure = assert.rejects(killed.call('type', '€'.repeat(1000)), /SIGKILL/);
    await waitUntil(() => keyboardState(bare.env).map !== map);
    process.kill(killed.pid, 'SIGKILL');
    await failure;
  }
  const fill = (...keysyms) => {
    const empty = keyboardState(bare.env).map.match(/^keycode +\d+ =(?=\s*$)/gm);
    const changes = [...empty, ...keysyms].flatMap((change) => ['-e', `${change} XF86AudioMute`]);
    execFileSync('xmodmap', changes, { env: bare.env });
  };
  fill('keysym Prior =');
  await bare.call('type', 'ж');
  fill();
  const { down } = keyboardState(bare.env);
  await bare.events();
  await assert.rejects(bare.call('type', 'abжc'),
    { message: 'Unable to synthesize an X11 keycode for the requested text input.' });
  assert.strictEqual(textOf(await bare.events()), 'ab');
  await assert.rejects(bare.call('key', 'ctrl+pageup'), { message: 'Unable to resolve X11 keycode for: pageup' });
  assert.deepStrictEqual([keysOf(await bare.events()), keyboardState(bare.env).down], ['', down]);
}));
