'use strict';
// Functions that both demos use: running a step and taking pictures.

const fs = require('node:fs');
const path = require('node:path');

const OUTPUT = path.join(__dirname, '..', '..', 'demo-output');

// Runs one step, and prints its time, its name and the text that it returns. When a step throws,
// its message is printed, later steps still run, and the process exits with 1.
async function step(name, work) {
  const start = performance.now();
  let detail;
  try {
    detail = await work();
  } catch (error) {
    process.exitCode = 1;
    detail = `FAILED: ${error.message}`;
  }
  const time = `${(performance.now() - start).toFixed(1)} ms`;
  console.log(`${time.padStart(12)}  ${name}${detail ? `: ${detail}` : ''}`);
}

function save(name, bytes) {
  if (bytes === null) throw new Error('no picture');
  fs.mkdirSync(OUTPUT, { recursive: true });
  fs.writeFileSync(path.join(OUTPUT, name), bytes);
  return `demo-output/${name}, ${Math.ceil(bytes.length / 1024)} kB`;
}

// Takes three kinds of picture. `crop` is { left, top, right, bottom }.
async function takePictures(ostler, crop) {
  const { width, height } = ostler.display();
  await step('PNG of the whole desktop',
    () => save('desktop.png', ostler.screenshot('', null, [], 0, 0, 0, 0, 0, 0, -1)));
  await step('JPEG at half size', () => save('half.jpg', ostler.screenshot('', null, [],
    Math.round(width / 2), Math.round(height / 2), 0, 0, 0, 0, 0.85)));
  await step('PNG of a part', () => save('part.png', ostler.screenshot('', null, [],
    0, 0, crop.left, crop.top, crop.right, crop.bottom, -1)));
  console.log(`\nThe pictures are in ${OUTPUT}`);
}

module.exports = { step, takePictures };
