'use strict';
// EIS servers that fail, hang or go away.

const assert = require('node:assert');
const fs = require('node:fs');
const { describe, it } = require('node:test');
const { startDesktop, withDesktop } = require('../support/desktop');

// The messages with which a server begins, lets the client in and ends the connection.
const greeting = '0000000000000000140000000000000001000000';
const connected = '0000000000000000200000000200000001000000' + '00000000000000ff' + '01000000';
const disconnected = '00000000000000ff1c00000000000000' + '000000000000000000000000';
const failures = {
  'an error of the portal': { error: ['org.test.No', 'no'] },
  'no descriptor': { reply: '(handle 0,)' },
  'the end before the greeting': { eis: { bytes: '', close: true } },
  'the end after the greeting': { eis: { bytes: greeting, close: true } },
  'a message that is too short': { eis: { bytes: '0'.repeat(64) } },
  'half a greeting': { eis: { bytes: greeting.slice(0, 20) } },
  'a newer version': { eis: { bytes: greeting, answer: connected.replace(/01000000$/, '02000000') } },
  'a disconnection in good order': { eis: { bytes: greeting, answer: connected + disconnected } },
};

describe('an EIS server', { concurrency: true }, () => {
  it('that fails at the start is replaced by the portal', async () => {
    const desktop = await startDesktop({ ConnectToEIS: Object.values(failures) });
    const moves = [], hosts = [];
    for (const i of Object.keys(failures).keys()) {
      hosts.push(await desktop.startHost());
      moves.push(hosts[i].call('move', i, 4));
      await desktop.recordWhen((record) => record.filter((line) => /ConnectToEIS/.test(line)).length > i);
    }
    await Promise.all(moves);
    const held = hosts.map(({ pid }) => fs.readdirSync(`/proc/${pid}/fd`)
      .filter((fd) => /socket|eventpoll/.test(fs.readlinkSync(`/proc/${pid}/fd/${fd}`))).length);
    for (const [i, name] of Object.keys(failures).entries()) {
      assert.match(desktop.record().join('\n'), RegExp(`PointerMotionAbsolute .* ${i}.0, 4.0\\)`), name);
      // A channel that the server has disconnected properly is the only one that stays open.
      if (!/good order/.test(name)) assert.strictEqual(held[i], held[0], `descriptors after ${name}`);
    }
    await desktop.stop();
  });

  it('that stops reading is waited for', withDesktop({}, async (desktop, host) => {
    await host.call('display');
    const server = desktop.portal();
    const killServer = () => process.kill(server, 'SIGKILL');
    process.once('exit', killServer);  // nothing else would end a stopped process
    const codes = { a: 30, b: 48, c: 46, d: 32, e: 18 };
    const taps = (text) => [...text].flatMap((letter) => [1, 0].map((state) => `eis 0 key ${codes[letter]} ${state}`));
    const keys = (record) => record.filter((line) => /key/.test(line));
    process.kill(server, 'SIGSTOP');
    setTimeout(() => process.kill(server, 'SIGCONT'), 1000);
    const text = 'abcde'.repeat(30);  // more than the socket holds
    await host.call('type', text);
    // No event may stay in the client, because it sends nothing more.
    const lines = await desktop.recordWhen((record) => keys(record).length >= 300);
    assert.deepStrictEqual(keys(lines), taps(text));

    process.off('exit', killServer);
    killServer();
    for (const [method, ...values] of [['type', 'a'.repeat(150)], ['key', 'a'], ['mouseUp', 1, 1], ['move', 1, 1]]) {
      await assert.rejects(host.call(method, ...values), { message: 'The Wayland portal session has ended.' });
    }
  }));
});
