export { openDesktop, AbortError, DesktopClosedError } from './promises.js';
