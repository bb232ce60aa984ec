'use strict';
// Fills in a form in a GTK window and prints what the form received. It needs the program yad
// (Debian package yad).

const { spawn } = require('node:child_process');
const { openDesktop } = require('ostler/promises');

async function main() {
  const form = spawn('yad', ['--form', '--title=Guest', '--mouse',
    '--field=Name', '--field=City', '--field=Wishes'], { stdio: ['ignore', 'pipe', 'inherit'] });
  let output = '';
  form.stdout.on('data', (data) => { output += data; });
  const closed = new Promise((resolve) => { form.once('close', resolve); });

  const desktop = await openDesktop();
  try {
    await desktop.waitForChange({ timeout: 20000 });  // the window appears
    await desktop.waitForStill({ timeout: 20000 });
    await desktop.type('Ada Lovelace');
    await desktop.key('tab');
    await desktop.paste('Zürich');
    await desktop.key('tab');
    await desktop.type('a room with a view');
    await desktop.key('return');
    await closed;
  } finally {
    await desktop.close();
    form.kill();
  }
  process.stdout.write(output);
}

main().catch((error) => {
  console.error(error.message);
  process.exitCode = 1;
});
