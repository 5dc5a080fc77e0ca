// Several scans side by side, small ones, and what the Del key asks about.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, test } from 'node:test';
import { becomes, find, folders, GOING, goTo, mark, MiB, openDialog, openTab, pathsIn, row, rowsOf, says, scan, scanned, settled } from './support/browser.mjs';
import { needs } from '../system/support/home.mjs';
import { serve } from '../system/support/server.mjs';
import { makeFiles, ownWine, scratch } from '../system/support/vorda.mjs';

const here = { after };
const folder = scratch(here);
makeFiles(folder, { 'd/films/x.iso': 70 * MiB, 'd/photos/y.iso': 80 * MiB, 'd/root.iso': 60 * MiB, 'e/backup/z.iso': 90 * MiB });
const wine = await ownWine(here, { 'd:': `${folder}/d`, 'e:': `${folder}/e` });

test('marks, open folders and types belong to one scan, and outlive another scan of the same drive', needs('drives'), async (t) => {
  const { base } = await serve(t, [], wine);
  const tab = await openTab(t);
  await tab.goto(base);
  for (const drive of ['D:\\', 'E:\\']) await scan(tab, drive);
  const choose = (name) => tab.getByRole('list', { name: 'Scans' }).getByRole('button', { name: new RegExp(`^${name}`) }).click();
  const tree = tab.getByRole('treegrid');
  const names = async () => (await rowsOf(tree)).map((cells) => cells[1]);
  await goTo(tab, 'explorer', 'Folders');
  await mark(tree, 'backup');
  await says(tab, '1 item selected, 90.0 MB');
  await choose('D:');
  await becomes(names, ['D:\\', 'photos', 'films', 'root.iso'], 'its root is open');
  await becomes(() => tab.locator('.selection-bar').isVisible(), false, 'nothing is marked here');
  await mark(tree, 'photos');
  await row(tree, 'photos').first().click();
  await tree.press('ArrowRight');
  await row(tree, 'y.iso').waitFor();
  await choose('E:');
  await says(tab, '1 item selected, 90.0 MB');
  await becomes(names, ['E:\\', 'backup']);
  await choose('D:');
  await says(tab, '1 item selected, 80.0 MB');
  await becomes(names, ['D:\\', 'photos', 'y.iso', 'films', 'root.iso']);

  await choose('E:');
  await goTo(tab, 'types', 'Types');
  const files = tab.getByRole('grid', { name: 'Large files of this type' });
  await row(files, 'z.iso').waitFor();
  // An answer about the other scan that comes too late is dropped.
  const held = [];
  await tab.route('**/api/ext?id=1&*', (route) => held.push(route), { times: 1 });
  await choose('D:');
  await becomes(() => held.length, 1);
  await choose('E:');
  await row(files, 'z.iso').waitFor();
  const answered = tab.waitForResponse('**/api/ext?id=1&*');
  await held[0].continue();
  await (await answered).finished();
  await settled(tab);
  assert.deepEqual([await row(files, 'z.iso').count(), await row(files, 'y.iso').count()], [1, 0]);
  await choose('D:');
  await row(files, 'y.iso').waitFor();
  await becomes(() => row(files, 'z.iso').count(), 0);

  await goTo(tab, 'overview', 'Overview');
  const largest = tab.locator('section', { has: tab.getByRole('heading', { name: 'Largest folders' }) });
  await becomes(() => largest.getByRole('listitem').allInnerTexts().then((texts) => texts.map((text) => text.split('\n')[0])), ['photos', 'films']);
  // Names of files right below the root are shown whole.
  const cut = () => tab.locator('.bars .cut').evaluateAll((all) => all.filter((one) => [...one.children].some((part) => part.className !== 'heard' && part.scrollWidth > part.clientWidth)).map((one) => one.innerText));
  await becomes(() => tab.locator('.bars .cut', { hasText: 'root.iso' }).count(), 1);
  await becomes(cut, []);
  await goTo(tab, 'largest', 'Largest files');
  await becomes(async () => (await rowsOf(tab.getByRole('grid'))).map(([, name, where]) => [name, where.split('\n')[0]]), [['y.iso', 'D:\\photos'], ['x.iso', 'D:\\films'], ['root.iso', 'D:\\']]);
  await goTo(tab, 'overview', 'Overview');
  await tab.getByRole('button', { name: 'Scan again' }).click();
  await goTo(tab, 'explorer', 'Folders');
  await becomes(names, ['D:\\', 'photos', 'y.iso', 'films', 'root.iso']);
  await says(tab, '1 item selected, 80.0 MB');
  const dialog = await openDialog(tab);
  await becomes(() => pathsIn(dialog, GOING), ['D:\\photos']);
});

