'use strict';
// Starts a simulated Wayland desktop: a private session bus, which starts the portal of
// portal.py on the first call, the portal's EIS server, and a PipeWire daemon with a screen
// (see pipewire_source.cpp).

const { spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { bound, endOf, program, temporaryDirectory } = require('./children');
const { startHost } = require('./host');
const { waitUntil } = require('./wait');

const modules = ['protocol-native', 'client-node', 'access', 'link-factory'];

// Creates a directory for a Wayland session and the environment of its programs.
function makeSession() {
  const directory = temporaryDirectory();
  const inside = (name) => path.join(directory, name);
  const { DISPLAY, XAUTHORITY, ...rest } = process.env;
  const env = {
    ...rest,
    DBUS_SESSION_BUS_ADDRESS: `unix:path=${inside('bus')}`,
    XDG_SESSION_TYPE: 'wayland', XDG_RUNTIME_DIR: directory, WAYLAND_DISPLAY: 'wayland-0',
  };
  return { directory, inside, env };
}

// Starts a desktop. portal.py describes `script`, pipewire_source.cpp describes `picture`.
async function startDesktop(script = {}, picture = 'BGRx 64 48 1') {
  const { directory, inside, env } = makeSession();
  fs.writeFileSync(inside('org.freedesktop.portal.Desktop.service'), `[D-BUS Service]
Name=org.freedesktop.portal.Desktop
Exec=/usr/bin/python3 -B "${path.join(__dirname, 'portal.py')}" "${directory}"\n`);
  fs.writeFileSync(inside('bus.conf'), `<busconfig><type>session</type><listen>unix:path=${inside('bus')}</listen>
    <servicedir>${directory}</servicedir><policy context='default'><allow send_destination='*'/>
    <allow receive_sender='*'/><allow own='*'/></policy></busconfig>`);
  fs.writeFileSync(inside('pipewire.conf'), `context.spa-libs = { support.* = support/libspa-support }
    context.properties = { core.daemon = true core.name = pipewire-0 support.dbus = false log.level = 0 }
    context.modules = [ ${modules.map((name) => `{ name = libpipewire-module-${name} }`).join(' ')} ]`);

  const children = [], hosts = [];
  const start = (command, ...args) => {
    const child = spawn(...bound(command, ...args), { env, stdio: ['pipe', 'pipe', 'ignore'] });
    children.push({ child, exited: endOf(child) });
    return child;
  };
  const startBus = () => start('dbus-daemon', '--nofork', '--print-pid', `--config-file=${inside('bus.conf')}`);
  let bus = startBus();
  const daemon = start('pipewire', '-c', inside('pipewire.conf'));
  const screen = start(program('pipewire_source'));
  const show = (line) => screen.stdin.write(`${line}\n`);
  show(picture);
  const [[node]] = await Promise.all([once(screen.stdout, 'data'), once(bus.stdout, 'data')]);

  const desktop = {
    env,
    show,
    killBus: () => bus.kill(),
    async restartBus() {
      if (bus.exitCode === null && bus.signalCode === null) await once(bus, 'exit');
      fs.rmSync(inside('bus'), { force: true });
      bus = startBus();
      await once(bus.stdout, 'data');
    },
    killPipeWire: () => daemon.kill(),
    // Returns the process id of the portal, which is also that of its EIS server.
    portal: () => Number(fs.readFileSync(inside('portal.pid'), 'utf8')),
    // Makes the EIS server add and remove devices (see Channel.act).
    async act(...commands) {
      const before = desktop.record().length;
      fs.writeFileSync(inside('eis.json'), JSON.stringify(commands));
      process.kill(desktop.portal(), 'SIGUSR2');
      await desktop.recordWhen((record) => record.slice(before).includes('eis acted'));
    },
    // Sets a new script for the portal and clears the record.
    setScript(steps) {
      fs.writeFileSync(inside('record'), '');
      fs.writeFileSync(inside('script.new'), JSON.stringify({ node: Number(node), ...steps }));
      fs.renameSync(inside('script.new'), inside('script.json'));
    },
    // Returns the lines that the portal and the EIS server have recorded.
    record: () => fs.readFileSync(inside('record'), 'utf8').split('\n').slice(0, -1),
    // Waits until the condition is true of the record, and returns the record.
    async recordWhen(condition) {
      await waitUntil(() => condition(desktop.record()), desktop.record);
      return desktop.record();
    },
    async startHost() {
      hosts.push(await startHost(env));
      return hosts.at(-1);
    },
    async stopHosts() {
      for (const host of hosts.splice(0)) await host.stop();
    },
    async stop() {
      await desktop.stopHosts();
      for (const { child, exited } of children) {
        child.kill();
        await exited;
      }
    },
  };
  desktop.setScript(script);
  return desktop;
}

// Makes a test that has its own desktop with a host.
const withDesktop = (script, test, picture) => async () => {
  const desktop = await startDesktop(script, picture);
  await desktop.startHost().then((host) => test(desktop, host)).finally(desktop.stop);
};

module.exports = { makeSession, startDesktop, withDesktop };
