// Deleting, cleaning and emptying the bin for real, done by Wine's shell. Whatever else goes or changes in
// the Wine prefix is found.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { after, beforeEach, test } from 'node:test';
import { setTimeout as pause } from 'node:timers/promises';
import { has, home, needs } from './support/home.mjs';
import { serve, until } from './support/server.mjs';
import { holdOpen, makeFiles, ownWine, winPath } from './support/vorda.mjs';

const kMiB = 2 ** 20;
// S: is a substituted drive.
const linux = has('prefixes');
const wine = ownWine({ after }, linux ? { 's:': '../drive_c/Program Files', 'unc/localhost/c$': '../../../drive_c', 'l:': '../l' } : {});
const prefix = linux ? wine.env.VORDA_WINEPREFIX : null;
const drive = linux ? `${prefix}/drive_c` : 'C:';
if (linux) fs.mkdirSync(`${prefix}/l`);
const trash = linux && `${wine.env.VORDA_XDG_DATA_HOME}/Trash`;
const logFile = linux ? `${drive}/users/${os.userInfo().username}/AppData/Local/Vorda/verwijderd.log` : `${process.env.LOCALAPPDATA}\\Vorda\\verwijderd.log`;
const log = () => fs.readFileSync(logFile, 'utf8').replaceAll(/^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d(?= )/gm, 'AT');

beforeEach(() => {
  if (!has('ownMachine')) return;
  fs.rmSync(logFile, { recursive: true, force: true });
  if (!linux) return;
  for (const name of ['files', 'info']) {
    fs.rmSync(`${trash}/${name}`, { recursive: true, force: true });
    fs.mkdirSync(`${trash}/${name}`);
  }
});

// Everything in the prefix but the log and what Wine itself keeps there, with size and time: a map by path.
function snapshot() {
  const all = new Map();
  const find = spawnSync('find', [prefix, '-printf', '%P\\t%y %s %T@ %l\\n'], { maxBuffer: 2 ** 28 }).stdout.toString();
  for (const line of find.trimEnd().split('\n')) {
    const [name, ...facts] = line.split('\t');
    const folder = facts[0].startsWith('d');
    if (!/^([^/]*\.reg|\.update-timestamp|tmp.*|)$|\/Local\/Vorda(\/verwijderd\.log)?$/.test(name)) all.set(name, folder ? 'd' : facts.join());
  }
  return all;
}

// Runs the work and returns what it changed: the paths that are gone, and those that are new or different.
async function changes(work) {
  const before = snapshot();
  await work();
  const now = snapshot();
  return {
    gone: [...before.keys()].filter((name) => !now.has(name)).sort(),
    other: [...now].filter(([name, facts]) => before.get(name) !== facts).map(([name]) => name).sort(),
  };
}

async function serveHere(t) {
  const server = await serve(t, [], wine);
  const scan = async (root) => (await server.scan(root, { kind: 'folder' })).id;
  const result = async (id) => (await server.json(`/api/result?id=${id}`)).body;
  // The document of a scan, without what differs between a fresh scan and one that saw deletions.
  const steady = ({ meta, ...rest }) => {
    const unnumbered = JSON.stringify({ ...rest, meta: { ...meta, seconds: 0, volumeFree: 0, freed: 0, binned: 0 } });
    return unnumbered.replaceAll(/"i":\d+/g, '"i":0');
  };
  const likeFresh = async (id, what) => {
    const { meta } = await result(id);
    const fresh = await scan(meta.path);
    assert.equal(steady(await result(id)), steady(await result(fresh)), what);
    await server.json(`/api/forget?id=${fresh}`);
    return meta;
  };
  return { ...server, scan, result, likeFresh };
}

