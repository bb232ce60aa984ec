'use strict';
// A Wayland desktop for tests: a private session bus, on which the portal of
// portal.py starts when it is called, the EIS server that the portal hands out,
// and a PipeWire daemon with a scripted source (see pipewire_source.cpp).

const { spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const readline = require('node:readline');
const { setTimeout: delay } = require('node:timers/promises');

const program = (name) => path.join(process.env.OSTLER_TEST_PROGRAMS, name);

// `script` is the portal's; `stream`, of the source, is null when no session
// comes as far as a picture. The source sends a first frame to each session.
async function startDesktop({ script = {}, stream = { format: 'BGRx', size: '64x48' } } = {}) {
  const directory = fs.mkdtempSync(path.join(os.tmpdir(), 'ostler-desktop-'));
  const inside = (name) => path.join(directory, name);
  const { DISPLAY, XAUTHORITY, ...rest } = process.env;
  const env = {
    ...rest,
    DBUS_SESSION_BUS_ADDRESS: `unix:path=${inside('bus')}`,
    XDG_SESSION_TYPE: 'wayland', XDG_RUNTIME_DIR: directory, WAYLAND_DISPLAY: 'wayland-0',
  };
  fs.writeFileSync(inside('record'), '');
  fs.writeFileSync(inside('org.freedesktop.portal.Desktop.service'), [
    '[D-BUS Service]', 'Name=org.freedesktop.portal.Desktop',
    `Exec=/usr/bin/python3 ${path.join(__dirname, 'portal.py')} ${directory} ${program('eis_server')}`, ''].join('\n'));
  fs.writeFileSync(inside('bus.conf'), `<busconfig><type>session</type><listen>unix:path=${inside('bus')}</listen>
    <servicedir>${directory}</servicedir><policy context='default'><allow send_destination='*'/>
    <allow receive_sender='*'/><allow own='*'/></policy></busconfig>`);

  // Each ends at stop(), or with this process: the bus by a signal, the source with its input.
  const start = (command, args, stdio) => {
    const child = spawn(command, args, { env, stdio });
    const lines = readline.createInterface({ input: child.stdout })[Symbol.asyncIterator]();
    return { child, exited: once(child, 'exit'), answer: async () => (await lines.next()).value };
  };
  const bus = start('dbus-daemon', ['--nofork', '--print-pid', `--config-file=${inside('bus.conf')}`],
    ['ignore', 'pipe', 'ignore']);
  await bus.answer();
  const killBus = () => bus.child.kill();
  process.once('exit', killBus);

  let node = 0;
  const desktop = {
    env,
    // With it the record begins anew.
    setScript(steps) {
      fs.truncateSync(inside('record'));
      fs.writeFileSync(inside('script.new'), JSON.stringify({ node, ...steps }));
      fs.renameSync(inside('script.new'), inside('script.json'));
    },
    // What the portal and the EIS server wrote down: [{ time, line }], time in
    // microseconds of the monotonic clock.
    timedRecord() {
      return fs.readFileSync(inside('record'), 'utf8').split('\n').slice(0, -1).map((text) => {
        const space = text.indexOf(' ');
        return { time: Number(text.slice(0, space)), line: text.slice(space + 1) };
      });
    },
    record: () => desktop.timedRecord().map(({ line }) => line),
    // The record, once the condition holds for it.
    async recordWhen(condition) {
      for (const end = Date.now() + 20000; Date.now() < end; await delay(5)) {
        const lines = desktop.record();
        if (condition(lines)) return lines;
      }
      throw new Error(`the record did not come to what was waited for:\n${desktop.record().join('\n')}`);
    },
    eisServer: () => Number(fs.readFileSync(inside('eis.pid'), 'utf8')),
    killBus,
    // A command of the PipeWire source; resolves to its answer.
    async source(command) {
      source.child.stdin.write(`${command}\n`);
      return source.answer();
    },
    async stop() {
      killBus();
      source?.child.stdin.end();
      await Promise.all([bus.exited, source?.exited]);
      process.off('exit', killBus);
      fs.rmSync(directory, { recursive: true, force: true });
    },
  };
  const source = stream && start(program('pipewire_source'), [directory, stream.format, stream.size],
    ['pipe', 'pipe', 'ignore']);
  if (source) {
    node = Number((await source.answer()).split(' ')[1]);
    await desktop.source('frame 1');
  }
  desktop.setScript(script);
  return desktop;
}

module.exports = { startDesktop };
