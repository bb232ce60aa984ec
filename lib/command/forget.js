'use strict';
// Runs in the command `ostler`.

const { remember } = require('../host/check');
const { forget: forgetTokens } = require('../common/token_store');
const { UsageError } = require('./arguments');
const { callPermissionStore } = require('./bus');
const { ownName } = require('./open');

// Returns the name under which a permission is kept.
function readName([name = ownName]) {
  try {
    return remember(name, 'NAME');
  } catch (error) {
    throw new UsageError(error.message);
  }
}

function forget(name) {
  const tokens = forgetTokens(name, process.env);
  const forgotten = tokens.length > 0;
  // Copies of the file become useless, too. Another desktop than this one may have the permission.
  for (const token of tokens) callPermissionStore('Delete', 'remote-desktop', token);
  const text = forgotten ? `the permission "${name}" is deleted: the next start asks` :
    `no permission is kept under the name "${name}"`;
  return { text, data: { name, forgotten } };
}

module.exports = { forget, readName };
