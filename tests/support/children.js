'use strict';

const { once } = require('node:events');
const { after } = require('node:test');

const running = new Set();
// What a failed test has not stopped would keep this process for ever.
after(() => setTimeout(() => running.forEach((child) => child.kill('SIGKILL')), 5000).unref());

// Gives the end of a child process, which comes after the tests at the latest.
function endOf(child) {
  running.add(child);
  return once(child, 'exit').finally(() => running.delete(child));
}

module.exports = { endOf };
