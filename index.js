'use strict';

try {
  module.exports = require('./build/ostler.node');
} catch (error) {
  if (error.code !== 'MODULE_NOT_FOUND') throw error;
  throw new Error('ostler is not built here. Run "npm run build" in its directory.', { cause: error });
}
