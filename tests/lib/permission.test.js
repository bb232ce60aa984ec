'use strict';
// Tests how a desktop remembers the permission of a simulated portal.

const assert = require('node:assert');
const { execFile, fork } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, beforeEach, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { openDesktop } = require('../../lib/promises');
const { endOf, temporaryDirectory } = require('../support/children');
const { startDesktop } = require('../support/desktop');
const { helpersOf } = require('../support/helpers');

let session, env, directory;
before(async () => { session = await startDesktop(); });
after(() => session.stop());
beforeEach(() => {
  const state = temporaryDirectory();
  directory = path.join(state, 'ostler');
  env = { ...session.env, XDG_STATE_HOME: state };
});

const dialog = 600;  // in milliseconds
const kept = (name = 'default') => path.join(directory, `${name}.json`);

// Opens and closes a desktop. Resolves to its `remembered`.
async function open(remember = true, options = {}) {
  const desktop = await openDesktop({ env, remember, ...options });
  await desktop.close();
  return desktop.remembered;
}
const given = () => session.record().filter((line) => line.includes('SelectDevices'))
  .map((line) => [line.includes("'persist_mode': <uint32 2>"), /restore_token': <'(.*?)'/.exec(line)?.[1]]);

it('asks once, and keeps the token where only the user can read it', async () => {
  session.setScript({ dialog });
  let dialogs = 0;
  for (const [remember, remembered, ...asked] of [
    [true, false, true, undefined], [true, true, true, 'token-0'], ['other', false, true, undefined],
    [false, false, false, undefined], [true, true, true, 'token-0'],
  ]) {
    assert.strictEqual(await open(remember, { onDialog: () => { dialogs++; } }), remembered);
    assert.deepStrictEqual(given().at(-1), asked);
  }
  assert.strictEqual(dialogs, 3);
  assert.deepStrictEqual([directory, kept()].map((name) => fs.statSync(name).mode & 0o777), [0o700, 0o600]);
  const before = fs.readFileSync(kept(), 'utf8');
  // Another desktop of the same user has tokens of its own.
  assert.strictEqual(await open(true, { env: { ...env, XDG_CURRENT_DESKTOP: 'other' } }), false);
  assert.strictEqual(await open(), true);
  assert.notStrictEqual(fs.readFileSync(kept(), 'utf8'), before);
});

it('shows the dialog again when the portal does not accept the token', async () => {
  session.setScript({ dialog });
  await open();
  const before = fs.readFileSync(kept());
  const no = { error: ['org.test.No', 'no UUID'] };
  const refusal = { response: '(uint32 1, @a{sv} {})' }, failure = { response: '(uint32 2, @a{sv} {})' };
  for (const [name, script, remembered, next] of [
    ['a forgotten token', { dialog }, false, true],
    ['a token that the portal refuses', { dialog, SelectDevices: [no] }, false, true],
    ['a restoration that fails', { dialog, tokens: ['token-0'], Start: [failure] }, false, true],
    ['a permission that the user does not let the portal remember', { Start: { delay: dialog } }, false, false],
    ['a user who refuses', { dialog, tokens: ['token-0'], Start: [refusal] }, /denied/, true],
  ]) {
    fs.writeFileSync(kept(), before);
    session.setScript(script);
    const opened = await open().catch(({ message }) => message);
    if (typeof remembered === 'boolean') assert.strictEqual(opened, remembered, name);
    else assert.match(opened, remembered, name);
    const tokens = Object.values(JSON.parse(fs.readFileSync(kept())).tokens);
    session.setScript({ dialog, tokens });
    assert.strictEqual(await open(), next, name);
  }
  fs.writeFileSync(kept(), '{"tokens":');
  assert.deepStrictEqual([await open(), await open()], [false, true]);
});

it('leaves storing to the host, and warns when it cannot store', async () => {
  session.setScript({ dialog });
  let token;
  const store = { load: async () => token, save: async (next) => { await sleep(50); token = next; } };
  assert.deepStrictEqual([await open(store), token, await open(store)], [false, 'token-0', true]);
  await assert.rejects(open({ ...store, save() { throw new Error('full'); } }), /full/);
  assert.ok(!fs.existsSync(directory));
  fs.writeFileSync(directory, '');
  const warned = once(process, 'warning');
  assert.strictEqual(await open(), false);
  assert.match((await warned)[0].message, /cannot be remembered: EEXIST/);
});

it('asks once when two processes open a desktop at once', async () => {
  session.setScript({ dialog });
  const opened = await Promise.all([open(), open()]);
  assert.deepStrictEqual(opened.sort(), [false, true]);
});

// Runs the command. Resolves to [exit code, stdout, stderr].
const ostler = (...args) => new Promise((resolve) => {
  execFile(path.join(__dirname, '..', '..', 'bin', 'ostler.js'), args, { env },
    (error, ...output) => resolve([error?.code ?? 0, ...output]));
});

it('lets the command ask once, say so, and forget', async () => {
  session.setScript({ dialog });
  const waiting = "Waiting for permission in the desktop's dialog…\n";
  for (const [expected, ...args] of [
    [[0, '', waiting], 'move', '1', '2'], [[0, '', ''], 'move', '1', '2'], [[0, '', waiting], 'move', '1', '2', '--ask'],
    [[0, '{"name":"ostler","forgotten":true}\n', ''], 'forget', '--json'], [[0, '', waiting], 'move', '1', '2'],
    [[0, 'no permission is kept under the name "x"\n', ''], 'forget', 'x'],
  ]) assert.deepStrictEqual(await ostler(...args), expected, args.join(' '));
  assert.ok(session.record().includes("PermissionStore.Delete ('remote-desktop', 'token-0')"));
  assert.strictEqual((await ostler('forget', '../x'))[0], 2);
});

it('tells what the next start will do, and names a portal without remote control', async () => {
  const version = (number) => ({ version: { reply: `(<uint32 ${number}>,)` } });
  const gone = { error: ['org.freedesktop.portal.Error.NotFound', 'No entry'] };
  const authorized = { reply: "({'org.other': ['no'], '': ['yes']}, <byte 0x00>)" };
  const remembering = { dialog, ...version(2) };
  session.setScript(remembering);
  env.XDG_CURRENT_DESKTOP = 'KDE';
  const examine = async () => {
    const { checks } = JSON.parse((await ostler('doctor', '--json'))[1]);
    return checks.find(({ name }) => name === 'permission') ?? checks.find(({ name }) => /Remote/.test(name));
  };
  assert.deepStrictEqual((await examine()).asks, true);
  await ostler('move', '1', '2');
  for (const [asks, said, steps] of [
    [false, /remembers/, { Lookup: [{ error: gone.error }, {}] }],
    [true, /no longer has/, { Lookup: [gone, gone, gone, gone] }],
    [false, /KDE's permission table/, { Lookup: authorized }],
    [true, /version 1/, version(1)],
    [undefined, /does not answer/, { Lookup: { error: ['org.test.No', 'not today'] } }],
  ]) {
    session.setScript({ ...remembering, ...steps });
    const row = await examine();
    assert.deepStrictEqual([row.asks, said.test(row.detail)], [asks, true], row.detail);
  }
  const missing = ['org.freedesktop.DBus.Error.UnknownMethod',
    'No such interface “org.freedesktop.portal.RemoteDesktop” on object at path /org/freedesktop/portal/desktop'];
  session.setScript({ version: [{ error: missing }, { error: missing }, version(5).version], CreateSession: { error: missing } });
  const sentence = /^The portal of this desktop \(KDE\) offers no remote control/;
  assert.match((await examine()).detail, sentence);
  await assert.rejects(open(), { message: sentence });
});

it('keeps the permission when it is killed at any moment of opening', async () => {
  session.setScript({ dialog });
  await open();
  const host = path.join(__dirname, '..', 'support', 'open_host.js');
  for (let i = 0; i < 12; i++) {
    const child = fork(host, { env });
    const ended = endOf(child);
    await sleep(60 + Math.random() * 200);
    // Without its host the helper kills itself; this kills either of them first.
    const victims = i % 2 ? [child.pid] : [...helpersOf(child.pid), child.pid];
    victims.forEach((pid) => process.kill(pid, 'SIGKILL'));
    await ended;
    JSON.parse(fs.readFileSync(kept()));
  }
  assert.strictEqual(await open(), true);
});