test('dry run, deletion to the bin and for good, in part, and emptying the bin; the log and the scan follow', needs('prefixes'), async (t) => {
  makeFiles(`${drive}/kept`, { 'a/big.iso': 70 * kMiB, 'a/deep/é/s.txt': 'abc', 'b/x.bin': 65 * kMiB, 'b/y & z.txt': 'hello', 'b/in/use/free.bin': 80 * kMiB, 'c/keep.txt': '1', 'loose.bin': 66 * kMiB });
  await holdOpen(t, `${drive}/kept/b/in/use/held.txt`, wine);
  const server = await serveHere(t);
  const job = await server.scan('C:\\kept');
  const paths = ['C:\\kept\\a', 'C:\\kept\\b\\y & z.txt', 'c:/KEPT/a/deep'];
  const accepted = ['C:\\kept\\a', 'C:\\kept\\b\\y & z.txt'];
  const bytes = 70 * kMiB + 3 + 5;
  let told;
  assert.deepEqual(await changes(async () => {
    told = await server.remove(paths, { job, dryrun: 1 });
  }), { gone: [], other: [] });
  assert.deepEqual(told, { deleted: 0, bytes, error: '', dryRun: true, refused: [], wouldDelete: accepted, noBin: [] });

  const binned = await changes(async () => {
    told = await server.remove(paths, { job });
  });
  const gone = ['a', 'a/big.iso', 'a/deep', 'a/deep/é', 'a/deep/é/s.txt', 'b/y & z.txt'].map((one) => `drive_c/kept/${one}`);
  assert.deepEqual(binned.gone, gone);
  assert.ok(binned.other.every((name) => name.startsWith('xdg-data/Trash')), binned.other.join());
  // Wine's bin counts files that lie in it directly and not those in its folders.
  assert.deepEqual(told, { deleted: 2, bytes, freed: bytes - 5, binned: 5, error: '', dryRun: false, refused: [], wouldDelete: accepted });
  assert.deepEqual(fs.readdirSync(`${trash}/files`).sort(), ['a', 'y & z.txt']);
  let meta = await server.likeFresh(job, 'into the bin');
  assert.deepEqual([meta.freed, meta.binned], [bytes - 5, 5]);

  const permanent = await changes(async () => {
    told = await server.remove(['C:\\kept\\loose.bin'], { job, permanent: 1 });
  });
  assert.deepEqual(permanent, { gone: ['drive_c/kept/loose.bin'], other: [] });
  await server.likeFresh(job, 'for good');

  const partly = await changes(async () => {
    told = await server.remove(['C:\\kept\\b'], { job, permanent: 1, why: 1 });
  });
  assert.ok(told.stayed.some((one) => one.p === 'C:\\kept\\b\\in\\use\\held.txt' && one.why === 'inuse'), JSON.stringify(told.stayed));
  assert.match(told.error, /^failed:\d+$/);
  assert.ok(partly.gone.length > 0 && partly.gone.every((name) => name.startsWith('drive_c/kept/b/')), 'a part of it is gone');
  const lost = partly.gone.map((name) => ({ 'x.bin': 65 * kMiB, 'free.bin': 80 * kMiB })[name.split('/').at(-1)] ?? 0).reduce((sum, one) => sum + one);
  assert.ok(lost > 0);
  assert.deepEqual([told.deleted, told.bytes, told.freed, told.partial], [0, lost, lost, [{ p: 'C:\\kept\\b', bytes: lost }]]);
  assert.deepEqual(partly.other, []);
  meta = await server.likeFresh(job, 'in part');
  assert.equal(meta.freed, bytes - 5 + 66 * kMiB + lost);

  assert.equal(log(),
    `AT  prullenbak  ${bytes - 5}  C:\\kept\\a\r\nAT  prullenbak  5  C:\\kept\\b\\y & z.txt\r\n` +
    `AT  definitief  ${66 * kMiB}  C:\\kept\\loose.bin\r\n` +
    `AT  definitief (deels)  ${lost}  C:\\kept\\b\r\n` +
    `AT  MISLUKT (${told.error.slice(7)})  1 van 1 paden bleven staan\r\n`);
  const { body: { entries, more } } = await server.json('/api/log');
  assert.deepEqual([entries.map((one) => [one.kind, one.partly ?? false, one.bytes ?? 0, one.p ?? '']), more], [[
    ['failed', false, 0, ''], ['permanent', true, lost, 'C:\\kept\\b'], ['permanent', false, 66 * kMiB, 'C:\\kept\\loose.bin'],
    ['binned', false, 5, 'C:\\kept\\b\\y & z.txt'], ['binned', false, bytes - 5, 'C:\\kept\\a']], false]);
  const { body: bins } = await server.json('/api/bins');
  assert.deepEqual([bins.bytes, bins.items], [5, 2]);

  let emptied;
  await changes(async () => {
    emptied = await server.post('/api/emptybin', {});
  });
  assert.deepEqual(emptied, { status: 200, body: { ok: true, bytes: 5, items: 2 } });
  assert.deepEqual(fs.readdirSync(`${trash}/files`), ['a']); // Wine's shell leaves folders that are not empty
  meta = await server.likeFresh(job, 'the bin emptied');
  assert.deepEqual([meta.freed, meta.binned], [bytes + 66 * kMiB + lost, 0]);
  fs.rmSync(`${trash}/files/a`, { recursive: true });
  assert.deepEqual((await server.post('/api/emptybin', {})).body, { ok: true, bytes: 0, items: 0 });
});

