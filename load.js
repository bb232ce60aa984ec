'use strict';

const { remedy } = require('./lib/shared/remedy.js');

// Loads the build of a clone, or else the prebuilt addon. Bundlers find only literal paths.
function load() {
  try {
    return require('./build/ostler.node');
  } catch (error) {
    if (error.code !== 'MODULE_NOT_FOUND') throw error;
    switch (`${process.platform}-${process.arch}`) {
      case 'linux-x64': return require('./prebuilds/linux-x64/ostler.node');
      case 'linux-arm64': return require('./prebuilds/linux-arm64/ostler.node');
      default: throw error;
    }
  }
}

// This module exports the error instead of throwing it. When a CommonJS module that index.mjs
// imports throws, Node up to version 20 also reports the error as uncaught, which would end the
// process although the host has caught it.
try {
  exports.addon = load();
} catch (error) {
  exports.error = new Error(remedy(error), { cause: error });
}
