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

export interface ClickOptions extends CallOptions {
  x: number;
  y: number;
  /** Defaults to "left". */
  button?: 'left' | 'middle' | 'right';
  /** From 1. Defaults to 1. */
  count?: number;
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
export interface Desktop extends Promised<Omit<Ostler, 'click' | 'lock' | 'mouseUp' | 'screenshot' | 'unlock'>>,
  AsyncDisposable {
  /** Clicks; `button` defaults to "left" and `count` to 1. */
  click(x: number, y: number, button?: string, count?: number, options?: CallOptions): Promise<void>;
  click(x: number, y: number, options: CallOptions): Promise<void>;
  click(options: ClickOptions): Promise<void>;

  /** Releases the left button where the pointer is. */
  mouseUp(options?: CallOptions): Promise<void>;
  /** Same; the coordinates are ignored. */
  mouseUp(x: number, y: number, options?: CallOptions): Promise<void>;

  /** Takes a picture; see {@link Ostler.screenshot}. Resolves to null when there is none. */
  screenshot(options?: ScreenshotOptions): Promise<Buffer | null>;

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
