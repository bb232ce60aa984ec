'use strict';
// The package as a host sees it.

const assert = require('node:assert/strict');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { test } = require('node:test');
const typescript = require('typescript');
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
  assert.deepEqual([...module.matchAll(/^export declare const (\w+)/gm)].map(([, name]) => name), declaredMembers('Ostler'));
  assert.deepEqual(declaredMembers('Capabilities'), await host.run((addon) => Object.keys(addon.capabilities())));
  await host.stop();
});

test('require and import give the addon itself, import also its methods', { skip: !isRelease }, () => {
  // A package can load itself by its name.
  const script = `import * as imported from 'ostler'; import { createRequire } from 'node:module';
    const require = createRequire(process.cwd() + '/index.js');
    const addon = require('./build/ostler.node');
    const { default: ostler, ...methods } = imported;
    console.log(ostler === addon, require('ostler') === addon, require('node:util').isDeepStrictEqual(methods, { ...addon }))`;
  const output = execFileSync(process.execPath, ['--input-type=module', '-e', script], { cwd: root, encoding: 'utf8' });
  assert.equal(output, 'true true true\n');
});
