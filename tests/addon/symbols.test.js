'use strict';
// What the shared object gives and wants.

const assert = require('node:assert');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { it } = require('node:test');
const { temporaryDirectory } = require('../support/children');
const { startDesktop } = require('../support/desktop');
const { startHost } = require('../support/host');

const run = (program, ...options) => execFileSync(program, [...options, process.env.OSTLER_ADDON],
  { encoding: 'utf8' });

it('exports the two entry points and the 29 driver functions alone', () => {
  const names = run('nm', '-DC', '--defined-only').trim().split('\n').map((line) => line.split(' ')[2].split('(')[0])
    .filter((name) => !/^__?[a-z]+san_/.test(name));
  const drivers = names.filter((name) => /^driver[A-Z]/.test(name));
  assert.strictEqual(new Set(drivers).size, 29);
  assert.deepStrictEqual(names.filter((name) => !drivers.includes(name)).sort(),
    ['napi_register_module_v1', 'node_api_module_get_api_version_v1']);
});

it('loads where the libraries of Wayland sessions are missing', () => {
  assert.doesNotMatch(run('readelf', '-d'), /lib(glib|gobject|gio|pipewire|ei|xkbcommon)\b/);
  assert.doesNotMatch(run('nm', '-D', '--undefined-only'), /\b(g|pw|ei|xkb)_/);
});

it('does without a libei that lacks functions, and names what another library lacks', async () => {
  const other = execFileSync('/sbin/ldconfig', ['-p'], { encoding: 'utf8' }).match(/libeis\.so\.1 .* => (.*)/)[1];
  const desktop = await startDesktop();
  const startHostWith = (name, more) => {
    const directory = temporaryDirectory();
    fs.symlinkSync(other, path.join(directory, name));
    return startHost({ ...desktop.env, LD_LIBRARY_PATH: directory, ...more });
  };
  // The host itself uses the library that is found as libei.
  const host = await startHostWith('libei.so.1', { LD_PRELOAD: other });
  await host.call('move', 3, 4);
  assert.match(desktop.record().at(-1), /NotifyPointerMotionAbsolute/);
  const second = await startHostWith('libpipewire-0.3.so.0');
  await assert.rejects(second.call('display'), { message: /libpipewire-0.3.so.0: undefined symbol: pw_/ });
  await Promise.all([host.stop(), second.stop()]);
  await desktop.stop();
});
