'use strict';
// Lets the tour control the terminal in which the canvas runs.

const { spawn } = require('node:child_process');
const { once } = require('node:events');
const fs = require('node:fs');
const net = require('node:net');
const path = require('node:path');
const { setTimeout: sleep } = require('node:timers/promises');

const RESOURCES = ['allowWindowOps: true', 'metaSendsEscape: true', 'altSendsEscape: true',
  'selectToClipboard: true', 'cursorBlink: false', 'scrollBar: false', 'background: #181c24', 'foreground: #e6e6e6'];

class Terminal {
  // Resolves when the canvas has drawn its page and knows its position.
  static async start() {
    const directory = fs.mkdtempSync(path.join(process.env.XDG_RUNTIME_DIR, 'canvas-'));
    const socket = path.join(directory, 'socket');
    const server = net.createServer().listen(socket);
    await once(server, 'listening');
    const terminal = spawn('xterm', ['-u8', '-fa', 'DejaVu Sans Mono', '-fs', '14', '-geometry', '100x28+40+24',
      ...RESOURCES.flatMap((resource) => ['-xrm', `XTerm*${resource}`]),
      '-e', process.execPath, path.join(__dirname, 'canvas.js'), socket],
    { stdio: 'ignore', env: { ...process.env, LC_ALL: 'C.UTF-8' } });
    const failed = once(terminal, 'exit').then(([code]) => { throw new Error(`xterm ended with ${code}`); });
    failed.catch(() => {});  // it also rejects when `stop` ends the terminal
    try {
      const [connection] = await Promise.race([once(server, 'connection'), failed]);
      const self = new Terminal(terminal, connection);
      await self.until('the page of the canvas', ({ cell, origin }) => cell && origin);
      return self;
    } catch (error) {
      terminal.kill();
      throw error;
    } finally {
      server.close();
    }
  }

  constructor(child, connection) {
    Object.assign(this, { child, connection, state: { fields: {} } });
    let text = '';
    connection.setEncoding('utf8').on('data', (data) => {
      const lines = (text += data).split('\n');
      text = lines.pop();
      if (lines.length > 0) this.state = JSON.parse(lines.at(-1));
    });
  }

  tell(order) {
    this.connection.write(`${JSON.stringify(order)}\n`);
  }

  // Waits until `condition` is true of the state that the canvas reports.
  async until(what, condition) {
    const end = Date.now() + 10000;
    while (!condition(this.state)) {
      if (Date.now() > end) throw new Error(`${what} did not reach the terminal`);
      await sleep(5);
    }
  }

  // Empties a field and directs all further text to it.
  async into(field) {
    this.state.fields[field] = null;
    this.tell({ into: field });
    await this.until('the focus', ({ fields }) => fields[field] === '');
  }

  // Returns the middle of a cell in desktop coordinates. Cells are numbered from 1.
  cell(column, row) {
    const { cell, origin } = this.state;
    return [origin.left + (column - 0.5) * cell.width, origin.top + (row - 0.5) * cell.height];
  }

  async stop() {
    const ended = once(this.child, 'exit');
    this.child.kill();
    await ended;
  }
}

module.exports = { Terminal };
