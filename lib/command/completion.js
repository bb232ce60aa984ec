'use strict';
// Runs in the command `ostler`.
// Writes the scripts with which bash and zsh complete a command line, from the table of commands.

const { all, optionsOf } = require('./table');

// Returns what the usage names as the value of an option, such as "MS" or "png|jpeg".
const valueIn = ({ usage }, option) => new RegExp(`--${option} ([^\\]]+)\\]`).exec(usage)?.[1];

const choicesIn = (value) => (/^[a-z0-9]+(\|[a-z0-9]+)+$/.test(value) ? value.split('|') : undefined);

// Returns the options of a command as { names, value }. `value` is absent in those that take none.
const optionsIn = (command) => Object.entries(optionsOf(command)).map(([name, { short, type }]) => ({
  names: [...(short ? [`-${short}`] : []), `--${name}`],
  ...(type === 'string' && { value: valueIn(command, name) }),
}));

const takesFile = ({ usage }) => /^\[FILE/.test(usage);

// Returns the lines of the case statement that completes what follows an option or a word.
function bashRows([name, command]) {
  const options = optionsIn(command);
  const pattern = (wanted) => wanted.flatMap(({ names }) => names.map((option) => `"${name} ${option}"`)).join(' | ');
  const rows = options.filter(({ value }) => choicesIn(value) ?? value === 'FILE')
    .map((option) => `${pattern([option])}) ${option.value === 'FILE' ? 'files' : `choices '${choicesIn(option.value).join(' ')}'`} ;;`);
  const free = options.filter(({ value }) => value !== undefined && value !== 'FILE' && !choicesIn(value));
  if (free.length > 0) rows.push(`${pattern(free)}) ;;`);
  const words = [...(choicesIn(command.usage) ?? []), ...options.map(({ names }) => names.at(-1))].join(' ');
  return [...rows, `"${name} "*) choices '${words}'${takesFile(command) ? '; files' : ''} ;;`].map((row) => `    ${row}`);
}

function bash() {
  return `# Completes the command ostler in bash. Put this line into ~/.bashrc:
#   source <(ostler completion bash)
_ostler() {
  local word=\${COMP_WORDS[COMP_CWORD]} first=1 i
  choices() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$word"); }
  files() { compopt -o filenames; mapfile -t -O "\${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$word"); }
  COMPREPLY=()
  # A "," begins another command.
  for ((i = 1; i < COMP_CWORD; i++)); do [[ \${COMP_WORDS[i]} != , ]] || first=$((i + 1)); done
  if ((first == COMP_CWORD)); then
    choices '${Object.keys(all).join(' ')}'
    return
  fi
  case "\${COMP_WORDS[first]} \${COMP_WORDS[COMP_CWORD - 1]}" in
${Object.entries(all).flatMap(bashRows).join('\n')}
  esac
}
complete -F _ostler ostler`;
}

function zshOption({ names, value }) {
  const choices = choicesIn(value);
  const found = choices ? `(${choices.join(' ')})` : value === 'FILE' ? '_files' : '';
  const action = value === undefined ? '' : `:${value}:${found}`;
  return names.length === 1 ? `'${names}${action}'` : `'(${names.join(' ')})'{${names.join(',')}}'${action}'`;
}

function zshRow([name, command]) {
  const words = choicesIn(command.usage);
  const rest = words ? [`'1: :(${words.join(' ')})'`] : takesFile(command) ? ['\'*: :_files\''] : [];
  return `    ${name}) _arguments ${[...optionsIn(command).map(zshOption), ...rest].join(' ')} ;;`;
}

const zshDescription = ([name, { about }]) => `    '${name}:${about.replaceAll(':', '\\:').replaceAll('\'', '\'\\\'\'')}'`;

function zsh() {
  return `#compdef ostler
# Completes the command ostler in zsh. Put this line into ~/.zshrc, after compinit:
#   source <(ostler completion zsh)
_ostler() {
  local -a commands=(
${Object.entries(all).map(zshDescription).join('\n')}
  )
  # A "," begins another command.
  local mark=, comma
  comma=\${words[(Ie)$mark]}
  if ((comma > 0 && comma < CURRENT)); then
    words=("$words[1]" "\${(@)words[comma + 1, -1]}")
    ((CURRENT -= comma - 1))
  fi
  if ((CURRENT == 2)); then
    _describe command commands
    return
  fi
  local name=$words[2]
  shift words
  ((CURRENT -= 1))
  case $name in
${Object.entries(all).map(zshRow).join('\n')}
  esac
}
if [[ $funcstack[1] == _ostler ]]; then _ostler "$@"; else compdef _ostler ostler; fi`;
}

const scripts = { bash, zsh };

const completion = (shell) => ({ text: scripts[shell]() });

module.exports = { completion };
