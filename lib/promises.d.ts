/// <reference types="node" />
import type { Ostler, Rect } from '../index.js';

/** The last argument of every method. */
export interface CallOptions {
  /** Ends the call with an {@link AbortError} when it aborts. */
  signal?: AbortSignal;
  /**
   * Milliseconds, the time in the queue included, after which the call ends with an {@link AbortError}
   * whose `cause` is a `TimeoutError`. Without it, the `timeout` of {@link openDesktop} counts.
   */
  timeout?: number;
}

export interface OpenOptions {
  /** The whole environment of the helper process, by which it finds the session; `process.env` when absent. */
  env?: NodeJS.ProcessEnv;
  /** Ends the opening, and with it the dialog of a Wayland session. It does nothing once the desktop is open. */
  signal?: AbortSignal;
  /** Milliseconds for each call that has no `timeout` of its own; no limit when absent. Opening has none. */
  timeout?: number;
}

export interface ClickOptions extends CallOptions {
  x: number;
  y: number;
  /** "left" when absent. */
  button?: 'left' | 'middle' | 'right';
  /** 1 when absent. */
  count?: number;
}

export interface ScreenshotOptions extends CallOptions {
  /** A part of the desktop, in the coordinates of `display`, which is not resampled. */
  region?: Rect;
  /** Size in pixels to which the picture of the whole desktop is resampled. */
  size?: { width: number; height: number };
  /** Like `size.width` and `size.height`. */
  width?: number;
  height?: number;
  /** "png" when absent. */
  format?: 'png' | 'jpeg';
  /** Of a JPEG, from 0 to 1; 0.8 when absent. */
  quality?: number;
}

export interface PasteOptions extends CallOptions {
  /** The key combination that pastes; "ctrl+v" when absent. Terminals take "ctrl+shift+v". */
  combo?: string;
  /** Milliseconds that the target has to read the clipboard before it gets its old text back; 500 when absent. */
  restoreAfter?: number;
}

export interface WatchOptions extends CallOptions {
  /** The part of the desktop that counts; the whole desktop when absent. */
  region?: Rect;
  /** Milliseconds between two pictures; 100 when absent. */
  interval?: number;
}

export interface StillOptions extends WatchOptions {
  /** Milliseconds without a change; 500 when absent. */
  quiet?: number;
}

/** How a desktop ended. */
export interface DesktopEnd {
  /**
   * "closed": `close` was called. "aborted": a call was aborted that only the helper's end could stop.
   * "session ended": the desktop ended the Wayland session. "exited": the helper process ended by itself
   * or was killed, on X11 also because the X server ended.
   */
  reason: 'closed' | 'aborted' | 'session ended' | 'exited';
  /** The exit code of the helper process, or null when a signal ended it. */
  code: number | null;
  signal: NodeJS.Signals | null;
  /** What ended the session, or why no helper process could be started. */
  error?: Error;
}

/** A call was aborted by its `signal` or `timeout`; `cause` is the signal's reason. */
export class AbortError extends Error {
  private constructor();
  name: 'AbortError';
  code: 'ABORT_ERR';
}

/** The desktop has ended; `openDesktop` gives a new one. */
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
 * A desktop session in a helper process. The methods are those of the addon, with the same arguments,
 * results and errors, as promises. They run one at a time, in the order of the calls. A call rejects with a
 * {@link DesktopClosedError} when the desktop has ended or ends meanwhile.
 *
 * The helper keeps the event loop alive until `close`.
 */
export interface Desktop extends Promised<Omit<Ostler, 'lock' | 'unlock' | 'screenshot'>>, AsyncDisposable {
  click(x: number, y: number, button: string, count: number, options?: CallOptions): Promise<void>;
  click(options: ClickOptions): Promise<void>;

  /** Takes a picture; see {@link Ostler.screenshot}. Resolves to null when there is none. */
  screenshot(options?: ScreenshotOptions): Promise<Buffer | null>;

  /**
   * Pastes a text: sets the clipboard, presses `combo`, and gives the clipboard its old text back; other
   * content of the clipboard is lost. Resolves after that.
   *
   * @throws RangeError when the text is longer than 4 MiB, Error when the clipboard does not take it.
   */
  paste(text: string, options?: PasteOptions): Promise<void>;

  /** Resolves to the first picture, a PNG, that differs from the one taken in the turn of this call. */
  waitForChange(options?: WatchOptions): Promise<Buffer>;

  /** Resolves to the picture, a PNG, once there was no change for `quiet` milliseconds. */
  waitForStill(options?: StillOptions): Promise<Buffer>;

  /**
   * Lets the user interrupt: each press of Escape ends the running `type` and calls `listener` with the time of
   * the press. No other program gets Escape meanwhile. After a press every `type` returns at once, until
   * all listeners were removed and one is added again.
   *
   * @returns A function that removes the listener.
   * @throws Error when Escape cannot be watched: on Wayland, or while another program holds it.
   */
  onEscape(listener: (time: number) => void, options?: CallOptions): Promise<() => Promise<void>>;

  /** The times of all presses of Escape, in milliseconds since 1970, for `for await`. See `onEscape`. */
  escapePresses(options?: { signal?: AbortSignal }): AsyncGenerator<number, void, undefined>;

  /** Resolves when the desktop has ended, whatever the reason. Never rejects. */
  readonly closed: Promise<DesktopEnd>;

  /** Ends the session: releases what is pressed, rejects the calls that wait, and ends the helper process. */
  close(): Promise<void>;
}

/**
 * Opens a desktop session in a new helper process. Resolves when the session is open, which on Wayland is
 * after the user has answered the portal's dialog.
 *
 * @throws Error when there is no desktop or the user refused; AbortError when `signal` aborted.
 */
export function openDesktop(options?: OpenOptions): Promise<Desktop>;
