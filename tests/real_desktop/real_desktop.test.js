'use strict';
// Runs the addon on a real desktop. Input is judged by what a window of that desktop received,
// pictures by the blocks that the window draws.

const assert = require('node:assert');
const { after, afterEach, before, beforeEach, describe, it } = require('node:test');
const { openDesktop } = require('../../lib/promises');
const { startHost } = require('../support/host');
const { decodePng } = require('../support/png');
const { name: desktopName, suite, startDesktop, waitUntil } = require('./desktop');

let desktop;
let host;
let seen = 0;
let mark = 0;

const call = (...invocation) => host.call(...invocation);
const shot = async () => decodePng(await call('screenshot', '', null, [], 0, 0, 0, 0, 0, 0, -1));

// Returns the events that arrived at the window while `act` ran. A final move and key mark their end:
// on GNOME, keys come through the input method, which can be slower than motions.
async function allReceived(act) {
  await act();
  mark = 1 - mark;
  const marks = [`motion ${mark}.5 300.25`, ...key('Escape')];
  await call('move', mark + 0.5, 300.25);
  await call('key', 'escape');
  for (const line of marks) await desktop.seen(line, seen);
  const lines = desktop.events.slice(seen).filter((line) => !marks.includes(line));
  seen = desktop.events.length;
  return lines;
}
const isText = (line) => line.startsWith('text ');
const received = async (act) => (await allReceived(act)).filter((line) => !isText(line));
const receivedText = async (act) => (await allReceived(act)).filter(isText).map((line) => line.slice(5)).join('');
const sent = (method, ...values) => received(() => call(method, ...values));

const key = (name) => [`key ${name} down`, `key ${name} up`];
const click = (button, count, at) => (
  [`button ${button} down ${at}`, `clicks ${count}`, `button ${button} up ${at}`]);

// Returns the text that the lines of key events spell. Each key has to be released before the next
// is pressed, and none may repeat.
function textOf(lines) {
  const keys = lines.filter((line) => !/^key (Shift_L|ISO_Level3_Shift) /.test(line)).map((line) => line.split(' '));
  const names = keys.filter((_, i) => i % 2 === 0).map(([, name]) => name);
  assert.deepStrictEqual(keys.map((words) => words.join(' ')), names.flatMap(key));
  return names.map((name) => ({ space: ' ', Return: '\n', Tab: '\t' }[name] ?? name)).join('');
}

// Returns the blocks of a picture whose colours differ from those that the window draws.
function wrongBlocks({ width, height, pixel }) {
  const wrong = [];
  for (let column = 0; column < 16; column++) {
    for (let row = 0; row < 9; row++) {
      const colour = pixel(Math.floor((column + 0.5) * width / 16), Math.floor((row + 0.5) * height / 9));
      const expected = [column * 17, row * 255 / 8, (column ^ row) * 17];
      if (colour.some((value, i) => Math.abs(value - expected[i]) > 1)) wrong.push([column, row, ...colour]);
    }
  }
  return wrong;
}

async function start(size, scale, monitors, shared) {
  desktop = await startDesktop(size, scale, monitors);
  host = await startHost(desktop.env);
  await desktop.share(() => call('display'), shared);
  await waitUntil(() => desktop.events.lastIndexOf('active') > desktop.events.lastIndexOf('inactive'));
  // The window covers the first of two monitors.
  if (!monitors || shared === 0) await waitUntil(async () => wrongBlocks(await shot()).length === 0);
  seen = desktop.events.length;
}
// The session has to be closed when the host has ended.
async function finish() {
  await host.stop();
  await waitUntil(async () => !await desktop.isShared());
  await desktop.stop();
}

