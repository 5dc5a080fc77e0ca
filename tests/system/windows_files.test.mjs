// What only the file systems of Windows have: junctions, streams, short names, folders that mind the case, files
// in the cloud. Everything happens below the temporary folder.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import { test } from 'node:test';
import { lastFirst } from './support/ends.mjs';
import { compareWithCount } from './support/count.mjs';
import { needs } from './support/home.mjs';
import { serve, until } from './support/server.mjs';
import { ask, holdOpen, makeFiles, output, ownWine, readJson, scratch, vorda, winPath } from './support/vorda.mjs';

const scan = async (root, ...args) => readJson(await output(['--scan', winPath(root), '--out', '-', '--find', '*', ...args]));
const namesIn = (folder) => fs.readdirSync(folder).sort();

// A program of Windows that must succeed; returns what it printed.
const run = (program, ...args) => execFileSync(program, args, { encoding: 'latin1', windowsHide: true });

// A server, and deletions by it.
async function deleting(t) {
  const server = await serve(t);
  return { ...server, remove: (paths, fields = { permanent: 1 }) => server.remove(paths.map(winPath), fields) };
}

test('a junction to its own parent is neither followed nor counted, and deleting it leaves its target', needs('windows'), async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'kept/file': '123', 'tree/a/file': '12', 'single/file': '1' });
  for (const at of ['tree/loop', 'tree/a/to kept', 'single/to kept']) {
    fs.symlinkSync(winPath(`${folder}/${at.endsWith('kept') ? 'kept' : 'tree'}`), `${folder}/${at}`, 'junction');
  }
  await compareWithCount(`${folder}/tree`);
  const { meta } = await scan(`${folder}/tree`);
  assert.deepEqual([meta.files, meta.used, meta.dirs], [1, 2, 2]);
  const { remove } = await deleting(t);
  const told = await remove([`${folder}/tree`, `${folder}/single/to kept`]);
  assert.deepEqual([told.deleted, told.error, told.refused], [2, '', []]);
  assert.deepEqual([namesIn(folder), namesIn(`${folder}/kept`), namesIn(`${folder}/single`)], [['kept', 'single'], ['file'], ['file']]);
});

test('names that end in a dot or a blank are counted, and never taken for others', needs('windowsNames'), async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { name: '1' });
  for (const [i, name] of ['name.', 'name ', 'name..', 'name. '].entries()) {
    fs.writeFileSync(`\\\\?\\${winPath(folder)}\\${name}`, 'x'.repeat(i + 2));
  }
  assert.equal(fs.readdirSync(folder).length, 5);
  const { meta, files } = await scan(folder);
  assert.deepEqual([meta.files, meta.used, files.length], [5, 15, 5]);
  const { remove } = await deleting(t);
  const told = await remove([`${folder}/name.`, `${folder}/name `]);
  assert.deepEqual([told.deleted, told.refused.map(({ why }) => why)], [0, ['ambiguous', 'ambiguous']]);
  assert.equal(fs.readdirSync(folder).length, 5);
});

test('streams, holes and compression do not change a size', needs('windows'), async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'stream.txt': '12345', 'packed.txt': 'x'.repeat(400_000), 'hole.bin': 3 * 2 ** 30 });
  fs.writeFileSync(`${folder}/stream.txt:second`, 'y'.repeat(30_000));
  run('compact.exe', '/c', winPath(`${folder}/packed.txt`));
  const { meta } = await scan(folder);
  assert.deepEqual([meta.files, meta.used], [3, 5 + 400_000 + 3 * 2 ** 30]);
  const { remove } = await deleting(t);
  assert.deepEqual((await remove([`${folder}/stream.txt:second`])).refused.map(({ why }) => why), ['ambiguous']);
});

test('in a folder that minds the case, two names are two files', needs('caseSensitive'), async (t) => {
  const folder = `${scratch(t)}/cases`;
  fs.mkdirSync(folder);
  run('fsutil.exe', 'file', 'setCaseSensitiveInfo', winPath(folder), 'enable');
  makeFiles(folder, { 'a.txt': '1', 'A.txt': '22' });
  const { meta } = await scan(folder);
  assert.deepEqual([meta.files, meta.used], [2, 3]);
  const { remove } = await deleting(t);
  const { deleted } = await remove([`${folder}/A.txt`]);
  // Refusing is right as well; taking the other file, or both, is not.
  assert.deepEqual(namesIn(folder), deleted === 1 ? ['a.txt'] : ['A.txt', 'a.txt']);
});

test('folders that nobody may open are told, and are no empty ones', needs('windows'), async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'tree/a/file': '12', 'tree/shut/in/file': '345' });
  const shut = winPath(`${folder}/tree/shut`);
  run('icacls.exe', shut, '/deny', '*S-1-1-0:(OI)(CI)(RX)');
  try {
    const { meta } = await scan(`${folder}/tree`);
    assert.deepEqual([meta.files, meta.used, meta.dirs, meta.denied], [1, 2, 3, 1]);
    const { code, err } = await vorda(['--scan', shut, '--out', '-']);
    assert.deepEqual([code, err], [1, `Vorda: scanning ${shut} failed: the path does not exist, is not a folder, or this account cannot open it\n`]);
    await assert.rejects(fs.promises.writeFile(`${shut}/out.json`, ''), 'the deny entry works');
  } finally {
    run('icacls.exe', shut, '/remove:d', '*S-1-1-0');
  }
});

