'use strict';

const fs = require('node:fs');
const path = require('node:path');

// The socket of a Wayland compositor, by which the addon prefers it to an X server.
function compositorSocket({ XDG_RUNTIME_DIR }) {
  return [XDG_RUNTIME_DIR, `/run/user/${process.getuid()}`].filter(Boolean)
    .flatMap((directory) => ['wayland-0', 'wayland-1'].map((name) => path.join(directory, name)))
    .find(fs.existsSync);
}

// The kind of session that the addon opens in an environment, by the rules of
// src/driver/session.cpp: "wayland", "x11", or "none".
function sessionKind(env) {
  const kind = env.XDG_SESSION_TYPE?.toLowerCase() ||
    (env.WAYLAND_DISPLAY ? 'wayland' : env.DISPLAY ? 'x11' : 'unknown');
  if (kind === 'wayland') return 'wayland';
  if (kind === 'unknown' && env.DISPLAY === undefined) return 'none';
  return compositorSocket(env) ? 'wayland' : 'x11';
}

module.exports = { compositorSocket, sessionKind };