// A position beyond the desktop is moved to the last one on it. The window receives it in units of
// 1/256 pixel, rounded down by GNOME 48 and to the nearest by GNOME 51; on KWin it is a whole pixel.
const toEdge = { kde: 1, gnome: suite === 'trixie' ? 1 / 256 : 0 }[desktopName];
async function reachEverything() {
  const { width, height } = await call('display');
  const right = width - toEdge, bottom = height - toEdge;
  const places = [
    [[100.25, 200.5], '100.25 200.5'], [[-5, 300], '0 300'], [[width, 200], `${right} 200`],
    [[600, 9999], `600 ${bottom}`], [[0, 0], '0 0'], [[width, 0], `${right} 0`], [[0, height], `0 ${bottom}`],
    [[width, height], `${right} ${bottom}`],
  ];
  for (const [target, at] of places) {
    assert.deepStrictEqual(await sent('click', ...target, 'left', 1), [`motion ${at}`, ...click(1, 1, at)]);
  }
}

// The pointer is kept away from the centres of the blocks, where colours are compared.
async function takePictures() {
  const { width, height } = await call('display');
  await received(async () => {
    for (let i = 0; i < 30; i++) {
      await call('move', (i % 16) * width / 16 + 1, (i % 9) * height / 9 + 1);
      assert.deepStrictEqual(wrongBlocks(await shot()), [], `picture ${i}`);
    }
  });
}

