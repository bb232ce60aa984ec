'use strict';
// Runs in the command `ostler`.

const fs = require('node:fs');
const path = require('node:path');
const { installing } = require('../../load');
const { openDesktop } = require('../promises');
const { describeMissing, whatWorks } = require('../common/remote_control');
const { compositorSocket, sessionKind } = require('../common/session_kind');
const { loadSession } = require('../common/session_module');
const { callBus } = require('./bus');
const { examineWayland, examineX11 } = require('./clipboard');
const { checkPermission } = require('./permission');

// The libraries that are loaded when a Wayland session opens. Without libei, input goes through
// the portal, and without libxkbcommon it uses the keys of a US keyboard.
const waylandLibraries = ['libglib-2.0.so.0', 'libgobject-2.0.so.0', 'libgio-2.0.so.0', 'libpipewire-0.3.so.0'];
const optionalLibraries = ['libei.so.1', 'libxkbcommon.so.0'];

// Returns whether the dynamic linker can load a library. Node rejects every library that is not
// an addon, but only the linker's messages begin with the name of a library.
function isLoadable(library) {
  try {
    process.dlopen({ exports: {} }, library);
  } catch (error) {
    return !/\.so[.\d]*: /.test(error.message);
  }
  return true;
}

const isProgram = (name) => (process.env.PATH ?? '').split(':').some((directory) => {
  try {
    fs.accessSync(path.join(directory, name), fs.constants.X_OK);
    return true;
  } catch {
    return false;
  }
});

function portalVersion(name) {
  const { reply = '' } = callBus('org.freedesktop.portal.Desktop', '/org/freedesktop/portal/desktop',
    'org.freedesktop.DBus.Properties.Get', `org.freedesktop.portal.${name}`, 'version');
  return /uint32 (\d+)/.exec(reply)?.[1];
}

// Makes the result of a check. Only a failed check has a `remedy`.
const check = (name, ok, detail, remedy) => ({ name, ok, detail, ...(ok ? {} : { remedy }) });

const checkFound = (name, found, remedy) => check(name, found, found ? 'found' : 'not found', remedy);

function checkModule(name, load) {
  try {
    load();
    return check(name, true, 'loads');
  } catch (error) {
    return check(name, false, error.cause?.message ?? '', error.message);
  }
}

const checkClipboard = ({ ok, detail, remedy }) => check('clipboard', ok, detail, remedy);

async function checkX11() {
  try {
    const desktop = await openDesktop({ signal: AbortSignal.timeout(10000) });
    const { width, height } = await desktop.display();
    const clipboard = await examineX11(desktop);
    await desktop.close();
    return [check('X server', true, `${process.env.DISPLAY}, ${width}x${height}`), checkClipboard(clipboard)];
  } catch (error) {
    return [check('X server', false, error.message, 'set DISPLAY, and XAUTHORITY if the server requires it')];
  }
}

function checkWayland() {
  const versions = { RemoteDesktop: portalVersion('RemoteDesktop'), ScreenCast: portalVersion('ScreenCast') };
  const portals = [['RemoteDesktop', 'input'], ['ScreenCast', 'pictures']].map(([name, what]) => {
    const version = versions[name];
    return check(`portal ${name}`, version !== undefined, version ? `version ${version}` : 'does not answer',
      `for ${what}: install xdg-desktop-portal and the backend of the desktop, such as xdg-desktop-portal-gnome`);
  });
  if (versions.RemoteDesktop) portals.push(checkPermission(versions.RemoteDesktop, process.env));
  else if (versions.ScreenCast) portals[0] = check(portals[0].name, false, describeMissing(process.env), whatWorks);
  const libraries = [...waylandLibraries, ...optionalLibraries].map(
    (library) => checkFound(library, isLoadable(library), installing(library)));
  return [...libraries, ...portals, checkClipboard(examineWayland(process.env, { portalVersion, isProgram }))];
}

// Checks what a session needs. Opens no session on Wayland, so that no dialog appears.
async function examine() {
  const kind = sessionKind(process.env);
  const session = check('session', kind !== 'none', kind === 'wayland' ?
    `Wayland, ${compositorSocket(process.env) ?? process.env.WAYLAND_DISPLAY ?? 'by XDG_SESSION_TYPE'}` :
    kind === 'x11' ? 'X11' : 'none', 'run this in an X11 or Wayland session');
  const modules = [checkModule('addon', () => require('../..')), checkModule('session.node', loadSession)];
  const loads = modules.every(({ ok }) => ok);
  const xclip = checkFound('xclip', isProgram('xclip'), 'install xclip, for setClipboard of the addon');
  const backend = !loads ? [] : kind === 'x11' ? await checkX11() : kind === 'wayland' ? checkWayland() : [];

  const display = Boolean(process.env.DISPLAY);
  const xwayland = kind === 'wayland' ? [check('Xwayland', display, process.env.DISPLAY ?? 'no DISPLAY',
    'for the clipboard of the addon: start Xwayland and set DISPLAY')] : [];
  const checks = [session, ...modules, ...backend, ...xwayland, xclip];
  const opens = kind !== 'none' && loads && backend.every(({ ok, name }) => ok || [...optionalLibraries, 'clipboard'].includes(name));
  const hasClipboard = backend.some(({ ok, name }) => ok && name === 'clipboard');
  return {
    checks,
    works: {
      'input and screenshots': opens, 'reading the clipboard': hasClipboard,
      'writing the clipboard and paste': hasClipboard,
      'stopping with Escape': opens && kind === 'x11',
    },
  };
}

async function doctor() {
  const data = await examine();
  const lines = [
    ...data.checks.map(({ name, ok, detail, remedy }) =>
      `${ok ? 'ok  ' : 'FAIL'}  ${name}: ${detail}${ok ? '' : `: ${remedy}`}`),
    ...Object.entries(data.works).map(([what, works]) => `${works ? 'works       ' : 'does not work'} ${what}`),
  ];
  return { text: lines.join('\n'), data, failed: !data.works['input and screenshots'] };
}

module.exports = { doctor };
