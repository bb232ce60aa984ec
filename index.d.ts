/// <reference types="node" />

/**
 * Hands and eyes on a Linux desktop. What holds for every method:
 *
 * - A call blocks: it returns when the desktop has been told everything, waits
 *   included, and the event loop stands still meanwhile.
 * - Coordinates are pixels of the desktop as {@link ostler.Ostler.display} counts
 *   them, from 0, 0 at the top left. On a scaled Wayland monitor these are logical
 *   pixels. Fractions are allowed.
 * - No argument is checked. A missing one, or one of another type, counts as 0,
 *   as the empty string or as no list: `click(10, 20)` moves the pointer and
 *   clicks zero times. Integers lose their fraction; a string ends at U+0000.
 * - A failure is a plain `Error` without a `code`; its `message` tells which step
 *   failed. The first call that needs the desktop connects to it, which can fail,
 *   and on Wayland shows a dialog. While that is open, sources of GLib's default
 *   main context run; a call that one of them makes throws. After a failed attempt
 *   the next call makes a new one, except where no session was found, which is
 *   final; after a good one the connection stays until the process ends.
 */
declare namespace ostler {
  /** A position on the desktop, in the coordinates of `display`. */
  interface Point {
    x: number;
    y: number;
  }

  /** A rectangle of the desktop, in the coordinates of `display`. */
  interface Rect {
    x: number;
    y: number;
    width: number;
    height: number;
  }

  /** The size of the desktop. The two pairs are always equal. */
  interface DisplaySize {
    width: number;
    height: number;
    pixelWidth: number;
    pixelHeight: number;
  }

  /** What this platform can do besides pointer, keyboard, capture and clipboard. */
  interface Capabilities {
    discovery: boolean;
    application: boolean;
    window: boolean;
    state: boolean;
  }

  interface DisplayInfo {
    displayId: string;
    label: string;
    bounds: Rect;
    isPrimary: boolean;
  }

  interface WindowInfo {
    windowId: string;
    applicationId: string;
    applicationName: string;
    applicationNames: string[];
    title: string;
    displayId: string;
    bounds: Rect;
    isMinimized: boolean;
  }

  /** The addon's methods, in the order in which it lists them. */
  interface Ostler {
    /**
     * Moves the pointer to (x, y) and clicks there: 5 ms after the move, 10 ms
     * from press to release, 50 ms between clicks.
     *
     * @param button "left", "middle" or "right", in any case. Any other text is the left one.
     * @param count How many clicks: 1, or 2 for a double click. With 0 or less the pointer only moves.
     * @throws Error when there is no desktop; on Wayland also when the session may not use the
     *   pointer or the portal refuses.
     */
    click(x: number, y: number, button: string, count: number): void;

    /**
     * Moves the pointer to (x, y) in one step. X11 rounds to whole pixels; Wayland
     * keeps fractions and brings a point outside back to the desktop's edge.
     *
     * @throws Error as `click` does.
     */
    move(x: number, y: number): void;

    /**
     * Drags with the left button from one point to another in a straight line, a
     * step every 20 pixels and at least 5, 5 ms each.
     *
     * On X11 a signal that ends the process on the way, such as Ctrl-C at its terminal,
     * leaves the button down for the whole desktop, until any process calls `mouseUp`. A
     * host that handles the signal (`process.on('SIGINT', …)`) completes the drag first.
     *
     * @throws Error as `click` does. On Wayland a failure half way leaves the button down; `mouseUp` frees it.
     */
    drag(fromX: number, fromY: number, toX: number, toY: number): void;

    /**
     * Moves the pointer to (x, y) and presses the left button, which stays down
     * until `mouseUp`. On X11 it stays down even after the end of this process, so a host
     * calls `mouseUp` before it exits, and when it handles SIGINT and SIGTERM.
     *
     * @throws Error as `click` does.
     */
    mouseDown(x: number, y: number): void;

    /**
     * Releases the left button where the pointer is. The coordinates are not
     * looked at and the pointer does not move.
     *
     * @throws Error as `click` does.
     */
    mouseUp(x: number, y: number): void;

