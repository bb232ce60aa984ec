'use strict';

const fs = require('node:fs');
const path = require('node:path');

const helperFile = path.join(__dirname, '..', '..', 'lib', 'helper', 'main.js');

// Returns the process ids of the helpers that a process has started.
function helpersOf(pid) {
  const children = fs.readdirSync(`/proc/${pid}/task`).flatMap(
    (task) => fs.readFileSync(`/proc/${pid}/task/${task}/children`, 'latin1').split(' ').filter(Boolean));
  const command = (child) => fs.readFileSync(`/proc/${child}/cmdline`, 'latin1');
  return children.filter((child) => command(child).includes(helperFile)).map(Number);
}

const isAlive = (pid) => fs.existsSync(`/proc/${pid}/exe`);

module.exports = { helpersOf, isAlive };
