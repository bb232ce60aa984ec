import loaded from './load.js';

if (loaded.error) throw loaded.error;
const { addon } = loaded;

export default addon;
export const {
  click, move, drag, mouseDown, mouseUp, type, key, scroll, cursorPosition, display, screenshot, capabilities,
  listDisplays, listWindows, getActiveWindow, windowAtPoint, activateApplication, concealApplication,
  restoreApplication, activateWindow, concealWindow, restoreWindow, prepareForInput, getClipboard, setClipboard, lock,
  unlock, checkPermissions, requestPermissions,
} = addon;
