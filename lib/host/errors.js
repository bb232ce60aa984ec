'use strict';
// Runs in the host.

const { describeMissing, isMissing, whatWorks } = require('../common/remote_control');

class AbortError extends Error {
  constructor(cause) {
    const timedOut = cause?.name === 'TimeoutError';
    super(timedOut ? 'The call timed out.' : 'The call was aborted.', { cause });
    this.name = 'AbortError';
    this.code = 'ABORT_ERR';
  }
}

// Xlib writes this to stderr, and the helper something similar.
const serverEnded = /X connection to|^XIO:|The X server has ended/m;

function describeExit(end, complaints) {
  const how = `The helper process ended with ${end.signal ?? `code ${end.code}`}`;
  if (serverEnded.test(complaints)) return `${how}. The X server has ended.`;
  const reason = complaints.trim();
  return reason ? `${how}: ${reason}${/[.!?]$/.test(reason) ? '' : '.'}` : `${how}.`;
}

function describeEnd(end, complaints) {
  if (end.error) return end.error.message;
  switch (end.reason) {
    case 'closed': return 'The desktop was closed.';
    case 'aborted': return 'The desktop ended with a call that was aborted.';
    default: return describeExit(end, complaints);
  }
}

class DesktopClosedError extends Error {
  // `complaints` is what the helper has written to stderr.
  constructor(end, complaints) {
    super(`${describeEnd(end, complaints)} Call openDesktop again for a new session.`);
    this.name = 'DesktopClosedError';
    this.code = 'ERR_DESKTOP_CLOSED';
    this.end = end;
  }
}

// Pairs a part of an error message of the session module with advice for the user.
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
  ['Escape cannot be watched: another program', 'Close that program.'],
];

// `env` is the environment of the helper.
function callError(message, env) {
  if (isMissing(message)) return new Error(`${describeMissing(env)}: ${whatWorks}.`, { cause: new Error(message) });
  const hint = advice.find(([part]) => message.includes(part))?.[1];
  return new Error(hint ? `${message.replace(/[^.]$/, '$&.')} ${hint}` : message);
}

module.exports = { AbortError, DesktopClosedError, callError };
