'use strict';
// Runs in the host and in the helper process.

const fs = require('node:fs');
const path = require('node:path');

// Returns the path of a Wayland compositor's socket, if there is one. The addon then prefers
// the compositor to an X server.
function compositorSocket({ XDG_RUNTIME_DIR }) {
  return [XDG_RUNTIME_DIR, `/run/user/${process.getuid()}`].filter(Boolean)
    .flatMap((directory) => ['wayland-0', 'wayland-1'].map((name) => path.join(directory, name)))
    .find(fs.existsSync);
}

// Returns the kind of session that the addon opens in an environment: "wayland", "x11" or
// "none". The rules are those of src/driver/session.cpp.
function sessionKind(env) {
  const kind = env.XDG_SESSION_TYPE?.toLowerCase() ||
    (env.WAYLAND_DISPLAY ? 'wayland' : env.DISPLAY ? 'x11' : 'unknown');
  if (kind === 'wayland') return 'wayland';
  if (kind === 'unknown' && env.DISPLAY === undefined) return 'none';
  return compositorSocket(env) ? 'wayland' : 'x11';
}

// Returns whether an X11 program cannot read all that other programs have copied on a Wayland session.
const needsDesktopClipboard = ({ XDG_CURRENT_DESKTOP = '' }) => XDG_CURRENT_DESKTOP.split(':').includes('KDE');

module.exports = { compositorSocket, needsDesktopClipboard, sessionKind };
