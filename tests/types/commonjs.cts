// A CommonJS module of a host, which imports the addon in both possible ways.
import byDefault from 'ostler';
import ostler = require('ostler');

const same: typeof ostler = byDefault;
same.key('ctrl+shift+t');
export const windows: ostler.WindowInfo[] = ostler.listWindows();
export const title: string | undefined = ostler.getActiveWindow()?.title;
