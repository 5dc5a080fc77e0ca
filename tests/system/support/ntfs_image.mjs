// An NTFS image with what makes real volumes hard to read, made with the file system's own tools.
import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import { until } from './server.mjs';

const run = (program, ...args) => execFileSync(program, args, { encoding: 'utf8', stdio: 'pipe' });

// Mounts an image on a folder. Returns a function that unmounts it and waits until all is written.
export async function mount(image, folder, options) {
  fs.mkdirSync(folder, { recursive: true });
  const before = fs.statSync(folder).dev;
  const daemon = spawn('ntfs-3g', ['-o', `no_detach,${options}`, image, folder], { stdio: 'ignore' });
  const ended = once(daemon, 'exit');
  await until(() => fs.statSync(folder).dev !== before, `${image} to be mounted`);
  return async () => {
    run('fusermount', '-u', folder);
    await ended;
  };
}

const attribute = (file, name, value) => run('setfattr', '-h', '-n', name, '-v', value, file);

function fill(root) {
  const put = (name, bytes, holeUpTo = 0) => {
    fs.writeFileSync(`${root}/${name}`, Buffer.alloc(bytes, name));
    if (holeUpTo > 0) fs.truncateSync(`${root}/${name}`, holeUpTo);
    const time = 1e9 + 86_400 * bytes + 0.25;
    fs.utimesSync(`${root}/${name}`, time, time);
  };
  for (const name of ['links', 'links/other', 'streams', 'packed', 'names', 'many', 'junction',
    'Users/me/AppData/Local/Temp']) {
    fs.mkdirSync(`${root}/${name}`, { recursive: true });
  }
  put('links/one.bin', 300_000);
  fs.linkSync(`${root}/links/one.bin`, `${root}/links/other/two.dat`);
  fs.linkSync(`${root}/links/one.bin`, `${root}/three.txt`);
  // So many names that some move to records of their own.
  put('links/often.txt', 5000);
  for (let i = 0; i < 60; ++i) fs.linkSync(`${root}/links/often.txt`, `${root}/links/other/often ${i}.txt`);
  put('Users/me/AppData/Local/Temp/sparse.bin', 10, 3 * 2 ** 30);
  for (let i = 0; i < 7; ++i) put(`old ${i}.iso`, 20 + i, 2 ** 30 + i);
  put('listed.bin', 1, 52_428_800);
  put('not listed.bin', 2, 52_428_799);
  attribute(`${root}/packed`, 'system.ntfs_attrib', '0x10080000');
  put('packed/soft.txt', 400_000);
  put('streams/file.txt', 700);
  attribute(`${root}/streams/file.txt`, 'user.second', 'x'.repeat(30_000));
  attribute(`${root}/streams`, 'user.third', 'y');
  for (const name of [`${'n'.repeat(251)}.txt`, '漢'.repeat(85), '😀.PNG', 'É.Jpeg', 'Ж.Ю', '.hidden', 'dot.',
    'a.twelve_long', 'a.thirteen_long', 'Both names.html', 'ÿ.txt', 'Ā.txt']) put(`names/${name}`, 3);
  attribute(`${root}/names/Both names.html`, 'system.ntfs_dos_name', 'BOTHNA~1.HTM');
  let deep = '';
  for (let level = 0; level < 60; ++level) fs.mkdirSync(root + (deep += `/level ${level}`));
  put(`${deep}/deepest.log`, 9);
  fs.symlinkSync('links', `${root}/to links`);
  const target = Buffer.from('\\??\\C:\\Windows', 'utf16le');
  const head = Uint16Array.of(3, 0xA000, 12 + target.length, 0, 0, target.length, target.length + 2, 0);
  const junction = Buffer.concat([Buffer.from(head.buffer), target, Buffer.alloc(4)]);
  attribute(`${root}/junction`, 'system.ntfs_reparse_data', `0x${junction.toString('hex')}`);
  for (let i = 0; i < 10_000; ++i) put(`many/file ${i}.${'abcdefghij'[i % 10]}`, i % 50);
}

// Fills the volume so that only gaps of one cluster are left, makes the table grow into them, and clears up.
function breakTable(root) {
  const free = () => {
    const { bfree, bsize } = fs.statfsSync(root);
    return bfree * bsize;
  };
  const fillers = `${root}/fillers`;
  fs.mkdirSync(fillers);
  fs.writeFileSync(`${fillers}/big`, Buffer.alloc(free() - 5 * 2 ** 20));
  let count = 0;
  try {
    for (; ; ++count) fs.writeFileSync(`${fillers}/full ${count}`, Buffer.alloc(4096));
  } catch (error) {
    assert.equal(error.code, 'ENOSPC');
  }
  for (let i = 0; i < count; i += 2) fs.unlinkSync(`${fillers}/full ${i}`);
  for (let i = 0; i < count / 2 + 1300; ++i) fs.writeFileSync(`${fillers}/empty ${i}`, '');
  fs.writeFileSync(`${root}/behind the breaks.txt`, 'in one of the last records');
  fs.rmSync(fillers, { recursive: true });
}

// Makes the image, mounted on `folder` meanwhile.
export async function makeNtfsImage(image, folder) {
  run('truncate', '-s', '40M', image);
  run('mkntfs', '-F', '-Q', '-T', '-p', '0', '-H', '16', '-S', '63', '-L', 'Volume', image);
  const unmount = await mount(image, folder, 'compression');
  try {
    fill(folder);
    breakTable(folder);
  } finally {
    await unmount();
  }
  assert.match(run('ntfsinfo', '-f', '-i', '0', image), /ATTRIBUTE_LIST/, 'the table is not fragmented enough');
}
