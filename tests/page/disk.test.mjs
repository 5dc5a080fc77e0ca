// Scanning, finding and deleting on a machine with two drives and a share, in the browser, followed by a
// look at the disk, the recycle bin and the deletion log.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { becomes, GOING, goTo, mark, MiB, openDialog, pathsIn, row, rowsOf, says, settled } from './support/browser.mjs';
import { machine } from './support/machine.mjs';
import { needs } from '../system/support/home.mjs';

const content = (letter, size = 3) => letter.repeat(size * MiB);
const PHOTOS = { 'Photos/2019/a.raw': 70 * MiB, 'Photos/2019/b.raw': 60 * MiB, 'Photos/2020/c.raw': 80 * MiB, 'Photos/note.txt': 'abc' };
const TEMP = { 'Windows/Temp/setup.log': 1200 * MiB, 'Windows/Temp/left over/x.tmp': 5 * MiB, 'Windows/win.ini': 'x' };

const namesIn = (path) => fs.readdirSync(path).sort();
const allFiles = (path) => fs.readdirSync(path, { recursive: true, withFileTypes: true }).filter((one) => one.isFile());
const focused = (tab) => tab.evaluate(() => document.activeElement.getAttribute('role') ?? document.activeElement.innerText);
const pathsSent = (sent, dryrun) => sent.filter((body) => body.has('dryrun') === dryrun).map((body) => [body.get('job'), ...body.getAll('p')]).sort();

// Permanently deletes what the open dialog shows, and returns what it says afterwards.
async function confirm(dialog) {
  await dialog.getByLabel('Delete permanently').check();
  await dialog.getByRole('textbox').fill('DELETE');
  await dialog.getByRole('button', { name: /permanently$/ }).click();
  await dialog.getByRole('button', { name: 'Close' }).waitFor();
  const words = await dialog.locator('.answer').innerText();
  await dialog.getByRole('button', { name: 'Close' }).click();
  return words;
}

test('moving to the bin, and deleting permanently once the word is typed', needs('prefixes'), async (t) => {
  const { tab, tree, sent, d, trash, logPath, lastLogged } = await machine(t, { d: PHOTOS, section: 'explorer', title: 'Folders' });
  await row(tree, 'Photos').click();
  await tree.press('*');
  await mark(tree, 'a.raw');
  await says(tab, '1 item selected, 70.0 MB');
  const dialog = await openDialog(tab);
  await says(dialog, '1 item will be deleted, 70.0 MB.');
  await says(dialog, 'This frees 0 B at most.'); // a file that is all hole
  assert.deepEqual(await pathsIn(dialog, GOING), ['D:\\Photos\\2019\\a.raw']);
  await says(dialog, logPath);
  await becomes(() => focused(tab), 'Cancel');
  assert.deepEqual([pathsSent(sent, true).length, namesIn(`${d}/Photos/2019`)], [1, ['a.raw', 'b.raw']]);
  await dialog.getByRole('button', { name: 'Move 1 item (70.0 MB) to the recycle bin' }).click();
  await says(dialog, '1 item moved to the recycle bin, 70.0 MB.');
  await dialog.getByRole('button', { name: 'Close' }).click();
  assert.deepEqual([namesIn(`${d}/Photos/2019`), namesIn(trash), lastLogged()], [['b.raw'], ['a.raw'], 'prullenbak  73400320  D:\\Photos\\2019\\a.raw']);
  await row(tree, 'a.raw').waitFor({ state: 'detached' });
  await becomes(() => focused(tab), 'treegrid');

  await mark(tree, 'c.raw');
  await openDialog(tab);
  await dialog.getByLabel('Delete permanently').check();
  const [typed, go] = [dialog.getByRole('textbox'), dialog.getByRole('button', { name: 'Delete 1 item (80.0 MB) permanently' })];
  for (const text of ['', 'DELET', 'delete!', 'VERWIJDER']) {
    await typed.fill(text);
    assert.ok(await go.isDisabled(), text);
    await typed.press('Enter');
  }
  assert.deepEqual([pathsSent(sent, false).length, namesIn(`${d}/Photos/2020`)], [1, ['c.raw']]);
  await typed.fill('');
  await tab.keyboard.insertText('  delete '); // like pasting
  await typed.press('Enter');
  await says(dialog, '1 item deleted permanently, 80.0 MB.');
  await dialog.getByRole('button', { name: 'Close' }).click();
  assert.deepEqual([namesIn(`${d}/Photos/2020`), namesIn(trash), lastLogged()], [[], ['a.raw'], 'definitief  83886080  D:\\Photos\\2020\\c.raw']);
  await row(tree, 'Photos').filter({ hasText: '60.0 MB' }).waitFor();
});

