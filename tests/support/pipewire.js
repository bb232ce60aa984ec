'use strict';
// A private PipeWire daemon with a scripted video source, for tests: see
// pipewire_source.cpp for what it can be told to do.

const { spawn } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const readline = require('node:readline');

const addon = process.env.OSTLER_ADDON || path.join(__dirname, '../../build/ostler.node');
const program = path.join(path.dirname(addon), 'tests', 'pipewire_source');

// Starts the daemon, with its socket in `runtimeDirectory` or else in one of
// its own. Resolves to { runtimeDirectory, socket, nodeId, command, stop };
// command(line) resolves to the answer.
async function startPipeWire({ format = 'BGRx', size = '1280x720', runtimeDirectory } = {}) {
  const directory = runtimeDirectory || fs.mkdtempSync(path.join(os.tmpdir(), 'ostler-pipewire-'));
  const source = spawn(program, [directory, format, size], { stdio: ['pipe', 'pipe', 'inherit'] });
  const exited = new Promise((resolve) => source.once('close', resolve));
  const answers = readline.createInterface({ input: source.stdout })[Symbol.asyncIterator]();
  const answer = async () => {
    const { value, done } = await answers.next();
    if (done) throw new Error('the PipeWire source has ended');
    return value;
  };
  source.once('error', () => {});
  source.stdin.on('error', () => {});
  const [ready, nodeId] = (await answer()).split(' ');
  if (ready !== 'ready') throw new Error(`the PipeWire source says ${ready}`);
  return {
    runtimeDirectory: directory,
    socket: path.join(directory, 'pipewire-0'),
    nodeId: Number(nodeId),
    command(line) {
      source.stdin.write(`${line}\n`);
      return answer();
    },
    async stop() {
      source.stdin.end();
      await exited;
      if (!runtimeDirectory) fs.rmSync(directory, { recursive: true, force: true });
    },
  };
}

module.exports = { startPipeWire };
