'use strict';
// Simulates the user of a KDE Plasma desktop. Sharing is normally granted in advance, so no dialog
// appears. Where a test needs the dialog, a second host of the addon, which was granted access
// before, answers it.

const { execFile } = require('node:child_process');
const { promisify } = require('node:util');
const { startHost } = require('../support/host');

const backend = 'org.freedesktop.impl.portal.desktop.kde';
const store = 'org.freedesktop.impl.portal.PermissionStore';

module.exports = async ({ call, env, waitUntil }) => {
  const grant = (permission) => call(store, '/org/freedesktop/impl/portal/PermissionStore', `${store}.SetPermission`,
    'kde-authorized', 'true', 'remote-desktop', '', `['${permission}']`);
  async function sessions() {
    const { stdout } = await promisify(execFile)('gdbus', ['introspect', '--session', '--recurse', '-d', backend,
      '-o', '/org/freedesktop/portal/desktop'], { env });
    return stdout.match(/\/org\/freedesktop\/portal\/desktop\/session\/\w+\/ostler_\w+/g) ?? [];
  }
  // Returns KWin's description of the portal's dialog, or undefined if there is none.
  async function findDialog() {
    const answer = await call('org.kde.KWin', '/WindowsRunner', 'org.kde.krunner1.Match',
      'Remote control');  // Plasma 6.3 adds "requested"
    const [, id] = /_(\{[^}]*\})/.exec(answer) ?? [];
    return id && call('org.kde.KWin', '/KWin', 'org.kde.KWin.getWindowInfo', id);
  }

  const answering = (act) => async (ask) => {
    const user = await startHost(env);
    try {
      await user.call('display');
      await grant('no');
      const asked = ask();
      asked.catch(() => {});  // it may reject before it is awaited
      await waitUntil(findDialog);
      await act(user);
      await waitUntil(async () => !await findDialog());
      return await asked;
    } finally {
      await grant('yes');
      await user.stop();
    }
  };
  // The position of the button is relative to the dialog's bottom right corner.
  async function cancel(user) {
    const info = await findDialog();
    const [x, y, width, height] = ['x', 'y', 'width', 'height']
      .map((key) => Number(RegExp(`'${key}': <([\\d.]+)>`).exec(info)[1]));
    await user.call('click', x + width - 51, y + height - 25, 'left', 1);
  }
  await grant('yes');
  return {
    share: (ask) => ask(),
    async moveTo(x, y) {
      const user = await startHost(env);
      await user.call('move', x, y);
      await user.stop();
    },
    refuse: answering(cancel),
    close: answering((user) => user.call('key', 'escape')),
    async endSharing() {
      for (const path of await sessions()) await call(backend, path, 'org.freedesktop.impl.portal.Session.Close');
    },
    switchLayout: (number) => (
      call('org.kde.keyboard', '/Layouts', 'org.kde.KeyboardLayouts.setLayout', `uint32 ${number}`)),
    isShared: async () => (await sessions()).length > 0,
  };
};
