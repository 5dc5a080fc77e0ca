// Several scans side by side, small ones, and moving between their sections.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, test } from 'node:test';
import { becomes, goTo, lastFirst, mark, openDialog, openTab, row, rowsOf, says, scan, scanned } from './support/browser.mjs';
import { serve } from '../system/support/server.mjs';
import { makeFiles, ownWine, scratch } from '../system/support/vorda.mjs';

const MiB = 2 ** 20;
const ends = [];
after(async () => { for (const end of ends) await end(); });
const here = { after: (end) => ends.unshift(end) };
const folder = scratch(here);
makeFiles(folder, { 'd/films/x.iso': 70 * MiB, 'd/photos/y.iso': 80 * MiB, 'd/root.iso': 60 * MiB, 'e/backup/z.iso': 90 * MiB });
const wine = await ownWine(here, { 'd:': `${folder}/d`, 'e:': `${folder}/e` });

test('marks, open folders and types belong to one scan, and outlive another scan of the same drive', async (t) => {
  const tab = await openTab(t);
  const { base } = await serve(lastFirst(t), [], wine);
  await tab.goto(base);
  for (const drive of ['D:\\', 'E:\\']) await scan(tab, drive);
  const choose = (name) => tab.getByRole('list', { name: 'Scans' }).getByRole('button', { name: new RegExp(`^${name}`) }).click();
  const tree = tab.getByRole('treegrid');
  const names = async () => (await rowsOf(tree)).map((cells) => cells[1]);
  await goTo(tab, 'explorer', 'Folders');
  await mark(tree, 'backup');
  await says(tab, '1 item marked, 90.0 MB');
  await choose('D:');
  await becomes(names, ['D:\\', 'photos', 'films', 'root.iso'], 'its root is open');
  await becomes(() => tab.locator('.selection-bar').isVisible(), false, 'nothing is marked here');
  await mark(tree, 'photos');
  await row(tree, 'photos').first().click();
  await tree.press('ArrowRight');
  await row(tree, 'y.iso').waitFor();
  await choose('E:');
  await says(tab, '1 item marked, 90.0 MB');
  await becomes(names, ['E:\\', 'backup']);
  await choose('D:');
  await says(tab, '1 item marked, 80.0 MB');
  await becomes(names, ['D:\\', 'photos', 'y.iso', 'films', 'root.iso']);

  await goTo(tab, 'types', 'Types');
  const files = tab.getByRole('grid');
  await row(files, 'y.iso').waitFor();
  await choose('E:');
  await row(files, 'z.iso').waitFor();
  await becomes(() => row(files, 'y.iso').count(), 0);

  await choose('D:');
  await goTo(tab, 'overview', 'Overview');
  await tab.getByRole('button', { name: 'Scan again' }).click();
  await goTo(tab, 'explorer', 'Folders');
  await becomes(names, ['D:\\', 'photos', 'y.iso', 'films', 'root.iso']);
  await says(tab, '1 item marked, 80.0 MB');
  const dialog = await openDialog(tab);
  await becomes(() => dialog.getByRole('list', { name: 'What would go' }).getByRole('listitem').allInnerTexts(), ['D:\\photos']);
});
