'use strict';
// Prints the page for man, ostler(1), from the table of the command: node scripts/man_page.js >man/ostler.1

const { all } = require('../lib/command/table');
const { version } = require('../package.json');

// Escapes a text for roff, in which a minus sign, a backslash and a dot at the start of a line mean something else.
const roff = (text) => text.replaceAll('\\', '\\e').replaceAll('-', '\\-').replace(/^([.'])/gm, '\\&$1');

const usage = (text) => roff(text).replace(/\\-\\-[a-z\\-]+/g, '\\fB$&\\fR');

const commands = Object.entries(all).map(([name, command]) => `.TP
\\fBostler ${roff(name)}\\fR ${usage(command.usage)}
${roff(command.about)}`);

const shortOptions = (options = {}) => Object.entries(options).filter(([, { short }]) => short)
  .map(([name, { short }]) => `\\fB\\-${short}\\fR for \\fB${roff(`--${name}`)}\\fR`);
const shorts = [...new Set(Object.values(all).flatMap(({ options }) => shortOptions(options)))];

process.stdout.write(`.TH OSTLER 1 "" "ostler ${version}" "User Commands"
.ad l
.SH NAME
ostler \\- control the desktop: pointer, keyboard, screenshots and clipboard
.SH SYNOPSIS
.B ostler
.I COMMAND
.RI [ ARGUMENT... ]
.RB [ , " \\fICOMMAND\\fR [\\fIARGUMENT...\\fR]]..."
.SH DESCRIPTION
Controls the desktop of this session, on X11 and on Wayland.
A word "," ends a command and begins another in the same session.
.PP
A Wayland desktop asks for permission at the first start, and remembers it under the name "ostler".
.SH COMMANDS
${commands.join('\n')}
.SH OPTIONS
.TP
\\fB\\-\\-ask\\fR
asks for permission again, and keeps nothing
.TP
\\fB\\-h\\fR, \\fB\\-\\-help\\fR
prints the usage of the command
.TP
\\fB\\-v\\fR, \\fB\\-\\-version\\fR
prints the version
.PP
Short forms are ${shorts.join(', ')}.
An argument that begins with a minus sign and is not a number comes after \\fB\\-\\-\\fR.
.SH EXIT STATUS
.TP
0
success
.TP
1
the desktop refused, or \\fBdoctor\\fR found that input and screenshots do not work
.TP
2
wrong usage
.SH EXAMPLES
.EX
ostler screenshot \\-\\-region 0,0,400,300 corner.png
ostler click 640 360 , type 'hello' , key Return
.EE
.SH SEE ALSO
.BR xdotool (1)
`);
