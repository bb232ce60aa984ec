/// <reference types="node" />
import type { Ostler, Rect } from '../index.js';

/** Every method takes these options as its last argument. */
export interface CallOptions {
  /** When this signal aborts, the call ends with an {@link AbortError}. */
  signal?: AbortSignal;
  /**
   * Milliseconds, including the time in the queue, after which the call ends with an {@link AbortError}
   * whose `cause` is a `TimeoutError`. Defaults to the `timeout` of {@link openDesktop}. `null` and Infinity are no
   * limit; more than 2147483647 (24 days) counts as that. Any other value that is not a number from 0 is a RangeError.
   */
  timeout?: number | null;
}

export interface OpenOptions {
  /** The whole environment of the helper process, which determines the session. Defaults to `process.env`. */
  env?: NodeJS.ProcessEnv;
  /** Cancels opening, and closes the dialog of a Wayland session. Has no effect once the desktop is open. */
  signal?: AbortSignal;
  /** Milliseconds for each call that has no `timeout` of its own. Defaults to no limit. Does not limit opening. */
  timeout?: number | null;
  /**
   * Whether the portal of a Wayland desktop remembers the user's permission, so that the next start does not ask.
   * A name, or true for "default", keeps it below XDG_STATE_HOME; a {@link PermissionStore} leaves that to the host.
   * Whoever can read it can control the desktop without asking. Defaults to false. Has no effect on X11.
   */
  remember?: boolean | string | PermissionStore;
  /**
   * Whether the user of a Wayland desktop can share one monitor or several. Several need a desktop that tells where
   * they are, such as GNOME or KDE Plasma 6.7. On X11 the session has all monitors. Defaults to "one".
   */
  monitors?: 'one' | 'all';
  /** Called once when a Wayland desktop's dialog has probably been open for half a second. */
  onDialog?: () => void;
}

/** Keeps the token of a remembered permission. */
export interface PermissionStore {
  /** Returns the token that was saved last, if any. An exception makes `openDesktop` reject. */
  load(): string | null | undefined | Promise<string | null | undefined>;
  /**
   * Saves the token for the next start, before `openDesktop` resolves; undefined when the portal remembers nothing.
   * It replaces the previous token, which may be void. An exception makes `openDesktop` reject.
   */
  save(token: string | undefined): void | Promise<void>;
}

export interface ButtonOptions extends CallOptions {
  /** Where to move the pointer first. Without both coordinates it stays where it is. */
  x?: number;
  y?: number;
  /** Defaults to "left". */
  button?: 'left' | 'middle' | 'right';
}

export interface ClickOptions extends ButtonOptions {
  /** From 1. Defaults to 1. */
  count?: number;
  /** Names of keys, as in `key`, that are held down meanwhile. */
  modifiers?: string[];
}

export interface MoveOptions extends CallOptions {
  /** Milliseconds that the pointer takes, in equal steps. Without it the pointer jumps. */
  duration?: number;
}

export interface DragOptions extends CallOptions {
  from: { x: number; y: number };
  to: { x: number; y: number };
  /** Defaults to "left". */
  button?: 'left' | 'middle' | 'right';
  /** Names of keys, as in `key`, that are held down meanwhile. */
  modifiers?: string[];
  /** Milliseconds from `from` to `to`, in equal steps. Defaults to 5 for each 20 pixels, at least 25. */
  duration?: number;
}

export interface ScreenshotOptions extends CallOptions {
  /**
   * The part of the desktop to show, in the coordinates of `display`. A part of one monitor has that monitor's own
   * pixels. Cannot be combined with a size.
   */
  region?: Rect;
  /** The `id` of the monitor to show, of those of `monitors`. Cannot be combined with a region or a size. */
  monitor?: string;
  /** The size in pixels, up to 16384x16384, to which a picture of the whole desktop is resampled. */
  size?: { width: number; height: number };
  /** Same as `size.width` and `size.height`. */
  width?: number;
  height?: number;
  /** Defaults to "png". */
  format?: 'png' | 'jpeg';
  /** The quality of a JPEG, from 0 to 1. Defaults to 0.8. */
  quality?: number;
  /** How a PNG is compressed: "small" takes about five times as long for 6 % fewer bytes. Defaults to "fast". */
  compression?: 'fast' | 'small';
}

/** A window on an X server. Its place and size are those of its content, without the frame. */
export interface DesktopWindow extends Rect {
  id: number;
  title: string;
  /** The class in WM_CLASS, such as "XTerm". */
  class: string;
  pid: number | null;
  /** The number of the virtual desktop, from 0; -1 when the window is on all of them; null when unknown. */
  desktop: number | null;
  active: boolean;
}

export interface PixelsOptions extends CallOptions {
  /** The part of the desktop, in the coordinates of `display`. Defaults to the whole desktop. */
  region?: Rect;
}

export interface Pixels {
  /** In pixels. A desktop with scaling has more of them than `display` says. */
  width: number;
  height: number;
  /** Rows from top to bottom; each pixel has four bytes: red, green, blue and 255. */
  data: Buffer;
}