describe(`on ${desktopName} at 1280x720`, { timeout: 900000 }, () => {
  before(() => start('1280x720'));
  after(finish);

  it('takes the same picture after each move', takePictures);
  it('clicks at fractions, edges and corners', reachEverything);

  it('clicks, drags and scrolls', async () => {
    const cases = [
      [['click', 30, 40, 'right', 1], ['motion 30 40', ...click(3, 1, '30 40')]],
      [['click', 60, 70, 'middle', 1], ['motion 60 70', ...click(2, 1, '60 70')]],
      [['click', 90, 80, 'left', 2], ['motion 90 80', ...click(1, 1, '90 80'), ...click(1, 2, '90 80')]],
      // A positive dy scrolls up on Wayland.
      [['scroll', 10, 20, 1, 0], ['motion 10 20', 'scroll 1 0']],
      [['scroll', 30, 20, 0, 1], ['motion 30 20', 'scroll 0 -1']],
      [['scroll', 40, 20, -1, 0], ['motion 40 20', 'scroll -1 0']],
      [['scroll', 50, 20, 0, -1], ['motion 50 20', 'scroll 0 1']],
    ];
    for (const [invocation, expected] of cases) {
      assert.deepStrictEqual(await sent(...invocation), expected, `${invocation}`);
    }
    const held = await received(async () => {
      await call('mouseDown', 50, 20);
      await call('move', 60, 20);
      await call('mouseUp', 0, 0);
    });
    assert.deepStrictEqual(held,
      ['motion 50 20', 'button 1 down 50 20', 'clicks 1', 'motion 60 20', 'button 1 up 60 20']);
    const drag = await sent('drag', 10, 10, 210, 110);
    const isMotion = (line) => /^(merged )?motion/.test(line);
    assert.deepStrictEqual([...drag.slice(0, 3), ...drag.slice(3).filter((line) => !isMotion(line))],
      ['motion 10 10', 'button 1 down 10 10', 'clicks 1', 'button 1 up 210 110']);
    assert.strictEqual(drag.at(-2), 'motion 210 110');
    assert.strictEqual(drag.filter(isMotion).length, 12);
  });

  // KWin holds nothing there, and reports a motion to it only most of the time.
  const corner = { skip: desktopName !== 'gnome' };
  it('leaves the corner where GNOME holds the pointer', corner, async () => {
    for (const [x, ...from] of [[400, 0, 5], [500, 5, 0], [600, 0, 0]]) {
      await waitUntil(async () => {
        await desktop.moveTo(...from);
        const position = await call('cursorPosition');
        return position.x === from[0] && position.y === from[1];
      });
      const lines = await sent('click', x, 300, 'left', 1);
      assert.deepStrictEqual(lines.slice(-4), [`motion ${x} 300`, ...click(1, 1, `${x} 300`)], `${from}`);
    }
  });

  it('reports the pointer position', () => received(async () => {
    for (const [x, y] of [[300, 200], [301, 203], [1000, 700]]) {
      await call('move', x, y);
      await waitUntil(async () => {
        const position = await call('cursorPosition');
        return position.x === x && position.y === y;
      }, () => call('cursorPosition'));
    }
  }));

  it('holds modifiers', async () => {
    assert.deepStrictEqual(await sent('key', 'ctrl+alt+shift+p'), [
      'key Control_L down', 'key Alt_L down ctrl', 'key Shift_L down ctrl alt', 'key P down ctrl alt',
      'key P up', 'key Shift_L up', 'key Alt_L up', 'key Control_L up']);
    // GNOME keeps the press of Super to itself, but reports the modifier.
    assert.deepStrictEqual((await sent('key', 'super+j')).filter((line) => line !== 'key Super_L down'),
      ['key j down super', 'key j up', 'key Super_L up']);
    // Caps Lock stays on until it is pressed again.
    assert.deepStrictEqual(await received(async () => {
      for (const name of ['capslock', 'a', 'capslock', 'a']) await call('key', name);
    }), [...key('Caps_Lock'), ...key('A'), ...key('Caps_Lock'), ...key('a')]);
  });

  it('types what is on a US keyboard, and refuses the rest', async () => {
    const ascii = String.fromCharCode(...Array.from({ length: 95 }, (_, i) => 32 + i));
    for (const text of [ascii, 'aA bB\tcC\nzZ']) assert.strictEqual(textOf(await sent('type', text)), text);
    const message = 'Portal input call failed for org.freedesktop.portal.RemoteDesktop.NotifyKeyboardKeysym: '
      + 'GDBus.Error:org.freedesktop.DBus.Error.Failed: Session is not allowed to call NotifyKeyboard methods';
    for (const character of ['ä', '漢', '😀']) {
      const typing = () => assert.rejects(call('type', `x${character}y`), { message });
      assert.strictEqual(textOf(await received(typing)), 'x');
    }
  });

  it('opens no session when the user refuses', async () => {
    const stranger = await startHost(desktop.env);
    for (const answer of ['refuse', 'close']) {
      await assert.rejects(desktop[answer](() => stranger.call('display')),
        { message: 'The user denied the Wayland portal request.' }, answer);
    }
    await stranger.stop();
  });

  it('types and presses what is on a German keyboard', async () => {
    desktop.command(`layout_${desktopName} de`);
    await received(() => waitUntil(() => call('type', 'ß').then(() => true, () => false)));
    const text = 'Grüße, 42 € {x}@y zZ?/';
    assert.strictEqual(textOf(await sent('type', text)), text);
    assert.deepStrictEqual(await sent('key', 'ctrl+y'),
      ['key Control_L down', 'key y down ctrl', 'key y up', 'key Control_L up']);
    assert.strictEqual(await receivedText(() => call('type', 'x^y É')), 'x^y É');
  });

  it('writes what has a key or a dead key on a Spanish keyboard, and nothing of a text with more', async () => {
    desktop.command(`layout_${desktopName} es`);
    await received(() => waitUntil(() => call('type', 'ñ').then(() => true, () => false)));
    const own = await desktop.share(() => openDesktop({ env: desktop.env }));
    for (const text of ['¿Qué? Ñandú, "pingüino"', 'Été à la forêt, âêîôû ÄËÏÖÜ ãõ ^`~']) {
      assert.strictEqual(await receivedText(() => own.write(text, { paste: 'never' })), text);
    }
    const writing = () => assert.rejects(own.write('añж', { paste: 'never' }), /: ж \(U\+0436\)\.$/);
    assert.deepStrictEqual(await received(writing), []);
    await own.close();
  });
});

