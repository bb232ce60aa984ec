'use strict';
// How the addon asks the portal for a session, and how it handles the portal's failures.

const assert = require('node:assert');
const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const { it } = require('node:test');
const { program } = require('../support/children');
const { withDesktop } = require('../support/desktop');
const { waitUntil } = require('../support/wait');

const property = (value) => ({ reply: `(<${value}>,)` });
const answer = (code, results = '@a{sv} {}') => ({ response: `(uint32 ${code}, ${results})` });
const no = { error: ['org.test.No', 'not today'] };

const countOf = (record, start) => record.filter((line) => line.startsWith(start)).length;

it('asks for one session, and binds what an EIS server has for it', withDesktop({}, async (desktop, host) => {
  assert.strictEqual((await host.call('display')).width, 1280);
  await desktop.stopHosts();
  const lines = await desktop.recordWhen((record) => record.includes('eis 1 start'));
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
}));

it('picks the first of the types of sources and cursors that it knows', withDesktop({}, async (desktop, host) => {
  const cases = [
    // the bits that the portal offers, of sources and of cursors, and the choice
    ['everything', 3, 7, 1, 4], ['a monitor, the cursor as metadata', 1, 4, 1, 4],
    ['a window, the cursor in the picture', 2, 3, 2, 2], ['an unknown source too', 6, 2, 2, 2],
    ['no cursor', 7, 1, 1, 1], ['no mode of the cursor', 1, 0, 1, 1],
  ];
  for (const [name, types, modes, type, mode] of cases) {
    desktop.setScript({ AvailableSourceTypes: property(`uint32 ${types}`),
      AvailableCursorModes: property(`uint32 ${modes}`), SelectSources: no });
    await assert.rejects(host.call('display'));
    assert.match(desktop.record().join(), RegExp(`<uint32 ${type}>, .*'cursor_mode': <uint32 ${mode}>`), name);
  }
}));

it('names what failed, closes the session and keeps nothing of it', withDesktop({}, async (desktop, host) => {
  const denied = 'The user denied the Wayland portal request.';
  const failed = 'The Wayland portal request failed.';
  const noHandle = 'Missing portal response field: session_handle';
  const noStreams = 'Wayland portal did not return any ScreenCast streams.';
  const noProperty = 'Unable to read portal property org.freedesktop.portal.ScreenCast.AvailableSourceTypes: ';
  const failedCall = 'Portal call failed for org.freedesktop.portal.';
  const refusal = 'GDBus.Error:org.test.No: not today';
  const odd = { CreateSession: { when: 'before' }, SelectDevices: { path: '/elsewhere' },
    SelectSources: { path: '/elsewhere', when: 'before' }, Start: { delay: 1, ...answer(1) } };
  const beforeTheSession = [
    ['no known source', { AvailableSourceTypes: property('uint32 4') },
      'Wayland ScreenCast portal does not expose a monitor or window source.'],
    ['property of another type', { AvailableSourceTypes: property("'7'") }, `${noProperty}unknown error`],
    ['refused property', { AvailableSourceTypes: no }, noProperty + refusal],
    ['refused session', { CreateSession: no }, `${failedCall}RemoteDesktop.CreateSession: ${refusal}`],
    ['reply of another type', { CreateSession: { reply: "('no path',)" } },
      `${failedCall}RemoteDesktop.CreateSession: Method “CreateSession” returned type “(s)”, but expected “(o)”`],
    ['denied session', { CreateSession: answer(1) }, denied],
    ['response of another type', { CreateSession: { response: '(uint32 0,)' } }, failed],
    ['empty handle', { CreateSession: answer(0, "{'session_handle': <''>}") }, noHandle],
    ['number for a handle', { CreateSession: answer(0, "{'session_handle': <uint32 1>}") }, noHandle],
    ['handle that is no path', { CreateSession: answer(0, "{'session_handle': <'no path'>}") }, noHandle],
    ['no handle', { CreateSession: answer(0) }, noHandle],
  ];
  const inTheSession = [
    ['refused devices', { SelectDevices: no }, `${failedCall}RemoteDesktop.SelectDevices: ${refusal}`],
    ['refused sources', { SelectSources: no }, `${failedCall}ScreenCast.SelectSources: ${refusal}`],
    ['failed sources', { SelectSources: answer(2, "{'streams': <'none'>}") }, failed],
    ['unknown answer', { Start: answer(77) }, failed],
    ['no streams', { Start: answer(0) }, noStreams],
    ['empty list of streams', { Start: answer(0, "{'streams': <@a(ua{sv}) []>}") }, noStreams],
    ['streams of another type', { Start: answer(0, "{'streams': <'none'>}") }, noStreams],
    ['stream without a node', { Start: answer(0, "{'streams': <[(uint32 0, @a{sv} {})]>}") },
      'Wayland portal returned an invalid PipeWire stream node id.'],
    ['portal that ends', { Start: { when: 'exit' } }, failed],
    ...Array(10).fill(['responses early, late and elsewhere', odd, denied]),
    ['refused PipeWire', { OpenPipeWireRemote: no },
      `Failed to open the PipeWire remote from the Wayland portal: ${refusal}`],
    ['no descriptor', { OpenPipeWireRemote: { reply: '(handle 0,)' } },
      'Failed to retrieve the PipeWire file descriptor from the Wayland portal: unknown error'],
    ...Array(5).fill(['failing stream', {}, 'Wayland ScreenCast stream failed: picture lost']),
  ];
  desktop.show('fail picture lost');
  const held = () => ['fd', 'task'].map((kind) => fs.readdirSync(`/proc/${host.pid}/${kind}`).length);
  let atFirst;
  for (let round = 0; round < 2; round++) {
    for (const [closed, cases] of [beforeTheSession, inTheSession].entries()) {
      for (const [name, script, message] of cases) {
        desktop.setScript(script);
        await assert.rejects(host.call('display'), { message }, name);
        assert.strictEqual(countOf(desktop.record(), 'Session.Close /session/1'), closed, name);
      }
    }
    atFirst ??= held();
  }
  // GLib's own thread closes some descriptors.
  await waitUntil(() => held().every((count, kind) => count <= atFirst[kind]), () => [atFirst, held()]);
  desktop.show('BGRx 64 48 1');
  desktop.setScript({});
  assert.strictEqual((await host.call('display')).width, 1280);
}));

