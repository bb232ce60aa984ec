'use strict';
// Runs in the command `ostler`.
// All commands: those that act on a desktop, and others. `report` is that of a command which
// opens no session.

const { commands } = require('./commands');
const { oneOf } = require('./arguments');

// Only commands that need them load these, because each costs time.
const doctor = (values) => require('./doctor').doctor(values);
const forget = (values) => require('./forget').forget(values);
const readName = (...words) => require('./forget').readName(...words);
const completion = (values) => require('./completion').completion(values);

const boolean = { type: 'boolean' };
const json = { json: { ...boolean, short: 'j' } };

const readShell = ([shell]) => oneOf(shell, ['bash', 'zsh'], 'SHELL');

const all = {
  ...commands,
  doctor: { usage: '[--json]', about: 'says what works in this session and what to install', words: [0, 0],
    options: json, report: doctor },
  forget: { usage: '[NAME] [--json]', about: 'revokes the permission that is kept under NAME, or that of this command',
    words: [0, 1], options: json, read: readName, report: forget },
  run: { usage: '[FILE]', about: 'runs the commands in FILE or stdin, one per line, in one session', words: [0, 1] },
  completion: { usage: 'bash|zsh', about: 'prints the script with which this shell completes the commands and options',
    words: [1, 1], read: readShell, report: completion },
};

// Returns all options of a command.
function optionsOf(command) {
  return {
    ...command.options, ...(!command.report && { ask: boolean }), help: { ...boolean, short: 'h' },
    version: { ...boolean, short: 'v' },
  };
}

module.exports = { all, optionsOf };
