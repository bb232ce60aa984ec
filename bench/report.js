'use strict';
// Formats the results as a table for a terminal and as a chart.

const operations = require('./operations');

const milliseconds = (nanoseconds) => {
  const value = nanoseconds / 1e6;
  return value.toFixed(value < 0.1 ? 4 : value < 10 ? 2 : 1);
};

// Formats rows as lines in which each column is padded to the same width.
function aligned(rows) {
  const widths = rows[0].map((_, column) => Math.max(...rows.map((row) => row[column].length)));
  return rows.map((row) => row.map(
    (cell, column) => (column === 0 ? cell.padEnd(widths[column]) : cell.padStart(widths[column]))).join('  ')).join('\n');
}

// Makes a table with a row for each operation and a column for each subject. A cell shows the
// median time, its ratio to the plain program's, and the size of the picture.
function table({ results, subjects }) {
  const cell = (operation, subject) => {
    const result = results[operation]?.[subject];
    if (!result) return '';
    return [milliseconds(result.nanoseconds), result.ratio && `x${result.ratio.toFixed(2)}`,
      result.bytes && `${Math.round(result.bytes / 1000)} kB`].filter(Boolean).join(' ');
  };
  return aligned([['ms (median)', ...subjects], ...Object.keys(results).map(
    (operation) => [operations[operation].label, ...subjects.map((subject) => cell(operation, subject))])]);
}

const escapeXml = (text) => text.replace(/[<>&"]/g, (character) => `&#${character.charCodeAt(0)};`);

// Makes an SVG with a bar for each subject's time per picture, relative to the plain program's.
function chart({ results, subjects, description }) {
  const shown = Object.keys(results).filter((name) => operations[name].picture && results[name]['plain program']);
  const drawn = subjects.filter((subject) => shown.some((name) => results[name][subject]));
  const ratios = shown.flatMap((name) => Object.values(results[name]).map(({ ratio }) => ratio));
  const colours = ['#0b7285', '#868e96', '#e8590c', '#ae3ec9', '#2b8a3e', '#c92a2a', '#5f3dc4', '#e67700', '#364fc7', '#5c940d'];
  const colour = (subject) => colours[subjects.indexOf(subject)];
  const left = 165, right = 150, barHeight = 14, longest = Math.min(4, Math.max(...ratios)), scale = 420 / longest;
  const parts = [];
  let x = 20, y = 58;
  for (const subject of drawn) {
    parts.push(`<rect x="${x}" y="30" width="10" height="10" fill="${colour(subject)}"/>`,
      `<text x="${x + 14}" y="39" class="small">${escapeXml(subject)}</text>`);
    x += 38 + 6.5 * subject.length;
  }
  for (const operation of shown) {
    const bars = drawn.filter((subject) => results[operation][subject]);
    parts.push(`<text x="${left - 12}" y="${y + bars.length * barHeight / 2 + 4}" text-anchor="end">${
      escapeXml(operations[operation].label)}</text>`);
    for (const subject of bars) {
      const { ratio, nanoseconds, bytes } = results[operation][subject];
      const width = Math.min(ratio, longest) * scale;
      const label = `${milliseconds(nanoseconds)} ms, ${Math.round(bytes / 1000)} kB${
        ratio > longest ? ' (longer than shown)' : ''}`;
      parts.push(`<rect x="${left}" y="${y}" width="${width.toFixed(1)}" height="${barHeight - 2}" fill="${
        colour(subject)}"/>`,
      `<text x="${(left + width + 6).toFixed(1)}" y="${y + barHeight - 4}" class="small">${escapeXml(label)}</text>`);
      y += barHeight;
    }
    y += 14;
  }
  const width = Math.ceil(Math.max(left + longest * scale + right, x));
  return `<svg xmlns="http://www.w3.org/2000/svg" width="${width}" height="${y + 24}" font-family="sans-serif" font-size="13">
<style>.small { font-size: 11px }</style>
<rect width="100%" height="100%" fill="white"/>
<text x="20" y="20">Time for one screenshot, shorter is better</text>
${parts.join('\n')}
<text x="20" y="${y + 10}" class="small">${escapeXml(description)}</text>
</svg>
`;
}

module.exports = { chart, table };
