'use strict';
// Times the addon, a plain C++ program that makes the same calls and, with
// --peers, other packages and programs on one X server: run.js [--peers]
// [--rounds N] [--smoke]. In each round every subject runs every operation, so
// that other load on the machine affects all subjects alike.

const { execFileSync } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { parseArgs } = require('node:util');
const operations = require('./operations');
const { chart, table } = require('./report');
const { startScreen } = require('./screen');
const { startPlainProgram, startSubject } = require('./subject');

const peers = ['robotjs', 'node-screenshots', 'nut-js', 'xdotool', 'scrot', 'maim'];
const { values: options } = parseArgs({
  options: { peers: { type: 'boolean' }, smoke: { type: 'boolean' }, rounds: { type: 'string', default: '15' } },
});
const rounds = options.smoke ? 1 : Number(options.rounds);
const programs = process.env.OSTLER_BENCH_PROGRAMS;

const median = (values) => [...values].sort((a, b) => a - b)[Math.floor(values.length / 2)];

// A peer that fails is left out; a failure of ours ends the run.
function leaveOut(name, error) {
  if (!peers.includes(name)) throw error;
  console.error(`ostler: ${name} is left out: ${error.message}`);
}

async function measure(subjects, env) {
  const samples = {};
  for (let round = 1; round <= rounds; round++) {
    console.error(`ostler: round ${round} of ${rounds}`);
    for (const [operation, { count }] of Object.entries(operations)) {
      for (const subject of subjects) {
        if (!subject.operations.includes(operation)) continue;
        try {
          // A process loads a module only once, so each round needs a new process.
          const fresh = operation === 'require' && await startSubject(subject.name, env);
          const { nanoseconds, bytes } = await (fresh || subject).time(operation, options.smoke ? 1 : count);
          if (fresh) await fresh.stop();
          const sample = ((samples[operation] ??= {})[subject.name] ??= { times: [] });
          sample.times.push(nanoseconds);
          sample.bytes = bytes;
        } catch (error) {
          leaveOut(subject.name, error);
          subject.operations = subject.operations.filter((name) => name !== operation);
          // What a process that has ended could do is left out too.
          if (/the process ended/.test(error.message)) subject.operations = [];
        }
      }
    }
  }
  return samples;
}

function summarize(samples) {
  const results = {};
  for (const [operation, bySubject] of Object.entries(samples)) {
    const plain = bySubject['plain program'] && median(bySubject['plain program'].times);
    results[operation] = Object.fromEntries(Object.entries(bySubject).map(([subject, { times, bytes }]) => {
      const nanoseconds = median(times);
      return [subject, { nanoseconds, ratio: plain && nanoseconds / plain, bytes }];
    }));
  }
  return results;
}

// Times the image code alone. Returns milliseconds by the name of the benchmark.
function timeImageCode() {
  const output = execFileSync(path.join(programs, 'ostler_bench'), ['--benchmark_format=json'],
    { encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] });
  return Object.fromEntries(JSON.parse(output).benchmarks.map(({ name, real_time: time }) => [name, time]));
}

// Returns the memory of a process before and after many screenshots, in megabytes.
async function memoryAfterScreenshots(env) {
  const subject = await startSubject('ostler', env);
  const { memory: before } = await subject.time('jpeg', 50);
  const { memory: after } = await subject.time('jpeg', 1000);
  await subject.stop();
  return { before: before / 1e6, after: after / 1e6 };
}

async function main() {
  const screen = await startScreen(programs);
  const subjects = [];
  try {
    subjects.push(await startSubject('ostler', screen.env), await startSubject('promises', screen.env),
      startPlainProgram(programs, screen.env));
    for (const name of options.peers ? peers : []) {
      await startSubject(name, screen.env).then((subject) => subjects.push(subject), (error) => leaveOut(name, error));
    }
    const results = summarize(await measure(subjects, screen.env));
    if (options.smoke) return console.log(table({ results, subjects: subjects.map(({ name }) => name) }));
    console.error('ostler: measuring memory after 1,000 screenshots, and the image code alone');
    const memory = await memoryAfterScreenshots(screen.env);
    const imageCode = timeImageCode();
    const summary = {
      description: `${rounds} rounds, 1920x1080, ${os.cpus().length} x ${os.cpus()[0].model.trim()}, Node ${process.version}`,
      subjects: subjects.map(({ name }) => name), results, memory, imageCode,
    };
    console.log(`\n${table(summary)}\n`);
    for (const [name, time] of Object.entries(imageCode)) console.log(`${time.toFixed(2).padStart(8)} ms  ${name}`);
    console.log(`\nMemory of the process: ${memory.before.toFixed(0)} MB after 50 screenshots, ${
      memory.after.toFixed(0)} MB after 1,050.`);
    fs.writeFileSync(path.join(__dirname, 'results.json'), `${JSON.stringify(summary, null, 2)}\n`);
    if (options.peers) fs.writeFileSync(path.join(__dirname, '..', 'docs', 'speed.svg'), chart(summary));
  } finally {
    for (const subject of subjects) await subject.stop();
    await screen.stop();
  }
}

main().catch((error) => {
  console.error(error.message);
  process.exitCode = 1;
});