test('no spelling of a path leads to what must stay', needs('prefixes'), async (t) => {
  makeFiles(`${drive}/data`, { 'a.txt': 'a', 'sub/b.txt': 'b' });
  fs.symlinkSync('../windows', `${drive}/data/to-windows`);
  fs.symlinkSync('..', `${drive}/data/to-root`);
  const server = await serveHere(t);
  const unix = winPath(prefix);
  const expected = Object.entries({
    'C:\\windows\\system32': 'windows', 'C:\\WINDOWS.': 'windows', 'C:\\windows ': 'windows', 'C:\\\\windows': 'windows', 'C:\\.\\windows\\notepad.exe': 'windows',
    'C:\\data\\to-windows\\notepad.exe': 'windows', 'C:\\data\\to-root\\windows\\notepad.exe': 'windows', 'C:\\data\\to-root\\users': 'allusers',
    'C:\\data\\to-root\\users\\Public': 'profile', 'C:\\data\\to-root\\Program Files': 'programs', 'S:\\Common Files': 'programs',
    [`${unix}\\drive_c\\windows\\notepad.exe`]: 'windows', [`${unix}\\drive_c\\Program Files`]: 'programs', [`${unix}\\drive_c\\users\\Public`]: 'profile',
    [`${unix}\\drive_c\\ProgramData`]: 'programdata', [`${unix}\\dosdevices\\s:\\Common Files`]: 'ambiguous', [`${unix}\\drive_c`]: 'driveroot',
    '\\\\localhost\\c$\\windows\\notepad.exe': 'windows', '\\\\localhost\\c$\\users\\Public': 'profile', '\\\\?\\C:\\windows\\notepad.exe': 'wildcard', '\\\\.\\C:\\windows\\notepad.exe': 'windows',
    'C:\\data\\a.txt.': 'ambiguous', 'C:\\data\\sub ': 'ambiguous', 'C:\\data\\.\\a.txt': 'ambiguous', 'C:\\data\\a.txt:s': 'ambiguous', 'C:\\data\\\0a.txt': 'ambiguous', 'C:\\data\\*': 'wildcard',
    'C:\\data\\con': 'ambiguous', 'C:\\data\\none': 'missing',
  });
  const difference = await changes(async () => {
    for (const fields of [{ dryrun: 1 }, {}, { permanent: 1 }]) {
      const told = await server.remove(expected.map(([one]) => one), fields);
      assert.deepEqual(told.refused.map(({ p, why }) => [p, why]), expected.map(([p, why]) => [p, why]));
      assert.deepEqual([told.deleted, told.wouldDelete], [0, []]);
    }
  });
  assert.deepEqual(difference, { gone: [], other: [] });
  // The prefix is a folder that has drive C: in it, which the program must find out by looking.
  const around = await changes(async () => {
    const told = await server.remove([unix], { permanent: 1 });
    assert.deepEqual(told.refused, [{ p: unix, why: 'programs' }]);
  });
  assert.deepEqual(around, { gone: [], other: [] });
  const job = await server.scan('C:\\data');
  const outside = await server.remove(['C:\\data', 'C:\\data\\to-root\\data2', 'Z:\\data\\a.txt', 'C:\\data\\sub\\b.txt'], { job, permanent: 1 });
  assert.deepEqual(outside.refused.map(({ why }) => why), ['outside', 'missing', 'outside']);
  assert.deepEqual(await changes(() => server.remove(['C:\\data\\sub'], { job, permanent: 1 })), { gone: ['drive_c/data/sub'], other: [] });
  await server.likeFresh(job, 'next to the links');
});

