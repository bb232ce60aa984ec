'use strict';
// How the portal is asked for a session, and what comes of its failures.

const assert = require('node:assert');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const { it } = require('node:test');
const { program } = require('../support/children');
const { startDesktop } = require('../support/desktop');
const { waitUntil } = require('../support/wait');

const property = (value) => ({ reply: `(<${value}>,)` });
const answer = (code, results = '@a{sv} {}') => ({ response: `(uint32 ${code}, ${results})` });
const no = { error: ['org.test.No', 'not today'] };

it('asks for one session, and binds what an EIS server has for it', async () => {
  const desktop = await startDesktop();
  const host = await desktop.startHost();
  assert.strictEqual((await host.call('display')).width, 1280);
  await desktop.stopHosts();
  const lines = await desktop.recordWhen((record) => record.filter((line) => /start$/.test(line)).length === 2);
  assert.deepStrictEqual(lines.filter((line) => !/^eis/.test(line)), [
    "Properties.Get ('org.freedesktop.portal.ScreenCast', 'AvailableSourceTypes')",
    "Properties.Get ('org.freedesktop.portal.ScreenCast', 'AvailableCursorModes')",
    "RemoteDesktop.CreateSession ({'handle_token': <'#1'>, 'session_handle_token': <'#2'>},)",
    "RemoteDesktop.SelectDevices ('/session/1', {'handle_token': <'#3'>, 'types': <uint32 3>})",
    "ScreenCast.SelectSources ('/session/1', {'handle_token': <'#4'>, 'types': <uint32 1>, 'multiple': <false>, "
      + "'cursor_mode': <uint32 4>})",
    "RemoteDesktop.Start ('/session/1', '', {'handle_token': <'#5'>})",
    "RemoteDesktop.ConnectToEIS ('/session/1', {})",
    "ScreenCast.OpenPipeWireRemote ('/session/1', {})",
    'Session.Close /session/1']);
  assert.deepStrictEqual(lines.filter((line) => /^eis/.test(line)),
    ['eis connect ostler-client', 'eis bind 2 4 16 32', 'eis 0 start', 'eis 1 start']);
  await desktop.stop();
});

it('picks its sources, and fails in these words, closes the session and keeps nothing of it', async () => {
  const denied = 'The user denied the Wayland portal request.';
  const failed = 'The Wayland portal request failed.';
  const noHandle = 'Missing portal response field: session_handle';
  const noStreams = 'Wayland portal did not return any ScreenCast streams.';
  const noProperty = 'Unable to read portal property org.freedesktop.portal.ScreenCast.AvailableSourceTypes: ';
  const failedCall = 'Portal call failed for org.freedesktop.portal.';
  const refusal = 'GDBus.Error:org.test.No: not today';
  const odd = { CreateSession: { when: 'before' }, SelectDevices: { path: '/elsewhere' },
    SelectSources: { path: '/elsewhere', when: 'before' }, Start: { delay: 1, ...answer(1) } };
  // Script, failure, how many sessions are closed, and what sources were asked for.
  const cases = [
    [{ AvailableSourceTypes: property('uint32 4') },
      'Wayland ScreenCast portal does not expose a monitor or window source.', 0],
    [{ AvailableSourceTypes: property("'7'") }, `${noProperty}unknown error`, 0],
    [{ AvailableSourceTypes: no }, noProperty + refusal, 0],
    [{ CreateSession: no }, `${failedCall}RemoteDesktop.CreateSession: ${refusal}`, 0],
    [{ CreateSession: { reply: "('no path',)" } },
      `${failedCall}RemoteDesktop.CreateSession: Method “CreateSession” returned type “(s)”, but expected “(o)”`, 0],
    [{ CreateSession: answer(1) }, denied, 0],
    [{ CreateSession: { response: '(uint32 0,)' } }, failed, 0],
    ...["''", 'uint32 1', "'no path'"].map(
      (handle) => [{ CreateSession: answer(0, `{'session_handle': <${handle}>}`) }, noHandle, 0]),
    [{ CreateSession: answer(0) }, noHandle, 0],
    ...[[3, 7, 1, 4], [1, 4, 1, 4], [2, 3, 2, 2], [6, 2, 2, 2], [7, 1, 1, 1], [1, 0, 1, 1]].map(
      ([sources, cursors, type, mode]) => [
        { AvailableSourceTypes: property(`uint32 ${sources}`), AvailableCursorModes: property(`uint32 ${cursors}`),
          SelectSources: no },
        `${failedCall}ScreenCast.SelectSources: ${refusal}`, 1, `<uint32 ${type}>, .*'cursor_mode': <uint32 ${mode}>`]),
    [{ SelectDevices: no }, `${failedCall}RemoteDesktop.SelectDevices: ${refusal}`, 1],
    [{ SelectSources: answer(2, "{'streams': <'none'>}") }, failed, 1],
    [{ Start: answer(77) }, failed, 1],
    ...['@a{sv} {}', "{'streams': <@a(ua{sv}) []>}", "{'streams': <'none'>}"].map(
      (results) => [{ Start: answer(0, results) }, noStreams, 1]),
    [{ Start: answer(0, "{'streams': <[(uint32 0, @a{sv} {})]>}") },
      'Wayland portal returned an invalid PipeWire stream node id.', 1],
    [{ Start: { when: 'exit' } }, failed, 1],
    ...Array(10).fill([odd, denied, 1]),
    [{ OpenPipeWireRemote: no }, `Failed to open the PipeWire remote from the Wayland portal: ${refusal}`, 1],
    [{ OpenPipeWireRemote: { reply: '(handle 0,)' } },
      'Failed to retrieve the PipeWire file descriptor from the Wayland portal: unknown error', 1],
    ...Array(5).fill([{}, 'Wayland ScreenCast stream failed: picture lost', 1]),
  ];
  const desktop = await startDesktop();
  desktop.show('fail picture lost');
  const host = await desktop.startHost();
  const held = () => ['fd', 'task'].map((kind) => fs.readdirSync(`/proc/${host.pid}/${kind}`).length);
  const rounds = [];
  for (let round = 0; round < 2; round++) {
    for (const [script, message, closed, asked = ''] of cases) {
      desktop.setScript(script);
      await assert.rejects(host.call('display'), { message }, JSON.stringify(script));
      const closes = desktop.record().filter((line) => line === 'Session.Close /session/1');
      assert.strictEqual(closes.length, closed, JSON.stringify(script));
      assert.match(desktop.record().join(), RegExp(asked));
    }
    rounds.push(held());
  }
  // GLib's own thread closes some descriptors.
  await waitUntil(() => held().every((count, kind) => count <= rounds[0][kind]), () => [rounds, held()]);
  desktop.show('BGRx 64 48 1');
  desktop.setScript({});
  assert.strictEqual((await host.call('display')).width, 1280);
  await desktop.stop();
});

