'use strict';
// Tests the command on an X server: its output, its effects and its exit codes.

const assert = require('node:assert');
const { execFileSync, spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const path = require('node:path');
const { after, before, it } = require('node:test');
const { version } = require('../../package.json');
const { endOf, temporaryDirectory } = require('../support/children');
const { startDesktop } = require('../support/desktop');
const { decodePng } = require('../support/png');
const { waitUntil } = require('../support/wait');
const { keyboardState, nothingDown, startWitness, startXvfb, textOf } = require('../support/x11');

const directory = temporaryDirectory();
const file = (name) => path.join(directory, name);

let server, witness;
before(async () => {
  server = await startXvfb();
  witness = await startWitness(server.env);
});
after(() => witness.stop().finally(server.stop));

const program = path.join(__dirname, '..', '..', 'bin', 'ostler.js');
const start = (args, env = server.env) => spawn(program, args, { env, stdio: ['pipe', 'pipe', 'pipe'] });

// Runs the command; resolves to [exit code, stdout, stderr].
async function ostler(args, { input = '', env } = {}) {
  const child = start(args, env);
  const texts = ['', ''];
  [child.stdout, child.stderr].forEach((stream, i) => stream.on('data', (data) => { texts[i] += data; }));
  child.stdin.on('error', () => {}).end(input);
  endOf(child);
  const [code] = await once(child, 'close');
  return [code, ...texts];
}

it('prints what the desktop returns', async () => {
  for (const [name, args, expected, input] of [
    ['its version', ['--version'], `${version}\n`],
    ['what a script asks for', ['run'], '10 20\n1280x720\n', 'move 10 20  # in one session\n\ncursor\ndisplay\n'],
    ['the pointer as JSON', ['cursor', '-j'], '{"x":10,"y":20}\n'],
    ['the pointer after a relative move', ['move', '-R', '5', '-6', ',', 'cursor'], '15 14\n'],
    ['nothing for a move', ['move', '10', '20'], ''],
    ['nothing for a wait', ['wait-still', '--quiet', '1', '--timeout', '9'], ''],
    ['nothing when it copies a text', ['clipboard', 'Grüße'], ''],
    ['the clipboard as JSON', ['clipboard', '--json'], '{"text":"Grüße"}\n'],
    ['nothing when it copies its input', ['clipboard', '-'], '', 'piped'],
    ['the clipboard', ['clipboard'], 'piped\n'],
  ]) assert.deepStrictEqual(await ostler(args, { input }), [0, expected, ''], name);
  for (const args of [['key', '-h'], ['help', 'key'], []]) {
    const [code, output] = await ostler(args);
    assert.ok(code === 0 && output.includes('ostler key COMBO...'), args.join(' '));
  }
});

it('completes commands, options and their values in bash', () => {
  for (const [words, expected] of [
    [['scr'], 'screenshot scroll'],
    [['click', '--b'], '--button'],
    [['click', '-b', 'm'], 'middle'],
    [['click', '-n', ''], ''],
    [['screenshot', 'pic'], 'picture.png'],
    [['type', 'pic'], ''],
    [['move', '1', '2', ',', 'write', '--paste', 'a'], 'auto always'],
    [['completion', ''], 'bash zsh --help --version'],
  ]) {
    const script = 'source <("$0" completion bash); compopt() { :; }; COMP_WORDS=(ostler "$@"); COMP_CWORD=$#; _ostler; echo "${COMPREPLY[*]}"';
    const cwd = fs.mkdtempSync(file('completed-'));
    fs.writeFileSync(path.join(cwd, 'picture.png'), '');
    assert.strictEqual(execFileSync('bash', ['-c', script, program, ...words], { cwd, encoding: 'utf8' }).trim(), expected, words.join(' '));
  }
});

it('sends input, with words quoted as in a shell', async () => {
  await witness.events();
  const script = `click 5 6 --button right --count 2\nscroll 7 8 0 -1\ndrag 1 1 9 9\nmove 'to o'`;
  assert.deepStrictEqual(await ostler(['run'], { input: script }),
    [2, '', 'ostler: line 4: usage: ostler move X Y [--relative] [--duration MS]\n']);
  const quoted = `clipboard 'a "b'"c\\"#"\\ d#e # a comment\nclipboard\ntype "in one"\nkey ctrl+x ctrl+y\n`;
  assert.deepStrictEqual(await ostler(['run'], { input: quoted }), [0, 'a "bc"# d#e\n', '']);
  fs.writeFileSync(file('text'), ' and a file');
  await ostler(['type', '-'], { input: 'from the input' });
  assert.deepStrictEqual(await ostler(['write', ' ж', '--paste', 'never', '--delay', '9']), [0, '', '']);
  const [code, , refusal] = await ostler(['write', '-'], { input: 'a\x07' });
  assert.deepStrictEqual([code, /U\+0007/.test(refusal)], [1, true]);
  await ostler(['type', '--file', file('text'), ' and', ' more']);
  // Outside of a script a key stays down.
  await ostler(['key-down', 'Shift_R']);
  await ostler(['click', '-b', '2', '--modifiers', 'ctrl']);
  assert.strictEqual(keyboardState(server.env).down.match(/[1-9a-f]/g).length, 1);
  await ostler(['key-up', 'rightshift']);
  assert.strictEqual(keyboardState(server.env).down, nothingDown);
  const events = await witness.events();
  assert.strictEqual(textOf(events), 'in onexyfrom the input ж and a file and more');
  const presses = events.filter(({ kind, down }) => kind === 'button' && down).map(({ button, x }) => [button, x]);
  assert.deepStrictEqual(presses, [[3, 5], [3, 5], [4, 7], [1, 1], [2, 9]]);
});

it('takes screenshots', async () => {
  for (const [name, options, size] of [
    ['a.jpg', ['--quality', '0.1'], [0xff, 0xd8]],
    ['b.png', ['--region', '1,2,30,40'], [30, 40]],
    ['c.PNG', ['--size', '64x36'], [64, 36]],
    ['d.png', ['-r', '30x40+1+2', '--delay', '0.01'], [30, 40]],
  ]) {
    const [code, output] = await ostler(['screenshot', file(name), '--json', ...options]);
    const bytes = fs.readFileSync(file(name));
    assert.deepStrictEqual([code, JSON.parse(output)], [0, { file: file(name), bytes: bytes.length }], name);
    const { width, height } = name === 'a.jpg' ? { width: bytes[0], height: bytes[1] } : decodePng(bytes);
    assert.deepStrictEqual([width, height], size, name);
  }
  const bytes = execFileSync(process.execPath, [program, 'screenshot', '-', '-r', '1,2,30,40'], { env: server.env });
  assert.deepStrictEqual(bytes, fs.readFileSync(file('b.png')));
  const named = execFileSync(process.execPath, [program, 'screenshot', '-f', 'jpg'], { env: server.env, cwd: directory });
  assert.ok(fs.existsSync(file(named.toString().trim())));
  const [, colour] = await ostler(['pixel', '1', '2']);
  assert.strictEqual(colour, `#${Buffer.from(decodePng(bytes).pixel(0, 0)).toString('hex')}\n`);
});

it('exits with 2 for wrong usage and with 1 when the desktop refuses', async () => {
  const nowhere = { ...server.env, DISPLAY: '' };
  for (const [name, code, args, complaint, options] of [
    ['unknown command', 2, ['nonsense'], /no command "nonsense"$/m],
    ['misspelt command', 2, ['curser'], /did you mean "cursor"\?/],
    ['unknown command after a comma', 2, ['cursor', ',', 'nonsense'], /"nonsense" in a script/],
    ['command that no script has', 2, ['run'], /line 2: there is no command "watch" in/, { input: '# first\nwatch' }],
    ['missing argument', 2, ['move', '1'], /usage: ostler move X Y/],
    ['argument that is no number', 2, ['move', '1', 'x'], /Y must be a number/],
    ['negative time', 2, ['sleep', '-1'], /from 0/],
    ['coordinate beyond every screen', 2, ['click', '1e9', '1'], /to 32767/],
    ['count of 0', 2, ['click', '1', '2', '--count', '0'], /integer from 1/],
    ['option without its value', 2, ['click', '--count'], /"--count" needs a value/],
    ['unknown option', 2, ['cursor', '--color'], /--color/],
    ['unknown button', 2, ['click', '1', '2', '--button', 'thumb'], /--button/],
    ['quality in percent', 2, ['screenshot', 'a.jpg', '--quality', '75'], /from 0 to 1/],
    ['negative quality', 2, ['screenshot', 'a.jpg', '--quality', '-1'], /from 0 to 1/],
    ['region and size', 2, ['screenshot', 'a.png', '-r', '1,2,3,4', '-s', '5x6'], /cannot be combined/],
    ['unknown kind of picture', 2, ['screenshot', 'a.gif'], /\.png or \.jpg/],
    ['open quotation mark', 2, ['run'], /line 1: unmatched '/, { input: "type 'a" }],
    ['unknown key', 1, ['key', 'ctrl+foo'], /Unsupported key combo part/],
    ['unknown key in a script', 1, ['run'], /line 3: Unsupported/, { input: '\ncursor\nkey foo\nmove 0 0' }],
    ['no script', 1, ['run', file('none')], /^ostler: cannot read \S+: no such file or directory$/m],
    ['nothing changes', 1, ['wait-change', '-t', '0.1'], /timed out/],
    ['no window manager', 1, ['windows'], /no window manager/],
    ['no X server', 1, ['cursor'], /Unable to open the X11 display/, { env: nowhere }],
  ]) {
    const [ended, , complaints] = await ostler(args, options);
    assert.strictEqual(ended, code, name);
    assert.match(complaints, complaint, name);
  }
});

it('says what works and what to install', async () => {
  fs.symlinkSync(process.execPath, file('node'));
  const broken = ['libXtst.so.6', 'libei.so.1', 'libgio-2.0.so.0'].map((library) => {
    fs.mkdirSync(file(library));
    fs.writeFileSync(path.join(file(library), library), '');  // the linker rejects it
    return { LD_LIBRARY_PATH: file(library) };
  });
  const portal = { reply: '(<uint32 2>,)' }, absent = { error: ['org.freedesktop.DBus.Error.UnknownMethod', 'No'] };
  const wayland = await startDesktop({ version: [
    portal, portal, portal,  // RemoteDesktop, ScreenCast and Clipboard; two programs are tried for what is absent
    portal, absent, absent, absent, absent, portal, portal, portal,
  ] });
  const { env: x11 } = server, noXwayland = /start Xwayland/;
  const rows = [
    // environment, exit code, what works, remedies
    ['X11 without xclip', { ...x11, PATH: `${directory}:/no` }, 0, [true, true, true, true], [/^install xclip, for/]],
    ['X11 without libXtst', { ...x11, ...broken[0] }, 1, [false, false, false, false],
      Array(2).fill(/cannot be loaded: .*libXtst/)],
    ['no session', { ...x11, DISPLAY: undefined, XDG_SESSION_TYPE: '' }, 1, [false, false, false, false],
      [/^run this in an X11/]],
    ['Wayland', wayland.env, 0, [true, true, true, false], [noXwayland]],
    ['Wayland without screens', wayland.env, 1, [false, false, false, false],
      [/^for pictures: install xdg-desktop-portal/, noXwayland, noXwayland]],
    ['Wayland without libei', { ...wayland.env, ...broken[1] }, 0, [true, true, true, false],
      [/^install libei1 \(Debian, Ubuntu\), libei \(Fedora\) or libei \(Arch\)$/, noXwayland]],
    ['Wayland without GLib and the portal', { ...wayland.env, ...broken[2], DBUS_SESSION_BUS_ADDRESS: 'unix:path=/no' },
      1, [false, false, false, false], [/^install libglib2.0-0 /, /^for input: /, /^for pictures: /, noXwayland, noXwayland]],
  ];
  for (const [name, env, code, works, remedies] of rows) {
    const [ended, output] = await ostler(['doctor', '--json'], { env });
    const report = JSON.parse(output);
    assert.deepStrictEqual([ended, Object.values(report.works)], [code, works], `${name}: ${output}`);
    const given = report.checks.flatMap(({ remedy }) => remedy ?? []);
    assert.ok(given.length === remedies.length && given.every((text, i) => remedies[i].test(text)), `${name}: ${output}`);
  }
  await wayland.stop();
});

it('prints a line for each Escape, until its output is closed', async () => {
  const child = start(['watch']);
  const ended = endOf(child);
  const press = () => execFileSync('xdotool', ['key', 'Escape'], { env: server.env });
  let lines = '';
  child.stdout.on('data', (data) => { lines += data; });
  await waitUntil(() => { press(); return lines.includes('Z\n'); });
  child.stdout.destroy();
  await waitUntil(() => { press(); return child.exitCode !== null; });
  assert.deepStrictEqual(await ended, [0, null]);
});