    /**
     * Types a text as if on the keyboard, 5 ms a character. Both line feed and
     * carriage return press Return, so CR LF presses it twice; tab and backspace
     * press their keys. Bytes that are no Unicode text type U+FFFD.
     *
     * On X11 a character that no key of the active keyboard layout produces is typed on an
     * unused key, which is mapped to it meanwhile.
     *
     * Returns early and without an error when a person pressed Escape after the
     * last {@link lock}; what was typed by then stays.
     *
     * @throws Error when there is no desktop, or at the first character that cannot be typed
     *   (X11: the keyboard map has no free key; Wayland: not permitted, or refused by the portal).
     *   What was typed by then stays.
     */
    type(text: string): void;

    /**
     * Presses a key combination such as "ctrl+shift+a" and releases it, without
     * a wait. Parts are separated by "+"; case and blanks around a part do not
     * matter. Modifiers go down first, in the order of the text, and come up last.
     * Of several keys only the last is pressed. Modifiers alone tap the last of them.
     *
     * Keys: `a` to `z`, `0` to `9`, `f1` to `f12`, `return` (`enter`), `tab`,
     * `escape` (`esc`), `space`, `backspace`, `delete` (`forwarddelete`), `up`,
     * `down`, `left`, `right`, `home`, `end`, `pageup`, `pagedown`, `insert`,
     * `capslock`, `minus` (`-`), `equal` (`=`, `plus`), and `[ ] \ ; ' , . /` and
     * the grave accent. `plus` is the key that bears "=" and "+"; it implies no Shift.
     *
     * Modifiers: `ctrl` (`control`), `shift`, `alt` (`option`), `super` (`meta`, `cmd`, `command`).
     *
     * An empty text does nothing.
     *
     * @throws Error when a part is unknown or no key remains, before anything was pressed;
     *   otherwise as `type` does.
     */
    key(combo: string): void;

    /**
     * Moves the pointer to (x, y) and turns the wheel there.
     *
     * @param dx Horizontal steps: positive to the right, negative to the left.
     * @param dy Vertical steps. On X11 positive is down; on Wayland positive is UP.
     * @throws Error as `click` does.
     */
    scroll(x: number, y: number, dx: number, dy: number): void;

    /**
     * Where the pointer is. On Wayland the position that the screen cast told
     * last, in pixels of the stream, or before it has told any the target of the
     * last motion.
     *
     * @throws Error when there is no desktop.
     */
    cursorPosition(): Point;

    /**
     * The size of the desktop (Wayland: of the monitor or window that the person
     * shared), in the coordinates of all pointer methods.
     *
     * @throws Error when there is no desktop.
     */
    display(): DisplaySize;

    /**
     * Takes a picture of the desktop. No pointer is drawn into it on X11; on
     * Wayland the compositor may. A crop goes before a target size: with both
     * given the picture is cut and not resampled. With neither it has the size of
     * the captured frame, which on a scaled Wayland monitor is larger than `display`.
     *
     * On Wayland it is the last frame that the compositor sent: right after an
     * input it can still show the state before.
     *
     * @param scope Reserved; pass "".
     * @param included Reserved; pass null.
     * @param excluded Reserved; pass [].
     * @param width Wanted width in pixels of the picture; 0 for no resampling.
     * @param height Wanted height in pixels of the picture; 0 for no resampling.
     * @param left Left edge of the crop, in the coordinates of `display`. A negative edge counts
     *   as 0, and the crop keeps its size.
     * @param top Top edge of the crop, likewise.
     * @param right Right edge of the crop, exclusive; not above `left` for no crop.
     * @param bottom Bottom edge of the crop, exclusive; not above `top` for no crop.
     * @param quality From 0 to 1 a JPEG of that quality; negative or NaN a PNG.
     * @returns The bytes of the file, or null when there is no picture: the X server gave none,
     *   the crop begins at or beyond the right or bottom edge, or the encoder failed.
     * @throws Error when there is no desktop, memory runs out, or on Wayland the screen cast has ended.
     */
    screenshot(
      scope: string, included: readonly string[] | null | undefined, excluded: readonly string[],
      width: number, height: number,
      left: number, top: number, right: number, bottom: number,
      quality: number,
    ): Buffer | null;

