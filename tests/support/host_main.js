'use strict';
// Runs in the process that host.js starts.

const addon = require(process.env.OSTLER_ADDON);
process.on('message', ({ source, values }) => {
  try {
    process.send({ value: eval(`(${source})`)(addon, ...values) });
  } catch (error) {
    process.send({ error: error.message });
  }
});
process.send({ value: 'ready' });
