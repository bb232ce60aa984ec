'use strict';
// What runs in the process of host.js.

const addon = require(process.env.OSTLER_ADDON);
process.on('message', ({ source, values }) => {
  try {
    process.send({ value: eval(`(${source})`)(addon, ...values) });
  } catch (error) {
    process.send({ error: error.message });
  }
});
process.send({ value: 'ready' });
