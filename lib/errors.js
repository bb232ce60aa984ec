'use strict';

class AbortError extends Error {
  constructor(cause) {
    const timedOut = cause?.name === 'TimeoutError';
    super(timedOut ? 'The call timed out.' : 'The call was aborted.', { cause });
    this.name = 'AbortError';
    this.code = 'ABORT_ERR';
  }
}

function describeEnd({ reason, code, signal, error }, kind) {
  if (error) return error.message;
  switch (reason) {
    case 'closed': return 'The desktop was closed.';
    case 'aborted': return 'The desktop ended with a call that was aborted.';
    default: {
      const hint = kind === 'x11' && code === 1 ? ' The X server has probably ended.' : '';
      return `The helper process ended with ${signal ?? `code ${code}`}.${hint}`;
    }
  }
}

class DesktopClosedError extends Error {
  constructor(end, kind) {
    super(`${describeEnd(end, kind)} Call openDesktop again for a new session.`);
    this.name = 'DesktopClosedError';
    this.code = 'ERR_DESKTOP_CLOSED';
    this.end = end;
  }
}

// Pairs a part of an error message of the addon with advice for the user.
const advice = [
  ['XTest extension is not available', 'Enable the XTEST extension of the X server.'],
  ['denied the Wayland portal request', 'Call openDesktop again to ask once more.'],
  ['does not have permission for', 'Open a new session and allow remote interaction in its dialog.'],
  ['Unable to connect to the session D-Bus', 'Set DBUS_SESSION_BUS_ADDRESS to the bus of the desktop session.'],
  ['Unable to load a library that Wayland', 'Install the packages that "ostler doctor" names.'],
  ['Unable to read portal property', 'Install xdg-desktop-portal and its backend for this desktop.'],
  ['Timed out waiting for the Wayland ScreenCast stream', 'Check that PipeWire and WirePlumber are running.'],
  ['Unable to synthesize an X11 keycode', 'Paste the text instead.'],
  ['NotifyKeyboardKeysym', 'Paste a character that the keyboard layout lacks.'],
];

// After one of these errors a Wayland session is unusable, and only a new process can open another one.
const sessionEnds = /^Wayland ScreenCast stream failed|The connection is closed|Invalid session/;

function addonError(message) {
  const hint = advice.find(([part]) => message.includes(part))?.[1];
  return new Error(hint ? `${message.replace(/[^.]$/, '$&.')} ${hint}` : message);
}

module.exports = { AbortError, DesktopClosedError, addonError, sessionEnds };