test('temporary files are removed, except those in use', needs('prefixes'), async (t) => {
  makeFiles(`${drive}/windows/temp`, { 'big.bin': 1100 * kMiB, 'old/deep/a.tmp': 'abc', 'é.tmp': '12' });
  await holdOpen(t, `${drive}/windows/temp/held.tmp`, wine);
  const server = await serveHere(t);
  const job = await server.scan('C:\\windows');
  let told;
  const difference = await changes(async () => {
    told = await server.post('/api/cleanup', { what: 'tempfiles', job });
  });
  assert.deepEqual(told, { status: 200, body: { ok: true, deleted: 3, skipped: 1, folders: 1, bytes: 1100 * kMiB + 5 } });
  assert.deepEqual(difference, { gone: ['big.bin', 'old', 'old/deep', 'old/deep/a.tmp', 'é.tmp'].map((one) => `drive_c/windows/temp/${one}`), other: [] });
  assert.equal(log(), `AT  LEEGGEMAAKT  ${1100 * kMiB + 5}  C:\\windows\\temp  (3 weg, 1 overgeslagen)\r\n`);
  const meta = await server.likeFresh(job, 'cleaned');
  assert.equal(meta.freed, 1100 * kMiB + 5);
});

test('two copies share one log and write whole lines', needs('ownMachine'), async (t) => {
  const names = Array.from({ length: 60 }, (_, i) => `f${i}`);
  for (const folder of ['one', 'two']) makeFiles(`${drive}/${folder}`, Object.fromEntries(names.map((name) => [name, 'x'])));
  const servers = [await serveHere(t), await serveHere(t)];
  await Promise.all(['one', 'two'].map((folder, i) => servers[i].remove(names.map((name) => `C:\\${folder}\\${name}`), { permanent: 1 })));
  const lines = log().split('\r\n');
  assert.equal(lines.pop(), '');
  assert.deepEqual(lines.sort(), ['one', 'two'].flatMap((folder) => names.map((name) => `AT  definitief  1  C:\\${folder}\\${name}`)).sort());
});

// A file whose path on this drive has that many characters, in a folder called `name` in its root.
function farFile(folder, name, length) {
  const steps = [];
  let left = length - `L:\\${name}\\`.length;
  for (; left > 240; left -= 201) steps.push('d'.repeat(200));
  steps.push('f'.repeat(left));
  const at = path.join(folder, name, ...steps);
  fs.mkdirSync(path.dirname(at), { recursive: true });
  fs.writeFileSync(at, '12345');
  return `L:\\${name}\\${steps.join('\\')}`;
}

test('paths of any length are deleted permanently; links inside stay with their targets, and the bin refuses what is too long', needs('prefixes'), async (t) => {
  const folder = `${prefix}/l`; // short, so that the longest path fits
  const server = await serveHere(t);
  makeFiles(`${folder}/target`, { 'kept.txt': 'k' });
  for (const length of [259, 260, 261, 1000, 4000]) {
    const name = `t${length}`;
    const far = farFile(folder, name, length);
    assert.equal(far.length, length);
    farFile(folder, `k${length}`, length);
    fs.symlinkSync('../target', `${folder}/k${length}/link`);
    fs.symlinkSync('../target/kept.txt', `${folder}/k${length}/filelink`);
    const refusal = async (one, fields) => (await server.remove([one], fields)).refused.map(({ why }) => why);
    const tooLong = length > 259 ? ['toolong'] : [];
    for (const one of [far, `L:\\${name}`]) {
      assert.deepEqual(await refusal(one, { dryrun: 1, seen: 1 }), tooLong);
      if (length > 259) assert.deepEqual(await refusal(one, {}), tooLong);
    }
    let told = await server.remove([`L:\\${name}`], { permanent: 1 });
    assert.deepEqual([told.deleted, told.bytes, told.error, told.refused], [1, 5, '', []]);
    assert.deepEqual(fs.existsSync(`${folder}/${name}`), false);
    told = await server.remove([`L:\\k${length}`], { permanent: 1 });
    assert.deepEqual([told.deleted, told.bytes, told.partial], [0, 5, [{ p: `L:\\k${length}`, bytes: 5 }]]);
    assert.deepEqual(fs.readdirSync(`${folder}/k${length}`).sort(), ['filelink', 'link']);
    const single = farFile(folder, `s${length}`, length);
    told = await server.remove([single], { permanent: 1 });
    assert.deepEqual([told.deleted, told.bytes, told.refused], [1, 5, []]);
    assert.ok(log().endsWith(`AT  definitief (deels)  5  L:\\k${length}\r\nAT  MISLUKT (1921)  1 van 1 paden bleven staan\r\nAT  definitief  5  ${single}\r\n`));
  }
  assert.equal(fs.readFileSync(`${folder}/target/kept.txt`, 'utf8'), 'k');
});

