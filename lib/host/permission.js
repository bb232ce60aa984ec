'use strict';
// Runs in the host.

const { callback, optional, remember: checkRemember } = require('./check');

// In milliseconds. A portal that remembers has answered by then.
const shortestDialog = 500;

// Follows how a session gets the user's permission, as `openDesktop` was told to.
class Permission {
  #remember;  // the name of a store, or { load, save }
  #onDialog;
  #timer;
  #saving;

  // Whether no dialog was shown, which is so on X11.
  remembered = true;

  constructor({ remember, onDialog }) {
    this.#remember = checkRemember(remember, 'remember');
    this.#onDialog = optional(callback)(onDialog, 'onDialog');
  }

  // Resolves to what the helper is told about remembering (see lib/helper/open.js).
  async load() {
    if (typeof this.#remember !== 'object') return this.#remember && { name: this.#remember };
    const token = await this.#remember.load() ?? '';
    if (typeof token === 'string') return { token };
    throw new TypeError('The function "remember.load" must return a string or nothing.');
  }

  follow(helper) {
    helper.on('asking', () => {
      if (this.#onDialog) this.#timer ??= setTimeout(this.#onDialog, shortestDialog);
    });
    helper.on('granted', ({ remembered, token }) => {
      this.end();
      this.remembered = remembered;
      if (typeof this.#remember !== 'object') return;
      // The previous token may be void, so this one is saved even when the session fails to open.
      this.#saving = Promise.resolve(token || undefined).then((next) => this.#remember.save(next));
      this.#saving.catch(() => {});
    });
    helper.on('unsaved', (reason) => {
      process.emitWarning(`The desktop's permission cannot be remembered: ${reason}`, { code: 'OSTLER_UNSAVED' });
    });
  }

  // Resolves when the token of the next session is saved.
  async saved() {
    await this.#saving;
  }

  end() {
    clearTimeout(this.#timer);
  }
}

module.exports = { Permission };