test('the dialog promises what comes back, and says what the drive gained', needs('prefixes'), async (t) => {
  const three = 'x'.repeat(3 * MiB);
  const { tab, tree } = await machine(t, { d: { 'films/one.bin': three, 'music/two.bin': three, 'x': 'x' }, names: { 'films/two.bin': 'music/two.bin' }, section: 'explorer', title: 'Folders' });
  await mark(tree, 'films');
  const dialog = await openDialog(tab);
  await says(dialog, '1 item will be deleted, 2 files, 6.00 MB.');
  await says(dialog, 'This frees 3.00 MB at most. 3.00 MB stays in use: it has other names elsewhere.');
  await says(dialog, /^Free afterwards: D: /);
  await dialog.getByLabel('Delete permanently').check();
  await dialog.getByRole('textbox').fill('DELETE');
  await dialog.getByRole('button', { name: /permanently$/ }).click();
  await says(dialog, /^The drive (has [\d.]+ MB more|does not have more) free space than before\.$/); // others use it too
});

test('refused items stay, and the dialog says why', needs('prefixes'), async (t) => {
  const { tab, tree, sent, d, folder } = await machine(t, { d: { ...TEMP, ...PHOTOS }, section: 'explorer', title: 'Folders' });
  const details = tab.getByRole('complementary', { name: 'Details' });
  await mark(tree, 'Windows');
  await row(tree, 'Photos').click();
  await details.getByLabel('note.txt').check();
  const dialog = await openDialog(tab);
  await says(dialog, '1 item will be deleted, 3 B.');
  await says(dialog, '1 item stays:');
  assert.deepEqual(await rowsOf(dialog.getByRole('grid', { name: '1 item stays:' })), [['Windows', 'belongs to Windows', 'D:\\']]);
  await tab.keyboard.press('Escape');
  await mark(tree, 'Windows');
  fs.renameSync(`${d}/Photos/note.txt`, `${folder}/note.txt`);
  await openDialog(tab);
  await says(dialog, 'no longer there');
  fs.renameSync(`${folder}/note.txt`, `${d}/Photos/note.txt`);
  assert.deepEqual([await dialog.getByRole('button').allInnerTexts(), pathsSent(sent, true).length, pathsSent(sent, false)], [['Close'], 2, []]);
});

test('what changes while the confirmation is open stays, and the dialog says so', needs('prefixes'), async (t) => {
  const { tab, tree, d } = await machine(t, { d: { ...PHOTOS, 'Copies/one.bin': content('x'), 'Copies/two.bin': content('x') }, section: 'explorer', title: 'Folders' });
  await mark(tree, 'Photos');
  const dialog = await openDialog(tab);
  fs.writeFileSync(`${d}/Photos/2019/new.raw`, 'nobody saw this');
  await dialog.getByRole('button', { name: /recycle bin$/ }).click();
  await says(dialog, 'changed since you saw it, so it stays');
  assert.deepEqual(await pathsIn(dialog, 'What stays, and why'), ['D:\\Photos']);
  await dialog.getByRole('button', { name: 'Close' }).click();
  assert.deepEqual(namesIn(`${d}/Photos/2019`), ['a.raw', 'b.raw', 'new.raw']);

  await goTo(tab, 'across', 'Duplicates');
  await tab.getByRole('button', { name: 'Search for duplicates' }).click();
  await tab.getByLabel('Keep in each group').selectOption('the first by path');
  await tab.getByRole('button', { name: 'Select the others' }).click();
  await openDialog(tab, 'Compare and delete');
  fs.writeFileSync(`${d}/Copies/one.bin`, content('y')); // the one that stays
  assert.equal(await confirm(dialog), 'Nothing was deleted.');
  assert.deepEqual(namesIn(`${d}/Copies`), ['one.bin', 'two.bin']);
});

