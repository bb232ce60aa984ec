'use strict';
// Runs in the command `ostler`.
// Makes a desktop for one short command: it calls the session module in this process. Starting a helper
// takes as long again as starting Node. A long call needs one, so that Ctrl-C leaves nothing pressed.

const { clickArguments, moveArguments, pixelArguments, screenshotArguments } = require('../host/check');
const { callError } = require('../host/errors');
const { loadSession } = require('../common/session_module');

function openDirectly() {
  const session = loadSession();
  session.open({ record: -1 });
  const methods = {
    cursorPosition: () => session.cursorPosition(),
    display: () => session.display(),
    windows: () => session.windows(),
    activate: (id) => session.activate(id),
    screenshot: (options) => session.picture(...screenshotArguments(options)),
    colourAt(x, y) {
      const [red, green, blue] = session.pixels(-1, 0, ...pixelArguments(x, y))?.data ?? [];
      return red === undefined ? null : { red, green, blue };
    },
    move: (options) => session.moveFor(...moveArguments(options)),
    click: (options) => session.clickHolding(...clickArguments(options)),
    scroll: (...values) => session.scroll(...values),
    key: (combo) => session.key(combo),
    keyDown: (name) => session.setKey(name, true),
    keyUp: (name) => session.setKey(name, false),
    close() {},
  };
  return Object.fromEntries(Object.entries(methods).map(([name, call]) => [name, async (...args) => {
    try {
      return call(...args);
    } catch (error) {
      throw error instanceof TypeError || error instanceof RangeError ? error : callError(error.message, process.env);
    }
  }]));
}

module.exports = { openDirectly };
