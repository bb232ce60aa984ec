'use strict';
// Runs in the helper process and in the command.

const fs = require('node:fs');

const scope = /^app-(?:[a-zA-Z0-9]+-)?(.+?)-[a-zA-Z0-9]*\.scope$/;
const service = /^app-(?:[a-zA-Z0-9]+-)?(.+?)(?:@[a-zA-Z0-9]*)?\.service$/;

// Returns the application id under which the desktop portal knows a program, or "". The portal
// takes it from the systemd unit in which the desktop has started the program.
function applicationId(cgroups = readCgroups()) {
  const path = /^0::(.*)$/m.exec(cgroups)?.[1] ?? '';
  const unit = path.split('/').findLast((part) => /\.(scope|service)$/.test(part)) ?? '';
  const escaped = (scope.exec(unit) ?? service.exec(unit))?.[1] ?? '';
  return escaped.replace(/\\x([0-9a-f]{2})/g, (_all, code) => String.fromCharCode(parseInt(code, 16)));
}

function readCgroups() {
  try {
    return fs.readFileSync('/proc/self/cgroup', 'utf8');
  } catch {
    return '';
  }
}

module.exports = { applicationId };
