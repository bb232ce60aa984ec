'use strict';
// Runs the operations of one subject in its own process, so that subjects do not share warmed-up
// memory: subject_process.js SUBJECT.

const { createRequire } = require('node:module');
const path = require('node:path');
const commands = require('./subjects/commands');

const name = process.argv[2];
// The peers are installed beside this file; subjects/ostler.js loads the addon by a relative path.
const load = createRequire(path.join(__dirname, 'subjects', 'subject.js'));

const start = process.hrtime.bigint();
let operations;
try {
  operations = (commands[name] ?? require(`./subjects/${name}`))(load);
} catch (error) {
  process.send({ error: error.message.split('\n')[0] });
}
const requireTime = Number(process.hrtime.bigint() - start);

async function time(operation, count) {
  if (operation === 'require') return { nanoseconds: requireTime };
  let result;
  const begin = process.hrtime.bigint();
  for (let i = 0; i < count; i++) {
    result = operations[operation]();
    if (result instanceof Promise) result = await result;
  }
  return { nanoseconds: Number(process.hrtime.bigint() - begin) / count, bytes: result?.length };
}

process.on('message', async ({ operation, count }) => {
  await time(operation, count).then(
    ({ nanoseconds, bytes }) => process.send({ nanoseconds, bytes, memory: process.memoryUsage.rss() }),
    ({ message }) => process.send({ error: message }));
});
if (operations) process.send({ operations: [...Object.keys(operations), ...(commands[name] ? [] : ['require'])] });
