// Names that break a careless writer or reader, from a real file system through every output.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { needs } from './support/home.mjs';
import { compareWithCount } from './support/count.mjs';
import { makeFiles, output, readJson, scratch, winPath } from './support/vorda.mjs';

// Creates a file under each path, all of different sizes so that a mix-up shows.
function makeDistinct(folder, paths) {
  makeFiles(folder, Object.fromEntries(paths.map((path, i) => [path, 'x'.repeat(i + 1)])));
}

test('hostile names come through unchanged', needs('anyName'), async (t) => {
  const folder = scratch(t);
  makeDistinct(folder, [
    '😀.😀', '👩‍👩‍👧‍👦 family.jpg', 'plain.JPG', 'é.É', 'e\u0301.é', '中文, 日本語.txt',
    '\uFEFFmark.txt', '\uFFFE\uFFFF', '\u202Egpj.exe', 'line\u2028end', 'tab\tand\nnew\r\nline',
    'bell\x07\x1F\x7F.txt',
    'quo"te.txt', '"".csv', '"all"', 'com,ma.c,sv', 'semi;colon', "it's", 'a | b', '=1+1', '%PATH%',
    '100%d%s', ' leading blank', 'trailing blank ', 'trailing dot.', '.hidden', '.hidden.txt', '..two',
    '...', '$RECYCLE.BIN.x', 'CON', 'nul.txt', 'co:lon', 'st*r?<>', 'x.tar.gz', 'y.gz',
    'n'.repeat(255), `${'n'.repeat(251)}.txt`, `${'😀'.repeat(63)}.x`,
    'limit.567890abcdef', 'limit.4567890abc', 'limit.34567890ab', 'limit.😀😀😀😀😀',
    'limit.😀😀😀😀😀😀',
  ]);
  // Names that are not UTF-8 are counted too, with replacement characters.
  const odd = (name) => Buffer.concat([Buffer.from(`${folder}/`), Buffer.from(name, 'latin1')]);
  fs.mkdirSync(odd('dir\xFF'));
  fs.writeFileSync(odd('dir\xFF/in\xFFside'), '123');
  const { files } = await compareWithCount(folder);
  assert.ok(files.some(({ path }) => path.endsWith('/dir\uFFFD/in\uFFFDside')));
});

test('folders whose names Windows would trim or mix up keep their own content', needs('anyName'), async (t) => {
  const folder = scratch(t);
  const names = ['name', 'name.', 'name..', 'name ', 'name .', 'Name', 'NAME', ' name', '. .', '... ', 'aux',
    'com1.txt', 'co:lon', '😀'];
  makeDistinct(folder, names.flatMap((a) => [`${a}/of ${a}`, `${a}/name./deep.txt`, `${a}/x/name/deep`]));
  const expected = await compareWithCount(folder);
  assert.equal(expected.folders.size, 1 + 4 * names.length);
});

test('names that Windows would read as paths lead nowhere', needs('anyName'), async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'outside/y.bin': 'y'.repeat(1000), 'r/a/x.bin': 'x'.repeat(10), 'r/a\\x.bin': 'x'.repeat(5) });
  for (const name of ['a\\.', '..\\outside']) fs.mkdirSync(`${folder}/r/${name}`);
  const { meta, files } = readJson(await output(['--scan', `${folder}/r`, '--out', '-', '--find', '*']));
  assert.deepEqual([meta.files, meta.used, meta.dirs, meta.denied], [2, 15, 4, 2]);
  const root = winPath(`${folder}/r`);
  assert.deepEqual(files.map(({ p }) => p), [`${root}\\a\\x.bin`, `${root}\\a\uFFFDx.bin`]);
});

// Under Wine a path and the prefix in front of it share 4,095 bytes, so this stays below the system's limit.
test('400 levels, and paths of up to 3,900 characters', async (t) => {
  const folder = scratch(t);
  const room = (length) => length - winPath(folder).length - 1;
  const longest = (length, name) => {
    const parents = `${name}/`.repeat(Math.floor((room(length) - 1) / (name.length + 1)));
    return parents + 'f'.repeat(room(length) - parents.length);
  };
  const paths = [longest(3900, 'w'.repeat(255)), longest(1500, '😀'.repeat(63))];
  const levels = Array.from({ length: 400 }, (_, i) => `lvl-${i + 1}`);
  for (const depth of [1, 100, 399, 400]) paths.push(`${levels.slice(0, depth).join('/')}/file.txt`);
  // All lengths around those at which Windows treats a path differently.
  for (let length = 225; length <= 270; ++length) {
    const name = 'p'.repeat(room(length));
    paths.push(`${name}/in.txt`, `${name}/dots./in.txt`);
  }
  makeDistinct(folder, paths);
  const { files } = await compareWithCount(folder);
  const lengths = files.map(({ path }) => winPath(path).length);
  assert.ok([1500, 3900].every((length) => lengths.includes(length)), `made ${lengths}`);
});
