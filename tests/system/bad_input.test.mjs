// Folders and files that cannot be read or written: the program names them, says why and leaves nothing behind.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import { test } from 'node:test';
import { has, needs } from './support/home.mjs';
import { compareWithCount } from './support/count.mjs';
import { confinedWine, makeFiles, output, ownWine, readCsv, readJson, scratch, vorda } from './support/vorda.mjs';

const noSuchFolder = 'the path does not exist, is not a folder, or this account cannot open it';

// before: what is said before that; a name that cannot work is refused before the scan.
async function assertNotWritten(out, reason, [scanned, ...filters], options, before = '') {
  const { code, out: printed, err } = await vorda(['--scan', scanned, '--out', out, ...filters], options);
  const expected = `${before}Vorda: could not write ${out}: ${reason}\n`;
  assert.deepEqual({ code, printed: printed.toString(), err }, { code: 1, printed: '', err: expected });
}

test('a root that does not exist or is not a folder', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { file: '1', 'old.json': 'old' });
  if (has('symlinks')) fs.symlinkSync('nowhere', `${folder}/link`);
  // --scan takes the next argument as a path even if it looks like an option.
  for (const root of ['missing', 'file', 'file/below', 'link', 'no*such', '--help', 'a'.repeat(300), 'Q:\\']) {
    const { code, out, err } = await vorda(['--scan', root, '--out', 'old.json'], { cwd: folder });
    assert.deepEqual([code, out.length, err], [1, 0, `Vorda: scanning ${root} failed: ${noSuchFolder}\n`]);
  }
  assert.equal(fs.readFileSync(`${folder}/old.json`, 'utf8'), 'old');
});

test('an empty drive is empty', needs('drives'), async (t) => {
  const folder = scratch(t);
  const options = ownWine(t, { 'q:': folder });
  for (const root of ['Q:', 'Q:\\', '\\\\?\\Q:', '\\\\?\\Q:\\']) {
    const { meta, tree } = readJson(await output(['--scan', root, '--out', '-'], options));
    assert.deepEqual([tree.n, meta.files, meta.used, meta.dirs, meta.denied], ['Q:\\', 0, 0, 1, 0], root);
  }
});

test('the result can be thrown away, but not into another device', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'tree/file': '1' });
  const run = await vorda(['--scan', `${folder}/tree`, '--out', 'NUL'], { cwd: folder });
  assert.deepEqual([run.code, run.err], [0, `Vorda: scanning ${folder}/tree\n`]);
  assert.match(run.out.toString(), / 1 files .*\n {2}-> NUL\n$/);
  for (const name of ['nul.json', 'CON', 'com1.csv']) {
    await assertNotWritten(name, 'that is the name of a device; give a file name', [`${folder}/tree`], { cwd: folder });
  }
  await assertNotWritten('\\\\.\\C:', 'that is the name of a device; give a file name', [`${folder}/tree`]);
  assert.deepEqual(fs.readdirSync(folder), ['tree']);
});

test('an output name that is a folder, or is in one that does not exist', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'tree/file': '1', 'taken.csv/inside': '2' });
  for (const name of ['taken.csv', 'taken.csv/', '.']) {
    await assertNotWritten(`${folder}/${name}`, 'that is a folder; give a file name', [`${folder}/tree`]);
  }
  await assertNotWritten(`${folder}/none/out.json`, 'Path not found.', [`${folder}/tree`]);
  // Refused before the scan, which would fail as well.
  await assertNotWritten(`${folder}/none/out.json`, 'Path not found.', [`${folder}/missing`]);
  assert.deepEqual(fs.readdirSync(folder).sort(), ['taken.csv', 'tree']);
  assert.deepEqual(fs.readdirSync(`${folder}/taken.csv`), ['inside']);
});

test('folders without permission', needs('unixRights'), async (t) => {
  const confined = confinedWine(t);
  const folder = scratch(t);
  makeFiles(folder, { 'tree/a/file': '12', 'tree/shut/in/file': '345', 'readonly/out.json': 'old' });
  fs.chmodSync(`${folder}/tree/shut`, 0o000);
  fs.chmodSync(`${folder}/readonly`, 0o555);
  const expected = await compareWithCount(`${folder}/tree`, confined);
  assert.deepEqual([expected.denied, expected.files.length, expected.folders.size], [1, 1, 3]);
  const summary = await output(['--scan', `${folder}/tree`, '--out', `${folder}/out.json`], confined);
  assert.match(summary.toString(), / s {2}\(walk\) {2}1 folders could not be read\n {2}-> /);
  // As a root, it is no empty folder.
  const shut = await vorda(['--scan', `${folder}/tree/shut`, '--out', '-'], confined);
  assert.deepEqual([shut.code, shut.out.length, shut.err], [1, 0, `Vorda: scanning ${folder}/tree/shut failed: ${noSuchFolder}\n`]);

  for (const name of ['out', 'new']) await assertNotWritten(`${folder}/readonly/${name}.json`, 'Access denied.', [`${folder}/tree`], confined);
  assert.deepEqual(fs.readdirSync(`${folder}/readonly`), ['out.json']);
  assert.equal(fs.readFileSync(`${folder}/readonly/out.json`, 'utf8'), 'old');
});

test('a full disk', needs('tmpfs'), async (t) => {
  const folder = scratch(t);
  const disk = `${folder}/disk`;
  const names = Array.from({ length: 1000 }, (_, i) => `tree/${i}-${'x'.repeat(200)}`);
  makeFiles(folder, Object.fromEntries(names.map((name) => [name, '1'])));
  fs.mkdirSync(disk);
  execFileSync('mount', ['-t', 'tmpfs', '-o', 'size=64k', 'tmpfs', disk]);
  try {
    const [scan, scanned] = [[`${folder}/tree`, '--find', '*'], `Vorda: scanning ${folder}/tree\n`];
    await assertNotWritten(`${disk}/new.csv`, 'Disk full.', scan, {}, scanned);
    assert.deepEqual(fs.readdirSync(disk), []);
    makeFiles(disk, { 'old.csv': 'old' });
    await assertNotWritten(`${disk}/old.csv`, 'Disk full.', scan, {}, scanned);
    assert.deepEqual(fs.readdirSync(disk), ['old.csv']);
    assert.equal(fs.readFileSync(`${disk}/old.csv`, 'utf8'), 'old');
    await output(['--scan', `${folder}/tree`, '--out', `${disk}/old.csv`, '--what', 'types']);
    assert.equal(readCsv(fs.readFileSync(`${disk}/old.csv`)).rows.length, 1);
  } finally {
    execFileSync('umount', [disk]);
  }
});