test('no spelling of what Windows needs would be deleted', needs('windows'), async (t) => {
  const folder = scratch(t);
  fs.mkdirSync(`${folder}/links`);
  fs.symlinkSync('C:\\Windows', `${folder}/links/windows`, 'junction');
  ownWine(t, { 'q:': 'C:/Windows' });
  const windows = process.env.SystemRoot;
  const spellings = ['C:\\PROGRA~1', `${windows}.`, `${windows} `, `${windows}\\System32`, `${windows}\\.\\system32`, `\\\\?\\${windows}`, `\\\\.\\${windows}`,
    '\\\\localhost\\c$\\Windows', '\\\\127.0.0.1\\c$\\Windows\\System32', winPath(`${folder}/links/windows/System32`), 'Q:\\System32', 'Q:\\', process.env.USERPROFILE,
    'C:\\pagefile.sys', 'C:\\Users\\Default', 'C:\\Documents and Settings', `${windows}\\System32\\kernel32.dll`];
  const { remove } = await deleting(t);
  const told = await remove(spellings, { dryrun: 1 });
  assert.deepEqual([told.wouldDelete, told.refused.length], [[], spellings.length], JSON.stringify(told));
  t.diagnostic(told.refused.map(({ p, why }) => `${p}: ${why}`).join(', '));
});

test('a folder of which something is in use goes in part, and the answer has the code of the system', needs('windowsNode'), async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'tree/a': '12', 'tree/z/b': '6' });
  const release = await holdOpen(t, `${folder}/tree/held`);
  const { remove } = await deleting(t);
  const told = await remove([`${folder}/tree`]);
  t.diagnostic(`error: ${told.error}, bytes: ${told.bytes}, left: ${namesIn(`${folder}/tree`)}`);
  assert.match(told.error, /^(failed:\d+|aborted)$/);
  assert.deepEqual([told.deleted, fs.existsSync(`${folder}/tree/held`)], [0, true]);
  const left = ['a', 'z/b'].filter((name) => fs.existsSync(`${folder}/tree/${name}`)).length;
  assert.equal(told.bytes, { 0: 3, 1: fs.existsSync(`${folder}/tree/a`) ? 1 : 2, 2: 0 }[left], 'what went is what is told');
  await release();
  assert.equal((await remove([`${folder}/tree`])).deleted, 1);
  assert.deepEqual(namesIn(folder), []);
});

test('folders with read-only files and paths of 300 characters are deleted', needs('windowsNode'), async (t) => {
  const folder = scratch(t);
  const deep = `tree/${'d'.repeat(120)}/${'e'.repeat(120)}/${'f'.repeat(60)}`;
  makeFiles(folder, { [deep]: '12345', 'tree/readonly': '1' });
  fs.chmodSync(`${folder}/tree/readonly`, 0o444);
  const { remove } = await deleting(t);
  const told = await remove([`${folder}/tree`]);
  assert.deepEqual([told.deleted, told.bytes, told.error, namesIn(folder)], [1, 6, '', []]);
});

test('the bin holds what went into it, and nothing once it is emptied', needs('windows', 'ownMachine'), async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'file.txt': '12345', 'tree/in/file.txt': '678' });
  const server = await deleting(t);
  assert.equal((await server.post('/api/emptybin', {})).body.ok, true);
  const told = await server.remove([`${folder}/file.txt`, `${folder}/tree`], {});
  assert.deepEqual([told.deleted, told.error, told.binned], [2, '', 8]);
  const { ok, bytes, items } = (await server.post('/api/emptybin', {})).body;
  assert.deepEqual([ok, bytes, items], [true, 8, 2]);
  assert.deepEqual((await server.post('/api/emptybin', {})).body, { ok: true, bytes: 0, items: 0 });
});

test('with long paths switched off and on, a deep tree is scanned and written into', needs('windows', 'ownMachine'), async (t) => {
  const [key, name] = ['HKLM\\SYSTEM\\CurrentControlSet\\Control\\FileSystem', 'LongPathsEnabled'];
  const before = / 0x(\d)/.exec(run('reg.exe', 'query', key, '/v', name))[1];
  lastFirst(t).after(() => run('reg.exe', 'add', key, '/v', name, '/t', 'REG_DWORD', '/d', before, '/f'));
  const folder = scratch(t);
  const deep = `tree/${'d'.repeat(200)}/${'e'.repeat(200)}`;
  makeFiles(folder, { [`${deep}/file`]: '123' });
  for (const value of ['0', '1']) {
    run('reg.exe', 'add', key, '/v', name, '/t', 'REG_DWORD', '/d', value, '/f');
    const { meta } = await scan(`${folder}/tree`);
    assert.deepEqual([meta.files, meta.used, meta.denied], [1, 3, 0], `LongPathsEnabled ${value}`);
    const out = `${folder}/${deep}/out ${value}.json`;
    await output(['--scan', winPath(`${folder}/tree`), '--out', winPath(out)]);
    assert.ok(readJson(fs.readFileSync(out)).meta.files > 0);
    fs.rmSync(out);
  }
});

test('files in the cloud are counted and not fetched', needs('cloudFiles'), async (t) => {
  const folder = `${scratch(t)}/cloud`;
  fs.mkdirSync(folder);
  ask('cloud', winPath(folder), 'one.bin', 5_000_000, 'two.bin', 5_000_000);
  lastFirst(t).after(() => ask('no-cloud', winPath(folder)));
  const { meta } = await scan(folder);
  assert.deepEqual([meta.files, meta.used], [2, 10_000_000]);
  const server = await serve(t);
  const { id } = await server.scan(winPath(folder));
  await server.post('/api/dupsacross', { ids: id, min: 1 });
  const found = await until(async () => ((body) => !body.running && body)((await server.json('/api/dupsacross')).body), 'the search');
  assert.deepEqual([found.skipped.cloud, found.groups], [2, []]);
  assert.equal(Number(ask('on-disk', winPath(`${folder}/one.bin`))), 0);
});
