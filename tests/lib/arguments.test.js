'use strict';
// Tests that ostler/promises checks its arguments before anything happens, and offers every
// method of the addon.

const assert = require('node:assert');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, it } = require('node:test');
const { openDesktop } = require('../../lib/promises');
const { Desktop } = require('../../lib/host/desktop');
const { temporaryDirectory } = require('../support/children');
const { helpersOf } = require('../support/helpers');
const { startWitness, startXvfb } = require('../support/x11');

let server, witness, desktop;
before(async () => {
  server = await startXvfb();
  witness = await startWitness(server.env);
  desktop = await openDesktop({ env: server.env });
});
after(() => desktop.close().then(witness.stop).finally(server.stop));

it('has every method of the addon, but lock and unlock', () => {
  const missing = Object.keys(require(process.env.OSTLER_ADDON)).filter((name) => !(name in Desktop.prototype));
  assert.deepStrictEqual(missing, ['lock', 'unlock']);
});

it('rejects wrong arguments with the name of the argument, before anything happens', async () => {
  const whole = { x: 0, y: 0, width: 9, height: 9 };
  const rows = [
    ['click', [{ x: 1 }], TypeError, 'y'], ['click', [{ modifiers: 'ctrl' }], TypeError, 'modifiers'],
    ['mouseUp', [{ button: 'thumb' }], RangeError, 'button'], ['drag', [{ from: { x: 1, y: 1 } }], TypeError, 'to'],
    ['move', [1, 2, { duration: -1 }], RangeError, 'duration'], ['keyDown', [5], TypeError, 'name'],
    ['click', [1, 2, 'thumb', 1], RangeError, 'button'],
    ['click', [1, 2, 'left', 0], RangeError, 'count'], ['click', [{ x: 1, y: 2, button: 3 }], TypeError, 'button'],
    ['move', ['1', 2], TypeError, 'x'], ['move', [1, NaN], RangeError, 'y'], ['move', [1, 1e9], RangeError, 'y'],
    ['drag', [1, 2, 3], TypeError, 'toY'], ['scroll', [1, 2, 0.5, 0], RangeError, 'dx'],
    ['type', [42], TypeError, 'text'], ['type', [() => {}], TypeError, 'text'], ['key', [Symbol('a')], TypeError, 'combo'],
    ['setClipboard', [], TypeError, 'text'], ['activateWindow', [1], TypeError, 'windowId'],
    ['prepareForInput', ['', ['a', 1], [], 0, 0], TypeError, 'included[1]'],
    ['screenshot', ['a.png'], TypeError, 'options'], ['screenshot', [{ region: { x: 1 } }], TypeError, 'region.y'],
    ['screenshot', [{ region: { ...whole, width: 0 } }], RangeError, 'region.width'],
    ['screenshot', [{ width: 100 }], TypeError, 'height'],
    ['screenshot', [{ size: { width: 1e9, height: 1 } }], RangeError, 'size.width'],
    ['screenshot', [{ quality: 75, format: 'jpeg' }], RangeError, 'quality'],
    ['screenshot', [{ format: 'gif' }], RangeError, 'format'],
    ['write', [1], TypeError, 'text'], ['write', ['a', { paste: 'no' }], RangeError, 'paste'],
    ['write', ['a', { delay: -1 }], RangeError, 'delay'], ['paste', [1], TypeError, 'text'], ['paste', ['a', { combo: 1 }], TypeError, 'combo'],
    ['screenshot', [{ compression: 'none' }], RangeError, 'compression'], ['colourAt', [1], TypeError, 'y'],
    ['paste', ['a', { restoreAfter: -1 }], RangeError, 'restoreAfter'], ['onEscape', ['now'], TypeError, 'listener'],
    ['waitForStill', [{ quiet: '1' }], TypeError, 'quiet'], ['waitForChange', [{ interval: -1 }], RangeError, 'interval'],
    ['type', ['a', { signal: 'now' }], TypeError, 'signal'], ['display', [{ signal: {} }], TypeError, 'signal'],
    ...[-1, NaN, '1'].map((timeout) => ['type', ['a', { timeout }], RangeError, 'timeout']),
  ];
  await witness.events();
  for (const [method, values, kind, name] of rows) {
    const error = await desktop[method](...values).then(() => undefined, (reason) => reason);
    assert.strictEqual(error?.constructor, kind, `${method} ${name}`);
    assert.ok(error.message.startsWith(`The argument "${name}" must be `), `${method}: ${error.message}`);
  }
  await assert.rejects(desktop.screenshot({ region: whole, size: { width: 9, height: 9 } }), TypeError);
  for (const [options, kind] of [[5, TypeError], [{ env: null }, TypeError], [{ timeout: -1 }, RangeError]]) {
    await assert.rejects(openDesktop(options), kind);
  }
  assert.deepStrictEqual(await witness.events(), []);
  assert.strictEqual(helpersOf(process.pid).length, 1);
});

it('takes the forms that are right', async () => {
  for (const timeout of [undefined, null, 2 ** 31, 1e12, Infinity]) await desktop.move(3, 4, { timeout, signal: null });
  await witness.events();
  await desktop.click(5, 6);
  await desktop.click(5, 6, 'RIGHT');
  await desktop.mouseDown(7, 8);
  await desktop.mouseUp();
  const buttons = (await witness.events()).filter(({ kind, down }) => kind === 'button' && down);
  assert.deepStrictEqual(buttons.map(({ button, x, y }) => [button, x, y]), [[1, 5, 6], [3, 5, 6], [1, 7, 8]]);
});

it('says in a bundle that the package has to stay external', () => {
  const directory = temporaryDirectory();
  const bundle = (name, ...options) => {
    execFileSync(path.join(__dirname, '..', '..', 'node_modules', '.bin', 'esbuild'),
      [path.join(directory, 'host.js'), '--bundle', '--platform=node', `--outfile=${path.join(directory, name)}`,
        '--log-level=error', ...options]);
    return execFileSync(process.execPath, [path.join(directory, name)], { encoding: 'utf8', env: server.env });
  };
  fs.mkdirSync(path.join(directory, 'node_modules'));
  fs.symlinkSync(path.join(__dirname, '..', '..'), path.join(directory, 'node_modules', 'ostler'));
  fs.writeFileSync(path.join(directory, 'host.js'), `import { openDesktop } from 'ostler/promises';
    openDesktop().then((desktop) => desktop.close().then(() => 'opened'), (error) => error.message).then(console.log);`);
  assert.match(bundle('bundle.cjs'), /^ostler\/promises starts .* keep "ostler" external in your bundler/);
  for (const [name, format] of [['bundle.cjs', 'cjs'], ['bundle.mjs', 'esm']]) {
    assert.strictEqual(bundle(name, `--format=${format}`, '--external:ostler'), 'opened\n', name);
  }
});
