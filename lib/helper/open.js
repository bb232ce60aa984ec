'use strict';
// Runs in the helper process.

const { TokenStore } = require('../common/token_store');

// In milliseconds. Nothing says whether the portal showed a dialog, but no user can read and
// answer one in this time. A portal that remembers answers within 10 to 70 ms.
const shortestDialog = 500;

// Opens the session. `remember` says how the portal's permission is remembered: { name } of a
// store, { token } of the previous session, or undefined to ask each time. `monitors` is "one" or
// "all". `report` sends what happens to the host.
function openSession(session, { record, remember, monitors }, report) {
  const asking = () => report({ asking: true });
  let store, isGranted;
  const attempt = (token) => {
    let start;
    session.open({
      record, token, persist: remember !== undefined, allMonitors: monitors === 'all',
      asking() {
        start = performance.now();
        asking();
      },
      // The previous token may be void now, so the new one is saved before anything can fail.
      granted(next) {
        isGranted = true;
        const remembered = performance.now() - start < shortestDialog;
        save(next);
        report({ granted: { remembered, token: store ? undefined : next } });
      },
    });
  };
  const save = (token) => {
    try {
      store?.save(token);
    } catch (error) {
      report({ unsaved: error.message });
    } finally {
      store?.unlock();
    }
  };

  try {
    if (remember?.name !== undefined) {
      store = new TokenStore(remember.name, { env: process.env, monitors, lock: session.lockFile, waiting: asking });
    }
  } catch (error) {
    report({ unsaved: error.message });
    remember = undefined;
  }
  try {
    const token = store?.load() ?? remember?.token ?? '';
    try {
      attempt(token);
    } catch (error) {
      // Portals refuse some tokens that they do not know.
      if (token === '' || isGranted || error.message.includes('denied')) throw error;
      attempt('');
    }
  } finally {
    store?.unlock();
  }
}

module.exports = { openSession };
