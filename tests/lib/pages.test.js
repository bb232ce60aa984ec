'use strict';
// Runs the samples of the pages as a reader would copy them, and follows the pages' links.

const assert = require('node:assert');
const { execFileSync, spawn } = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, describe, it } = require('node:test');
const { endOf, endWithOutput, temporaryDirectory } = require('../support/children');
const { waitUntil } = require('../support/wait');
const { startXvfb } = require('../support/x11');

const root = path.join(__dirname, '..', '..');
const pages = ['.', 'docs'].flatMap((directory) => fs.readdirSync(path.join(root, directory))
  .filter((name) => name.endsWith('.md')).map((name) => path.join(directory, name)));
const read = (page) => fs.readFileSync(path.join(root, page), 'utf8');

it('the page for man is that of the command', () => {
  const page = execFileSync(process.execPath, [path.join(root, 'scripts/man_page.js')], { encoding: 'utf8' });
  assert.strictEqual(read('man/ostler.1'), page, 'run: node scripts/man_page.js >man/ostler.1');
});

describe('samples', () => {
  const directory = temporaryDirectory();
  let server;
  let editor;
  before(async () => {
    fs.mkdirSync(path.join(directory, 'node_modules', '.bin'), { recursive: true });
    fs.symlinkSync(root, path.join(directory, 'node_modules', 'ostler'));
    fs.symlinkSync('../ostler/bin/ostler.js', path.join(directory, 'node_modules', '.bin', 'ostler'));
    server = await startXvfb();
    editor = spawn('yad', ['--text-info', '--editable', '--geometry=1280x720+0+0'], { env: server.env, stdio: 'ignore' });
    const window = () => start('xdotool', 'search', '--onlyvisible', '--class', 'yad');
    await waitUntil(async () => (await window()).end === 0);
  });
  after(async () => {
    const ended = endOf(editor);
    editor.kill();
    await ended;
    await server.stop();
  });
  const start = (command, ...args) => endWithOutput(spawn(command, args,
    { cwd: directory, env: server.env, stdio: ['ignore', 'pipe', 'pipe'], timeout: 30000 }));

  for (const page of pages) {
    const blocks = [...read(page).matchAll(/^```(js|sh)\n(.*?)^```$/gms)].map(([, language, text], number) => {
      const [, name] = /^\/\/ (\S+\.m?js)$/m.exec(text) ?? [];
      return { language, text, name: name ?? `sample${number}.${/^import /m.test(text) ? 'mjs' : 'js'}` };
    });
    for (const { language, text, name } of blocks) {
      const [, needed] = /^\/\/ Node (\d+)$/m.exec(text) ?? [];
      const skip = Number(process.versions.node.split('.')[0]) < needed && `needs Node ${needed}`;
      it(`${page}: ${language === 'sh' ? 'shell' : name}`, { skip }, async () => {
        for (const block of blocks) fs.writeFileSync(path.join(directory, block.name), block.text);
        const { end, output } = await (language === 'sh' ? start('sh', '-ec', text) : start(process.execPath, name));
        assert.strictEqual(end, 0, output);
      });
    }
  }
});

// As GitHub makes them from headings.
const anchorOf = (heading) => heading.toLowerCase().replace(/[^\p{L}\p{N} _-]/gu, '').replaceAll(' ', '-');

it('links only to what exists, and from the package to what is in it', () => {
  const listing = execFileSync('npm', ['pack', '--dry-run', '--json', '--ignore-scripts'], { cwd: root, encoding: 'utf8' });
  const shipped = new Set(JSON.parse(listing)[0].files.map((file) => file.path));
  assert.ok(shipped.has('docs/limits.md'));
  const broken = pages.flatMap((page) => [...read(page).matchAll(/\]\((?!https?:)([^)#\s]*)(?:#([^)]+))?\)/g)]
    .filter(([, target, anchor]) => {
      const file = target ? path.join(path.dirname(page), target) : page;
      if (!fs.existsSync(path.join(root, file)) || (shipped.has(page) && !shipped.has(file))) return true;
      return anchor && ![...read(file).matchAll(/^#+ (.*)$/gm)].some(([, heading]) => anchorOf(heading) === anchor);
    }).map(([link]) => `${page}: ${link}`));
  assert.deepStrictEqual(broken, []);
});