test('the Del key asks about what is marked, or else about the active item', needs('drives'), async (t) => {
  const { folder: place, tab } = await scanned(t, { 'films/a.mkv': 70 * MiB, 'films/b.mkv': 60 * MiB, 'two/1.dat': 'same', 'two/2.dat': 'same' });
  const dialog = tab.getByRole('dialog', { name: 'Delete' });
  const asked = async (...names) => {
    await becomes(() => pathsIn(dialog, GOING).then((texts) => texts.map((text) => text.split('\\').at(-1))), names);
    await tab.keyboard.press('Escape');
    await dialog.waitFor({ state: 'detached' });
  };
  const tree = await folders(tab);
  await tree.press('Delete');
  assert.equal(await dialog.count(), 0, 'not the root of the scan');
  await row(tree, 'films').first().click();
  await tree.press('Delete');
  await asked('films');
  await tree.press('ArrowRight');
  await row(tree, 'b.mkv').waitFor();
  await mark(tree, 'b.mkv');
  await row(tree, 'a.mkv').click();
  await tree.press('Delete');
  await asked('b.mkv');
  await goTo(tab, 'types', 'Types');
  await tab.getByRole('grid', { name: 'Large files of this type' }).press('Delete');
  await asked('b.mkv');
  await tab.getByRole('button', { name: 'Clear selection' }).click();
  await goTo(tab, 'map', 'Map');
  await tab.getByRole('option', { name: /^a.mkv/ }).waitFor();
  await tab.getByRole('listbox').press('ArrowRight');
  await tab.getByRole('listbox').press('Delete');
  await asked('a.mkv');
  // Where copies are compared, only what is marked: one of them must stay.
  await goTo(tab, 'across', 'Duplicates');
  await tab.getByLabel('At least (MB)').fill('0');
  await tab.getByRole('button', { name: 'Search for duplicates' }).click();
  const grid = tab.getByRole('grid', { name: 'Groups of equal files' });
  await row(grid, '1.dat').click();
  await grid.press('Delete');
  assert.equal(await tab.getByRole('dialog').count(), 0);
  await mark(grid, '1.dat');
  await grid.press('Shift+Delete');
  await becomes(() => dialog.getByLabel('Delete permanently').isChecked(), true);
  await asked('1.dat');
  await find(tab, '1.dat', '1 file found');
  const hits = tab.getByRole('grid');
  for (const press of [() => row(hits, '1.dat').click(), () => mark(hits, '1.dat')]) {
    await press();
    await hits.press('Shift+Delete');
    await becomes(() => dialog.getByLabel('Delete permanently').isChecked(), true);
    await asked('1.dat');
  }
  assert.deepEqual(fs.readdirSync(`${place}/two`), ['1.dat', '2.dat']);
});

test('the searches list the scans that there are, and leave out the same ones when those are made again', needs('drives'), async (t) => {
  const server = await serve(t, [], wine);
  const tab = await openTab(t);
  await tab.goto(server.base);
  await scan(tab, 'D:\\');
  await goTo(tab, 'find', 'Find files');
  const choices = tab.getByRole('group', { name: 'In these scans' });
  const listed = async () => (await choices.getByRole('checkbox').evaluateAll((boxes) => boxes.map((box) => [box.closest('label').innerText, box.checked]))).sort();
  await becomes(listed, [['D:\\', true]]);
  await server.post('/api/scan', { path: 'E:\\', kind: 'drive', label: 'E:\\' });
  await tab.getByLabel('Name').fill('iso');
  await tab.keyboard.press('F5');
  await becomes(listed, [['D:\\', true], ['E:\\', true]]);
  assert.equal(await tab.getByLabel('Name').inputValue(), 'iso');
  await choices.getByLabel('D:').uncheck();
  await tab.keyboard.press('F5');
  await becomes(async () => (await server.json('/api/jobs')).body.map(({ path, id, state }) => [path, id, state]), [['E:\\', 2, 'done'], ['D:\\', 4, 'done']]);
  await becomes(listed, [['D:\\', false], ['E:\\', true]]);
  await tab.getByLabel('Name').press('Enter');
  await says(tab.getByRole('main'), '1 file found');
});
