'use strict';

const { remember } = require('../host/check');
const { forget: forgetTokens } = require('../shared/token_store');
const { UsageError } = require('./arguments');
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
  const forgotten = forgetTokens(name, process.env);
  const text = forgotten ? `the permission "${name}" is deleted: the next start asks` :
    `no permission is kept under the name "${name}"`;
  return { text, data: { name, forgotten } };
}

module.exports = { forget, readName };
