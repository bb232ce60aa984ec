'use strict';

const { Desktop } = require('./desktop');
const { AbortError, DesktopClosedError } = require('./errors');

const openDesktop = (options) => Desktop.open(options);

module.exports = { openDesktop, AbortError, DesktopClosedError };
