'use strict';
// Installs the archive of `npm run package` as a user would. scripts/package/test.sh prepares
// and runs these tests.

const assert = require('node:assert/strict');
const { execFileSync, spawnSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { test } = require('node:test');
const { temporaryDirectory } = require('../support/children');
const { startHost } = require('../support/host');
const { decodePng } = require('../support/png');
const { waitUntil } = require('../support/wait');
const { keyboardState, nothingDown, startWitness, startXvfb, textOf } = require('../support/x11');

const { OSTLER_ARCHIVE: archive, OSTLER_ROOTS: roots, OSTLER_TOOLS, OSTLER_UNSHARE: unshare } = process.env;
const tools = path.join(OSTLER_TOOLS, 'node_modules');
const node = (name) => path.join(tools, name, 'bin', 'node');

// Returns the command that runs a program in the unpacked Debian 11, where the given directories
// are mounted at the same paths.
function enterDebian11(...directories) {
  const root = path.join(roots, 'linux-x64', 'root');
  const script = `for directory in /dev /proc ${directories.join(' ')}; do
      mkdir -p "$0$directory"; mount --rbind "$directory" "$0$directory"
    done
    exec chroot "$0" "$@"`;
  return [...unshare.split(' '), 'sh', '-euc', script, root];
}
const places = { 'this machine': () => [], 'Debian 11': enterDebian11 };

function run([command, ...args], options) {
  return execFileSync(command, args, { encoding: 'utf8', maxBuffer: 1 << 26, ...options });
}

// Runs Node in `directory` with a minimal environment, in which PATH has only Node itself.
function runNode(enter, version, directory, args, { DISPLAY = '', XDG_RUNTIME_DIR = '' } = {}) {
  const env = { PATH: process.env.PATH, XDG_SESSION_TYPE: 'x11', DISPLAY, XDG_RUNTIME_DIR };
  const script = 'cd "$0"; PATH=${1%/*} HOME=$0 exec "$@"';
  return run([...enter(tools, directory), '/bin/sh', '-euc', script, directory, node(version), ...args], { env });
}

function install(enter, version) {
  const directory = temporaryDirectory();
  fs.copyFileSync(archive, path.join(directory, 'ostler.tgz'));
  const npm = path.join(tools, 'npm', 'bin', 'npm-cli.js');
  runNode(enter, version, directory, [npm, 'install', '--offline', './ostler.tgz']);
  return directory;
}

// Prints a PNG and a JPEG of the desktop.
const takePictures = `console.log(JSON.stringify([-1, 0.75].map((quality) =>
  screenshot('', null, [], 0, 0, 0, 0, 0, 0, quality).toString('base64'))))`;
const scripts = {
  require: `const { screenshot } = require('ostler'); ${takePictures}`,
  import: `import ostler, { screenshot } from 'ostler';
    if (screenshot !== ostler.screenshot) throw new Error('two addons');
    ${takePictures}`,
  promises: `import { openDesktop } from 'ostler/promises';
    const desktop = await openDesktop();
    const pictures = [await desktop.screenshot(), await desktop.screenshot({ format: 'jpeg', quality: 0.75 })];
    await desktop.close();
    console.log(JSON.stringify(pictures.map((picture) => picture.toString('base64'))));`,
};
const nodeArguments = (name) => [`--input-type=${name === 'require' ? 'commonjs' : 'module'}`, '-e', scripts[name]];

// A libpng that is not linked in uses the zlib that Node exports, so the bytes of a PNG differ.
const pixelsAndJpeg = ([png, jpeg]) => [decodePng(Buffer.from(png, 'base64')).data, jpeg];

// Takes the same pictures with a build that uses the distribution's shared codecs.
async function expectedPictures(env) {
  const host = await startHost(env);
  const pictures = await host.run((addon) => [-1, 0.75].map((quality) =>
    addon.screenshot('', null, [], 0, 0, 0, 0, 0, 0, quality).toString('base64')));
  await host.stop();
  return pixelsAndJpeg(pictures);
}

async function withDesktop(enter, task) {
  const server = await startXvfb({ enter: enter(tools) });
  const witness = await startWitness(server.env);
  try {
    await task(server.env, witness);
  } finally {
    await witness.stop();
    await server.stop();
  }
}

for (const [place, enter] of Object.entries(places)) {
  test(`installs without a compiler and takes pictures on ${place}`, () => withDesktop(enter, async (env) => {
    const expected = await expectedPictures(env);
    for (const version of ['node18', 'node24']) {
      const directory = install(enter, version);
      for (const name of Object.keys(scripts)) {
        const output = runNode(enter, version, directory, nodeArguments(name), env);
        assert.deepEqual(pixelsAndJpeg(JSON.parse(output)), expected, `${version}, ${name}`);
      }
    }
  }));
}

const here = places['this machine'];
test('takes the same pictures, moves and types on arm64', () => withDesktop(here, async (env, witness) => {
  const directory = install(here, 'node24');
  const [expected, expectedOfPromises] = ['require', 'promises'].map(
    (name) => runNode(here, 'node24', directory, nodeArguments(name), env));
  const qemu = ['qemu-aarch64-static', '-L', path.join(roots, 'linux-arm64', 'root'), node('node24-arm64')];
  const wrapper = path.join(directory, 'node');
  fs.writeFileSync(wrapper, `#!/bin/sh\nexec ${qemu.join(' ')} "$@"\n`, { mode: 0o755 });
  // The helper process starts through the wrapper too.
  const throughWrapper = `process.execPath = ${JSON.stringify(wrapper)}; ${scripts.promises}`;
  assert.equal(run([wrapper, '--input-type=module', '-e', throughWrapper], { cwd: directory, env }), expectedOfPromises);
  await witness.events();
  const output = run([wrapper, '-e',
    `const { move, screenshot, type } = require('ostler'); move(123, 45); type('Hi'); ${takePictures}`],
  { cwd: directory, env });
  assert.equal(output, expected);
  const events = await witness.events();
  assert.equal(textOf(events), 'Hi');
  const { x, y } = events.findLast(({ kind }) => kind === 'motion');
  assert.deepEqual([x, y], [123, 45]);
}));

// The helper reads its pipe, and the host its end, in a way of their own in each runtime.
const abortsAndIsKilled = `import { openDesktop } from 'ostler/promises';
  const desktop = await openDesktop();
  const controller = new AbortController();
  setTimeout(() => controller.abort(), 200);
  const { name } = await desktop.type('a'.repeat(999), { signal: controller.signal }).catch((error) => error);
  await desktop.setClipboard('text');
  console.log(name, (await desktop.display()).width);
  await desktop.close();
  const other = await openDesktop();
  other.drag(0, 0, 30000, 0);
  setTimeout(() => process.kill(process.pid, 'SIGKILL'), 200);`;
const runtimes = {
  'Node with the permission model': [node('node24'), '--permission', '--allow-child-process', '--allow-worker',
    '--allow-addons', '--allow-fs-read=*', '--allow-fs-write=/dev/shm/'],
  Bun: [path.join(tools, '@oven', 'bun-linux-x64', 'bin', 'bun')],
  Deno: [path.join(tools, '@deno', 'linux-x64-glibc', 'deno'), 'run', '-A', '--node-modules-dir=manual'],
};
for (const [runtime, [command, ...args]] of Object.entries(runtimes)) {
  test(`aborts, copies, closes and releases on ${runtime}`, () => withDesktop(here, async (env) => {
    const directory = install(here, 'node24');
    fs.writeFileSync(path.join(directory, 'host.mjs'), abortsAndIsKilled);
    const { stdout, signal } = spawnSync(command, [...args, 'host.mjs'],
      { cwd: directory, env: { ...env, DENO_DIR: directory }, encoding: 'utf8', timeout: 30000 });
    assert.deepEqual([stdout, signal], ['AbortError 1280\n', 'SIGKILL']);
    await waitUntil(() => keyboardState(env).down === nothingDown);
  }));
}

test('publint and attw find nothing', () => {
  run([process.execPath, path.join(tools, 'publint', 'src', 'cli.js'), 'run', archive, '--strict']);
  run([process.execPath, path.join(tools, '@arethetypeswrong', 'cli', 'dist', 'index.js'), archive]);
});
