// Totals are exact to the byte on trees that were not made for a test.
import fs from 'node:fs';
import { test } from 'node:test';
import { has } from './support/home.mjs';
import { compareWithCount, listThreshold } from './support/count.mjs';
import { makeFiles, scratch } from './support/vorda.mjs';

for (const root of has('usr') ? ['/usr', '/var/lib/dpkg', '/etc'] : ['C:/Windows/System32/drivers', 'C:/Program Files/Common Files']) {
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
