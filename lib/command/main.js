'use strict';
// Runs in the command `ostler`.

const { parseArgs } = require('node:util');
const { sessionKind } = require('../common/session_kind');
const { UsageError, didYouMean, splitLine } = require('./arguments');
const { commands, readFile } = require('./commands');
const { all, optionsOf } = require('./table');

// Only commands that need them load these, because each costs time.
const openFor = (options) => require('./open').openFor(options);
const version = () => require('../../package.json').version;

const exitCodes = { refused: 1, usage: 2 };

function helpOf(name) {
  return `ostler ${name} ${all[name].usage}\n    ${all[name].about}`;
}

function help() {
  return [
    'Controls the desktop of this session.', '', ...Object.keys(all).map(helpOf), '',
    'Every command takes -h, --help, -v and --version. A word "," ends a command and begins another in the same session.',
    'A Wayland desktop asks for permission at the first start. --ask asks again, and keeps nothing.',
    'Exit codes: 0 for success, 1 when the desktop refuses, 2 for wrong usage.',
  ].join('\n');
}

// Marks negative numbers, which parseArgs would take for options; `plain` removes the mark.
const guardNumbers = (words) => words.map((word) => (/^-[\d.]/.test(word) ? `\0${word}` : word));
const plain = (word) => (typeof word === 'string' ? word.replace(/^\0/, '') : word);

// Says what is wrong with the options of a command line.
function describe({ code, message }, known) {
  const option = /(--[\w-]+|-\w)/.exec(message)?.[1] ?? '';
  if (code === 'ERR_PARSE_ARGS_UNKNOWN_OPTION') {
    return `there is no option "${option}"${didYouMean(option, Object.keys(known).map((name) => `--${name}`))}`;
  }
  if (code !== 'ERR_PARSE_ARGS_INVALID_OPTION_VALUE') return message;
  const name = /--([\w-]+)/.exec(message)?.[1];
  return known[name]?.type === 'boolean' ? `"--${name}" takes no value` : `"--${name}" needs a value`;
}

// Parses a command line to { command, values, options }. The command's `read` makes `values` from the words.
function parse(name, words) {
  const command = Object.hasOwn(all, name) ? all[name] : undefined;
  if (!command) throw new UsageError(`there is no command "${name}"${didYouMean(name, Object.keys(all))}`);
  const known = optionsOf(command);
  let parsed;
  try {
    parsed = parseArgs({ args: guardNumbers(words), allowPositionals: true, options: known });
  } catch (error) {
    throw new UsageError(describe(error, known));
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

function print({ text, data, bytes } = {}, { json: asJson } = {}) {
  if (bytes) process.stdout.write(bytes);
  else if (asJson && data !== undefined) process.stdout.write(`${JSON.stringify(data)}\n`);
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

async function* linesOf(file) {
  if (file) yield* readFile(file).split(/\r?\n/);
  else yield* require('node:readline').createInterface({ input: process.stdin });
}

function parseInScript([name, ...words]) {
  if (!Object.hasOwn(commands, name) || name === 'watch') {
    throw new UsageError(`there is no command "${name}" in a script${didYouMean(name, Object.keys(commands))}`);
  }
  const parsed = parse(name, words);
  if (!parsed.command || parsed.options.ask) {
    throw new UsageError('--help, --version and --ask cannot be used in a script');
  }
  return parsed;
}

// Runs the lines of a script in one session, which is opened for the first command.
async function runScript([file], options) {
  const noInput = () => { throw new UsageError('a script cannot read stdin with "-"'); };
  let desktop, count = 0;
  try {
    for await (const line of linesOf(file)) {
      count++;
      const words = splitLine(line);
      if (words.length === 0) continue;
      const parsed = parseInScript(words);
      desktop ??= await openFor(options);
      await execute(parsed, desktop, noInput);
    }
  } catch (error) {
    if (count > 0) error.message = `line ${count}: ${error.message}`;
    throw error;
  } finally {
    await desktop?.close();
  }
}

// Runs commands with a "," between them in one session. All are parsed before the first one runs.
async function runSeveral(words) {
  const lines = [[]];
  for (const word of words) word === ',' ? lines.push([]) : lines.at(-1).push(word);
  const parsed = lines.map((line) => {
    if (line.length === 0) throw new UsageError('there is no command before or after a ","');
    return parseInScript(line);
  });
  const desktop = await openFor({});
  try {
    for (const each of parsed) await execute(each, desktop, readInput);
  } finally {
    await desktop.close();
  }
}

// A short command on X11 needs no helper.
async function openForCommand(name, command, options) {
  const kind = sessionKind(process.env);
  if (kind === 'wayland' && (name === 'key-down' || name === 'key-up')) {
    throw new UsageError(`on Wayland a key stays down only within a script: use "${name}" in "ostler run"`);
  }
  return command.direct && kind === 'x11' ? require('./direct').openDirectly() : openFor(options);
}

async function runCommand(name, words) {
  const parsed = parse(name, words);
  const { options } = parsed;
  if (options.help) return print({ text: helpOf(name) });
  if (options.version) return print({ text: version() });
  if (name === 'run') return runScript(parsed.values, options);
  if (parsed.command.report) {
    const report = await parsed.command.report(parsed.values);
    print(report, options);
    if (report.failed) process.exitCode = exitCodes.refused;
    return undefined;
  }
  const desktop = await openForCommand(name, parsed.command, options);
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
    if (name === undefined || name === '--help' || name === '-h') print({ text: help() });
    else if (name === 'help') await (words.length > 0 ? runCommand(words[0], ['--help']) : print({ text: help() }));
    else if (name === '--version' || name === '-v') print({ text: version() });
    else if (words.includes(',')) await runSeveral([name, ...words]);
    else await runCommand(name, words);
  } catch (error) {
    process.stderr.write(`ostler: ${error.message}\n`);
    process.exitCode = error instanceof UsageError ? exitCodes.usage : exitCodes.refused;
  }
}

module.exports = { main };
