// The duplicate search against an independent one (jdupes) on a tree: the same groups, to the file; bytes read
// and seconds of both, taking turns.
// node bench/duplicates.mjs TREE ROUNDS, from a shell with Wine's environment set.
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import { fileURLToPath } from 'node:url';

const [tree, rounds] = [process.argv[2], Number(process.argv[3])];
const repo = fileURLToPath(new URL('..', import.meta.url));
const large = { maxBuffer: 1 << 30, stdio: ['ignore', 'pipe', 'ignore'] };
const median = (list) => [...list].sort((a, b) => a - b)[Math.floor(list.length / 2)];
const sorted = (groups) => new Set(groups.map((group) => group.sort().join('\n')));

function searchByUs() {
  const args = [`${repo}build/mingw-release/bench/bench_duplicates_win.exe`, `Z:${tree.replaceAll('/', '\\')}`, '1'];
  return JSON.parse(execFileSync(`${repo}scripts/wine`, args, large).toString());
}

// -H: all names of a file are listed, as ours are.
const jdupes = ['jdupes', '-r', '-H', '-j', '-q', tree];
function searchByJdupes() {
  const began = performance.now();
  const text = execFileSync(jdupes[0], jdupes.slice(1), large).toString();
  return { ms: performance.now() - began, sets: JSON.parse(text).matchSets };
}

// What it reads is counted in a run of its own, since that slows it down.
function bytesReadByJdupes() {
  const log = `${tree}.strace`;
  execFileSync('strace', ['-f', '-qq', '-o', log, '-e', 'trace=read,pread64', ...jdupes], large);
  const calls = fs.readFileSync(log, 'utf8');
  fs.rmSync(log);
  return [...calls.matchAll(/\) += (\d+)$/gm)].reduce((sum, [, bytes]) => sum + Number(bytes), 0);
}

const ours = [];
const theirs = [];
for (let round = 0; round < rounds; ++round) {
  ours.push(searchByUs());
  theirs.push(searchByJdupes());
}
const inode = (path) => {
  const { dev, ino } = fs.statSync(path);
  return `${dev}:${ino}`;
};
// A set of nothing but names of one file is no group here.
const sets = theirs[0].sets.map((set) => set.fileList.map((file) => file.filePath));
const expected = sorted(sets.filter((set) => new Set(set.map(inode)).size > 1));
const found = sorted(ours[0].groups.map((group) => group.map((path) => path.slice(2).replaceAll('\\', '/'))));
const extra = [...found].filter((group) => !expected.has(group));
const missing = [...expected].filter((group) => !found.has(group));
const verdict = extra.length + missing.length === 0 ? 'the same' : `${extra.length} only here, ${missing.length} only there`;
console.log(`${ours[0].files} files; ${found.size} groups against ${expected.size}: ${verdict}; ${ours[0].skipped} files left out`);
const seconds = [ours, theirs].map((runs) => median(runs.map((run) => run.ms)) / 1000);
const megabytes = [ours[0].read, bytesReadByJdupes()].map((bytes) => bytes / 1e6);
['vorda', 'jdupes'].forEach((name, i) => console.log(`  ${name.padEnd(6)} ${seconds[i].toFixed(2)} s, ${megabytes[i].toFixed(1)} MB read`));
console.log(`  ratios ${(seconds[0] / seconds[1]).toFixed(2)} of its time, ${(megabytes[0] / megabytes[1]).toFixed(2)} of its bytes; listing alone ${median(ours.map((run) => run.listed_ms)) / 1000} s`);
for (const group of [...extra, ...missing].slice(0, 4)) console.log(group);
process.exitCode = extra.length + missing.length === 0 ? 0 : 1;
