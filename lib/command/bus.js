'use strict';
// Runs in the command `ostler`.

const { spawnSync } = require('node:child_process');

// Calls a method on the session bus whose arguments are all strings. Returns the reply as text, or
// { failure } with what the program has complained about.
function callBus(service, object, method, ...values) {
  let failure = '';
  for (const [program, ...args] of [
    ['gdbus', 'call', '--session', '--dest', service, '--object-path', object, '--method', method,
      ...values.map((value) => `'${value}'`)],
    ['dbus-send', '--session', '--print-reply', `--dest=${service}`, object, method,
      ...values.map((value) => `string:${value}`)],
  ]) {
    const { status, stdout, stderr } = spawnSync(program, args, { encoding: 'utf8', timeout: 5000 });
    if (status === 0) return { reply: stdout };
    failure += stderr ?? '';
  }
  return { failure };
}

// Calls a method of the store in which portals keep permissions.
const callPermissionStore = (method, ...values) => callBus('org.freedesktop.impl.portal.PermissionStore',
  '/org/freedesktop/impl/portal/PermissionStore', `org.freedesktop.impl.portal.PermissionStore.${method}`, ...values);

module.exports = { callBus, callPermissionStore };
