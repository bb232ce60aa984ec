'use strict';
// The package as a host installs it: what its `files` name, and no more.

const assert = require('node:assert/strict');
const { execFile } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { after, before, test } = require('node:test');
const { promisify } = require('node:util');
const typescript = require('typescript');

const root = path.join(__dirname, '..', '..');
const addon = require(process.env.OSTLER_ADDON);
let host;

before(() => {
  host = fs.mkdtempSync(path.join(os.tmpdir(), 'ostler-package-'));
  const installed = path.join(host, 'node_modules', 'ostler');
  const { files } = JSON.parse(fs.readFileSync(path.join(root, 'package.json')));
  for (const file of ['package.json', ...files]) {
    const source = file.endsWith('.node') ? process.env.OSTLER_ADDON : path.join(root, file);
    fs.cpSync(source, path.join(installed, file), { recursive: true });
  }
});

after(() => fs.rmSync(host, { recursive: true, force: true }));

async function runInHost(file, source) {
  fs.writeFileSync(path.join(host, file), source);
  const { stdout } = await promisify(execFile)(process.execPath, [file], { cwd: host });
  return stdout;
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
  assert.deepEqual(declaredMembers('Ostler'), Object.keys(addon));
  assert.deepEqual(declaredMembers('Capabilities'), Object.keys(addon.capabilities()));
});

test('require and import give the addon itself', async () => {
  const names = Object.keys(addon).join();
  assert.equal(await runInHost('host.cjs', `
    console.log(Object.keys(require('ostler')).join());`), `${names}\n`);
  assert.equal(await runInHost('host.mjs', `
    import ostler from 'ostler';
    import { createRequire } from 'node:module';
    console.log(ostler === createRequire(import.meta.url)('ostler'), Object.keys(ostler).join());`), `true ${names}\n`);
});

test('without a binary the error names the remedy', async () => {
  fs.renameSync(path.join(host, 'node_modules/ostler/build'), path.join(host, 'elsewhere'));
  assert.equal(await runInHost('lost.cjs', `
    try { require('ostler'); } catch (error) { console.log(error.message); }`),
  'ostler is not built here. Run "npm run build" in its directory.\n');
});
