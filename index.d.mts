// What `import ostler from 'ostler'` sees. The methods have no names of their
// own in an ECMAScript module: `import { click } from 'ostler'` fails at run time.
import ostler = require('./index.js');
export default ostler;
export type Capabilities = ostler.Capabilities;
export type DisplayInfo = ostler.DisplayInfo;
export type DisplaySize = ostler.DisplaySize;
export type Ostler = ostler.Ostler;
export type Point = ostler.Point;
export type Rect = ostler.Rect;
export type WindowInfo = ostler.WindowInfo;
