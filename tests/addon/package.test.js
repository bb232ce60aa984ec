'use strict';
// Tests the package and its shared object from the view of a host.

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { it } = require('node:test');
const { temporaryDirectory } = require('../support/children');
const { withDesktop } = require('../support/desktop');
const { startHost } = require('../support/host');

const root = path.join(__dirname, '..', '..');
const { OSTLER_ADDON } = process.env;
const isRelease = OSTLER_ADDON === `${root}/build/ostler.node`;
const outputOf = (...command) => execFileSync(command[0], command.slice(1), { cwd: root, encoding: 'utf8' });

// Returns the members of an interface in index.d.ts, in their order.
function declaredMembers(name) {
  const source = fs.readFileSync(`${root}/index.d.ts`, 'utf8');
  const [body] = RegExp(`interface ${name} \\{[^]*?\n  \\}`).exec(source);
  return [...body.matchAll(/^ {4}(\w+)[(:]/gm)].map(([, member]) => member);
}

it('declares the methods that the addon has, in the same order', async () => {
  const host = await startHost(process.env);
  assert.deepEqual(declaredMembers('Ostler'), await host.run((addon) => Object.keys(addon)));
  const module = fs.readFileSync(path.join(root, 'index.d.mts'), 'utf8');
  const exported = [...module.matchAll(/^export declare const (\w+)/gm)].map(([, name]) => name);
  assert.deepEqual(exported, declaredMembers('Ostler'));
  assert.deepEqual(declaredMembers('Capabilities'), await host.run((addon) => Object.keys(addon.capabilities())));
  await host.stop();
});

it('exports the addon itself to require and import, and its methods by name to import', { skip: !isRelease }, () => {
  // A package can load itself by its name.
  const script = `import * as imported from 'ostler'; import { createRequire } from 'node:module';
    const require = createRequire(process.cwd() + '/index.js');
    const addon = require('./build/ostler.node');
    const { default: ostler, ...methods } = imported;
    const isSame = require('node:util').isDeepStrictEqual(methods, { ...addon });
    console.log(ostler === addon, require('ostler') === addon, isSame)`;
  assert.equal(outputOf(process.execPath, '--input-type=module', '-e', script), 'true true true\n');
});

// Installs the package without a build of the clone, and with `prebuilt` as its prebuilt addons.
function installPackage(prebuilt) {
  const directory = temporaryDirectory();
  for (const file of ['index.js', 'index.mjs', 'load.js']) {
    fs.copyFileSync(path.join(root, file), path.join(directory, file));
  }
  for (const target of ['linux-x64', 'linux-arm64']) {
    fs.mkdirSync(path.join(directory, 'prebuilds', target), { recursive: true });
    fs.writeFileSync(path.join(directory, 'prebuilds', target, 'ostler.node'), prebuilt);
  }
  return directory;
}

// Loads the package after `preparation` has run in the process. Returns the messages of the error
// and of its cause, and whether require and import throw the same error. The script fails if a
// host that catches the error does not survive.
function failureOfLoading(directory, preparation = '') {
  const script = `const set = (object, key, value) => Object.defineProperty(object, key, { value });
    const failToLink = (message) => set(process, 'dlopen', () => { throw new Error(message); });
    ${preparation}
    let required;
    try { require('./index.js'); } catch (error) { required = error; }
    import('./index.mjs').catch((imported) => setTimeout(() => console.log(JSON.stringify(
      [required.message, required.cause.message, imported === required]))));`;
  return JSON.parse(execFileSync(process.execPath, ['-e', script], { cwd: directory, encoding: 'utf8' }));
}

it('says what to do when it cannot be loaded', () => {
  const rows = [
    ["set(process, 'platform', 'darwin')", 'ostler runs on Linux only, not on darwin.', /Cannot find module/],
    ["set(process, 'arch', 'riscv64')",
      'ostler has no build for riscv64 processors: use an x64 or arm64 machine, or build it from source.',
      /Cannot find module/],
    ["set(process.report, 'getReport', () => ({ header: {} })); failToLink('Error relocating')",
      'ostler needs glibc, but this system has musl: use a distribution with glibc, such as Debian.',
      /^Error relocating$/],
    ["failToLink('libXtst.so.6: cannot open shared object file: No such file or directory')",
      'ostler needs libXtst.so.6: install libxtst6 (Debian, Ubuntu), libXtst (Fedora) or libxtst (Arch).', /^libXtst/],
    ["failToLink(\"/lib/libm.so.6: version `GLIBC_2.30' not found (required by /ostler.node)\")",
      'ostler needs glibc 2.30 or later: use a newer release of this distribution.', /GLIBC/],
  ];
  const directory = installPackage('');
  for (const [preparation, message, cause] of rows) {
    const [actual, actualCause, isImported] = failureOfLoading(directory, preparation);
    assert.equal(actual, message);
    assert.match(actualCause, cause);
    assert.ok(isImported);
  }
});

it('names the library that the linker does not find', { skip: !isRelease }, () => {
  const addon = fs.readFileSync(process.env.OSTLER_ADDON, 'latin1');
  const directory = installPackage(Buffer.from(addon.replace('libXtst.so.6', 'libXtst.so.7'), 'latin1'));
  const [message, cause] = failureOfLoading(directory);
  assert.equal(message, 'ostler needs libXtst.so.7: install the package that contains it.');
  assert.match(cause, /^libXtst\.so\.7: /);
});

it('exports only the two entry points and the 29 driver functions', () => {
  const names = outputOf('nm', '-DC', '--defined-only', OSTLER_ADDON).trim().split('\n')
    .map((line) => line.split(' ')[2].split('(')[0]).filter((name) => !/^__?[a-z]+san_/.test(name));
  const drivers = names.filter((name) => /^driver[A-Z]/.test(name));
  assert.equal(new Set(drivers).size, 29);
  assert.deepEqual(names.filter((name) => !drivers.includes(name)).sort(),
    ['napi_register_module_v1', 'node_api_module_get_api_version_v1']);
});

it('loads where the libraries of Wayland sessions are missing', () => {
  assert.doesNotMatch(outputOf('readelf', '-d', OSTLER_ADDON), /lib(glib|gobject|gio|pipewire|ei|xkbcommon)\b/);
  assert.doesNotMatch(outputOf('nm', '-D', '--undefined-only', OSTLER_ADDON), /\b(g|pw|ei|xkb)_/);
});

it('ignores a libei that lacks functions, and names a function that another library lacks', withDesktop({}, async ({
  env, record,
}) => {
  const other = outputOf('/sbin/ldconfig', '-p').match(/libeis\.so\.1 .* => (.*)/)[1];
  const startHostWith = (name, more) => {
    const directory = temporaryDirectory();
    fs.symlinkSync(other, path.join(directory, name));
    return startHost({ ...env, LD_LIBRARY_PATH: directory, ...more });
  };
  // The host itself has loaded the library that is found as libei.
  const withoutEi = await startHostWith('libei.so.1', { LD_PRELOAD: other });
  await withoutEi.call('move', 3, 4);
  assert.match(record().at(-1), /NotifyPointerMotionAbsolute/);
  const withoutPipeWire = await startHostWith('libpipewire-0.3.so.0');
  await assert.rejects(withoutPipeWire.call('display'), { message: /libpipewire-0.3.so.0: undefined symbol: pw_/ });
  await Promise.all([withoutEi.stop(), withoutPipeWire.stop()]);
}));
