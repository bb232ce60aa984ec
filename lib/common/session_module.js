'use strict';
// Runs in the helper process, on both of its threads, and in the release process: loads
// session.node, the build of a clone or else the prebuilt one.

const path = require('node:path');
const { remedy } = require('../../load');

const root = path.join(__dirname, '..', '..');

function load() {
  try {
    return require(path.join(root, 'build', 'session.node'));
  } catch (error) {
    if (error.code !== 'MODULE_NOT_FOUND') throw error;
    return require(path.join(root, 'prebuilds', `${process.platform}-${process.arch}`, 'session.node'));
  }
}

function loadSession() {
  try {
    return load();
  } catch (error) {
    throw new Error(remedy(error), { cause: error });
  }
}

module.exports = { loadSession };
