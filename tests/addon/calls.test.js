'use strict';
// What every call does with its arguments and failures, without a desktop.

const assert = require('node:assert');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { temporaryDirectory } = require('../support/children');
const { startHost } = require('../support/host');

const { XDG_SESSION_TYPE, WAYLAND_DISPLAY, DISPLAY, ...environment } = process.env;

describe('without a session', () => {
  let host;
  before(async () => { host = await startHost(environment); });
  after(() => host.stop());

  it('throws the fixed message from every operation that needs a desktop, each time anew', async () => {
    const messages = await host.run((addon) => {
      const forwarding = ['click', 'move', 'drag', 'mouseDown', 'mouseUp', 'type', 'key', 'scroll', 'cursorPosition',
        'display', 'screenshot'];
      return forwarding.map((name) => {
        try {
          return `${name} returned ${addon[name]()}`;
        } catch (error) {
          return error.constructor === Error && error.code === undefined && error.message;
        } finally {
          process.env.DISPLAY = ':0';  // comes too late
        }
      });
    });
    assert.deepStrictEqual(messages, Array(11).fill(
      'No graphical Linux session detected. Start an X11 or Wayland desktop session first.'));
  });

  it('answers the reserved operations, whatever the arguments', async () => {
    const answers = await host.run((addon) => [[], ['a', 5, 'b', 1, 2], [null, [1], {}, NaN, 's']].map((args) => ({
      capabilities: addon.capabilities(...args),
      lists: [addon.listDisplays(...args), addon.listWindows(...args)],
      windows: [addon.getActiveWindow(...args), addon.windowAtPoint(...args)],
      actions: ['activateApplication', 'concealApplication', 'restoreApplication', 'activateWindow', 'concealWindow',
        'restoreWindow', 'prepareForInput'].map((name) => addon[name](...args)),
      permissions: [addon.checkPermissions(...args), addon.requestPermissions(...args)],
    })));
    for (const answer of answers) {
      assert.deepStrictEqual(answer, {
        capabilities: { discovery: false, application: false, window: false, state: false },
        lists: [[], []],
        windows: [null, null],
        actions: Array(7).fill(false),
        permissions: [true, undefined],
      });
      assert.deepStrictEqual(Object.keys(answer.capabilities), ['discovery', 'application', 'window', 'state']);
    }
  });

  it('hands on the exception of an accessor in an array, and survives odd arrays', async () => {
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

it('says which session kind failed, and tries again on the next call', async () => {
  const directory = temporaryDirectory();
  const host = await startHost({ ...environment, XDG_SESSION_TYPE: 'TTY', XDG_RUNTIME_DIR: directory,
    DBUS_SESSION_BUS_ADDRESS: `unix:path=${directory}/none` });
  const fail = () => host.run((addon, variables) => {
    Object.assign(process.env, variables);
    addon.move(0, 0);
  });
  const unopened = {
    message: 'Unable to open the X11 display. Ensure DISPLAY is set and an X11 session is available.',
  };
  await assert.rejects(fail(), unopened);
  await assert.rejects(fail(), unopened);
  fs.mkdirSync(path.join(directory, 'wayland-0'));  // beside an X server, the compositor is what counts
  await assert.rejects(fail(), (error) => error.message !== unopened.message && /D-Bus|Wayland/.test(error.message));
  await host.stop();
});
