'use strict';
// The Escape watcher when its host, its X server or a Worker ends, or when the
// server goes silent.

const assert = require('node:assert');
const fs = require('node:fs');
const net = require('node:net');
const { spawn } = require('node:child_process');
const { after, before, describe, it } = require('node:test');
const { startHost } = require('../support/host');
const { waitUntil } = require('../support/wait');
const { startPerson } = require('../support/x11_clients');
const { startXvfb } = require('../support/xvfb');

let server, person;
before(async () => {
  server = await startXvfb();
  person = await startPerson(server.env);
});
after(async () => {
  await person.stop();
  await server.stop();
});

// Node frees nothing of its own when it ends at once, which no leak check can
// tell from a leak of the addon's.
const atOnce = (env) => ({ ...env, ASAN_OPTIONS: 'detect_leaks=0' });

// Runs a script. At its line "press" a person presses Escape, at any other
// `atLine` acts; then it is told to go on.
function runScript(source, { env = server.env, atLine = () => {} } = {}) {
  const prelude = `
    const { Worker } = require('node:worker_threads');
    const addonPath = ${JSON.stringify(process.env.OSTLER_ADDON)};
    const sayAndWait = (line) => new Promise((resolve) => {
      process.stdin.once('data', () => { process.stdin.unref(); resolve(); }).ref();
      console.log(line);
    });
    const worker = (code) => new Promise((resolve) => {
      const result = new Worker(code, { eval: true, workerData: addonPath });
      result.once('message', (locked) => locked ? resolve(result) : process.exit(99));
    });
    const lockingWorker = (rest = '') => worker(\`
      const { parentPort, workerData } = require('node:worker_threads');
      parentPort.postMessage(require(workerData).lock(() => {}));
      \${rest}\`);`;
  const child = spawn(process.execPath, ['-e', `${prelude}\n(async () => {${source}\n})();`],
    { env: atOnce(env), stdio: ['pipe', 'pipe', 'pipe'] });
  let output = '';
  child.stderr.on('data', (data) => { output += data; });
  child.stdout.on('data', async (data) => {
    output += data;
    await (`${data}`.trim() === 'press' ? person.ask('tap') : atLine(child));
    child.stdin.write('\n');
  });
  child.stdin.on('error', () => {});
  return new Promise((resolve) => child.once('close', (code, signal) => resolve({ code, signal, output })));
}
const addon = `const addon = require(addonPath);
  const lock = (callback = () => {}) => { if (!addon.lock(callback)) process.exit(99); };`;

describe('the end of a process with the watcher running', () => {
  const failure = 'throw new Error("uncaught")';
  const cases = [
    ['process.exit', `${addon} lock(); process.exit(7)`, 7],
    ['process.exit, after a press', `${addon} lock(() => process.exit(7)); await sayAndWait("press")`, 7],
    ['process.exit, with a press on its way',
      `${addon} lock(); await sayAndWait("press"); process.exit(7)`, 7],
    ['an uncaught exception', `${addon} lock(); process.nextTick(() => { ${failure} })`, 1],
    ['an uncaught exception in the callback, which Node only warns of',
      `${addon} lock(() => { setImmediate(() => process.exit(7)); ${failure} });
       await sayAndWait("press")`, 7],
    ['the end of the script after unlock', `${addon} lock(); setTimeout(addon.unlock, 50)`, 0],
    ['a lock while the process exits', `${addon} process.on("exit", () => lock()); process.exitCode = 7`, 7],
    ['a terminated Worker that alone had the addon',
      `const w = await lockingWorker(); await w.terminate(); await sayAndWait("press");
       setTimeout(() => {}, 300)`, 0],
    ['a terminated Worker, the addon also in the main thread',
      `${addon} const w = await lockingWorker(); await w.terminate(); await sayAndWait("press");
       lock(); setTimeout(() => process.exit(7), 50)`, 7],
    ['a Worker that exits',
      `const w = await lockingWorker("parentPort.once('message', () => process.exit(3))");
       w.once("exit", process.exit); w.postMessage("")`, 3],
    ['a Worker that throws',
      `const w = await lockingWorker("parentPort.once('message', () => { throw 1 })");
       w.once("error", () => process.exit(7)); w.postMessage("")`, 7],
    ['a Worker that is alive when the process exits',
      'await lockingWorker(); await sayAndWait("press"); process.exit(7)', 7],
    ['a Worker after a Worker',
      'for (let i = 0; i < 3; ++i) { await (await lockingWorker()).terminate(); }', 0],
  ];
  for (const [name, source, expected] of cases) {
    it(`is that of any process: ${name}`, async () => {
      const { code, signal, output } = await runScript(source);
      assert.deepStrictEqual({ code, signal }, { code: expected, signal: null }, output);
    });
  }

  it('does not hang on an X server that has gone silent', async () => {
    const other = await startXvfb();
    try {
      const source = `${addon} lock(); await sayAndWait("stop"); process.exit(7)`;
      const atLine = () => process.kill(other.pid, 'SIGSTOP');
      const { code, signal, output } = await runScript(source, { env: other.env, atLine });
      assert.deepStrictEqual({ code, signal }, { code: 7, signal: null }, output);
    } finally {
      process.kill(other.pid, 'SIGCONT');
      await other.stop();
    }
  });

  it('comes with code 1 when the X server dies, whatever the host does then', async () => {
    const cases = ['await sayAndWait("die")', 'addon.move(1, 1); await sayAndWait("die")',
      'await sayAndWait("die"); addon.unlock(); setInterval(() => {}, 1000)',
      'await sayAndWait("die"); for (;;);'];
    for (const source of cases) {
      const other = await startXvfb();
      const { code, signal, output } = await runScript(`${addon} lock(); ${source}`,
        { env: other.env, atLine: () => other.stop() });
      assert.deepStrictEqual({ code, signal }, { code: 1, signal: null }, output);
    }
  });
});

