import promises = require('ostler/promises');

export const opened: Promise<promises.Desktop> = promises.openDesktop();
