'use strict';
// EIS servers that fail, hang or go away.

const assert = require('node:assert');
const fs = require('node:fs');
const { describe, it } = require('node:test');
const { startDesktop } = require('../support/desktop');
const { waitUntil } = require('../support/wait');

describe('an EIS server', { concurrency: true }, () => {
  it('that fails at the start is done without', async () => {
    // The message with which a server begins.
    const greeting = '0000000000000000140000000000000001000000';
    const sends = (bytes, close = false) => ({ eis: { bytes, close } });
    const connected = '0000000000000000200000000200000001000000' + '00000000000000ff' + '01000000';
    const disconnected = '00000000000000ff1c00000000000000' + '000000000000000000000000';
    const servers = [
      { error: ['org.test.No', 'no'] }, { reply: '(handle 0,)' },
      sends('', true), sends(greeting, true),
      sends('0'.repeat(64)), sends('f'.repeat(64)), sends(greeting + greeting),
      sends(`${greeting}0000000000000000200000000100000000000000000000000000000000000000`),
      sends(greeting.slice(0, 20)), sends(''),
      { eis: { bytes: greeting, answer: connected.replace(/01000000$/, '02000000') } },
      { eis: { bytes: greeting, answer: connected + disconnected } },
    ];
    const desktop = await startDesktop({ ConnectToEIS: servers });
    const hosts = await Promise.all(servers.map(() => desktop.startHost()));
    // Which host gets which server is left to chance.
    await Promise.all(hosts.map((host) => host.call('move', 3, 4)));
    const moves = desktop.record().filter((line) => /PointerMotionAbsolute .* 3.0, 4.0\)/.test(line));
    assert.strictEqual(moves.length, servers.length);
    const held = hosts.map(({ pid }) => fs.readdirSync(`/proc/${pid}/fd`)
      .map((name) => fs.readlinkSync(`/proc/${pid}/fd/${name}`))
      .filter((target) => /socket|eventpoll/.test(target)).length);
    // Only a channel that the server has ended in good order is kept to the end.
    const [least, ...others] = held.sort((a, b) => a - b);
    assert.ok(others.slice(0, -1).every((count) => count === least), `${held}`);
    await desktop.stop();
  });

  it('that stops reading is waited for, once', async () => {
    const desktop = await startDesktop();
    const host = await desktop.startHost();
    await host.call('display');
    const server = desktop.portal();
    const killServer = () => process.kill(server, 'SIGKILL');
    process.once('exit', killServer);  // a stopped process stays where it is
    const codes = { a: 30, b: 48, c: 46, d: 32, e: 18 };
    const taps = (text) => [...text].flatMap((letter) => [1, 0].map((state) => `eis 0 key ${codes[letter]} ${state}`));
    const keys = (record) => record.filter((line) => /key/.test(line));
    try {
      process.kill(server, 'SIGSTOP');
      setTimeout(() => process.kill(server, 'SIGCONT'), 2000);
      const text = 'abcde'.repeat(60);
      await host.call('type', text);
      // Nothing may be left in the client, which does not come back to send it.
      const lines = await desktop.recordWhen((record) => keys(record).length >= 600);
      assert.deepStrictEqual(keys(lines), taps(text));

      process.kill(server, 'SIGSTOP');
      const begin = Date.now();
      await host.call('drag', 0, 0, 1270, 710);
      await host.call('type', 'a'.repeat(150));
      assert.ok(Date.now() - begin < 60000);
      process.kill(server, 'SIGCONT');
      // Once it reads again the next keys are typed.
      const ends = (record, text) => keys(record).slice(-2 * text.length).join() === taps(text).join();
      await waitUntil(async () => { await host.call('type', 'b'); return ends(desktop.record(), 'b'); });
      await host.call('type', 'bcd');
      const after = await desktop.recordWhen((record) => ends(record, 'bcd'));
      // What is pressed is released, what is dropped is not, and a drag ends where it was to.
      const count = (event) => after.filter((line) => line.endsWith(event)).length;
      assert.strictEqual(count(`key ${codes.a} 0`), count(`key ${codes.a} 1`));
      const drop = after.findIndex((line) => line.endsWith('button 272 0'));
      assert.match(after[drop - 1], /motion 1270 710$/);
    } finally {
      process.off('exit', killServer);
      killServer();
    }
    for (const [method, ...values] of [['type', 'a'.repeat(150)], ['key', 'a'], ['mouseUp', 1, 1], ['move', 1, 1]]) {
      await assert.rejects(host.call(method, ...values), { message: 'The Wayland portal session has ended.' });
    }
    await desktop.stop();
  });
});