// VORDA_ROUNDS sets how often.
test('killed at any moment of a deletion, the log accounts for every file that is gone', needs('ownMachine'), async (t) => {
  for (let round = Number(process.env.VORDA_ROUNDS ?? 2); round > 0; --round) {
    const names = Array.from({ length: 150 }, (_, i) => `f${i}`);
    makeFiles(`${drive}/kill`, Object.fromEntries([...names, ...names.map((name) => `inside/${name}`)].map((name) => [name, 'xyz'])));
    fs.rmSync(logFile, { force: true });
    const server = await serve(t, [], wine);
    const paths = [...names.slice(0, 75), 'inside', ...names.slice(75)].map((name) => ['p', `C:\\kill\\${name}`]);
    const removal = server.post('/api/delete', [...paths, ['permanent', '1']]).catch(() => null);
    const count = (folder) => (fs.existsSync(folder) ? fs.readdirSync(folder, { recursive: true }).length : 0);
    const stopAt = Math.floor(Math.random() * 301);
    await until(() => count(`${drive}/kill`) <= stopAt, 'a part to be gone');
    server.child.kill('SIGKILL');
    await Promise.all([server.ended, removal]);
    // Wine reports the end of a process while its last call may still be under way.
    for (let before = -1; home === 'wine-node' && before !== count(`${drive}/kill`); await pause(2000)) before = count(`${drive}/kill`);
    const inside = count(`${drive}/kill/inside`);
    const next = await serve(t, [], wine);
    await until(() => !fs.readdirSync(path.dirname(logFile)).some((name) => name.endsWith('.journaal')), 'the journal to be written to the log');
    const lines = fs.existsSync(logFile) ? log().split('\r\n').slice(0, -1) : [];
    const told = lines.map((line) => line.slice(line.lastIndexOf('\\') + 1));
    const gone = names.filter((name) => !fs.existsSync(`${drive}/kill/${name}`));
    assert.deepEqual(gone.filter((name) => !told.includes(name)), [], 'files without a line');
    assert.deepEqual(names.filter((name) => !gone.includes(name) && told.includes(name)), [], 'lines without a reason');
    const bytes = lines.filter((line) => line.endsWith('\\inside')).map((line) => Number(/ {2}(\d+) {2}/.exec(line)[1]));
    assert.equal(bytes[0] ?? 0, (150 - inside) * 3);
    next.child.kill('SIGKILL');
    await next.ended;
    fs.rmSync(`${drive}/kill`, { recursive: true, force: true });
  }
});

test('quitting waits for a running deletion and lets no other one begin', needs('ownMachine'), async (t) => {
  const names = Array.from({ length: 1500 }, (_, i) => `f${i}`);
  makeFiles(`${drive}/waits`, { ...Object.fromEntries(names.map((name) => [`many/${name}`, 'x'])), 'next.txt': 'x' });
  const server = await serve(t, [], wine);
  assert.deepEqual((await server.json('/api/hello')).status, 200);
  const removal = server.post('/api/delete', { p: 'C:\\waits\\many', permanent: 1 });
  await until(() => fs.readdirSync(`${drive}/waits/many`).length < 1500, 'the deletion to begin');
  const asked = await server.json('/api/quit');
  assert.deepEqual(asked.body, { ok: true, waiting: true });
  assert.equal((await removal).body.deleted, 1);
  // The page asks for one deletion after the other.
  const next = await server.post('/api/delete', { p: 'C:\\waits\\next.txt', permanent: 1 }).catch(() => 'closed');
  await server.ended;
  assert.deepEqual([next, fs.existsSync(`${drive}/waits/next.txt`)], ['closed', true]);
  assert.equal(log(), 'AT  definitief  1500  C:\\waits\\many\r\n');
});