    /** What the methods from `listDisplays` to `prepareForInput` can do: nothing here, all four are false. */
    capabilities(): Capabilities;

    /** Not implemented on this platform: always an empty list. */
    listDisplays(): DisplayInfo[];

    /** Not implemented on this platform: always an empty list. */
    listWindows(): WindowInfo[];

    /** Not implemented on this platform: always null. */
    getActiveWindow(): WindowInfo | null;

    /** Not implemented on this platform: always null. */
    windowAtPoint(scope: string, x: number, y: number): WindowInfo | null;

    /** Not implemented on this platform: always false. */
    activateApplication(applicationId: string): boolean;

    /** Not implemented on this platform: always false. */
    concealApplication(applicationId: string): boolean;

    /** Not implemented on this platform: always false. */
    restoreApplication(applicationId: string): boolean;

    /** Not implemented on this platform: always false. */
    activateWindow(windowId: string): boolean;

    /** Not implemented on this platform: always false. */
    concealWindow(windowId: string): boolean;

    /** Not implemented on this platform: always false. */
    restoreWindow(windowId: string): boolean;

    /** Not implemented on this platform: always false. */
    prepareForInput(
      scope: string, included: readonly string[] | null | undefined, excluded: readonly string[],
      x: number, y: number,
    ): boolean;

    /**
     * The text of the clipboard of the X server that DISPLAY names, on Wayland
     * the one of Xwayland. Waits up to 2 s for the program that owns it, and as long for
     * each piece of a long text.
     *
     * @returns The text, or "" when the clipboard is empty or holds no text, its owner does not
     *   answer, or there is no X server. Never throws for these. A text that the owner sends in
     *   pieces, as most do above 256 kB, may have 4 MiB; a longer one gives "". Others are cut there.
     */
    getClipboard(): string;

    /**
     * Puts a text on that clipboard, through the program `xclip`, which goes on
     * serving it after the call and after this process has exited. It takes the
     * clipboard a moment after the call: before pasting, wait until `getClipboard`
     * gives the text. Says nothing when `xclip` is missing or fails.
     *
     * `xclip` belongs to the process group of this process. A signal to the group, such
     * as Ctrl-C at the terminal, ends it too and empties the clipboard. Where the text
     * has to survive that, run the host, or a process that calls this, in a group of its
     * own: `setsid`, or `detached: true` of `child_process.spawn`.
     */
    setClipboard(text: string): void;

    /**
     * Lets the user interrupt: from now on each press of Escape on the keyboard,
     * with any modifiers, ends the running `type` between two characters and
     * calls `callback` without arguments, from the event loop, so after the
     * blocking call has returned. What `callback` throws is an uncaught exception
     * of the process. Until `unlock` no other program sees Escape, and the event
     * loop stays alive. Escape that this process presses with `key` does not count.
     *
     * After such a press every `type` returns at once without typing, even after
     * `unlock`. The next `lock` in an X11 session ends that, whatever it returns,
     * but not while a watcher is running. Only `type` stops by itself; a host that
     * does other work stops it in the callback.
     *
     * @returns Whether this call has started the watcher. false: on Wayland, without an X server,
     *   when a watcher is running already (the first callback stays), when another program holds
     *   Escape, when the X server does not answer within 5 s, or when `callback` is no function.
     */
    lock(callback: () => void): boolean;

    /**
     * Stops the watcher and gives Escape back; takes up to 100 ms, or 5 s when the X
     * server is unresponsive. The callback is not called any more once this has returned,
     * even for earlier presses. Does nothing when no watcher is running.
     */
    unlock(): void;

    /** There is nothing to permit on this platform: always true. */
    checkPermissions(kind: string): boolean;

    /** There is nothing to permit on this platform: does nothing. */
    requestPermissions(kind: string): void;
  }
}

declare const ostler: ostler.Ostler;
export = ostler;