it('outlives the bus', async () => {
  const desktop = await startDesktop({ Start: { when: 'never' } });
  const host = await desktop.startHost();
  const thinking = assert.rejects(host.call('display'), { message: 'The Wayland portal request failed.' });
  await desktop.recordWhen((record) => record.some((line) => line.startsWith('RemoteDesktop.Start')));
  // The host has the reply to its call when the portal has answered the next one.
  execFileSync('gdbus', ['call', '--session', '-d', 'org.freedesktop.portal.Desktop', '-o',
    '/org/freedesktop/portal/desktop', '-m', 'org.freedesktop.DBus.Properties.Get', 'org.freedesktop.portal.ScreenCast',
    'AvailableSourceTypes'], { env: desktop.env });
  desktop.killBus();
  await thinking;
  await assert.rejects(host.call('move', 1, 1), { message: /^Unable to connect to the session D-Bus: / });
  await desktop.restartBus();

  desktop.setScript({ AvailableSourceTypes: { silent: true } });
  const asking = assert.rejects(host.call('display'), { message: /AvailableSourceTypes: The connection is closed$/ });
  await desktop.recordWhen((record) => record.length > 0);
  desktop.killBus();
  await asking;
  await desktop.restartBus();
  desktop.setScript({});
  assert.strictEqual((await host.call('display')).width, 1280);
  await desktop.stop();
});

// Sanitizers want descriptors themselves.
it('reports a lack of descriptors, and recovers from it', { skip: Boolean(process.env.OSTLER_PRELOAD) }, async () => {
  const desktop = await startDesktop();
  const host = await desktop.startHost();
  // Lowers the host's limit so that `count` more descriptors can be opened.
  const leaveSpare = (count) => {
    const used = new Set(fs.readdirSync(`/proc/${host.pid}/fd`).map(Number));
    let limit = 0;
    for (let spare = 0; spare < count || used.has(limit); limit++) spare += used.has(limit) ? 0 : 1;
    execFileSync('prlimit', ['--pid', host.pid, `--nofile=${limit}:`]);
  };
  for (const spare of [0, 1, 7]) {
    leaveSpare(spare);
    await assert.rejects(host.call('display'), { message: /: Too many open files$/ }, `${spare}`);
  }
  const cases = [[0, /RemoteDesktop.ConnectToEIS: Too many open files$/],
    [5, /ScreenCast.OpenPipeWireRemote: Too many open files$/], [12, /PipeWire/]];
  for (const [spare, message] of cases) {
    leaveSpare(50);
    desktop.setScript({ Start: { delay: 100 } });
    const opening = assert.rejects(host.call('display'), { message }, `${spare}`);
    await desktop.recordWhen((record) => record.some((line) => line.startsWith('RemoteDesktop.Start')));
    process.kill(desktop.portal(), 'SIGSTOP');
    leaveSpare(spare);
    process.kill(desktop.portal(), 'SIGCONT');
    await opening;
  }
  leaveSpare(50);
  desktop.setScript({ ConnectToEIS: no });
  await host.call('display');
  leaveSpare(0);
  await assert.rejects(host.call('move', 3, 4), { message: /^Portal input call failed for .*: Too many open files$/ });
  leaveSpare(4);
  await host.call('move', 3, 4);
  await desktop.stop();
});

it('runs the host\'s GLib sources during the dialog, and lets them call the addon', async () => {
  const desktop = await startDesktop({ Start: { delay: 300 } });
  const call = (...args) => execFileSync(program('glib_host'), args, { env: desktop.env, timeout: 20000 }).toString();
  assert.strictEqual(call(), "A call on the desktop is already waiting for the portal's dialog.\n1280\n");
  assert.strictEqual(call('thread'), '1280\n1280\n');
  await desktop.stop();
});
