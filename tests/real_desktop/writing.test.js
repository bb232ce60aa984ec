'use strict';
// Writes texts into text fields of a real desktop, on many layouts. Each text has to arrive exactly,
// or to be rejected before a key is pressed. Prints a table with a line for each field and layout.

const assert = require('node:assert');
const fs = require('node:fs');
const { after, before, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { openDesktop } = require('../../lib/promises');
const { accented, ascii, sentences } = require('./texts');
const { name: desktopName, suite, startDesktop, waitUntil } = require('./desktop');

const only = (variable, values) => values.filter((value) => !process.env[variable] || process.env[variable].split(' ').includes(String(value)));
// "us,ru/1" is the second layout of two.
const layouts = only('OSTLER_LAYOUTS', ['us', 'us+intl', 'de', 'fr', 'es', 'br', 'pt', 'pl', 'ru', 'gr', 'us,ru/0', 'us,ru/1']);
const fields = only('OSTLER_FIELDS', ['gtk', 'qt', 'foot']);
const stops = only('OSTLER_STOPS', [300, 1000]);  // in milliseconds
const texts = [ascii, accented, ...sentences];
// Each has a character that some layout has through a dead key, after one with a key.
const stoppedTexts = ['¿Qué pasó? ¡niño!', 'Été à', 'Größe é', 'Ação', 'ażółć', 'Ταχύς'];

let desktop, own, field;
const file = () => `${desktop.directory}/lines`;
const lines = () => (fs.existsSync(file()) ? fs.readFileSync(file(), 'utf8').split('\n').slice(0, -1) : []);

async function startField(kind) {
  fs.rmSync(file(), { force: true });
  const program = kind === 'foot'
    ? "foot -F sh -c 'echo active >>/run/desktop/lines; while IFS= read -r line; do printf \"%s\\n\" \"$line\" >>/run/desktop/lines; done'"
    : `python3 /run/desktop/field.py ${kind} /run/desktop/lines`;
  desktop.command(`"\${inside[@]}" ${program} & echo field $!`);
  await waitUntil(() => lines().includes('active'));
  field = desktop.events.find((line) => line.startsWith('field ')).split(' ')[1];
  await sleep(500);  // for the animation with which the window appears
}

async function setLayout(layout) {
  const [names, group] = layout.split('/');
  desktop.command(`layout_${desktopName} ${names}`);
  await sleep(1500);
  if (group) await desktop.switchLayout(Number(group));
  await sleep(500);
}

// Writes the text while the field's program is stopped for `stop` ms, and then Return. Resolves to
// "typed", "pasted" or "rejected" when the field then has what it should, otherwise to what went wrong.
async function attempt(text, options, stop = 0) {
  const from = lines().length;
  if (stop) {
    desktop.command(`kill -STOP ${field}; echo stopped ${from}; (sleep ${stop / 1000}; kill -CONT ${field}) &`);
    await desktop.seen(`stopped ${from}`);
  }
  let outcome = options.paste === 'never' ? 'typed' : 'pasted';
  try {
    await own.write(text, options);
  } catch ({ message }) {
    outcome = /^The text has characters that cannot be typed/.test(message) ? 'rejected' : message;
  }
  await own.key('return');
  await waitUntil(() => lines().length > from, lines);
  const [line] = lines().slice(from);
  const isRight = line === (outcome === 'rejected' ? '' : text);
  return isRight ? outcome : `"${line}" for "${text}" (${outcome})`;
}

before(async () => {
  desktop = await startDesktop('1280x720', 1, 1, 'field.py');
});
after(async () => {
  await own?.close();
  await desktop.stop();
});

for (const layout of layouts) {
  for (const kind of fields) {
    it(`writes into ${kind} with the layout ${layout}`, { timeout: 600000 }, async () => {
      await startField(kind);
      try {
        await setLayout(layout);
        own ??= await desktop.share(() => openDesktop({ env: desktop.env }));
        const counts = { typed: 0, pasted: 0, rejected: 0 };
        const wrong = [];
        const count = (outcome) => { if (outcome in counts) counts[outcome]++; else wrong.push(outcome); };
        for (const text of texts) {
          const outcome = await attempt(text, { paste: 'never' });
          // A terminal does not paste with Ctrl+V.
          count(outcome === 'rejected' && kind !== 'foot' ? await attempt(text, { paste: 'auto' }) : outcome);
        }
        for (const character of new Set(accented)) count(await attempt(character, { paste: 'never' }));
        for (const stop of stops) {
          for (const text of stoppedTexts) count(await attempt(text, { paste: 'never' }, stop));
        }
        console.log(`# ${desktopName} ${suite} ${layout} ${kind}: ${JSON.stringify({ ...counts, wrong: wrong.length })}`);
        assert.deepStrictEqual(wrong, []);
      } finally {
        desktop.command(`kill ${field}`);
        desktop.events.length = 0;
      }
    });
  }
}
