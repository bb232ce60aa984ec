'use strict';
// The package as a host sees it.

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { test } = require('node:test');
const typescript = require('typescript');
const { temporaryDirectory } = require('../support/children');
const { startHost } = require('../support/host');

const root = path.join(__dirname, '..', '..');
const isRelease = process.env.OSTLER_ADDON === path.join(root, 'build', 'ostler.node');

// The members of an interface in index.d.ts, in their order.
function declaredMembers(name) {
  const source = fs.readFileSync(path.join(root, 'index.d.ts'), 'utf8');
  const tree = typescript.createSourceFile('index.d.ts', source, typescript.ScriptTarget.Latest);
  const [namespace] = tree.statements.filter(typescript.isModuleDeclaration);
  const [found] = namespace.body.statements.filter((node) => node.name.text === name);
  return found.members.map((member) => member.name.text);
}

test('the declarations name the methods that the addon has, in the order in which it has them', async () => {
  const host = await startHost(process.env);
  assert.deepEqual(declaredMembers('Ostler'), await host.run((addon) => Object.keys(addon)));
  const module = fs.readFileSync(path.join(root, 'index.d.mts'), 'utf8');
  const exported = [...module.matchAll(/^export declare const (\w+)/gm)].map(([, name]) => name);
  assert.deepEqual(exported, declaredMembers('Ostler'));
  assert.deepEqual(declaredMembers('Capabilities'), await host.run((addon) => Object.keys(addon.capabilities())));
  await host.stop();
});

test('require and import give the addon itself, import also its methods', { skip: !isRelease }, () => {
  // A package can load itself by its name.
  const script = `import * as imported from 'ostler'; import { createRequire } from 'node:module';
    const require = createRequire(process.cwd() + '/index.js');
    const addon = require('./build/ostler.node');
    const { default: ostler, ...methods } = imported;
    const isSame = require('node:util').isDeepStrictEqual(methods, { ...addon });
    console.log(ostler === addon, require('ostler') === addon, isSame)`;
  const output = execFileSync(process.execPath, ['--input-type=module', '-e', script], { cwd: root, encoding: 'utf8' });
  assert.equal(output, 'true true true\n');
});

// The package without a build of the clone; `prebuilt` stands in for the addon.
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

// The messages of the error that loading the package ends with and of its cause,
// after `preparation` has run in the process. require and import give the same
// error, and a host that catches it goes on.
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

test('loading says what to do when it fails', () => {
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

test('loading names the library that the linker does not find', { skip: !isRelease }, () => {
  const addon = fs.readFileSync(process.env.OSTLER_ADDON, 'latin1');
  const directory = installPackage(Buffer.from(addon.replace('libXtst.so.6', 'libXtst.so.7'), 'latin1'));
  const [message, cause] = failureOfLoading(directory);
  assert.equal(message, 'ostler needs libXtst.so.7: install the package that contains it.');
  assert.match(cause, /^libXtst\.so\.7: /);
});