test('three of 20,000 hits are deleted', needs('prefixes'), async (t) => {
  const many = Object.fromEntries(Array.from({ length: 20_003 }, (_, i) => [`${Math.floor(i / 1000)}/file${String(i).padStart(5, '0')}.dat`, 'x']));
  const { tab, d } = await machine(t, { d: many, section: 'find', title: 'Find files' });
  await tab.getByRole('button', { name: 'Find', exact: true }).click();
  await says(tab, 'Enter a name, an extension or a size');
  await tab.getByLabel('Name', { exact: true }).fill('file*.dat');
  await tab.getByLabel('Order').selectOption('Oldest first');
  await tab.keyboard.press('Tab');
  await tab.keyboard.press('Enter');
  await says(tab.getByRole('main'), '20,003 files found');
  await says(tab, '20,000 of 20,003 shown');
  const grid = tab.getByRole('grid', { name: 'Files found' });
  await tab.getByRole('button', { name: 'Sort by Name' }).click();
  await becomes(() => grid.getAttribute('aria-rowcount'), '20001');
  await settled(tab);
  const names = (await rowsOf(grid)).slice(0, 5).map((cells) => cells[1]);
  for (const key of ['End', 'PageUp', 'Control+a', 'Home']) {
    await grid.press(key);
    await settled(tab);
    const nodes = await tab.evaluate(() => document.evaluate('count(//node())', document).numberValue);
    assert.ok(nodes <= 1500, `${nodes} nodes after ${key}`);
  }
  await says(tab, '20,000 items selected');
  await tab.getByRole('button', { name: 'Clear selection' }).click();
  await grid.focus();
  for (const key of ['Space', 'ArrowDown', 'ArrowDown', 'Space', 'Shift+ArrowDown']) await tab.keyboard.press(key);
  await says(tab, '3 items selected, 3 B');
  await tab.getByLabel('Filter').fill(names[0]);
  await says(tab, '2 of them are hidden by the filter');
  await tab.getByLabel('Filter').fill('');
  assert.equal(await confirm(await openDialog(tab)), '3 items deleted permanently, 3 B.');
  const left = new Set(allFiles(d).map((one) => one.name));
  assert.deepEqual([left.size, names.map((name) => left.has(name))], [20_000, [false, true, false, false, true]]);
  await becomes(async () => [await grid.getAttribute('aria-rowcount'), (await rowsOf(grid))[0]?.[1]], ['19998', names[1]]);
});

test('duplicates on two drives: one copy stays, the others are compared again and deleted', needs('prefixes'), async (t) => {
  const { tab, sent, ask, d, e } = await machine(t, {
    d: { 'Copies/one.bin': content('x'), 'Copies/two.bin': content('x'), 'Copies/even.bin': content('o', 2), 'Copies/odd.bin': content('o', 2) },
    e: { 'Backup/three.bin': content('x'), 'Backup/list.txt': 'x' }, scans: ['D:\\', 'E:\\'],
  });
  const [first, second] = (await ask('/api/jobs')).map((job) => String(job.id));
  await goTo(tab, 'across', 'Duplicates');
  await tab.getByRole('button', { name: 'Search for duplicates' }).click();
  await says(tab.getByRole('main'), '2 groups found, 8.00 MB could be freed');
  const grid = tab.getByRole('grid', { name: 'Groups of equal files' });
  await tab.getByLabel('Keep in each group').selectOption('the first by path');
  await tab.getByRole('button', { name: 'Select the others' }).click();
  await says(tab, '3 items selected, 8.00 MB');
  await mark(grid, 'one.bin');
  await says(tab.locator('.toasts'), 'One copy of each group always stays.');
  await says(tab, '3 items selected, 8.00 MB');
  fs.writeFileSync(`${d}/Copies/odd.bin`, content('p', 2));
  const dialog = await openDialog(tab, 'Compare and delete');
  await says(tab, '1 file is no longer equal to one that stays, and is left alone.');
  await says(dialog, '2 items will be deleted, 6.00 MB.');
  assert.equal(await confirm(dialog), '2 items deleted permanently, 6.00 MB.');
  const wanted = [[first, 'D:\\Copies\\two.bin'], [second, 'E:\\Backup\\three.bin']];
  assert.deepEqual([pathsSent(sent, true), pathsSent(sent, false)], [wanted, wanted]);
  assert.deepEqual([namesIn(`${d}/Copies`), namesIn(`${e}/Backup`)], [['even.bin', 'odd.bin', 'one.bin'], ['list.txt']]);
  await becomes(() => row(grid, 'one.bin').count(), 0, 'a file without an equal is in no group');
});