/** A monitor that the session controls. Its place is in the coordinates of `display`. */
export interface Monitor {
  id: string;
  x: number;
  y: number;
  width: number;
  height: number;
  /** The pixels of a picture for each unit of the place. */
  scale: number;
}

export interface PasteOptions extends CallOptions {
  /** The key combination that pastes. Defaults to "ctrl+v". Most terminals need "ctrl+shift+v". */
  combo?: string;
  /**
   * Milliseconds to wait for a program that reads the text. Defaults to 5000. What the user had copied is restored
   * as soon as the text has been read, so this delays only a paste that fails.
   */
  restoreAfter?: number;
}

export interface WriteOptions extends CallOptions {
  /**
   * What happens to characters that cannot be typed: "auto" pastes them with ctrl+v, "never" rejects.
   * "always" pastes the whole text. Defaults to "auto".
   */
  paste?: 'auto' | 'never' | 'always';
  /** Milliseconds after each typed character. Defaults to 5. */
  delay?: number;
}

export interface WatchOptions extends CallOptions {
  /** The part of the desktop to watch. Defaults to the whole desktop. */
  region?: Rect;
  /** Milliseconds between two pictures. Defaults to 100. */
  interval?: number;
}

export interface StillOptions extends WatchOptions {
  /** Milliseconds without a change. Defaults to 500. */
  quiet?: number;
}

/** Says how a desktop ended. */
export interface DesktopEnd {
  /**
   * "closed": `close` was called. "aborted": a call was aborted and the helper, which did not react, was killed.
   * "session ended": the desktop ended the Wayland session. "exited": the helper process exited by itself or was
   * killed, on X11 also because the X server ended.
   */
  reason: 'closed' | 'aborted' | 'session ended' | 'exited';
  /** The exit code of the helper process, or null when a signal ended it. */
  code: number | null;
  signal: NodeJS.Signals | null;
  /** Says why the session ended, or why no helper process could be started. */
  error?: Error;
  /** Set when a killed helper held keys or buttons down which could not be released within 30 s. */
  stillPressed?: true;
}

/** A call was aborted by its `signal` or `timeout`; `cause` is the signal's reason. */
export class AbortError extends Error {
  private constructor();
  name: 'AbortError';
  code: 'ABORT_ERR';
}

/** The desktop has ended; `openDesktop` opens a new one. */
export class DesktopClosedError extends Error {
  private constructor();
  name: 'DesktopClosedError';
  code: 'ERR_DESKTOP_CLOSED';
  end: DesktopEnd;
}

type Promised<T> = {
  [K in keyof T]: T[K] extends (...args: infer A) => infer R
    ? (...args: [...A, options?: CallOptions]) => Promise<R> : never;
};

/**
 * A desktop session in a helper process. The methods are those of the addon, with the same arguments and
 * results, but return promises. They run one at a time, in the order of the calls. A call rejects with a TypeError or
 * RangeError that names a wrong argument, and with a {@link DesktopClosedError} when the desktop has ended, or ends
 * before the call does.
 *
 * The helper keeps the event loop alive until `close`.
 */
