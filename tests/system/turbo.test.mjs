// One NTFS volume read both ways: from its master file table, and folder by folder through a mount.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { lastFirst } from './support/ends.mjs';
import { typeOf } from './support/count.mjs';
import { has, needs } from './support/home.mjs';
import { makeNtfsImage, mount } from './support/ntfs_image.mjs';
import { serve } from './support/server.mjs';
import { output, ownWine, readCsv, readJson, scratch } from './support/vorda.mjs';

// Records 0 to 10 without the root. $Extend holds three more files, which are listed like any others.
const systemFiles = ['$MFT', '$MFTMirr', '$LogFile', '$Volume', '$AttrDef', '$Bitmap', '$Boot', '$BadClus', '$Secure',
  '$UpCase'];
const extendFiles = ['$ObjId', '$Quota', '$Reparse'];

const links = (root) => {
  const other = Array.from({ length: 60 }, (_, i) => `links\\other\\often ${i}.txt`);
  return [['links\\one.bin', 'links\\other\\two.dat', 'three.txt'], ['links\\often.txt', ...other]]
    .map((names) => names.map((name) => root + name));
};

const volume = { root: scratch({ after: (end) => test.after(end) }) };
test.before(async () => {
  if (!has('ntfsImage')) return;
  volume.image = `${volume.root}/volume.img`;
  volume.mounted = `${volume.root}/mounted`;
  await makeNtfsImage(volume.image, volume.mounted);
  // The same volume with a wrong signature in record 0, which makes turbo give up.
  const bytes = fs.readFileSync(volume.image);
  const table = bytes.readUInt32LE(48) * 4096;
  // Records 12 to 15 are in use, nameless and empty, as far as the growing table has not taken them.
  volume.reserved = [12, 13, 14, 15].filter((n) => bytes.readBigUInt64LE(table + 1024 * n + 32) === 0n).length;
  bytes.write('BAAD', table);
  fs.writeFileSync(`${volume.root}/broken.img`, bytes);
});

// Drive T: is read by turbo and W: by the walk; where paths are compared, W: is renamed to T:.
async function drives(t) {
  const unmount = await mount(volume.image, volume.mounted, 'ro');
  lastFirst(t).after(unmount);
  const { mounted, image, root } = volume;
  return ownWine(t, { 't:': mounted, 't::': image, 'w:': mounted, 'w::': `${root}/broken.img` });
}

const asTurbo = (text) => text.replaceAll('w:\\', 't:\\').replaceAll('w:\\\\', 't:\\\\');

async function scanned(letter, options, ...args) {
  const bytes = await output(['--scan', `${letter}:`, '--out', '-', ...args], options);
  return Buffer.from(asTurbo(bytes.toString()));
}

// The paths in one list that are not in the other.
const without = (a, b) => [...a.keys()].filter((path) => !b.has(path)).sort();

test('turbo and the walk find the same files and types, except where they are meant to differ', needs('ntfsImage'), async (t) => {
  const options = await drives(t);
  const list = async (letter) => {
    const { rows } = readCsv(await scanned(letter, options, '--find', '*', '--format', 'csv'));
    assert.equal(new Set(rows.map(([path]) => path)).size, rows.length);
    return new Map(rows.map(([path, size, date]) => [path, { size: Number(size), date }]));
  };
  const [turbo, walk] = [await list('t'), await list('w')];
  const onlyWalk = [];
  for (const names of links('t:\\')) {
    const kept = names.filter((name) => turbo.has(name));
    assert.equal(kept.length, 1, `${kept}`);
    onlyWalk.push(...names.filter((name) => name !== kept[0]));
  }
  assert.deepEqual(without(walk, turbo), onlyWalk.sort());
  const onlyTurbo = [...extendFiles.map((name) => `t:\\$Extend\\${name}`), 't:\\to links'];
  assert.deepEqual(without(turbo, walk), onlyTurbo.sort());
  for (const [path, facts] of turbo) if (walk.has(path)) assert.deepEqual(facts, walk.get(path), path);
  assert.ok(turbo.size > 10_000 && turbo.has('t:\\behind the breaks.txt'));

  const expected = new Map();
  const count = (name, size) => {
    const total = expected.get(typeOf(name)) ?? { bytes: 0, files: 0 };
    expected.set(typeOf(name), { bytes: total.bytes + size, files: total.files + 1 });
  };
  for (const [path, { size }] of turbo) count(path.slice(path.lastIndexOf('\\') + 1), size);
  for (const name of systemFiles) count(name, fs.statSync(`${volume.mounted}/${name}`).size);
  for (let i = 0; i < volume.reserved; ++i) count('', 0);
  const types = readCsv(await scanned('t', options, '--format', 'csv', '--what', 'types')).rows;
  assert.deepEqual(types.sort(), [...expected].map(([type, { bytes, files }]) => [type, `${bytes}`, `${files}`]).sort());
});

// What is told of every folder of a scan, by its path.
async function foldersOf(server, id, letter, path = '', into = new Map()) {
  const { body } = await server.json(`/api/dirs?id=${id}&more=1&p=${encodeURIComponent(`${letter}:\\${path}`)}`);
  into.set(path, body);
  for (const { n } of body.dirs) await foldersOf(server, id, letter, path + (path && '\\') + n, into);
  return into;
}