test('emptying temporary folders, then the recycle bin', needs('prefixes'), async (t) => {
  const { tab, server, d, trash, lastLogged } = await machine(t, { d: { ...TEMP, 'a.raw': 70 * MiB }, section: 'largest', title: 'Largest files' });
  await server.post('/api/delete', { p: 'D:\\a.raw', job: '1', permanent: '0' });
  await mark(tab.getByRole('grid'), 'setup.log');
  await goTo(tab, 'advice', 'Advice');
  const marked = tab.getByText('1 item selected');
  await marked.waitFor();
  const card = tab.getByRole('article', { name: 'Temporary files' });
  await says(card, 'D:\\Windows\\Temp');
  assert.deepEqual([await card.getByRole('checkbox').count(), await card.locator('[href="#i-lock"]').count()], [0, 0], 'emptied as a whole, and not locked');
  await card.getByRole('button', { name: 'Empty these folders' }).click();
  const dialog = tab.getByRole('dialog');
  await becomes(() => focused(tab), 'Cancel');
  await says(dialog, '2 items will be deleted, 1.18 GB.');
  assert.deepEqual(await rowsOf(dialog.getByRole('grid')), [['Temp', 'D:\\Windows', '1.18 GB', '2 files', '']]);
  await dialog.getByRole('button', { name: 'Delete 2 items (1.18 GB) permanently' }).click();
  await says(dialog, 'Temporary files: 2 items deleted, 1.18 GB freed.');
  await dialog.getByRole('button', { name: 'Close' }).click();
  assert.deepEqual([namesIn(`${d}/Windows/Temp`), namesIn(`${d}/Windows`)], [[], ['Temp', 'win.ini']]);
  assert.equal(lastLogged(), 'LEEGGEMAAKT  1263534080  D:\\Windows\\Temp  (2 weg, 0 overgeslagen)');
  await says(tab, 'Nothing stands out in this scan.');
  await marked.waitFor({ state: 'hidden' });

  await goTo(tab, 'overview', 'Overview');
  const binned = tab.getByText('Of it in the recycle bin since the scan');
  await binned.waitFor();
  await tab.getByRole('button', { name: 'Empty the recycle bin' }).click();
  await says(dialog, '1 item will be deleted, 70.0 MB.');
  assert.deepEqual(namesIn(trash), ['a.raw'], 'nothing happens before the confirmation');
  await dialog.getByRole('button', { name: 'Delete 1 item (70.0 MB) permanently' }).click();
  await says(dialog, 'Recycle bin emptied: 1 item, 70.0 MB.');
  await dialog.getByRole('button', { name: 'Close' }).click();
  await binned.waitFor({ state: 'detached' });
  assert.deepEqual(namesIn(trash), []);
});

test('on a share, which has no bin, only permanent deletion is offered', needs('prefixes'), async (t) => {
  const { tab, tree, folder, trash, lastLogged } = await machine(t, { share: { 'archive/a.iso': 60 * MiB, 'new.txt': 'n' }, scans: ['\\\\nas\\public'], section: 'explorer', title: 'Folders' });
  await mark(tree, 'archive');
  const dialog = await openDialog(tab);
  await says(dialog, '1 item lies where there is no recycle bin. It will be deleted permanently.');
  assert.equal(await dialog.getByText('Move to the recycle bin').isVisible(), false);
  await dialog.getByRole('textbox').fill('DELETE');
  await dialog.getByRole('button', { name: 'Delete 1 item (1 file, 60.0 MB) permanently' }).click();
  await says(dialog, '1 item deleted permanently, 60.0 MB.');
  assert.deepEqual([namesIn(`${folder}/share`), fs.existsSync(trash) ? namesIn(trash) : [], lastLogged()], [['new.txt'], [], 'definitief  62914560  \\\\nas\\public\\archive']);
  await dialog.getByRole('button', { name: 'Close' }).click();
  await tab.getByRole('button', { name: 'Close the scan of \\\\nas\\public' }).click();
  await tab.getByRole('list', { name: 'Scans' }).getByText('nas').waitFor({ state: 'detached' });
});

test('removing a scan removes its hits and their marks, and moves the focus', needs('prefixes'), async (t) => {
  const { tab, ask } = await machine(t, { d: { 'Photos/note.txt': 'abc', 'b.raw': 60 * MiB }, e: { 'list.txt': 'x' }, scans: ['E:\\', 'D:\\'], section: 'types', title: 'Types' });
  await row(tab.getByRole('grid', { name: 'Types' }), '.txt').click();
  await tab.getByRole('button', { name: 'Find all of this type' }).click();
  await says(tab.getByRole('main'), '2 files found');
  await tab.getByRole('grid').press('Control+a');
  await says(tab, '2 items selected');
  await tab.getByRole('button', { name: 'Close the scan of E:\\' }).press('Enter');
  await says(tab, '1 item selected, 3 B');
  await becomes(() => focused(tab), 'D:\\\n60.0 MB');
  assert.deepEqual((await ask('/api/jobs')).map((job) => job.path), ['D:\\']);
  await tab.getByRole('button', { name: 'Close the scan of D:\\' }).press('Enter');
  await says(tab, 'Nothing to search yet');
  await becomes(() => focused(tab), 'Find files');
  assert.deepEqual(await ask('/api/jobs'), []);
});
