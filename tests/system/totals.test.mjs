// Totals are exact to the byte on trees that were not made for a test.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { has, needs } from './support/home.mjs';
import { compareWithCount, countTree, listThreshold } from './support/count.mjs';
import { makeFiles, scratch } from './support/vorda.mjs';

const kLargeTree = 100_000;

// /usr, or where that is too small, as many copies of its names, sizes (as holes) and times as it takes.
function largeTree(t) {
  const usr = countTree('/usr');
  if (usr.files.length >= kLargeTree) return '/usr';
  const copies = scratch(t);
  for (let n = 0; n * usr.files.length < kLargeTree; ++n) {
    for (const folder of usr.folders.keys()) fs.mkdirSync(`${copies}/${n}${folder}`, { recursive: true });
    for (const { path, size, ms } of usr.files) {
      const file = fs.openSync(`${copies}/${n}${path}`, 'w');
      fs.ftruncateSync(file, size);
      fs.futimesSync(file, ms / 1000, ms / 1000);
      fs.closeSync(file);
    }
  }
  return copies;
}

test('a tree of 100,000 files or more', needs('usr'), async (t) => {
  const expected = await compareWithCount(largeTree(t));
  assert.ok(expected.files.length >= kLargeTree, `only ${expected.files.length} files`);
});

for (const root of has('usr') ? ['/var/lib/dpkg', '/etc'] : ['C:/Windows/System32/drivers', 'C:/Program Files/Common Files']) {
  test(`the files of ${root}`, () => compareWithCount(root));
}

test('sizes at the limits: empty, just below and at the list threshold, beyond 32 bits', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, {
    'empty/nothing.bin': 0,
    'a/under.bin': listThreshold - 1,
    'a/at.bin': listThreshold,
    'a/b/four.bin': 2 ** 32,
    'a/b/huge.bin': 5 * 2 ** 40 + 1,
  });
  fs.utimesSync(`${folder}/a/at.bin`, -1, -1); // before 1970: no date
  await compareWithCount(folder);
});
