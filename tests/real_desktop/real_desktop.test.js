'use strict';
// The addon on a real GNOME desktop. What a window of that desktop received,
// and the picture that the compositor itself takes, are the only judges.

const assert = require('node:assert');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { setTimeout: delay } = require('node:timers/promises');
const { startHost } = require('../support/host');
const { decodePng } = require('../support/png');
const { waitUntil } = require('../support/wait');
const { startDesktop } = require('./desktop');

let desktop;
let host;
let seen = 0;
let mark = 0;

const call = (...invocation) => host.call(...invocation);

// What arrived at the window while `act` ran. A last move tells when all has.
async function received(act) {
  await act();
  mark = 1 - mark;
  const last = `motion ${mark}.5 300.25`;
  await call('move', mark + 0.5, 300.25);
  await desktop.seen(last, seen);
  const lines = desktop.events.slice(seen, -1);
  seen = desktop.events.length;
  return lines;
}
const sent = (method, ...values) => received(() => call(method, ...values));

const key = (name) => [`key ${name} down`, `key ${name} up`];
const click = (button, count, at) => (
  [`button ${button} down ${at}`, `clicks ${count}`, `button ${button} up ${at}`]);

// What the lines say that was typed; each key has to come up before the next
// goes down, and none may repeat.
function textOf(lines) {
  const keys = lines.filter((line) => !line.startsWith('key Shift_L ')).map((line) => line.split(' '));
  const names = keys.filter((_, i) => i % 2 === 0).map(([, name]) => name);
  assert.deepStrictEqual(keys.map((words) => words.join(' ')), names.flatMap(key));
  return names.map((name) => ({ space: ' ', Return: '\n', Tab: '\t' }[name] ?? name)).join('');
}

// Starts a desktop, always 1280x720 in its own units, with a host that may share it.
async function start(size, scale) {
  desktop = await startDesktop(size, scale);
  host = await startHost(desktop.env);
  const opened = call('display');
  await desktop.approve();
  await desktop.seen('active', desktop.events.lastIndexOf('inactive') + 1);
  seen = desktop.events.length;
  assert.deepStrictEqual(await opened, { width: 1280, height: 720, pixelWidth: 1280, pixelHeight: 720 });
}
// Nothing is shared any more when the host has ended.
async function finish() {
  await host.stop();
  await waitUntil(async () => !await desktop.isShared());
}

async function comparePictures() {
  let differing;
  await waitUntil(async () => {
    const ours = decodePng(await call('screenshot', '', null, [], 0, 0, 0, 0, 0, 0, -1));
    const theirs = await desktop.picture();
    assert.deepStrictEqual([ours.width, ours.height], [theirs.width, theirs.height]);
    differing = ours.data.filter((byte, i) => byte !== theirs.data[i]).length;
    return differing === 0;
  }, () => `${differing} bytes of the pictures differ`);
}

// A place beyond the desktop is its last pixel.
const [right, bottom] = [1279.99609375, 719.99609375];
async function movePointer() {
  const places = [
    [[100.25, 200.5], '100.25 200.5'], [[640.125, 359.75], '640.125 359.75'],
    [[-5, 300], '0 300'], [[1280, 400], `${right} 400`], [[600, 9999], `600 ${bottom}`],
    [[0, 0], '0 0'], [[1280, 0], `${right} 0`], [[0, 720], `0 ${bottom}`],
    [[1280, 720], `${right} ${bottom}`],
  ];
  for (const [target, at] of places) {
    assert.deepStrictEqual(await sent('click', ...target, 'left', 1), [`motion ${at}`, ...click(1, 1, at)]);
  }
}

