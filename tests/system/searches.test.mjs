// Searches across scans on real files: compared with another finder of duplicates, and with files that
// change while they are read. The program has no more rights here than an ordinary user.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import fs from 'node:fs';
import { test } from 'node:test';
import { needs } from './support/home.mjs';
import { serve, until } from './support/server.mjs';
import { confinedWine, makeFiles, scratch, winPath } from './support/vorda.mjs';

// A server for a new folder, with the requests that the tests make.
async function searching(t, files) {
  const folder = scratch(t);
  makeFiles(folder, files);
  const server = await serve(t, [], confinedWine(t));
  const status = async (path) => (await server.json(path)).body;
  // The result; watch() sees every answer on the way to it.
  const finished = (path, watch = () => {}) =>
    until(async () => {
      const answer = await status(path);
      await watch(answer);
      return answer.running ? null : answer;
    }, path);
  const start = async (path, fields) => assert.deepEqual((await server.post(path, fields)).body, { started: true, running: true });
  const run = async (path, fields) => {
    await start(path, fields);
    return finished(path);
  };
  const scan = async (path) => (await server.scan(path)).id;
  return { folder, ...server, status, finished, start, run, scan };
}

const unixPath = (path) => path.slice(2).replaceAll('\\', '/');
// Groups as sorted lists of all names of all copies; jdupes -H lists names and knows nothing of copies.
const namesOf = (groups) => groups.map((one) => one.files.flatMap((file) => [file.p, ...(file.names ?? [])].map(unixPath)).sort()).sort();
const byJdupes = (folder) =>
  JSON.parse(execFileSync('jdupes', ['-r', '-H', '-j', '-q', folder], { maxBuffer: 1 << 28 }).toString()).matchSets
    .map((set) => set.fileList.map((file) => file.filePath).sort()).sort();

test('the duplicates are the ones that another program finds', needs('jdupes'), async (t) => {
  const text = (size, mark = '', at = 0) => 'a'.repeat(at) + mark + 'a'.repeat(size - at - mark.length);
  const long = `${'d'.repeat(200)}/${'e'.repeat(100)}`;
  const files = { 'zero': '', 'zero too': '', 'once': 'once', 'é/ü': 'name', 'É 😀/x': 'name', [`${long}/f`]: 'name', 'dot/ends.': 'name' };
  // Equal files, and files that differ at the start, in the middle or at the end, around the sizes that matter.
  for (const size of [1, 2, 65_536, 131_071, 131_072, 131_073, 262_144, 3_000_000]) {
    for (const copy of ['a', 'b', 'c/d']) files[`${size}/${copy}`] = text(size);
    for (const at of [0, Math.floor(size / 2), size - 1]) for (const copy of [1, 2]) files[`${size}/at ${at}.${copy}`] = text(size, 'x', at);
  }
  const app = await searching(t, files);
  fs.linkSync(`${app.folder}/65536/a`, `${app.folder}/hard link`);
  fs.linkSync(`${app.folder}/once`, `${app.folder}/once more`);
  const id = await app.scan(winPath(app.folder));
  // Without the one file that has two names, which jdupes calls a pair as well.
  const expected = byJdupes(app.folder).filter((names) => !names.some((name) => name.endsWith('/once')));
  const result = await app.run('/api/dupsacross', { ids: id, min: 0 });
  assert.ok(expected.length > 20, 'jdupes found too little');
  assert.deepEqual(namesOf(result.groups), expected);
  assert.deepEqual(result.skipped, { cloud: 0, unreadable: 0, changed: 0 });
  assert.equal(result.groups.find((group) => group.s === 65_536 && group.c === 3).files.filter((file) => file.names).length, 1);
  assert.ok(result.groups.every((group, i, all) => group.waste === group.s * (group.c - 1) && (i === 0 || group.waste <= all[i - 1].waste)));

  // With a second scan inside the first one, spelled differently, nothing is found twice.
  const inner = await app.scan(`${winPath(app.folder)}\\É 😀\\`);
  const both = await app.run('/api/dupsacross', { ids: `${id},${inner}`, min: 0 });
  assert.deepEqual(namesOf(both.groups), expected);
  const inside = both.groups.flatMap((group) => group.files).filter((file) => file.job === inner);
  assert.deepEqual(inside.map((file) => unixPath(file.p)), [`${app.folder}/É 😀/x`]);
  const found = await app.run('/api/findfiles', { ids: `${inner},${id}`, names: 'ENDS.;x', sort: 'name' });
  assert.deepEqual(found.files.map((file) => [unixPath(file.p).slice(app.folder.length + 1), file.s, file.job]), [['dot/ends.', 4, id], ['É 😀/x', 4, inner]]);

  // The digests are SHA-256.
  const paths = ['3000000/a', '3000000/c/d', 'hard link', '65536/a', 'zero', 'dot/ends.', `${long}/f`];
  const checked = await app.run('/api/verifydups', new URLSearchParams(paths.map((path) => ['p', `${winPath(app.folder)}\\${path.replaceAll('/', '\\')}`])));
  paths.forEach((path, i) => {
    const bytes = fs.readFileSync(`${app.folder}/${path}`);
    assert.deepEqual([checked.files[i].size, checked.files[i].h], [bytes.length, createHash('sha256').update(bytes).digest('hex')], path);
  });
  assert.deepEqual([checked.duplicates.sort(), checked.files[3].same], [[[0, 1], [5, 6]], 2]);
});

test('files that change, vanish or cannot be read while duplicates are looked for', needs('unixRights'), async (t) => {
  const size = 600_000_000;
  const app = await searching(t, { '1': size, '2': size, '3': size, 'shut': size, 'shut too': 'x', 'small': 'x', 'small 2': 'x' });
  fs.chmodSync(`${app.folder}/shut`, 0);
  fs.chmodSync(`${app.folder}/shut too`, 0);
  const id = await app.scan(winPath(app.folder));
  // The changes are made while the hashing is going on; the three large files are hashed one after another.
  const changes = [() => fs.appendFileSync(`${app.folder}/1`, 'more'), () => fs.rmSync(`${app.folder}/3`)];
  let percent = 0;
  await app.start('/api/dupsacross', { ids: id, min: 1 });
  const changed = await app.finished('/api/dupsacross', (answer) => {
    if (!answer.running) return;
    assert.ok(answer.percent >= percent, 'the percentage never falls');
    percent = answer.percent;
    if (answer.phase === 'hashing' && answer.read > 100_000_000) changes.splice(0).forEach((change) => change());
  });
  assert.deepEqual(changes, [], 'the hashing was over before the files could be changed');
  assert.deepEqual(namesOf(changed.groups), [['small', 'small 2'].map((name) => `${app.folder}/${name}`)]);
  assert.deepEqual(changed.skipped, { cloud: 0, unreadable: 2, changed: 2 });
});
