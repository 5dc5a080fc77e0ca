// A run that is killed leaves either the old output or the complete new one, whatever it was doing.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { needs } from './support/home.mjs';
import { makeFiles, output, scratch, start } from './support/vorda.mjs';

const kFiles = 20_000;
const kRuns = 40;
const old = Buffer.from('the old output\n'.repeat(1000));

// Long paths make the output so large that writing it takes a good part of the run. All files differ in
// size, so there is one right order.
function makeTree(root) {
  const folder = `${root}${`/${'long'.repeat(60)}`.repeat(3)}`;
  makeFiles(folder, Object.fromEntries(Array.from({ length: kFiles }, (_, i) => [`f${i}`, i])));
}

const withoutDate = (bytes) => bytes.subarray(bytes.indexOf('\r\n'));

// Calls back, with the time since the start, when the temporary file appears and when the output is replaced.
// Before the scan an empty one comes and goes, to see whether the folder can be written to.
function watch(folder, onTemporary, onReplaced) {
  const began = performance.now();
  let changes = 0;
  const watcher = fs.watch(folder, (event, name) => {
    if (event !== 'rename') return;
    if (name === 'out.csv') onReplaced(performance.now() - began);
    else if (++changes === 3) onTemporary(performance.now() - began);
  });
  return () => watcher.close();
}

test('killed at any moment: the old output or the new one, never a part', needs('fast'), async (t) => {
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

  const seen = { killed: 0, leftovers: 0 };
  for (let run = 0; run < kRuns; ++run) {
    fs.writeFileSync(out, old);
    const { child, ended } = start(args);
    const kill = () => child.kill('SIGKILL');
    const killWithin = (ms) => setTimeout(kill, Math.random() * ms);
    // A quarter of them anywhere in the run, a quarter as the new output appears, the others while it is
    // being written.
    const kind = run % 4;
    let timer = kind === 0 ? killWithin(replaced) : null;
    const onTemporary = () => { if (kind > 1) timer ??= killWithin(replaced - writing); };
    unwatch = watch(`${folder}/at`, onTemporary, () => { if (kind === 1) kill(); });
    const { signal } = await ended;
    clearTimeout(timer);
    unwatch();
    if (signal === 'SIGKILL') ++seen.killed;
    const now = fs.readFileSync(out);
    assert.ok(now.equals(old) || withoutDate(now).equals(withoutDate(whole)), `torn: ${now.length} of ${whole.length} bytes`);
    for (const name of fs.readdirSync(`${folder}/at`)) {
      if (name === 'out.csv') continue;
      assert.match(name, /^out\.csv\.vorda-\d+-\d+\.tmp$/);
      fs.rmSync(`${folder}/at/${name}`);
      ++seen.leftovers;
    }
  }
  t.diagnostic(JSON.stringify(seen));
  assert.ok(seen.killed > 0 && seen.leftovers > 0, 'no run was killed while it was writing');
});
