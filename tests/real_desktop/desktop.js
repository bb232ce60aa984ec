'use strict';
// A GNOME desktop for tests (see session.sh), with a person who answers the
// portal's dialog, and a window that tells which input reached it.

const { execFile, spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const readline = require('node:readline');
const { promisify } = require('node:util');
const { makeSession } = require('../support/desktop');
const { decodePng } = require('../support/png');
const { waitUntil } = require('../support/wait');

const dialog = 'global.get_window_actors()'
  + ".find((actor) => actor.meta_window.wm_class === 'xdg-desktop-portal-gnome')";

async function startDesktop(size, scale) {
  const { directory, inside, env } = makeSession();
  fs.copyFileSync(path.join(__dirname, 'witness.py'), inside('witness.py'));
  const options = [process.env.OSTLER_DESKTOP_ROOT, directory, size, String(scale)];
  const session = spawn(path.join(__dirname, 'session.sh'), options, { stdio: ['pipe', 'pipe', 'inherit'] });
  const ended = once(session, 'exit');
  const events = [];
  readline.createInterface(session.stdout).on('line', (line) => events.push(line));
  const seen = (line, from = 0) => waitUntil(() => {
    if (session.exitCode !== null) throw new Error(`the desktop ended: ${fs.readFileSync(inside('log'))}`);
    return events.includes(line, from);
  }, () => events.slice(-10));
  const gdbus = async (...words) => (await promisify(execFile)('gdbus', words, { env })).stdout;

  const desktop = {
    env,
    // What the window received, a line an event (see witness.py).
    events,
    seen,
    // A line for session.sh: `$shell` is the compositor's process id.
    command: (line) => session.stdin.write(`${line}\n`),
    // What the compositor makes of a piece of JavaScript.
    async evaluate(code) {
      const answer = await gdbus('call', '--session', '-d', 'org.gnome.Shell', '-o', '/org/gnome/Shell',
        '-m', 'org.gnome.Shell.Eval', code);
      const [, succeeded, value] = /^\((true|false), '(.*)'\)\n$/.exec(answer);
      if (succeeded === 'false') throw new Error(`${code}: ${value}`);
      return value && JSON.parse(value);
    },
    // Clicks at places of the portal's dialog, once it is what lies there.
    async answerDialog(...places) {
      for (const [x, y] of places) {
        const place = `const actor = ${dialog}, box = actor?.meta_window.get_frame_rect();
          const [x, y] = [box?.x + ${x}, box?.y + ${y}];`;
        await waitUntil(() => desktop.evaluate(`${place}
          actor?.contains(global.stage.get_actor_at_pos(Clutter.PickMode.REACTIVE, x, y))`));
        await desktop.evaluate(`${place}
          person.pointer.notify_absolute_motion(GLib.get_monotonic_time(), x, y);
          for (const state of [Clutter.ButtonState.PRESSED, Clutter.ButtonState.RELEASED])
            person.pointer.notify_button(GLib.get_monotonic_time(), Clutter.BUTTON_PRIMARY, state); ''`);
      }
      await waitUntil(() => desktop.evaluate(`!${dialog}`));
    },
    // "Allow Remote Interaction", then "Share".
    approve: () => desktop.answerDialog([586, 105], [612, 23]),
    refuse: () => desktop.answerDialog([50, 23]),
    // What the compositor shows, without the pointer.
    async picture() {
      await gdbus('call', '--session', '-d', 'org.gnome.Shell.Screenshot',
        '-o', '/org/gnome/Shell/Screenshot', '-m',
        'org.gnome.Shell.Screenshot.Screenshot', 'false', 'false', '/run/desktop/picture.png');
      return decodePng(fs.readFileSync(inside('picture.png')));
    },
    // Whether the desktop is shared with anybody, as the shell's own sign for it has it.
    isShared: () => desktop.evaluate('person.sharings.size > 0'),
    async stop() {
      session.stdin.end();
      await ended;
    },
  };
  await seen('ready');
  // A seat without a pointer or a keyboard loses its first click and key, so
  // the person's come first. The desktop opens with an overview of itself.
  await desktop.evaluate(`globalThis.Clutter = imports.gi.Clutter; globalThis.GLib = imports.gi.GLib;
    const seat = Clutter.get_default_backend().get_default_seat(), type = Clutter.InputDeviceType;
    globalThis.person = { pointer: seat.create_virtual_device(type.POINTER_DEVICE),
      keyboard: seat.create_virtual_device(type.KEYBOARD_DEVICE), sharings: new Set() };
    global.backend.get_remote_access_controller().connect('new-handle', (_, sharing) => {
      person.sharings.add(sharing);
      sharing.connect('stopped', () => person.sharings.delete(sharing)); });
    person.pointer.notify_absolute_motion(GLib.get_monotonic_time(), 1, 1);
    for (const state of [Clutter.KeyState.PRESSED, Clutter.KeyState.RELEASED])
      person.keyboard.notify_keyval(GLib.get_monotonic_time(), Clutter.KEY_Shift_L, state);
    Main.messageTray.bannerBlocked = true; ''`);
  await waitUntil(() => desktop.evaluate(
    'Main.overview.hide(); !Main.layoutManager._startingUp && !Main.overview.visible'));
  desktop.command('"${inside[@]}" python3 /run/desktop/witness.py &');
  await seen('active');
  return desktop;
}

module.exports = { startDesktop };
