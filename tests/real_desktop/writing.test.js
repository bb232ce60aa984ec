'use strict';
// Writes texts into text fields of a real desktop, on many layouts. Each text has to arrive exactly,
// or to be rejected before a key is pressed. Prints a table with a line for each field and layout.

const assert = require('node:assert');
const fs = require('node:fs');
const { after, before, it } = require('node:test');
const { setTimeout: sleep } = require('node:timers/promises');
const { openDesktop } = require('../../lib/promises');
const { accented, ascii, sentences } = require('../support/texts');
const { name: desktopName, suite, startDesktop, waitUntil } = require('./desktop');

const only = (variable, values) => values.filter((value) => !process.env[variable] || process.env[variable].split(' ').includes(String(value)));
// "us,ru/1" is the second layout of two.
const layouts = only('OSTLER_LAYOUTS', ['us', 'us+intl', 'de', 'fr', 'es', 'br', 'pt', 'pl', 'ru', 'gr', 'us,ru/0', 'us,ru/1']);
const fields = only('OSTLER_FIELDS', ['gtk', 'qt', 'foot']);
const stops = only('OSTLER_STOPS', [0, 300, 1000]);
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
  field = await lastWord('field');
  await sleep(500);
}
async function lastWord(word) {
  await waitUntil(() => desktop.events.some((line) => line.startsWith(`${word} `)));
  return desktop.events.findLast((line) => line.startsWith(`${word} `)).split(' ')[1];
}

async function setLayout(layout) {
  const [names, group] = layout.split('/');
  desktop.command(`layout_${desktopName} ${names}`);
  await sleep(1500);
  if (group) await desktop.switchLayout(Number(group));
  await sleep(500);
}

const wrong = [];

// Writes the text and Return, and returns what the field then had.
async function attempt(text, options, stop = 0) {
  const from = lines().length;
  if (stop) desktop.command(`kill -STOP ${field}; (sleep ${stop / 1000}; kill -CONT ${field}) &`);
  let outcome = options.paste === 'never' ? 'typed' : 'pasted';
  try {
    await own.write(text, options);
  } catch ({ message }) {
    outcome = /^The text has characters that cannot be typed/.test(message) ? 'rejected' : message;
  }
  await own.key('return');
  await waitUntil(() => lines().length > from, lines);
  if (lines()[from] !== (outcome === 'typed' || outcome === 'pasted' ? text : '')) outcome = `wrong: ${lines()[from]} for ${text} (${outcome})`;
  return outcome;
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
        const counts = { typed: 0, pasted: 0, rejected: 0, wrong: 0 };
        const count = (outcome) => {
          const known = outcome in counts ? outcome : 'wrong';
          counts[known]++;
          if (known === 'wrong') wrong.push(`${layout} ${kind}: ${outcome}`);
          return outcome;
        };
        for (const text of texts) {
          const typed = count(await attempt(text, { paste: 'never' }));
          if (typed === 'rejected' && kind !== 'foot') {
            counts.rejected--;
            count(await attempt(text, { paste: 'auto' }));
          }
        }
        for (const character of new Set(accented)) {
          const typed = await attempt(character, { paste: 'never' });
          if (typed !== 'rejected') count(typed); else counts.rejected++;
        }
        for (const stop of stops.filter(Boolean)) {
          for (const text of stoppedTexts) {
            const outcome = count(await attempt(text, { paste: 'never' }, stop));
            if (outcome !== 'rejected') await sleep(stop);
          }
        }
        console.log(`# ${desktopName} ${suite} ${layout} ${kind}: ${JSON.stringify(counts)}`);
        assert.strictEqual(counts.wrong, 0, wrong.join('\n'));
      } finally {
        desktop.command(`kill ${field}`);
        desktop.events.length = 0;
      }
    });
  }
}
