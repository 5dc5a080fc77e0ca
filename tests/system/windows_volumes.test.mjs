// Volumes that are made for a test: virtual disks with each file system, attached by diskpart.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import { test } from 'node:test';
import { lastFirst } from './support/ends.mjs';
import { needs } from './support/home.mjs';
import { serve } from './support/server.mjs';
import { makeFiles, output, readCsv, readJson, scratch, vorda, winPath } from './support/vorda.mjs';

const MiB = 2 ** 20;
const FILES = { 'a/big.bin': 3 * MiB, 'a/b/é 漢.txt': 'hello', 'c/empty': '', 'Documents/x.jpg': 'x'.repeat(70_000) };

// A virtual disk with one volume on V:, and in a folder if that is given, until the test ends.
function volume(t, fileSystem, { size = 128, folder = null, unit = '' } = {}) {
  const disk = winPath(`${scratch(t)}/disk.vhdx`);
  const diskpart = (...lines) => {
    const script = `${disk}.txt`;
    fs.writeFileSync(script, lines.join('\r\n'));
    return execFileSync('diskpart.exe', ['/s', script], { encoding: 'latin1', windowsHide: true });
  };
  diskpart(`create vdisk file="${disk}" maximum=${size} type=expandable`, `select vdisk file="${disk}"`, 'attach vdisk', 'convert mbr', 'create partition primary',
    `format fs=${fileSystem} ${unit} quick label=Vorda`, 'assign letter=V', ...folder ? [`assign mount="${winPath(folder)}"`] : []);
  lastFirst(t).after(() => diskpart(`select vdisk file="${disk}"`, 'detach vdisk'));
  return 'V:';
}

const rows = async (root, ...args) => readCsv(await output(['--scan', root, '--out', '-', '--find', '*.bin;*.txt;*.jpg;empty', '--format', 'csv', ...args])).rows
  .map(([path, size]) => `${path.slice(path.indexOf('\\') + 1)} ${size}`).sort();
const expected = Object.entries(FILES).map(([path, content]) => `${path.replaceAll('/', '\\')} ${content.length ?? content}`).sort();

for (const fileSystem of ['exfat', 'fat32']) {
  test(`a volume with ${fileSystem}: empty, then scanned and partly deleted`, needs('vhdx'), async (t) => {
    const at = volume(t, fileSystem);
    const empty = readJson(await output(['--scan', at, '--out', '-']));
    assert.deepEqual([empty.meta.method, await rows(at)], ['walk', []]);
    makeFiles(at, FILES);
    assert.deepEqual(await rows(at), expected);
    const server = await serve(t);
    const told = await server.remove([`${at}\\a`], { permanent: 1 });
    assert.deepEqual([told.deleted, told.error, fs.existsSync(`${at}/a`)], [1, '', false]);
  });
}

for (const unit of ['', 'unit=64K']) {
  test(`turbo and the walk agree on an NTFS volume ${unit}, and with Windows on its size`, needs('vhdx'), async (t) => {
    const at = volume(t, 'ntfs', { unit });
    const empty = readJson(await output(['--scan', at, '--out', '-']));
    assert.equal(empty.meta.method, 'mft');
    makeFiles(at, FILES);
    fs.writeFileSync(`${at}/a/b/é 漢.txt:stream`, 'y'.repeat(5000));
    execFileSync('cmd.exe', ['/c', 'mklink', '/J', `${at}\\junction`, `${at}\\a`]);
    execFileSync('compact.exe', ['/c', `${at}\\Documents\\x.jpg`]);
    execFileSync('fsutil.exe', ['volume', 'flush', at]);
    const turbo = readJson(await output(['--scan', at, '--out', '-']));
    const walk = readJson(await output(['--scan', `${at}\\.`, '--out', '-']));
    assert.deepEqual([turbo.meta.method, walk.meta.method], ['mft', 'walk']);
    assert.deepEqual([await rows(at), await rows(`${at}\\.`)], [expected, expected]);
    assert.ok(!turbo.tree.c?.some(({ n }) => n === '$Orphans'), 'a healthy volume has no orphans');
    const said = execFileSync('fsutil.exe', ['volume', 'diskfree', at], { encoding: 'latin1' });
    const [, total] = [...said.matchAll(/:\s+([\d., ]+?)\s*(?:\(|$)/gm)].map(([, digits]) => Number(digits.replaceAll(/\D/g, '')));
    assert.equal(turbo.meta.volumeSize, total, said);
  });
}

test('a volume in a folder: a scan does not enter it, and deleting the folder leaves its files', needs('vhdx'), async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'tree/file': '12' });
  fs.mkdirSync(`${folder}/tree/mounted`);
  const at = volume(t, 'ntfs', { folder: `${folder}/tree/mounted` });
  makeFiles(at, FILES);
  const { meta } = readJson(await output(['--scan', winPath(`${folder}/tree`), '--out', '-']));
  assert.deepEqual([meta.files, meta.used], [1, 2]);
  const inside = readJson(await output(['--scan', winPath(`${folder}/tree/mounted`), '--out', '-']));
  assert.ok(inside.meta.files >= Object.keys(FILES).length);
  const server = await serve(t);
  const told = await server.remove([winPath(`${folder}/tree`)], { permanent: 1 });
  t.diagnostic(JSON.stringify(told));
  assert.ok(fs.existsSync(`${at}/a/big.bin`), 'the volume lost its files');
});

test('a result that does not fit leaves what was there', needs('vhdx'), async (t) => {
  const at = volume(t, 'fat32', { size: 40 });
  const folder = scratch(t);
  makeFiles(folder, Object.fromEntries(Array.from({ length: 1000 }, (_, i) => [`tree/${i}-${'x'.repeat(100)}`, '1'])));
  makeFiles(at, { 'old.csv': 'old' });
  let filler = 0;
  for (let size = 16 * MiB; size >= 4096; size /= 2) {
    for (;;) {
      try {
        fs.writeFileSync(`${at}/filler ${++filler}`, Buffer.alloc(size));
      } catch (error) {
        assert.equal(error.code, 'ENOSPC');
        fs.rmSync(`${at}/filler ${filler}`, { force: true });
        break;
      }
    }
  }
  const { code, err } = await vorda(['--scan', winPath(`${folder}/tree`), '--find', '*', '--out', `${at}\\old.csv`]);
  assert.equal(code, 1, err);
  assert.match(err, /could not write V:\\old\.csv: Disk full\./);
  assert.equal(fs.readFileSync(`${at}/old.csv`, 'utf8'), 'old');
});
