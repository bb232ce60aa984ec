// A host that uses the promise API. Each @ts-expect-error marks a mistake.
import { AbortError, openDesktop, type Desktop, type DesktopEnd } from 'ostler/promises';

export async function host(signal: AbortSignal): Promise<DesktopEnd> {
  await using desktop: Desktop = await openDesktop({ env: process.env, signal, timeout: 5000, remember: 'me' });
  // @ts-expect-error: save is missing
  openDesktop({ remember: { load: () => 'token' } });
  await desktop.click(100, 200, 'left', 1, { signal });
  await desktop.click({ x: 1, y: 2, count: 2, timeout: 50 });
  await desktop.drag({ from: { x: 1, y: 2 }, to: { x: 3, y: 4 }, modifiers: ['ctrl'], duration: 100, signal });
  await desktop.move(1, 2, { duration: 100 });
  await desktop.mouseUp({ button: 'right' });
  // @ts-expect-error: a drag needs its ends
  await desktop.drag({ button: 'left' });
  await desktop.type('text', { timeout: 1000 });
  await desktop.write('text', { paste: 'never', delay: 10, signal });
  const png: Buffer | null = await desktop.screenshot({ format: 'png', width: 1280, height: 720 });
  // @ts-expect-error: the picture may be null
  png.length;
  // @ts-expect-error: there is no such format
  await desktop.screenshot({ format: 'gif' });
  // @ts-expect-error: onEscape replaces lock
  await desktop.lock(() => {});
  const [{ id }] = await desktop.monitors();
  await desktop.screenshot({ monitor: id });
  const stop = await desktop.onEscape((time: number) => time);
  await stop();
  for await (const time of desktop.escapePresses({ signal })) if (time > 0) break;
  const { x }: { x: number } = await desktop.cursorPosition({ signal }).catch((error: unknown) => {
    if (error instanceof AbortError) return { x: 0, y: 0 };
    throw error;
  });
  await desktop.waitForStill({ region: { x, y: 0, width: 9, height: 9 }, quiet: 100 });
  return desktop.closed;
}
