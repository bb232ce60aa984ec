'use strict';
// Runs in the helper process, which keeps the tokens of the desktop portal, and in the command,
// which looks for them and deletes them.
//
// Whoever can read a token can control the desktop without asking, so only the user can read the
// files. A token may be for one use: a file is replaced as a whole, so a process that is killed
// at any time leaves either the old content or the new one.

const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { applicationId } = require('./application_id');

const suffix = '.json';

// Returns the folder in which the files are kept.
function directoryOf({ XDG_STATE_HOME, HOME }) {
  const state = path.isAbsolute(XDG_STATE_HOME ?? '') ? XDG_STATE_HOME :
    path.join(HOME || os.homedir(), '.local', 'state');
  return path.join(state, 'ostler');
}

const fileOf = (name, env) => path.join(directoryOf(env), name + suffix);

// The portal gives a permission to one application on one kind of desktop. A permission for all
// monitors is not one for a single monitor.
const keyOf = ({ XDG_CURRENT_DESKTOP = '' }, monitors) => [XDG_CURRENT_DESKTOP, applicationId(), monitors].join('|');

// Returns the tokens in a file by their keys. A broken file has none.
function readTokens(file) {
  try {
    const { tokens } = JSON.parse(fs.readFileSync(file, 'utf8'));
    const isToken = ([, token]) => typeof token === 'string';
    return Object.fromEntries(Object.entries(tokens).filter(isToken));
  } catch {
    return {};
  }
}

function synchronise(directory) {
  const descriptor = fs.openSync(directory, 'r');
  try {
    fs.fsyncSync(descriptor);
  } finally {
    fs.closeSync(descriptor);
  }
}

function writeTokens(file, tokens) {
  const temporary = `${file}.new`;  // of which there is one, because the writer holds the lock
  fs.rmSync(temporary, { force: true });
  const descriptor = fs.openSync(temporary, 'wx', 0o600);
  try {
    fs.writeFileSync(descriptor, JSON.stringify({ tokens }));
    fs.fsyncSync(descriptor);
  } finally {
    fs.closeSync(descriptor);
  }
  fs.renameSync(temporary, file);
  synchronise(path.dirname(file));
}

// The token that is kept under a name for this program and desktop. It is locked from the
// beginning, so that of several processes that open a session at once only one asks the user.
class TokenStore {
  #file;
  #key;
  #lock;

  // `lock(path, wait)` is that of the session module. `waiting` is called if the lock is taken.
  // Throws when the folder or the lock cannot be made.
  constructor(name, { env, monitors, lock, waiting }) {
    const directory = directoryOf(env);
    fs.mkdirSync(directory, { recursive: true, mode: 0o700 });
    fs.chmodSync(directory, 0o700);
    this.#file = fileOf(name, env);
    this.#key = keyOf(env, monitors);
    const lockFile = path.join(directory, `${name}.lock`);
    this.#lock = lock(lockFile, false);
    if (this.#lock >= 0) return;
    waiting();
    this.#lock = lock(lockFile, true);
  }

  load() {
    return readTokens(this.#file)[this.#key] ?? '';
  }

  // An empty token deletes the previous one. Throws when the file cannot be written.
  save(token) {
    const { [this.#key]: previous = '', ...others } = readTokens(this.#file);
    if (token === previous) return;
    writeTokens(this.#file, token ? { ...others, [this.#key]: token } : others);
  }

  unlock() {
    if (this.#lock >= 0) fs.closeSync(this.#lock);
    this.#lock = -1;
  }
}

// Returns the token that the next session will use, or "".
const findToken = (name, env, monitors) => readTokens(fileOf(name, env))[keyOf(env, monitors)] ?? '';

// Deletes everything that is kept under a name, and returns the tokens. The lock file stays,
// because a process may hold it.
function forget(name, env) {
  const file = fileOf(name, env);
  const tokens = Object.values(readTokens(file));
  for (const each of [file, `${file}.new`]) fs.rmSync(each, { force: true });
  return tokens;
}

module.exports = { TokenStore, findToken, forget };
