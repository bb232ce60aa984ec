'use strict';
// Tests how calls convert their arguments and report failures, without a desktop.

const assert = require('node:assert');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { temporaryDirectory } = require('../support/children');
const { startHost } = require('../support/host');

const { XDG_SESSION_TYPE, WAYLAND_DISPLAY, DISPLAY, ...environment } = process.env;

// The results of the reserved methods.
const constants = {
  capabilities: { discovery: false, application: false, window: false, state: false },
  listDisplays: [], listWindows: [], getActiveWindow: null, windowAtPoint: null,
  activateApplication: false, concealApplication: false, restoreApplication: false,
  activateWindow: false, concealWindow: false, restoreWindow: false, prepareForInput: false,
  checkPermissions: true, requestPermissions: undefined,
};
const operations = ['click', 'move', 'drag', 'mouseDown', 'mouseUp', 'type', 'key', 'scroll', 'cursorPosition',
  'display', 'screenshot'];

describe('without a session', () => {
  let host;
  before(async () => { host = await startHost(environment); });
  after(() => host.stop());

  it('throws the same error from every method, even when DISPLAY is set later', async () => {
    const messages = await host.run((addon, names) => names.map((name) => {
      try {
        return `${name} returned ${addon[name]()}`;
      } catch (error) {
        return error.constructor === Error && error.code === undefined && error.message;
      } finally {
        process.env.DISPLAY = ':0';
      }
    }), operations);
    assert.deepStrictEqual(messages, operations.map(
      () => 'No graphical Linux session detected. Start an X11 or Wayland desktop session first.'));
  });

  for (const values of [[], ['a', 5, 'b', 1, 2], [null, [1], {}, NaN, 's']]) {
    it(`returns constants from reserved methods for arguments (${values})`, async () => {
      const answers = await host.run((addon, names, args) => names.map((name) => [name, addon[name](...args)]),
        Object.keys(constants), values);
      assert.deepStrictEqual(Object.fromEntries(answers), constants);
    });
  }

  it('passes on the exception of a getter in an array, and survives unusual arrays', async () => {
    const result = await host.run((addon) => {
      const trap = [1, 2, 3];
      Object.defineProperty(trap, 1, { get() { throw new RangeError('mine'); } });
      const caught = ['screenshot', 'prepareForInput'].map((name) => {
        try { return addon[name]('', trap, [], 1, 1); } catch (error) { return `${error.name}: ${error.message}`; }
      });
      const shrinking = [1, 2, 3, 4];
      Object.defineProperty(shrinking, 0, { get() { shrinking.length = 1; return 'a'; } });
      return [...caught, addon.prepareForInput('', shrinking, ['a', , Symbol('b'), {}])];
    });
    assert.deepStrictEqual(result, ['RangeError: mine', 'RangeError: mine', false]);
  });
});

it('names the session kind that failed, and tries again on the next call', async () => {
  const directory = temporaryDirectory();
  const host = await startHost({ ...environment, XDG_SESSION_TYPE: 'TTY', XDG_RUNTIME_DIR: directory,
    DBUS_SESSION_BUS_ADDRESS: `unix:path=${directory}/none` });
  const message = 'Unable to open the X11 display. Ensure DISPLAY is set and an X11 session is available.';
  await assert.rejects(host.call('move', 0, 0), { message });
  await assert.rejects(host.call('move', 0, 0), { message });
  fs.mkdirSync(path.join(directory, 'wayland-0'));  // a compositor takes precedence over an X server
  await assert.rejects(host.call('move', 0, 0), { message: /^Unable to connect to the session D-Bus: / });
  await host.stop();
});