describe('a display that takes connections and then says nothing', () => {
  // A way to the real server that stops at its n-th connection, counted from
  // 0, until it is opened.
  async function startGate(silentFrom) {
    const connections = [];
    const open = (socket) => {
      const real = net.connect(`/tmp/.X11-unix/X${server.display.slice(1)}`);
      for (const end of [socket, real]) {
        end.on('error', () => {}).on('close', () => { socket.destroy(); real.destroy(); });
      }
      socket.pipe(real).pipe(socket);
    };
    const gate = net.createServer((socket) => {
      socket.on('error', () => {});
      connections.push(socket);
      if (connections.length <= silentFrom) open(socket);
    });
    const number = await new Promise((resolve) => {
      const attempt = (candidate) => gate.once('error', () => attempt(candidate + 1))
        .listen(6000 + candidate, '127.0.0.1', () => resolve(candidate));
      attempt(100);
    });
    return {
      display: `127.0.0.1:${number}`,
      connections,
      open: () => connections.slice(silentFrom).forEach(open),
      stop: () => { gate.close(); connections.forEach((socket) => socket.destroy()); },
    };
  }
  const threads = (host) => fs.readdirSync(`/proc/${host.pid}/task`).length;
  const lockOn = (host, display) => host.run((addon, name) => {
    const usual = process.env.DISPLAY;
    process.env.DISPLAY = name;
    try {
      return addon.lock(() => {});
    } finally {
      process.env.DISPLAY = usual;
    }
  }, display);

  for (const [when, silentFrom] of [['from the start', 0], ['after a first answer', 1]]) {
    it(`has 5 s, then lock answers false; what comes later changes nothing: silent ${when}`, async () => {
      const host = await startHost(server.env);
      const gate = await startGate(silentFrom);
      await host.run((addon) => addon.cursorPosition());
      const before = threads(host);
      const started = Date.now();
      assert.strictEqual(await lockOn(host, gate.display), false);
      assert.ok(Date.now() - started >= 4990);
      assert.ok(Date.now() - started < 8000, 'lock waited for the display');
      assert.strictEqual(await lockOn(host, gate.display), false);
      assert.strictEqual(threads(host), before + 1, 'one worker is late, however often lock is called');
      assert.ok(await host.run((addon) => addon.cursorPosition()));
      if (silentFrom === 0) {
        // Nothing is held that others need.
        assert.strictEqual(await host.run((addon) => addon.getClipboard()), '');
        assert.strictEqual(await host.run((addon) => addon.lock(() => {})), true);
        await host.run((addon) => addon.unlock());
      }
      gate.open();
      await waitUntil(() => threads(host) === before);
      assert.strictEqual(await person.ask('grab'), 'done');
      assert.strictEqual(await person.ask('ungrab'), 'done');
      assert.strictEqual(await host.run((addon) => addon.lock(() => {})), true);
      await host.run((addon) => addon.unlock());
      gate.stop();
      await host.stop();
    });
  }

  it('does not keep the process, nor is it missed when it goes', async () => {
    const gate = await startGate(0);
    const source = `${addon} if (addon.lock(() => {})) process.exit(1); await sayAndWait("gone");
      setTimeout(() => process.exit(7), 200)`;
    const env = { ...server.env, DISPLAY: gate.display };
    const { code, signal, output } = await runScript(source, { env, atLine: gate.stop });
    assert.deepStrictEqual({ code, signal, output }, { code: 7, signal: null, output: 'gone\n' });
  });
});
