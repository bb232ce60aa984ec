'use strict';

const fs = require('node:fs');
const readline = require('node:readline');
const { parseArgs } = require('node:util');
const { version } = require('../../package.json');
const { UsageError, splitLine } = require('./arguments');
const { commands } = require('./commands');
const { doctor } = require('./doctor');
const { forget, readName } = require('./forget');
const { openFor } = require('./open');

const exitCodes = { refused: 1, usage: 2 };

const json = { json: { type: 'boolean' } };

// `report` is that of a command which opens no session.
const others = {
  doctor: { usage: '[--json]', about: 'says what works in this session and what to install', words: [0, 0],
    options: json, report: doctor },
  forget: { usage: '[NAME] [--json]', about: 'revokes the permission that is kept under NAME, or that of this command',
    words: [0, 1], options: json, read: readName, report: forget },
  run: { usage: '[FILE]', about: 'runs the commands in FILE or stdin, one per line, in one session', words: [0, 1] },
};
const all = { ...commands, ...others };

function helpOf(name) {
  return `ostler ${name} ${all[name].usage}\n    ${all[name].about}`;
}

function help() {
  return [
    'Controls the desktop of this session.', '', ...Object.keys(all).map(helpOf), '',
    'Every command takes --help and --version.',
    'A Wayland desktop asks for permission at the first start. --ask asks again, and keeps nothing.',
    'Exit codes: 0 for success, 1 when the desktop refuses, 2 for wrong usage.',
  ].join('\n');
}

// Marks negative numbers, which parseArgs would take for options; `plain` removes the mark.
const guardNumbers = (words) => words.map((word) => (/^-[\d.]/.test(word) ? `\0${word}` : word));
const plain = (word) => (typeof word === 'string' ? word.replace(/^\0/, '') : word);

// Parses a command line to { command, values, options }. The command's `read` makes `values` from the words.
function parse(name, words) {
  const command = Object.hasOwn(all, name) ? all[name] : undefined;
  if (!command) throw new UsageError(`there is no command "${name}"`);
  const boolean = { type: 'boolean' };
  let parsed;
  try {
    parsed = parseArgs({
      args: guardNumbers(words), allowPositionals: true,
      options: { ...command.options, ...(!command.report && { ask: boolean }), help: boolean, version: boolean },
    });
  } catch (error) {
    throw new UsageError(error.message);
  }
  const options = Object.fromEntries(Object.entries(parsed.values).map(([key, value]) => [key, plain(value)]));
  if (options.help || options.version) return { options };
  const positionals = parsed.positionals.map(plain);
  const [least, most] = command.words;
  if (positionals.length < least || positionals.length > most) {
    throw new UsageError(`usage: ostler ${name} ${command.usage}`);
  }
  return { command, options, values: command.read ? command.read(positionals, options) : positionals };
}

function print({ text, data } = {}, { json } = {}) {
  if (json && data !== undefined) process.stdout.write(`${JSON.stringify(data)}\n`);
  else if (text !== undefined) process.stdout.write(`${text}\n`);
}

async function readInput() {
  let text = '';
  for await (const piece of process.stdin.setEncoding('utf8')) text += piece;
  return text;
}

async function execute({ command, options, values }, desktop, input) {
  print(await command.run(desktop, values, { readInput: input, print: (output) => print(output, options) }), options);
}

// Runs the lines of a script in one session, which is opened for the first command.
async function runScript([file], options) {
  const lines = readline.createInterface({ input: file ? fs.createReadStream(file) : process.stdin });
  const noInput = () => { throw new UsageError('a script cannot read stdin with "-"'); };
  let desktop, count = 0;
  try {
    for await (const line of lines) {
      count++;
      const [name, ...words] = splitLine(line);
      if (name === undefined) continue;
      if (!Object.hasOwn(commands, name) || name === 'watch') {
        throw new UsageError(`there is no command "${name}" in a script`);
      }
      const parsed = parse(name, words);
      if (!parsed.command || parsed.options.ask) {
        throw new UsageError('--help, --version and --ask cannot be used in a script');
      }
      desktop ??= await openFor(options);
      await execute(parsed, desktop, noInput);
    }
  } catch (error) {
    error.message = `line ${count}: ${error.message}`;
    throw error;
  } finally {
    await desktop?.close();
  }
}

async function runCommand(name, words) {
  const parsed = parse(name, words);
  const { options } = parsed;
  if (options.help) return print({ text: helpOf(name) });
  if (options.version) return print({ text: version });
  if (name === 'run') return runScript(parsed.values, options);
  if (parsed.command.report) {
    const report = await parsed.command.report(parsed.values);
    print(report, options);
    if (report.failed) process.exitCode = exitCodes.refused;
    return undefined;
  }
  const desktop = await openFor(options);
  try {
    await execute(parsed, desktop, readInput);
  } finally {
    await desktop.close();
  }
  return undefined;
}

async function main([name, ...words]) {
  // EPIPE means that the reader of the output has finished, which is no failure.
  process.stdout.on('error', (error) => process.exit(error.code === 'EPIPE' ? 0 : exitCodes.refused));
  try {
    if (name === '--help') print({ text: help() });
    else if (name === '--version') print({ text: version });
    else if (name === undefined) throw new UsageError(`a command is missing\n${help()}`);
    else await runCommand(name, words);
  } catch (error) {
    process.stderr.write(`ostler: ${error.message}\n`);
    process.exitCode = error instanceof UsageError ? exitCodes.usage : exitCodes.refused;
  }
}

module.exports = { main };
