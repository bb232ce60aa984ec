'use strict';
// Runs in the host.

const { Desktop } = require('./host/desktop');
const { AbortError, DesktopClosedError } = require('./host/errors');

const openDesktop = (options) => Desktop.open(options);

module.exports = { openDesktop, AbortError, DesktopClosedError };
