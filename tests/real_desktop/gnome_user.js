'use strict';
// Simulates the user of a GNOME desktop, with JavaScript that runs inside the shell.

module.exports = async ({ call, waitUntil }) => {
  // Evaluates JavaScript in the compositor and returns the result.
  async function evaluate(code) {
    const answer = await call('org.gnome.Shell', '/org/gnome/Shell', 'org.gnome.Shell.Eval', code);
    const [, succeeded, value] = /^\((true|false), '(.*)'\)\n$/.exec(answer);
    if (succeeded === 'false') throw new Error(`${code}: ${value}`);
    return value && JSON.parse(value);
  }
  const dialog = 'global.get_window_actors()'
    + ".find((actor) => actor.meta_window.wm_class === 'xdg-desktop-portal-gnome')";

  const isGone = () => evaluate(`!${dialog}`);
  const placeOf = (x, y) => `const actor = ${dialog}, box = actor?.meta_window.get_frame_rect();
    const [x, y] = [box?.x + ${x}, box?.y + ${y}];`;

  // Returns whether the dialog can be clicked there. A busy shell places it long after it has appeared.
  const isPlaced = (x, y) => evaluate(`${placeOf(x, y)}
    const before = user.place;
    user.place = [box?.x, box?.y].join();
    user.still = user.place === before ? user.still + 1 : 0;
    box?.x > 0 && box.y > 0 && user.still >= 30
      && actor.contains(global.stage.get_actor_at_pos(Clutter.PickMode.REACTIVE, x, y))`);
  const click = (x, y) => evaluate(`${placeOf(x, y)}
    user.moveTo(x, y);
    for (const state of [Clutter.ButtonState.PRESSED, Clutter.ButtonState.RELEASED])
      user.pointer.notify_button(GLib.get_monotonic_time(), Clutter.BUTTON_PRIMARY, state); ''`);
  // Returns whether the dialog shows the colour there that it gives to what is chosen.
  async function isChosen(x, y) {
    await evaluate(`${placeOf(x, y)}
      const shooter = new Shell.Screenshot();
      user.colour = null;
      shooter.pick_color(x, y, (_, result) => {
        const [, { red, green, blue }] = shooter.pick_color_finish(result);
        user.colour = [red, green, blue];
      }); ''`);
    let colour;
    await waitUntil(async () => (colour = await evaluate('user.colour')));
    const [red, , blue] = colour;
    return red < 100 && blue > 200;
  }
  // Clicks at a place of the dialog until it shows the result. A busy dialog misses clicks.
  async function clickUntil(isDone, x, y) {
    let next = 0;
    await waitUntil(async () => {
      const placed = await isPlaced(x, y);
      if (next > 0 && await isDone()) return true;
      if (!placed || Date.now() < next) return false;
      await click(x, y);
      next = Date.now() + 5000;
      return false;
    });
  }
  const answering = (act) => async (ask, ...more) => {
    const asked = ask();
    asked.catch(() => {});  // it may reject before it is awaited
    await act(...more);
    await waitUntil(isGone);
    return asked;
  };

  // A seat loses the first click and key when it has no pointer or keyboard yet, so the user sends
  // some first. The desktop starts with its overview, which is closed below.
  await evaluate(`globalThis.Clutter = imports.gi.Clutter; globalThis.GLib = imports.gi.GLib;
    globalThis.Shell = imports.gi.Shell;
    // GNOME 51 has no global backend any more.
    const backend = Clutter.get_default_backend?.() ?? global.stage.get_context().get_backend();
    const seat = backend.get_default_seat(), type = Clutter.InputDeviceType;
    globalThis.user = { pointer: seat.create_virtual_device(type.POINTER_DEVICE),
      keyboard: seat.create_virtual_device(type.KEYBOARD_DEVICE), sharings: new Set() };
    global.backend.get_remote_access_controller().connect('new-handle', (_, sharing) => {
      user.sharings.add(sharing);
      sharing.connect('stopped', () => user.sharings.delete(sharing)); });
    user.moveTo = (x, y) => {
      // The hot corner can hold back the first.
      for (let i = 0; i < 3; i++) user.pointer.notify_absolute_motion(GLib.get_monotonic_time(), x, y);
    };
    user.moveTo(1, 1);
    for (const state of [Clutter.KeyState.PRESSED, Clutter.KeyState.RELEASED])
      user.keyboard.notify_keyval(GLib.get_monotonic_time(), Clutter.KEY_Shift_L, state);
    Main.messageTray.bannerBlocked = true; ''`);
  await waitUntil(() => evaluate('Main.overview.hide(); !Main.layoutManager._startingUp && !Main.overview.visible'));
  return {
    // Clicks "Allow Remote Interaction", the monitor if there is a choice, then "Share".
    share: answering(async (monitor) => {
      await clickUntil(() => isChosen(572, 105), 586, 105);
      const left = 281 * monitor;
      if (monitor !== undefined) await clickUntil(() => isChosen(left + 58, 336), left + 189, 336);
      await clickUntil(isGone, 612, 23);
    }),
    moveTo: (x, y) => evaluate(`user.moveTo(${x}, ${y}); ''`),
    pointer: () => evaluate('global.get_pointer().slice(0, 2)'),
    refuse: answering(() => clickUntil(isGone, 50, 23)),
    close: answering(async () => {
      await waitUntil(() => evaluate(`!!${dialog}`));
      await evaluate(`${dialog}.meta_window.delete(global.get_current_time()); ''`);
    }),
    endSharing: () => evaluate("user.sharings.forEach((sharing) => sharing.stop()); ''"),
    // As when the screen is locked on a desktop with monitors.
    lock: () => evaluate("global.backend.get_remote_access_controller().inhibit_remote_access(); ''"),
    switchLayout: (number) => (
      evaluate(`Main.panel.statusArea.keyboard._inputSourceManager.inputSources[${number}].activate(true); ''`)),
    isShared: () => evaluate('user.sharings.size > 0'),
  };
};