describe('on a desktop of 1280x720', { timeout: 300000 }, () => {
  before(() => start('1280x720', 1));
  after(() => desktop.stop());

  it('takes the picture that the compositor takes', comparePictures);
  it('clicks at fractions, edges and corners', movePointer);

  it('clicks, drags and scrolls', async () => {
    const cases = [
      [['click', 30, 40, 'right', 1], ['motion 30 40', ...click(3, 1, '30 40')]],
      [['click', 60, 70, 'middle', 1], ['motion 60 70', ...click(2, 1, '60 70')]],
      [['click', 90, 80, 'left', 2], ['motion 90 80', ...click(1, 1, '90 80'), ...click(1, 2, '90 80')]],
      [['mouseDown', 50, 20], ['motion 50 20', 'button 1 down 50 20', 'clicks 1']],
      [['mouseUp', 0, 0], ['button 1 up 1.5 300.25']],
      // A positive dy scrolls up on Wayland.
      [['scroll', 10, 20, 1, 0], ['motion 10 20', 'scroll 1 0']],
      [['scroll', 20, 20, -1, 0], ['motion 20 20', 'scroll -1 0']],
      [['scroll', 30, 20, 0, 2], ['motion 30 20', 'scroll 0 -1', 'scroll 0 -1']],
      [['scroll', 40, 20, 0, -1], ['motion 40 20', 'scroll 0 1']],
    ];
    for (const [invocation, expected] of cases) {
      assert.deepStrictEqual(await sent(...invocation), expected, `${invocation}`);
    }
    const drag = await sent('drag', 10, 10, 210, 110);
    assert.deepStrictEqual(drag.filter((line, i) => i < 3 || i > drag.length - 3),
      ['motion 10 10', 'button 1 down 10 10', 'clicks 1', 'motion 210 110', 'button 1 up 210 110']);
    assert.ok(drag.length > 5 && drag.slice(3, -1).every((line) => line.startsWith('motion ')), `${drag}`);
  });

  it('presses the keys of all names, and holds all modifiers', async () => {
    const names = {
      return: 'Return', enter: 'Return', tab: 'Tab', escape: 'Escape', esc: 'Escape', space: 'space',
      backspace: 'BackSpace', delete: 'Delete', forwarddelete: 'Delete', insert: 'Insert', up: 'Up',
      down: 'Down', left: 'Left', right: 'Right', home: 'Home', end: 'End',
      pageup: 'Page_Up', pagedown: 'Page_Down', minus: '-', equal: '=', plus: '=',
    };
    const modifiers = {
      ctrl: ['Control_L', 'ctrl'], control: ['Control_L', 'ctrl'], shift: ['Shift_L'], alt: ['Alt_L', 'alt'],
      option: ['Alt_L', 'alt'], super: ['Super_L', 'super'], meta: ['Super_L', 'super'],
      cmd: ['Super_L', 'super'], command: ['Super_L', 'super'],
    };
    const table = fs.readFileSync(path.join(__dirname, '../../src/keys/key_tables.cpp'), 'utf8');
    for (const [, name] of table.matchAll(/\{"(\w+)", 0x/g)) {
      assert.ok(name in names || name in modifiers || name === 'capslock', name);
    }
    for (const sign of '-=[]\\;\',./`0123456789abcdefghijklmnopqrstuvwxyz') names[sign] = sign;
    for (let i = 1; i <= 12; i++) names[`f${i}`] = `F${i}`;
    for (const [name, expected] of Object.entries(names)) {
      assert.deepStrictEqual(await sent('key', name), key(expected), name);
    }
    for (const [name, [symbol, mask]] of Object.entries(modifiers)) {
      // The shell keeps the press of its own key, and tells of the modifier.
      const down = symbol === 'Super_L' ? [] : [`key ${symbol} down`];
      const tap = mask ? [`key j down ${mask}`, 'key j up'] : key('J');
      assert.deepStrictEqual(await sent('key', `${name}+j`), [...down, ...tap, `key ${symbol} up`], name);
    }
    assert.deepStrictEqual(await sent('key', 'ctrl+alt+shift+p'), [
      'key Control_L down', 'key Alt_L down ctrl', 'key Shift_L down ctrl alt', 'key P down ctrl alt',
      'key P up', 'key Shift_L up', 'key Alt_L up', 'key Control_L up']);
    assert.deepStrictEqual(await sent('key', 'ctrl'), key('Control_L'));
    // Caps Lock stays on until the next time.
    assert.deepStrictEqual(await received(async () => {
      for (const name of ['capslock', 'a', 'capslock', 'a']) await call('key', name);
    }), [...key('Caps_Lock'), ...key('A'), ...key('Caps_Lock'), ...key('a')]);
  });

  it('types what stands on a US keyboard', async () => {
    const ascii = String.fromCharCode(...Array.from({ length: 95 }, (_, i) => 32 + i));
    for (const text of [ascii, 'Hello, world! (x = 3; y < 4)', 'aA bB\tcC\nzZ']) {
      assert.strictEqual(textOf(await sent('type', text)), text);
    }
  });

  it('says so where the portal refuses a character', async () => {
    const message = 'Portal input call failed for org.freedesktop.portal.RemoteDesktop.NotifyKeyboardKeysym: '
      + 'GDBus.Error:org.freedesktop.DBus.Error.Failed: '
      + 'Session is not allowed to call NotifyKeyboard methods';
    for (const character of ['ä', 'Ω', '€', '漢', '😀']) {
      const typing = () => assert.rejects(call('type', `x${character}y`), { message });
      assert.strictEqual(textOf(await received(typing)), 'x');
    }
  });

  it('waits for a compositor that has stopped', async () => {
    const text = 'the quick brown fox jumps over the lazy dog 1234567890 '.repeat(6).slice(0, 300);
    assert.strictEqual(textOf(await received(async () => {
      let ended = false;
      const typing = call('type', text).finally(() => { ended = true; });
      await waitUntil(() => desktop.events.length > seen + 100);
      desktop.command('kill -STOP $shell');
      await delay(2000);
      desktop.command('kill -CONT $shell');
      assert.ok(!ended);
      await typing;
    })), text);
  });

  it('sends 20,000 key events and as many motions', async () => {
    const letters = await received(() => host.run((addon) => {
      for (let i = 0; i < 10000; i++) addon.key(String.fromCharCode(97 + i % 26));
    }));
    assert.strictEqual(textOf(letters), 'abcdefghijklmnopqrstuvwxyz'.repeat(385).slice(0, 10000));
    // The shell takes the pointer away from a window that has not answered it
    // for 400 events, so there have to be fewer at a time.
    for (let i = 1; i <= 100; i++) {
      await host.run((addon, first) => {
        for (let k = 0; k < 200; k++) addon.move(first + k / 20, 500);
      }, i * 10);
      await desktop.seen(`motion ${i * 10 + 9.94921875} 500`, seen);
    }
    seen = desktop.events.length;
    assert.strictEqual(textOf(await sent('type', 'ok')), 'ok');
  });

  it('opens no session for a host that the person refuses', async () => {
    const stranger = await startHost(desktop.env);
    const refused = assert.rejects(stranger.run((addon) => addon.display()),
      { message: 'The user denied the Wayland portal request.' });
    await desktop.refuse();
    await refused;
    await stranger.stop();
  });

  it('leaves no session behind', finish);
});

describe('on a desktop of 2560x1440 at a scale of 2', { timeout: 300000 }, () => {
  before(() => start('2560x1440', 2));
  after(() => desktop.stop());

  it('takes the picture that the compositor takes', comparePictures);
  it('clicks at fractions, edges and corners', movePointer);
  it('leaves no session behind', finish);
});
