'use strict';
// Runs in the command `ostler`.
// Says for `doctor` how a session reaches the clipboard, by the rules of lib/helper/clipboard.js and
// without a dialog.

const { needsDesktopClipboard } = require('../common/session_kind');
const { callBus } = require('./bus');

// `desktop` is an open session where that takes no dialog.
async function examineX11(desktop) {
  const text = await desktop.getClipboard();
  return { ok: true, detail: `${desktop.clipboard}, read ${text.length} characters` };
}

function examineWayland(env, { portalVersion, isProgram }) {
  const version = portalVersion('Clipboard');
  if (version) return { ok: true, detail: `portal, version ${version}, if the user shares it in the dialog` };
  if (!env.DISPLAY) {
    return { ok: false, detail: 'none: the portal offers none, and there is no X server', remedy: 'start Xwayland and set DISPLAY' };
  }
  if (!needsDesktopClipboard(env)) return { ok: true, detail: `x11, ${env.DISPLAY}` };
  if (isProgram('wl-paste')) return { ok: true, detail: 'data-control, through wl-paste' };
  const { reply } = callBus('org.kde.klipper', '/klipper', 'org.kde.klipper.klipper.getClipboardContents');
  if (reply !== undefined) return { ok: true, detail: 'klipper, texts only; with wl-clipboard, pictures too' };
  return { ok: false, detail: 'none: an X11 program cannot read that of KDE', remedy: 'install wl-clipboard' };
}

module.exports = { examineWayland, examineX11 };