test('their documents and folder totals agree', needs('ntfsImage'), async (t) => {
  const server = await serve(t, [], await drives(t));
  const scan = async (letter) => {
    const job = await server.scan(`${letter}:\\`);
    const document = await server.json(`/api/result?id=${job.id}`);
    return { job, ...readJson(Buffer.from(asTurbo(JSON.stringify(document.body)))) };
  };
  const [turbo, walk] = [await scan('t'), await scan('w')];
  assert.deepEqual([turbo.job.method, turbo.job.noTurbo], ['mft', '']);
  assert.deepEqual([walk.job.method, walk.job.noTurbo], ['walk', 'mftCorrupt']);
  assert.deepEqual(turbo.files, walk.files);
  assert.ok(turbo.files.length > 8 && turbo.files.every(({ m }) => m % 1000 === 250));
  assert.deepEqual(turbo.advice, walk.advice);
  assert.deepEqual(turbo.advice.map(({ code }) => code), ['oldfiles', 'tempfiles']);

  const size = (name) => fs.statSync(`${volume.mounted}/${name}`).size;
  const system = systemFiles.reduce((sum, name) => sum + size(name), 0);
  const linked = 2 * 300_000 + 60 * 5000;
  const symlink = 8 + 2 * 'links'.length; // how this driver stores one: a marker and the target
  assert.equal(turbo.meta.used, walk.meta.used + system - linked + symlink);
  assert.equal(turbo.meta.files, walk.meta.files + systemFiles.length + extendFiles.length + volume.reserved - 62 + 1);
  assert.equal(turbo.meta.dirs, walk.meta.dirs + 2, '$Extend and the junction');

  const sums = async (id, letter) => new Map([...await foldersOf(server, id, letter)].map(([path, { s, f }]) => [path, `${s} ${f}`]));
  const [inTurbo, inWalk] = [await sums(turbo.job.id, 't'), await sums(walk.job.id, 'w')];
  for (const path of ['', '$Extend', 'junction', 'links', 'links\\other']) {
    inTurbo.delete(path);
    inWalk.delete(path);
  }
  assert.deepEqual([...inTurbo].sort(), [...inWalk].sort());
  assert.ok(inTurbo.size > 60);
});

test('bytes on disk: the account adds up, and turbo and the walk agree where the walk can know', needs('ntfsImage'), async (t) => {
  const server = await serve(t, [], await drives(t));
  const [turbo, walk] = [(await server.scan('t:\\')).id, (await server.scan('w:\\')).id];
  const account = async (id) => {
    const { body } = await server.json(`/api/account?id=${id}`);
    return { ...body, rows: Object.fromEntries(body.rows.map((row) => [row.code, row])) };
  };
  const { blocks, bfree, bsize } = fs.statfsSync(volume.mounted);
  const exact = await account(turbo);
  assert.deepEqual([exact.used, exact.source, exact.cluster, exact.unexplained], [(blocks - bfree) * bsize, 'bitmap', bsize, 0]);
  assert.equal(exact.rows.system.parts.find(({ n }) => n === '$Bitmap').bytes, Math.ceil(blocks / 8 / bsize) * bsize);
  const met = await account(walk);
  assert.equal(met.source, 'drive');
  const clusters = (bytes) => Math.ceil(bytes / bsize) * bsize;
  // So many names that the list of the file's records has clusters of its own, which only turbo sees.
  const often = (await server.json(`/api/file?id=${turbo}&p=${encodeURIComponent('t:\\links\\often.txt')}`)).body.a;
  assert.ok(often > clusters(5000) && often <= clusters(5000) + 4 * bsize, `${often}`);
  const unseen = exact.rows.streams.bytes + exact.rows.tables.bytes + exact.rows.system.bytes + often - clusters(5000);
  assert.equal(met.unexplained, unseen);
  // One of three names, and one of 61.
  assert.deepEqual([met.rows.twice.bytes, met.rows.twice.count], [2 * 300_000 + 60 * 5000, 62]);

  const [inTurbo, inWalk] = [await foldersOf(server, turbo, 't'), await foldersOf(server, walk, 'w')];
  let compared = 0;
  for (const [path, { a, x, xs }] of inWalk) {
    assert.equal(xs, 1);
    const other = inTurbo.get(path);
    // Turbo also counts the folders' tables and the streams; which name counts may differ.
    if (['', 'links', 'links\\other', 'many', 'names', 'streams'].includes(path)) continue;
    assert.deepEqual([a, x], [other.a, other.x], path);
    ++compared;
  }
  assert.ok(compared > 60, `${compared}`);
  const links = inTurbo.get('links');
  // The other file has a name outside; which of its names it is listed by is not for the scan to choose.
  assert.equal(links.x, links.a - (links.a > clusters(300_000) ? clusters(300_000) : 0));
  assert.equal(inWalk.get('links').x, clusters(5000));
  const file = await server.json(`/api/file?id=${turbo}&p=${encodeURIComponent('t:\\three.txt')}`);
  assert.equal(file.body.names.length, 3);
  assert.equal(file.body.x, 0);
});
