'use strict';
// The package and its shared object as a host sees them.

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
const outputOf = (...command) => execFileSync(command[0], command.slice(1), { cwd: root, encoding: 'utf8' });

// The members of an interface in index.d.ts, in their order.
function declaredMembers(name) {
  const source = fs.readFileSync(`${root}/index.d.ts`, 'utf8');
  const [body] = RegExp(`interface ${name} \\{[^]*?\n  \\}`).exec(source);
  return [...body.matchAll(/^    (\w+)[(:]/gm)].map(([, member]) => member);
}

it('declares the methods that the addon has, in the same order', async () => {
  const host = await startHost(process.env);
  assert.deepEqual(declaredMembers('Ostler'), await host.run((addon) => Object.keys(addon)));
  assert.deepEqual(declaredMembers('Capabilities'), await host.run((addon) => Object.keys(addon.capabilities())));
  await host.stop();
});

it('gives the addon itself to require and import', { skip: OSTLER_ADDON !== `${root}/build/ostler.node` }, () => {
  // A package can load itself by its name.
  const script = `import ostler from 'ostler'; import { createRequire } from 'node:module';
    const require = createRequire(process.cwd() + '/index.js');
    console.log(ostler === require('ostler'), ostler === require('./build/ostler.node'))`;
  assert.equal(outputOf(process.execPath, '--input-type=module', '-e', script), 'true true\n');
});

it('exports the two entry points and the 29 driver functions alone', () => {
  const names = outputOf('nm', '-DC', '--defined-only', OSTLER_ADDON).trim().split('\n')
    .map((line) => line.split(' ')[2].split('(')[0]).filter((name) => !/^__?[a-z]+san_/.test(name));
  const drivers = names.filter((name) => /^driver[A-Z]/.test(name));
  assert.equal(new Set(drivers).size, 29);
  assert.deepEqual(names.filter((name) => !drivers.includes(name)).sort(),
    ['napi_register_module_v1', 'node_api_module_get_api_version_v1']);
});

it('loads where the libraries of Wayland sessions are missing', () => {
  assert.doesNotMatch(outputOf('readelf', '-d', OSTLER_ADDON), /lib(glib|gobject|gio|pipewire|ei)\b/);
  assert.doesNotMatch(outputOf('nm', '-D', '--undefined-only', OSTLER_ADDON), /\b(g|pw|ei)_/);
});

it('does without a libei that lacks functions, and names what another library lacks', withDesktop({}, async ({
  env, record,
}) => {
  const other = outputOf('/sbin/ldconfig', '-p').match(/libeis\.so\.1 .* => (.*)/)[1];
  const startHostWith = (name, more) => {
    const directory = temporaryDirectory();
    fs.symlinkSync(other, path.join(directory, name));
    return startHost({ ...env, LD_LIBRARY_PATH: directory, ...more });
  };
  // The host itself uses the library that is found as libei.
  const withoutEi = await startHostWith('libei.so.1', { LD_PRELOAD: other });
  await withoutEi.call('move', 3, 4);
  assert.match(record().at(-1), /NotifyPointerMotionAbsolute/);
  const withoutPipeWire = await startHostWith('libpipewire-0.3.so.0');
  await assert.rejects(withoutPipeWire.call('display'), { message: /libpipewire-0.3.so.0: undefined symbol: pw_/ });
  await Promise.all([withoutEi.stop(), withoutPipeWire.stop()]);
}));
