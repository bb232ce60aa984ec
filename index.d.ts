/// <reference types="node" />

/**
 * Controls a Linux desktop: pointer, keyboard, screenshots, clipboard, and an Escape key
 * with which the user stops it. These rules hold for every method:
 *
 * - Every call is synchronous. It returns when all its events have been sent and all its
 *   waits are over. The event loop is blocked until then.
 * - Coordinates are pixels of the desktop, from (0, 0) at the top left, in the size that
 *   {@link ostler.Ostler.display} returns. On a scaled Wayland monitor these are logical
 *   pixels. Fractions are allowed.
 * - Arguments are not checked. A missing argument, or one of the wrong type, counts as 0,
 *   as the empty string or as an empty list. For example, `click(10, 20)` moves the pointer
 *   and clicks zero times. An integer argument loses its fraction; a string ends at U+0000.
 * - A failure is thrown as a plain `Error` without a `code`. Its `message` says which step
 *   failed.
 * - The first call that needs the desktop connects to it. This can fail, and on Wayland it
 *   shows a dialog. While the dialog is open, sources of GLib's default main context run; if
 *   one of them calls the addon, that call throws. After a failure the next call tries again, except
 *   when no session was found, which is final. After a success the connection stays open
 *   until the process ends.
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

  /** Which groups of methods for displays, applications and windows this platform implements. */
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
     * @param button "left", "middle" or "right", in upper or lower case. Any other text is the left one.
     * @param count Number of clicks: 1, or 2 for a double click. With 0 or less the pointer only moves.
     * @throws Error when there is no desktop. On Wayland also when the user has not permitted
     *   the use of the pointer, or when the portal refuses the request.
     */
    click(x: number, y: number, button: string, count: number): void;

    /**
     * Moves the pointer to (x, y) in one step. On X11 coordinates are rounded to whole
     * pixels. On Wayland fractions are kept, and a point outside the desktop is moved to
     * its edge.
     *
     * @throws Error as `click` does.
     */
    move(x: number, y: number): void;

    /**
     * Drags with the left button from one point to another in a straight line, in steps of
     * about 20 pixels, at least 5 of them, with 5 ms after each.
     *
     * On X11 a signal that ends the process during the drag, such as Ctrl-C at its terminal,
     * leaves the button down for the whole desktop, until any process calls `mouseUp`. A
     * host that handles the signal (`process.on('SIGINT', …)`) completes the drag first.
     *
     * @throws Error as `click` does. On Wayland a failure during the drag leaves the button
     *   down; `mouseUp` releases it.
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
     * Releases the left button where the pointer is. The coordinates are ignored, and the
     * pointer does not move.
     *
     * @throws Error as `click` does.
     */
    mouseUp(x: number, y: number): void;

    /**
     * Types a text on the keyboard, with 5 ms after each character. Both line feed and
     * carriage return press Return, so CR LF presses it twice. Tab and backspace press their
     * keys. A lone surrogate is typed as U+FFFD.
     *
     * On X11, when no key of the active keyboard layout produces a character, a spare keycode
     * is mapped to the character while it is typed.
     *
     * Returns early and without an error when the user has pressed Escape since the last
     * {@link lock}. The characters typed before that stay.
     *
     * @throws Error when there is no desktop, or at the first character that cannot be typed:
     *   on X11 because the keyboard map has no spare keycode, on Wayland because the user has
     *   not permitted the keyboard or the portal refuses. The characters typed before stay.
     */
    type(text: string): void;

    /**
     * Presses a key combination such as "ctrl+shift+a" and releases it, without a wait.
     * Parts are separated by "+"; case and spaces around a part do not matter. Modifiers are
     * pressed first, in the order of the text, and released last. If the text names several
     * keys, only the last is pressed. If it names only modifiers, the last of them is pressed
     * and released while the others are held.
     *
     * Keys: `a` to `z`, `0` to `9`, `f1` to `f12`, `return` (`enter`), `tab`,
     * `escape` (`esc`), `space`, `backspace`, `delete` (`forwarddelete`), `up`,
     * `down`, `left`, `right`, `home`, `end`, `pageup`, `pagedown`, `insert`,
     * `capslock`, `minus` (`-`), `equal` (`=`, `plus`), and `[ ] \ ; ' , . /` and
     * the grave accent. `plus` is the key that bears "=" and "+"; it does not imply Shift.
     *
     * Modifiers: `ctrl` (`control`), `shift`, `alt` (`option`), `super` (`meta`, `cmd`, `command`).
     *
     * An empty text does nothing.
     *
     * @throws Error when a part is unknown or no key remains to be pressed, before any key is
     *   pressed. Otherwise as `type` does.
     */
    key(combo: string): void;

    /**
     * Moves the pointer to (x, y) and turns the wheel there.
     *
     * @param dx Horizontal wheel steps: positive to the right, negative to the left.
     * @param dy Vertical wheel steps. On X11 positive is down; on Wayland positive is UP.
     * @throws Error as `click` does.
     */
    scroll(x: number, y: number, dx: number, dy: number): void;

    /**
     * Returns the position of the pointer. On Wayland this is the last position that the
     * screen cast reported, in pixels of the stream, or the target of the last move when it
     * has not reported any.
     *
     * @throws Error when there is no desktop.
     */
    cursorPosition(): Point;

    /**
     * Returns the size of the desktop, in the coordinates of all pointer methods. On Wayland
     * this is the size of the monitor or window that the user shared.
     *
     * @throws Error when there is no desktop.
     */
    display(): DisplaySize;

    /**
     * Takes a screenshot of the desktop. On X11 it does not contain the pointer; on Wayland
     * the compositor may draw it. A crop takes precedence over a target size: when both are
     * given, the picture is cut and not resampled. When neither is given, it has the size of
     * the captured frame, which on a scaled Wayland monitor is larger than `display`.
     *
     * On Wayland the screenshot is the last frame that the compositor sent. Right after an
     * input it can still show the state before that.
     *
     * @param scope Reserved; pass "".
     * @param included Reserved; pass null.
     * @param excluded Reserved; pass [].
     * @param width Target width in pixels; 0 for no resampling.
     * @param height Target height in pixels; 0 for no resampling.
     * @param left Left edge of the crop, in the coordinates of `display`. A negative edge counts
     *   as 0, and the crop keeps its size.
     * @param top Top edge of the crop, in the same way.
     * @param right Right edge of the crop, exclusive. There is no crop unless it is above `left`.
     * @param bottom Bottom edge of the crop, exclusive. There is no crop unless it is above `top`.
     * @param quality Selects a JPEG of that quality from 0 to 1, or a PNG when it is negative or NaN.
     * @returns The bytes of the file, or null when there is no picture: the X server returned
     *   none, the crop begins at or beyond the right or bottom edge, or the encoder failed.
     * @throws Error when there is no desktop, when memory runs out, or on Wayland when the
     *   screen cast has ended.
     */
    screenshot(
      scope: string, included: readonly string[] | null | undefined, excluded: readonly string[],
      width: number, height: number,
      left: number, top: number, right: number, bottom: number,
      quality: number,
    ): Buffer | null;

    /** All four are false: `listDisplays` to `prepareForInput` are not implemented on this platform. */
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
     * Returns the text in the clipboard of the X server that DISPLAY names; on Wayland this is
     * Xwayland. Waits up to 2 s for the program that owns the clipboard, and up to 2 s for
     * each piece of a long text.
     *
     * @returns The text, or "" when the clipboard is empty or contains no text, when its owner
     *   does not answer, or when there is no X server. None of these throws. Most owners send a
     *   text above 256 kB in pieces; if such a text is longer than 4 MiB, the result is "". A
     *   text that is sent at once is cut at 4 MiB.
     */
    getClipboard(): string;

    /**
     * Puts a text into the clipboard that `getClipboard` reads. It runs the program `xclip`,
     * which serves the text after the call, even after this process has exited. `xclip` takes
     * over the clipboard shortly after the call returns, so before you paste, wait until
     * `getClipboard` returns the text. No error is reported when `xclip` is missing or fails.
     *
     * `xclip` belongs to the process group of this process. A signal to the group, such as
     * Ctrl-C at the terminal, ends it too and empties the clipboard. If the text has to survive
     * that, run the host, or a process that calls this, in a process group of its own: with
     * `setsid`, or with `detached: true` of `child_process.spawn`.
     */
    setClipboard(text: string): void;

    /**
     * Starts a watcher that lets the user interrupt the host with the Escape key. Each press
     * of Escape, with any modifiers, stops a running `type` between two characters and calls
     * `callback` without arguments. The callback runs from the event loop, so a synchronous
     * call in progress returns first. An exception in it is an uncaught exception of the
     * process. Until `unlock`, no other program sees Escape, and the event loop stays alive.
     * An Escape that this process sends with `key` does not count.
     *
     * After such a press every `type` returns at once without typing, even after `unlock`.
     * The next `lock` in an X11 session resets this, even if it returns false, but not while a
     * watcher is running. Only `type` stops by itself; the callback has to stop all other work.
     *
     * @returns true when this call has started the watcher. false on Wayland, without an X
     *   server, when a watcher is running already (its callback stays), when another program
     *   has grabbed Escape, when the X server does not answer within 5 s, or when `callback` is
     *   not a function.
     */
    lock(callback: () => void): boolean;

    /**
     * Stops the watcher and releases the Escape key. Takes up to 100 ms, or 5 s when the X
     * server is unresponsive. Once this has returned, the callback is not called any more,
     * not even for earlier presses. Does nothing when no watcher is running.
     */
    unlock(): void;

    /** This platform needs no permissions: always true. */
    checkPermissions(kind: string): boolean;

    /** This platform needs no permissions: does nothing. */
    requestPermissions(kind: string): void;
  }
}

declare const ostler: ostler.Ostler;
export = ostler;
