'use strict';
// Types a text until it is complete or the user presses Escape.

const { openDesktop } = require('ostler/promises');

async function main() {
  const desktop = await openDesktop();
  const controller = new AbortController();
  try {
    await desktop.onEscape(() => controller.abort());
    console.log('typing: press Escape to stop');
    await desktop.type('All work and no play. '.repeat(200), { signal: controller.signal });
  } catch (error) {
    if (error.name !== 'AbortError') throw error;
    console.log('stopped');
  } finally {
    await desktop.close();
  }
}

main().catch((error) => {
  console.error(error.message);
  process.exitCode = 1;
});