// GNOME shares the monitor that the user chooses, KDE without a dialog both as one picture.
const onTwoMonitors = {
  gnome: [0, 1].map((shared) => [`sharing monitor ${shared}`, shared, {
    async 'moves on it'() {
      for (const [x, y] of [[100, 300], [1279, 0], [0, 719]]) {
        await call('move', x, y);
        const at = `${1280 * shared + x},${y}`;
        await waitUntil(async () => `${await desktop.pointer()}` === at, () => desktop.pointer());
      }
    },
    ...(shared === 0 && { 'takes the same picture after each move': takePictures }),
  }]),
  kde: [['as one', undefined, {
    async 'clicks and takes pictures on both, wherever the pointer is'() {
      // A new window opens where the pointer is.
      await call('move', 1900, 300);
      desktop.command('"${inside[@]}" python3 /run/desktop/witness.py &');
      for (const left of [0, 1280]) {
        const picture = async () => decodePng(await call('screenshot', '', null, [], 0, 0, left, 0, left + 1280, 720, -1));
        await waitUntil(async () => wrongBlocks(await picture()).length === 0, async () => wrongBlocks(await picture()));
      }
      seen = desktop.events.length;
      // KWin holds the pointer at the edge, so a motion across it stops on its way.
      for (const y of [100, 360, 700]) {
        for (const [userX, x, at] of [[undefined, 1300, 20], [undefined, 1200, 1200], [1900, 1270, 1270], [600, 1290, 10]]) {
          if (userX) await desktop.moveTo(userX, 300);
          const lines = (await sent('click', x, y, 'left', 1)).filter((line) => !line.endsWith('active'));
          assert.deepStrictEqual(lines.slice(-4), [`motion ${at} ${y}`, ...click(1, 1, `${at} ${y}`)], `${userX} ${x}`);
        }
      }
    },
  }]],
};
for (const [sharing, shared, tests] of onTwoMonitors[desktopName]) {
  describe(`on ${desktopName} with two monitors, ${sharing}`, { timeout: 900000 }, () => {
    before(() => start('1280x720', 1, 2, shared));
    after(finish);
    for (const [name, test] of Object.entries(tests)) it(name, test);
  });
}

// GNOME refuses a scale that leaves less than 800x480, and GNOME 51 one that leaves a fraction.
for (const [scale, size] of [[1.25, '1280x720'], [1.5, '1200x720'], [2, '1600x960']]) {
  describe(`on ${desktopName} at a scale of ${scale}`, { timeout: 900000 }, () => {
    before(() => start(size, scale));
    after(finish);
    it('takes the same picture after each move', takePictures);
    it('clicks at fractions, edges and corners', reachEverything);
  });
}

describe(`the end of the session on ${desktopName}`, { timeout: 900000 }, () => {
  const ended = 'The Wayland portal session has ended.';
  const ends = {
    'by the user': () => desktop.endSharing(),
    'with the portal': () => desktop.command('kill_owner org.freedesktop.portal.Desktop'),
    "with the portal's backend": () => desktop.command(`kill_owner org.freedesktop.impl.portal.desktop.${desktopName}`),
    'with the compositor': () => desktop.command('kill -KILL $compositor'),
    ...(desktopName === 'gnome' && { 'with a lock of the screen': () => desktop.lock() }),
  };
  const calls = [['screenshot'], ['move', 1, 1], ['click', 1, 1, 'left', 1], ['type', 'a'], ['key', 'a'],
    ['scroll', 1, 1, 0, 1], ['drag', 1, 1, 2, 2], ['mouseDown', 1, 1], ['mouseUp', 0, 0]];
  beforeEach(() => start('1280x720'));
  afterEach(async () => {
    await host.stop();
    await desktop.stop();
  });
  for (const [name, end] of Object.entries(ends)) {
    it(`${name} makes each call throw`, async () => {
      await call('mouseDown', 600, 400);
      await desktop.seen('button 1 down 600 400');
      await end();
      const failure = (invocation) => call(...invocation).then(() => 'none', ({ message }) => message);
      await waitUntil(async () => await failure(calls[0]) === ended, () => failure(calls[0]));
      for (const invocation of calls) assert.strictEqual(await failure(invocation), ended, invocation[0]);
      // KDE takes the channel away without a release, unless only the portal has died.
      if (desktopName === 'gnome' ? /portal|lock/.test(name) : name === 'with the portal') await desktop.seen('button 1 up 600 400');
    });
  }
  if (desktopName === 'kde') {
    it('does not come when the screen is locked, but input throws', async () => {
      desktop.command('lock_kde');
      const failure = () => call('move', 1, 1).then(() => 'none', ({ message }) => message);
      await waitUntil(async () => await failure() === 'The screen is locked.', failure);
      await call('mouseUp', 0, 0);
      assert.ok(await call('screenshot', '', null, [], 0, 0, 0, 0, 0, 0, -1));
    });
  }
});
