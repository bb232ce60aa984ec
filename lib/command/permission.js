'use strict';
// Runs in the command `ostler`.
// Finds out, without a dialog, whether the next start of the command will ask the user.

const { applicationId } = require('../common/application_id');
const { findToken } = require('../common/token_store');
const { callPermissionStore } = require('./bus');
const { ownName } = require('./open');

const lookUp = (table, id) => callPermissionStore('Lookup', table, id);

// Returns whether KDE's permission table lets an application control the desktop.
function isAuthorized(application) {
  const { reply = '' } = lookUp('kde-authorized', 'remote-desktop');
  const entry = /'([^']*)': \[([^\]]*)\]|string "([^"]*)"\s+array \[([^\]]*)\]/g;
  return [...reply.matchAll(entry)].some(([, id, values, sentId, sentValues]) =>
    (id ?? sentId) === application && /["']yes["']/.test(values ?? sentValues));
}

// `version` is that of the portal's RemoteDesktop. Returns { asks, reason }; `asks` is undefined
// when nothing says it.
function nextStart(version, env) {
  const application = applicationId();
  const caller = application ? `the application "${application}"` : 'programs without an application id';
  if (/KDE/.test(env.XDG_CURRENT_DESKTOP) && isAuthorized(application)) {
    return { asks: false, reason: `KDE's permission table allows remote control to ${caller}` };
  }
  if (version < 2) return { asks: true, reason: `version ${version} of the portal cannot remember a permission` };
  const token = findToken(ownName, env, 'one');
  if (!token) return { asks: true, reason: `no permission is kept under the name "${ownName}" for ${caller}` };
  const { failure } = lookUp('remote-desktop', token);
  if (failure === undefined) return { asks: false, reason: `the portal remembers the permission of ${caller}` };
  if (!failure.includes('NotFound')) {
    return { reason: 'a permission is kept, but the permission store of the portal does not answer' };
  }
  return { asks: true, reason: 'the portal no longer has the permission that is kept' };
}

// Makes the row of `doctor`.
function checkPermission(version, env) {
  const { asks, reason } = nextStart(Number(version), env);
  const start = asks === undefined ? 'the next start may ask' : asks ? 'the next start asks' : 'the next start does not ask';
  return { name: 'permission', ok: true, detail: `${start}: ${reason}`, asks };
}

module.exports = { checkPermission };
