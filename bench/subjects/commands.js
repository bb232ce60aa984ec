'use strict';
// Command-line programs. Each call starts a process.

const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

const run = (command, ...args) => { execFileSync(command, args, { stdio: 'ignore' }); };

// Runs a program that writes a picture to the file named by its last argument.
function picture(extension, command, ...args) {
  const file = path.join(os.tmpdir(), `ostler-bench-${process.pid}.${extension}`);
  try {
    run(command, ...args, file);
    return fs.readFileSync(file);
  } finally {
    fs.rmSync(file, { force: true });
  }
}

module.exports = {
  xdotool: () => ({
    display: () => run('xdotool', 'getdisplaygeometry'),
    cursorPosition: () => run('xdotool', 'getmouselocation'),
    move: () => run('xdotool', 'mousemove', '600', '400'),
    key: () => run('xdotool', 'key', '--delay', '0', 'a'),
    combo: () => run('xdotool', 'key', '--delay', '0', 'ctrl+shift+a'),
    type: () => run('xdotool', 'type', '--delay', '5', 'a'),
  }),
  scrot: () => ({
    jpeg: () => picture('jpg', 'scrot', '-o', '-q', '75'),
    crop: () => picture('jpg', 'scrot', '-o', '-q', '75', '-a', '800,300,200,200'),
    png: () => picture('png', 'scrot', '-o'),
  }),
  maim: () => ({
    jpeg: () => picture('jpg', 'maim', '-u'),
    crop: () => picture('jpg', 'maim', '-u', '-g', '200x200+800+300'),
    png: () => picture('png', 'maim', '-u'),
  }),
};
