// A run that is killed leaves the old output or a whole new one, whatever it was doing.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { makeFiles, output, readCsv, scratch, start } from './support/vorda.mjs';

const kFiles = 20_000;
const kKills = 100;
const old = Buffer.from('the old output\n'.repeat(1000));

// Long paths make an output whose writing takes a good part of the run. No two files are of one
// size, so there is one right order.
function makeTree(root) {
  const folder = `${root}${`/${'long'.repeat(60)}`.repeat(3)}`;
  makeFiles(folder, Object.fromEntries(Array.from({ length: kFiles }, (_, i) => [`f${i}`, i])));
}

const withoutDate = (bytes) => bytes.subarray(bytes.indexOf('\r\n'));

// Calls back with the time since the start when the temporary file appears, and when the new output
// is in place.
function watch(folder, onTemporary, onReplaced) {
  const began = performance.now();
  const watcher = fs.watch(folder, (event, name) => {
    const call = name === 'out.csv' ? onReplaced : onTemporary;
    if (event === 'rename') call(performance.now() - began);
  });
  return () => watcher.close();
}

test('killed at any moment: the old output or the new one, never a part', { timeout: 300_000 }, async (t) => {
  const folder = scratch(t);
  makeTree(`${folder}/tree`);
  fs.mkdirSync(`${folder}/at`);
  const out = `${folder}/at/out.csv`;
  const args = ['--scan', `${folder}/tree`, '--find', '*', '--out', out];

  let writing = Infinity;
  let replaced = 0;
  fs.writeFileSync(out, old);
  const noteStart = (ms) => { writing = Math.min(writing, ms); };
  let unwatch = watch(`${folder}/at`, noteStart, (ms) => { replaced = ms; });
  await output(args);
  unwatch();
  const whole = fs.readFileSync(out);
  const sizes = readCsv(whole).rows.map((row) => Number(row[1]));
  assert.deepEqual(sizes, Array.from({ length: kFiles }, (_, i) => kFiles - 1 - i));
  t.diagnostic(`${whole.length} bytes, written ${writing.toFixed()} to ${replaced.toFixed()} ms after the start`);

  const seen = { old: 0, new: 0, leftovers: 0, late: 0 };
  for (let kills = 0; kills < kKills;) {
    fs.writeFileSync(out, old);
    const { child, ended } = start(args);
    const kill = () => child.kill('SIGKILL');
    const killWithin = (ms) => setTimeout(kill, Math.random() * ms);
    // One in four somewhere in the run, one in four as the new output appears, the others while it
    // is being written.
    const kind = kills % 4;
    if (kind === 0) killWithin(replaced);
    const onTemporary = () => { if (kind > 1) killWithin(replaced - writing); };
    unwatch = watch(`${folder}/at`, onTemporary, () => { if (kind === 1) kill(); });
    const { signal } = await ended;
    unwatch();
    if (signal === 'SIGKILL') ++kills;
    else ++seen.late;
    const now = fs.readFileSync(out);
    if (now.equals(old)) ++seen.old;
    else {
      assert.ok(withoutDate(now).equals(withoutDate(whole)), `torn: ${now.length} of ${whole.length} bytes`);
      ++seen.new;
    }
    for (const name of fs.readdirSync(`${folder}/at`)) {
      if (name === 'out.csv') continue;
      assert.match(name, /^out\.csv\.vorda-\d+-\d+\.tmp$/);
      fs.rmSync(`${folder}/at/${name}`);
      ++seen.leftovers;
    }
  }
  t.diagnostic(JSON.stringify(seen));
  assert.ok(seen.old > 0 && seen.new > 0 && seen.leftovers > 0, 'the kills did not hit the writing');
});
