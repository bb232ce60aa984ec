'use strict';

const { Desktop } = require('./desktop');
const { AbortError, DesktopClosedError } = require('./errors');

// Opens a desktop session in a helper process; see promises.d.ts.
const openDesktop = (options) => Desktop.open(options);

module.exports = { openDesktop, AbortError, DesktopClosedError };
