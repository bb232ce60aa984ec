import ostler from './index.js';

export default ostler;
export const {
  click, move, drag, mouseDown, mouseUp, type, key, scroll, cursorPosition, display, screenshot, capabilities,
  listDisplays, listWindows, getActiveWindow, windowAtPoint, activateApplication, concealApplication,
  restoreApplication, activateWindow, concealWindow, restoreWindow, prepareForInput, getClipboard, setClipboard, lock,
  unlock, checkPermissions, requestPermissions,
} = ostler;