it('outlives the bus', withDesktop({ Start: { when: 'never' } }, async (desktop, host) => {
  const thinking = assert.rejects(host.call('display'), { message: 'The Wayland portal request failed.' });
  await desktop.recordWhen((record) => countOf(record, 'RemoteDesktop.Start'));
  // When the portal has answered a later call, the host has the reply to its own.
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
}));

// Sanitizers need descriptors themselves.
it('reports a lack of descriptors, and recovers from it', { skip: Boolean(process.env.OSTLER_PRELOAD) }, withDesktop({
}, async (desktop, host) => {
  // Lowers the host's limit so that `count` more descriptors can be opened.
  const leaveSpare = (count) => {
    const used = new Set(fs.readdirSync(`/proc/${host.pid}/fd`).map(Number));
    let limit = 0;
    for (let spare = 0; spare < count || used.has(limit); limit++) spare += used.has(limit) ? 0 : 1;
    execFileSync('prlimit', ['--pid', host.pid, `--nofile=${limit}:`]);
  };
  leaveSpare(0);
  await assert.rejects(host.call('display'), { message: /: Too many open files$/ });
  // Which step fails depends on how many are left once the user has agreed.
  for (const [count, message] of [
    [5, /OpenPipeWireRemote: Too many open files$/], [9, /^Failed to create the PipeWire /],
  ]) {
    leaveSpare(50);
    desktop.setScript({ Start: { delay: 100 } });
    const opening = assert.rejects(host.call('display'), { message }, `${count} descriptors`);
    await desktop.recordWhen((record) => countOf(record, 'RemoteDesktop.Start'));
    process.kill(desktop.portal(), 'SIGSTOP');
    leaveSpare(count);
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
}));

it('runs the host\'s GLib sources during the dialog, and lets them call the addon', withDesktop({
  Start: { delay: 300 },
}, async ({ env }) => {
  const call = (...args) => execFileSync(program('native_host'), args, { env, timeout: 20000, encoding: 'utf8' });
  assert.strictEqual(call('glib'), "A call on the desktop is already waiting for the portal's dialog.\n1280\n");
  assert.strictEqual(call('glib', 'thread'), '1280\n1280\n');
}));
