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

  // Clicks at places of the portal's dialog, each as soon as the dialog is on top there.
  async function clickInDialog(...places) {
    for (const [x, y] of places) {
      const place = `const actor = ${dialog}, box = actor?.meta_window.get_frame_rect();
        const [x, y] = [box?.x + ${x}, box?.y + ${y}];`;
      // A busy shell places the window long after it has appeared.
      await waitUntil(() => evaluate(`${place}
        const before = user.place;
        user.place = [box?.x, box?.y].join();
        user.still = user.place === before ? user.still + 1 : 0;
        box?.x > 0 && box.y > 0 && user.still >= 30
          && actor.contains(global.stage.get_actor_at_pos(Clutter.PickMode.REACTIVE, x, y))`));
      await evaluate(`${place}
        user.moveTo(x, y);
        for (const state of [Clutter.ButtonState.PRESSED, Clutter.ButtonState.RELEASED])
          user.pointer.notify_button(GLib.get_monotonic_time(), Clutter.BUTTON_PRIMARY, state); ''`);
    }
  }
  const answering = (act) => async (ask, ...more) => {
    const asked = ask();
    asked.catch(() => {});  // it may reject before it is awaited
    await act(...more);
    await waitUntil(() => evaluate(`!${dialog}`));
    return asked;
  };

  // A seat loses the first click and key when it has no pointer or keyboard yet, so the user sends
  // some first. The desktop starts with its overview, which is closed below.
  await evaluate(`globalThis.Clutter = imports.gi.Clutter; globalThis.GLib = imports.gi.GLib;
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
    share: answering((monitor) => (
      clickInDialog([586, 105], ...(monitor === undefined ? [] : [[189 + 281 * monitor, 336]]), [612, 23]))),
    moveTo: (x, y) => evaluate(`user.moveTo(${x}, ${y}); ''`),
    pointer: () => evaluate('global.get_pointer().slice(0, 2)'),
    refuse: answering(() => clickInDialog([50, 23])),
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
