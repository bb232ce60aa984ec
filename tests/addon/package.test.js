'use strict';
// The package as a host installs it: what its `files` name, and no more.

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, before, test } = require('node:test');
const { hostEnvironment, startHost } = require('../support/host');
const typescript = require('typescript');

const root = path.join(__dirname, '..', '..');
let host, addon;

before(async () => {
  const loader = await startHost(process.env);
  addon = await loader.run((loaded) => ({ methods: Object.keys(loaded), capabilities: Object.keys(loaded.capabilities()) }));
  await loader.stop();
  host = fs.mkdtempSync(path.join(os.tmpdir(), 'ostler-package-'));
  const installed = path.join(host, 'node_modules', 'ostler');
  const { files } = JSON.parse(fs.readFileSync(path.join(root, 'package.json')));
  for (const file of ['package.json', ...files]) {
    const source = file.endsWith('.node') ? process.env.OSTLER_ADDON : path.join(root, file);
    fs.cpSync(source, path.join(installed, file), { recursive: true });
  }
});

after(() => fs.rmSync(host, { recursive: true, force: true }));

function runInHost(file, source) {
  fs.writeFileSync(path.join(host, file), source);
  return execFileSync(process.execPath, [file], { cwd: host, encoding: 'utf8', env: hostEnvironment(process.env) });
}

// The members of an interface in index.d.ts, in their order.
function declaredMembers(name) {
  const file = path.join(root, 'index.d.ts');
  const tree = typescript.createSourceFile(file, fs.readFileSync(file, 'utf8'), typescript.ScriptTarget.Latest);
  const [namespace] = tree.statements.filter(typescript.isModuleDeclaration);
  const [found] = namespace.body.statements.filter((node) => node.name.text === name);
  return found.members.map((member) => member.name.text);
}

test('the declarations name the methods that the addon has, in the order in which it has them', () => {
  assert.deepEqual(declaredMembers('Ostler'), addon.methods);
  assert.deepEqual(declaredMembers('Capabilities'), addon.capabilities);
});

test('require and import give the addon itself', () => {
  const names = addon.methods.join();
  assert.equal(runInHost('host.cjs', `
    console.log(Object.keys(require('ostler')).join());`), `${names}\n`);
  assert.equal(runInHost('host.mjs', `
    import ostler from 'ostler';
    import { createRequire } from 'node:module';
    console.log(ostler === createRequire(import.meta.url)('ostler'), Object.keys(ostler).join());`), `true ${names}\n`);
});

test('without a binary the error names the remedy', () => {
  fs.renameSync(path.join(host, 'node_modules/ostler/build'), path.join(host, 'elsewhere'));
  assert.equal(runInHost('lost.cjs', `
    try { require('ostler'); } catch (error) { console.log(error.message); }`),
  'ostler is not built here. Run "npm run build" in its directory.\n');
});
