// node bench/soak.mjs [MINUTES [tool]]: all attacks at once against an agent, or against the interactive
// tool, with a good client at work. Prints how long that client waited and what memory came back, and fails
// where a bound is broken. Not part of the tests: it takes half an hour unless told otherwise.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { setTimeout as pause } from 'node:timers/promises';
import { ATTACKS, startAttacks } from '../tests/system/support/attacks.mjs';
import { serve } from '../tests/system/support/server.mjs';

const KEY = 'open sesame';
const LONGEST = 2000; // ms, of 99 in 100 answers
const GROWTH = 0.1; // of memory
const LASTING = /never ends|silent|not read/;
const ends = [];
const here = { after: (end) => ends.unshift(end) };

const status = ({ child }) => {
  const text = fs.readFileSync(`/proc/${child.pid}/status`, 'utf8');
  const of = (name) => Number(new RegExp(`${name}:\\s*(\\d+)`).exec(text)[1]);
  return { memory: of('VmRSS') / 1024, peak: of('VmHWM') / 1024, threads: of('Threads'), files: fs.readdirSync(`/proc/${child.pid}/fd`).length };
};
const told = ({ memory, peak, threads, files }) => `${memory.toFixed(1)} MiB, peak ${peak.toFixed(0)} MiB, ${threads} threads, ${files} descriptors`;
const share = (sorted, part) => sorted[Math.min(sorted.length - 1, Math.floor(sorted.length * part))];

// All attacks together, for as long as told; returns how long the good client waited each time, and how often
// it got no answer.
async function underAttack(server, init, seconds) {
  const counts = Object.keys(ATTACKS).map((name) => [name, LASTING.test(name) ? 150 : 4]);
  const { outcomes, stop } = startAttacks(here, server.port, Object.fromEntries(counts));
  const end = Date.now() + seconds * 1000;
  const waits = [];
  const failures = [];
  while (Date.now() < end) {
    const began = performance.now();
    try {
      assert.deepEqual(await server.json('/api/jobs', init), { status: 200, body: [] });
    } catch (error) {
      failures.push(error.cause?.message ?? error.message);
    }
    waits.push(performance.now() - began);
    await pause(50);
  }
  await stop();
  return { waits: waits.sort((a, b) => a - b), failures, outcomes };
}

const minutes = Number(process.argv[2] ?? 30);
const mode = process.argv[3] ?? 'agent';
try {
  const server = await serve(here, mode === 'agent' ? ['--agent', '--token', KEY] : []);
  const init = mode === 'agent' ? { headers: { 'X-Vorda-Token': KEY } } : {};
  console.log(`${mode}, fresh: ${told(status(server))}`);
  // What the first minute makes the program and Wine keep for good is no growth.
  await underAttack(server, init, 60);
  await pause(20_000);
  const before = status(server);
  console.log(`before: ${told(before)}`);
  const { waits, failures, outcomes } = await underAttack(server, init, minutes * 60);
  await pause(20_000);
  const after = status(server);
  console.log(`after: ${told(after)}`);
  console.log(`${waits.length} answers, median ${share(waits, 0.5).toFixed(0)} ms, p99 ${share(waits, 0.99).toFixed(0)} ms, slowest ${waits.at(-1).toFixed(0)} ms`);
  console.log(`${failures.length} without an answer: ${[...new Set(failures)]}`);
  console.log(`attacks: ${JSON.stringify(outcomes)}`);
  assert.equal(server.child.exitCode, null);
  assert.equal(failures.length, 0);
  assert.ok(share(waits, 0.99) < LONGEST, 'p99');
  assert.ok(Math.abs(after.memory / before.memory - 1) <= GROWTH, 'memory');
  console.log('all bounds held');
} finally {
  for (const end of ends) await end();
}
