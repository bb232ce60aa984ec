'use strict';
// What the shared object gives and wants.

const assert = require('node:assert');
const { execFileSync } = require('node:child_process');
const { it } = require('node:test');

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
  assert.doesNotMatch(run('readelf', '-d'), /lib(glib|gobject|gio|pipewire|ei)\b/);
  assert.doesNotMatch(run('nm', '-D', '--undefined-only'), /\b(g|pw|ei)_/);
});