export interface Desktop extends Promised<Omit<Ostler, 'click' | 'drag' | 'key' | 'lock' | 'mouseDown' | 'mouseUp' | 'move' |
  'screenshot' | 'scroll' | 'unlock'>>,
  AsyncDisposable {
  /** Moves the pointer. */
  move(x: number, y: number, options?: MoveOptions): Promise<void>;
  move(options: MoveOptions & { x: number; y: number }): Promise<void>;

  /** Clicks; `button` defaults to "left" and `count` to 1. Without a place it clicks where the pointer is. */
  click(x: number, y: number, button?: string, count?: number, options?: CallOptions): Promise<void>;
  click(x: number, y: number, options: CallOptions): Promise<void>;
  click(options?: ClickOptions): Promise<void>;

  /** Presses a button at one place and releases it at another; positional with the left button. */
  drag(fromX: number, fromY: number, toX: number, toY: number, options?: CallOptions): Promise<void>;
  drag(options: DragOptions): Promise<void>;

  /** Presses a button and leaves it down. Everything that is held down is released when the desktop ends. */
  mouseDown(x: number, y: number, options?: CallOptions): Promise<void>;
  mouseDown(options?: ButtonOptions): Promise<void>;

  /** Releases a button. */
  mouseUp(options?: ButtonOptions): Promise<void>;
  /** Releases the left button where the pointer is; the coordinates are ignored. */
  mouseUp(x: number, y: number, options?: CallOptions): Promise<void>;

  /** Turns the wheel. A positive `dx` is right and a positive `dy` is down, on X11 and on Wayland. */
  scroll(x: number, y: number, dx: number, dy: number, options?: CallOptions): Promise<void>;

  /**
   * Presses and releases the keys of a combination such as "ctrl+shift+t". Knows the names of {@link Ostler.key}; the
   * keypad keys "kp0" to "kp9", "kpenter", "kpadd", "kpsubtract", "kpmultiply", "kpdivide" and "kpdecimal"; "print",
   * "pause", "menu", "numlock" and "scrolllock"; "f13" to "f24"; "leftctrl", "rightctrl", and the same with shift, alt
   * and super; "altgr"; and X keysyms such as "Page_Down". Rejects an unknown name before any key is pressed.
   */
  key(combo: string, options?: CallOptions): Promise<void>;

  /** Presses one key, with a name as in `key`, and leaves it down. It is released when the desktop ends. */
  keyDown(name: string, options?: CallOptions): Promise<void>;
  keyUp(name: string, options?: CallOptions): Promise<void>;

  /** Takes a picture; see {@link Ostler.screenshot}. Resolves to null when there is none. */
  screenshot(options?: ScreenshotOptions): Promise<Buffer | null>;

  /** Takes a picture without encoding it. Resolves to null when there is none. */
  pixels(options?: PixelsOptions): Promise<Pixels | null>;

  /** Resolves to the colour of one pixel, from 0 to 255 each, or to null outside the desktop. */
  colourAt(x: number, y: number, options?: CallOptions): Promise<{ red: number; green: number; blue: number } | null>;

  /**
   * Types a text so that it arrives exactly, whatever Caps Lock says, or rejects before anything is pressed. Each line
   * end presses Return once. Keys that the user holds, such as Shift, are released on X11.
   *
   * On X11, characters that no key has are mapped to spare keycodes. These mappings stay until the program with the
   * focus has handled the keys, which for some programs is 1.2 s after the last one. On Wayland, they are typed with a
   * dead key where the layout has one, and otherwise pasted.
   *
   * @throws Error that names the characters which cannot be typed; with `paste: 'auto'` these are control
   *   characters and lone surrogates. Error when the user presses Escape, see `onEscape`.
   */
  write(text: string, options?: WriteOptions): Promise<void>;

  /**
   * Lists the windows of programs, the lowest first, as the window manager of an X server describes them.
   *
   * @throws Error on Wayland, and on an X server without a window manager that lists its windows (EWMH).
   */
  windows(options?: CallOptions): Promise<DesktopWindow[]>;

  /** Makes a window the active one and raises it. Rejects like `windows`, and when there is no such window. */
  activate(id: number, options?: CallOptions): Promise<void>;

  /**
   * Pastes a text: sets the clipboard, presses `combo`, waits until a program has read the text, and restores what
   * the user had copied, a picture or any other content up to 16 MiB too. Resolves when that is restored.
   *
   * @throws RangeError when the text is longer than 4 MiB, Error when no program reads it within `restoreAfter`, when
   * another program copies something meanwhile, or when there is no clipboard.
   */
  paste(text: string, options?: PasteOptions): Promise<void>;

  /** Resolves to the first picture, a PNG, that differs from the one taken when it was this call's turn. */
  waitForChange(options?: WatchOptions): Promise<Buffer>;

  /** Resolves to a picture, a PNG, once nothing has changed for `quiet` milliseconds. */
  waitForStill(options?: StillOptions): Promise<Buffer>;

  /**
   * Lets the user interrupt: each press of Escape ends the running `type` and calls `listener` with the time of
   * the press. No other program sees Escape meanwhile. After a press every `type` returns at once, until
   * all listeners have been removed and one is added again.
   *
   * @returns A function that removes the listener.
   * @throws Error when Escape cannot be watched: on Wayland, or while another program holds it.
   */
  onEscape(listener: (time: number) => void, options?: CallOptions): Promise<() => Promise<void>>;

  /** Yields the time of each press of Escape, in milliseconds since 1970, to `for await`. See `onEscape`. */
  escapePresses(options?: { signal?: AbortSignal }): AsyncGenerator<number, void, undefined>;

  /** Whether the session was opened without a dialog. Always true on X11. */
  readonly remembered: boolean;

  /**
   * Resolves to the monitors: on X11 all active ones, on Wayland those that are shared. A part of the desktop that
   * no monitor shows is black in pictures, and the pointer cannot be moved there.
   */
  monitors(options?: CallOptions): Promise<Monitor[]>;

  /** How this session reaches the clipboard. With "none", the calls that need one reject and say what is missing. */
  readonly clipboard: 'portal' | 'klipper' | 'data-control' | 'x11' | 'none';

  /** Resolves when the desktop has ended, whatever the reason. Never rejects. */
  readonly closed: Promise<DesktopEnd>;

  /** Ends the session: releases what is pressed, rejects the waiting calls, and ends the helper process. */
  close(): Promise<void>;
}

/**
 * Opens a desktop session in a new helper process. Resolves when the session is open; on Wayland, the user
 * has to answer the portal's dialog first, unless the portal remembers the permission (see `remember`).
 *
 * @throws Error when there is no desktop or the user refused; AbortError when `signal` aborted.
 */
export function openDesktop(options?: OpenOptions): Promise<Desktop>;
