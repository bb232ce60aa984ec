'use strict';
// What runs in the process of host.js.

const addon = require(process.env.OSTLER_ADDON);
process.on('message', ({ source, values }) => {
  try {
    process.send({ value: eval(`(${source})`)(addon, ...values) });
  } catch (error) {
    process.send({ error: { message: error.message, code: error.code, isError: error instanceof Error } });
  }
});
process.send({ value: 'ready' });
