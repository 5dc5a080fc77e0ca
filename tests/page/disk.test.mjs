// From a full disk to a less full one: scanning, finding and deleting on two drives, in the browser, with
// a look at the disk, the recycle bin and the deletion log after each step. Each test goes on where the
// one before it ended.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, test } from 'node:test';
import { goTo, mark, openDialog, openTab, requestsOf, row, rowsOf, says, scan } from './support/browser.mjs';
import { serve } from '../system/support/server.mjs';
import { makeFiles, ownWine, scratch } from '../system/support/vorda.mjs';

const MiB = 2 ** 20;
const ends = [];
after(async () => { for (const end of ends) await end(); });
const here = { after: (end) => ends.unshift(end) };
const folder = scratch(here);
const [d, e] = [`${folder}/d`, `${folder}/e`];
const content = (letter, size = 3) => letter.repeat(size * MiB);
makeFiles(d, {
  'Windows/Temp/setup.log': 1200 * MiB, 'Windows/Temp/left over/x.tmp': 5 * MiB, 'Windows/win.ini': 'x',
  'Photos/2019/a.raw': 70 * MiB, 'Photos/2019/b.raw': 60 * MiB, 'Photos/2020/c.raw': 80 * MiB, 'Photos/note.txt': 'abc', 'Films/film.mkv': 300 * MiB,
  'Copies/one.bin': content('x'), 'Copies/two.bin': content('x'), 'Copies/even.bin': content('o', 2), 'Copies/odd.bin': content('o', 2),
});
makeFiles(e, { 'Backup/three.bin': content('x'), 'Backup/list.txt': 'x' });
for (let i = 0; i < 20_003; ++i) {
  if (i % 1000 === 0) fs.mkdirSync(`${d}/Many/${i / 1000}`, { recursive: true });
  fs.writeFileSync(`${d}/Many/${Math.floor(i / 1000)}/file${String(i).padStart(5, '0')}.dat`, 'x');
}
makeFiles(`${folder}/share`, { 'archive/a.iso': 60 * MiB, 'new.txt': 'n' });
const wine = await ownWine(here, { 'd:': d, 'e:': e });
fs.mkdirSync(`${wine.env.VORDA_WINEPREFIX}/dosdevices/unc/nas`, { recursive: true });
fs.symlinkSync(`${folder}/share`, `${wine.env.VORDA_WINEPREFIX}/dosdevices/unc/nas/public`);
const trash = `${wine.env.VORDA_XDG_DATA_HOME}/Trash/files`;
const server = await serve(here, [], wine);
const ask = async (path) => (await server.json(path)).body;
const { logPath } = await ask('/api/targets');
const lastLogged = () => fs.readFileSync(fs.realpathSync(`${wine.env.VORDA_WINEPREFIX}/dosdevices/c:`) + logPath.slice(2).replaceAll('\\', '/'), 'utf8').split('\r\n').at(-2).slice(21);
const namesIn = (path) => fs.readdirSync(path).sort();
const allFiles = () => fs.readdirSync(d, { recursive: true, withFileTypes: true }).filter((one) => one.isFile());
const focused = (tab) => tab.evaluate(() => document.activeElement.getAttribute('role') ?? document.activeElement.innerText);
const cut = (sent, dryrun) => sent.filter((body) => body.has('dryrun') === dryrun).map((body) => [body.get('job'), ...body.getAll('p')]).sort();

async function at(t, section, title) {
  const tab = await openTab(t);
  await tab.goto(`${server.base}/#${section}`);
  await tab.getByRole('heading', { level: 1, name: title }).waitFor();
  return tab;
}

// Deletes for good what the open dialog shows, and returns what it says afterwards.
async function confirm(dialog) {
  await dialog.getByLabel('Delete permanently').check();
  await dialog.getByRole('textbox').fill('DELETE');
  await dialog.getByRole('button', { name: /permanently$/ }).click();
  await dialog.getByRole('button', { name: 'Close' }).waitFor();
  const words = await dialog.locator('.answer').innerText();
  await dialog.getByRole('button', { name: 'Close' }).click();
  return words;
}

test('a drive is scanned; scanning it again replaces the old scan, however it is spelled', async (t) => {
  const tab = await at(t, '', 'What do you want to scan?');
  await scan(tab, 'd:');
  const files = allFiles();
  const bytes = files.reduce((sum, one) => sum + fs.statSync(`${one.parentPath ?? one.path}/${one.name}`).size, 0);
  const facts = (jobs) => jobs.map((job) => [job.path, job.kind, job.files, job.bytes]);
  const [old] = await ask('/api/jobs');
  assert.deepEqual(facts([old]), [['d:', 'drive', files.length, bytes]]);
  await scan(tab, 'D:\\');
  assert.deepEqual(facts(await ask('/api/jobs')), [['D:\\', 'drive', files.length, bytes]]);
  assert.deepEqual(await ask(`/api/result?id=${old.id}`), { error: 'opdracht onbekend' });
  assert.equal(await tab.getByRole('list', { name: 'Scans' }).getByRole('listitem').count(), 1);
  await says(tab, 'Most of the space is in Windows: 1.18 GB, 70% of what was scanned.');
  await tab.getByRole('button', { name: 'Films', exact: true }).click();
  const tree = tab.getByRole('treegrid');
  await row(tree, 'Many').waitFor();
  assert.deepEqual((await rowsOf(tree)).map((cells) => [cells[1], cells[2]]), [['D:\\', '1.68 GB'], ['Windows', '1.18 GB'],
    ['Films', '300 MB'], ['film.mkv', '300 MB'], ['Photos', '210 MB'], ['Copies', '10.0 MB'], ['Many', '19.5 KB']]);
  await goTo(tab, 'map', 'Map');
  await says(tab.getByRole('complementary', { name: 'Details' }), 'D:\\Films');
  await tab.getByRole('link', { name: 'D:\\' }).click();
  await tab.getByRole('option', { name: 'Windows, 1.18 GB, 70%' }).waitFor();
});

test('into the bin, and for good once the word is typed', async (t) => {
  const tab = await at(t, 'explorer', 'Folders');
  const sent = requestsOf(tab, '/api/delete');
  const tree = tab.getByRole('treegrid');
  await row(tree, 'Photos').click();
  await tree.press('ArrowRight');
  await row(tree, '2019').click();
  await tree.press('ArrowRight');
  await mark(tree, 'a.raw');
  await says(tab, '1 item marked, 70.0 MB');
  const dialog = await openDialog(tab);
  await says(dialog, '1 item would go, 70.0 MB.');
  await says(dialog, 'D:\\Photos\\2019\\a.raw');
  await says(dialog, logPath);
  assert.deepEqual([await focused(tab), cut(sent, true).length, namesIn(`${d}/Photos/2019`)], ['Cancel', 1, ['a.raw', 'b.raw']]);
  await dialog.getByRole('button', { name: 'Move 1 item (70.0 MB) to the recycle bin' }).click();
  await says(dialog, '1 item moved to the recycle bin, 70.0 MB.');
  await dialog.getByRole('button', { name: 'Close' }).click();
  assert.deepEqual([namesIn(`${d}/Photos/2019`), namesIn(trash), lastLogged()], [['b.raw'], ['a.raw'], 'prullenbak  73400320  D:\\Photos\\2019\\a.raw']);
  await row(tree, 'a.raw').waitFor({ state: 'detached' });
  assert.equal(await focused(tab), 'treegrid');

  await row(tree, '2020').click();
  await tree.press('ArrowRight');
  await mark(tree, 'c.raw');
  await openDialog(tab);
  await dialog.getByLabel('Delete permanently').check();
  const [typed, go] = [dialog.getByRole('textbox'), dialog.getByRole('button', { name: 'Delete 1 item (80.0 MB) permanently' })];
  for (const text of ['', 'DELET', 'delete!', 'VERWIJDER']) {
    await typed.fill(text);
    assert.ok(await go.isDisabled(), text);
    await typed.press('Enter');
  }
  assert.deepEqual([cut(sent, false).length, namesIn(`${d}/Photos/2020`)], [1, ['c.raw']]);
  await typed.fill('');
  await tab.keyboard.insertText('  delete '); // as pasting does
  await typed.press('Enter');
  await says(dialog, '1 item deleted, 80.0 MB freed.');
  await dialog.getByRole('button', { name: 'Close' }).click();
  assert.deepEqual([namesIn(`${d}/Photos/2020`), namesIn(trash), lastLogged()], [[], ['a.raw'], 'definitief  83886080  D:\\Photos\\2020\\c.raw']);
  await row(tree, 'Photos').filter({ hasText: '60.0 MB' }).waitFor();
});

test('a refusal says why, and what is refused stays', async (t) => {
  const tab = await at(t, 'explorer', 'Folders');
  const sent = requestsOf(tab, '/api/delete');
  const tree = tab.getByRole('treegrid');
  const details = tab.getByRole('complementary', { name: 'Details' });
  await mark(tree, 'Windows');
  await row(tree, 'Photos').click();
  await details.getByLabel('note.txt').check();
  const dialog = await openDialog(tab);
  await says(dialog, '1 item would go, 3 B.');
  await says(dialog, '1 item stays:');
  await says(dialog, 'D:\\Windows (belongs to Windows)');
  await tab.keyboard.press('Escape');
  await mark(tree, 'Windows');
  fs.renameSync(`${d}/Photos/note.txt`, `${folder}/note.txt`);
  await openDialog(tab);
  await says(dialog, 'D:\\Photos\\note.txt (no longer there)');
  fs.renameSync(`${folder}/note.txt`, `${d}/Photos/note.txt`);
  assert.deepEqual([await dialog.getByRole('button').allInnerTexts(), cut(sent, true).length, cut(sent, false)], [['Close'], 2, []]);
});

test('of 20,000 files found, three go', async (t) => {
  const tab = await at(t, 'find', 'Find files');
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
  assert.equal(await grid.getAttribute('aria-rowcount'), '20001');
  assert.ok(await tab.locator('*').count() < 1500, 'only the rows in view are there');
  const names = (await rowsOf(grid)).slice(0, 5).map((cells) => cells[1]);
  await grid.focus();
  for (const key of ['Space', 'ArrowDown', 'ArrowDown', 'Space', 'Shift+ArrowDown']) await tab.keyboard.press(key);
  await says(tab, '3 items marked, 3 B');
  await tab.getByLabel('Filter').fill(names[0]);
  await says(tab, '2 of them are hidden by the filter');
  await tab.getByLabel('Filter').fill('');
  assert.equal(await confirm(await openDialog(tab)), '3 items deleted, 3 B freed.');
  const left = new Set(allFiles().map((one) => one.name).filter((name) => name.startsWith('file')));
  assert.deepEqual([left.size, names.map((name) => left.has(name))], [20_000, [false, true, false, false, true]]);
  assert.deepEqual([await grid.getAttribute('aria-rowcount'), (await rowsOf(grid))[0][1]], ['19998', names[1]]);
});

test('duplicates on two drives: one copy stays, the others go once compared again, scan by scan', async (t) => {
  const tab = await at(t, '', 'Overview');
  const sent = requestsOf(tab, '/api/delete');
  await scan(tab, 'E:\\');
  await says(tab, 'There are 3.00 MB in E:\\, mostly in smaller folders.');
  const [first, second] = (await ask('/api/jobs')).map((job) => String(job.id));
  await goTo(tab, 'across', 'Duplicates');
  await tab.getByRole('button', { name: 'Search for duplicates' }).click();
  await says(tab.getByRole('main'), '2 groups found, 8.00 MB could be freed');
  const grid = tab.getByRole('grid', { name: 'Groups of equal files' });
  await tab.getByLabel('Keep in each group').selectOption('the first by path');
  await tab.getByRole('button', { name: 'Mark the others' }).click();
  await says(tab, '3 items marked, 8.00 MB');
  await mark(grid, 'one.bin');
  await says(tab.locator('.toasts'), 'One copy of each group always stays.');
  await says(tab, '3 items marked, 8.00 MB');
  fs.writeFileSync(`${d}/Copies/odd.bin`, content('p', 2));
  const dialog = await openDialog(tab, 'Compare and delete');
  await says(tab, '1 file is no longer equal to one that stays, and is left alone.');
  await says(dialog, '2 items would go, 6.00 MB.');
  assert.equal(await confirm(dialog), '2 items deleted, 6.00 MB freed.');
  const wanted = [[first, 'D:\\Copies\\two.bin'], [second, 'E:\\Backup\\three.bin']];
  assert.deepEqual([cut(sent, true), cut(sent, false)], [wanted, wanted]);
  assert.deepEqual([namesIn(`${d}/Copies`), namesIn(`${e}/Backup`)], [['even.bin', 'odd.bin', 'one.bin'], ['list.txt']]);
  assert.equal(await row(grid, 'one.bin').count(), 0, 'what has no equal any more is no group');
});

test('temporary files are emptied, then the bin', async (t) => {
  const tab = await at(t, '', 'Overview');
  await tab.getByRole('list', { name: 'Scans' }).getByRole('button', { name: /^D:/ }).click();
  await goTo(tab, 'advice', 'Advice');
  const card = tab.getByRole('article', { name: 'Temporary files' });
  await says(card, 'D:\\Windows\\Temp');
  assert.equal(await card.getByRole('checkbox').count(), 0, 'emptied as a whole or not at all');
  await card.getByRole('button', { name: 'Empty these folders' }).click();
  const dialog = tab.getByRole('dialog');
  assert.equal(await focused(tab), 'Cancel');
  await dialog.getByRole('button', { name: 'Empty these folders' }).click();
  await says(dialog, '2 items deleted, 1.18 GB freed.');
  await dialog.getByRole('button', { name: 'Close' }).click();
  assert.deepEqual([namesIn(`${d}/Windows/Temp`), namesIn(`${d}/Windows`)], [[], ['Temp', 'win.ini']]);
  assert.equal(lastLogged(), 'LEEGGEMAAKT  1263534080  D:\\Windows\\Temp  (2 weg, 0 overgeslagen)');
  await says(tab, 'Nothing stands out in this scan.');

  await goTo(tab, 'overview', 'Overview');
  const binned = tab.getByText('Of it in the recycle bin since the scan');
  await binned.waitFor();
  await tab.getByRole('button', { name: 'Empty the recycle bin' }).click();
  assert.deepEqual(namesIn(trash), ['a.raw'], 'asking touches nothing');
  await dialog.getByRole('button', { name: 'Empty the recycle bin' }).click();
  await says(dialog, 'Recycle bin emptied: 1 item, 70.0 MB.');
  await dialog.getByRole('button', { name: 'Close' }).click();
  await binned.waitFor({ state: 'detached' });
  assert.deepEqual(namesIn(trash), []);
});

test('on a share, where there is no bin, what goes is gone, and the dialog says so', async (t) => {
  const tab = await at(t, '', 'Overview');
  await scan(tab, '\\\\nas\\public');
  await goTo(tab, 'explorer', 'Folders');
  await mark(tab.getByRole('treegrid'), 'archive');
  const dialog = await openDialog(tab);
  await says(dialog, '1 item lies where there is no recycle bin. It would be gone for good:');
  assert.equal(await dialog.getByText('Move to the recycle bin').isVisible(), false);
  await dialog.getByRole('textbox').fill('DELETE');
  await dialog.getByRole('button', { name: 'Delete 1 item (60.0 MB) permanently' }).click();
  await says(dialog, '1 item deleted, 60.0 MB freed.');
  assert.deepEqual([namesIn(`${folder}/share`), namesIn(trash), lastLogged()], [['new.txt'], [], 'definitief  62914560  \\\\nas\\public\\archive']);
  await dialog.getByRole('button', { name: 'Close' }).click();
  await tab.getByRole('button', { name: 'Remove the scan of \\\\nas\\public' }).click();
  await tab.getByRole('list', { name: 'Scans' }).getByText('nas').waitFor({ state: 'detached' });
});

test('a removed scan takes its hits, their marks and the focus along', async (t) => {
  const tab = await at(t, 'types', 'Types');
  await tab.getByRole('button', { name: '.txt', exact: true }).click();
  await tab.getByRole('button', { name: 'Find all of this type' }).click();
  await says(tab.getByRole('main'), '2 files found');
  await tab.getByRole('grid').focus();
  await tab.keyboard.press('Control+a');
  await says(tab, '2 items marked');
  await tab.getByRole('button', { name: 'Remove the scan of E:\\' }).press('Enter');
  await says(tab, '1 item marked, 3 B');
  assert.deepEqual([(await ask('/api/jobs')).map((job) => job.path), await focused(tab)], [['D:\\'], 'D:\\\n367 MB']);
  await tab.getByRole('button', { name: 'Remove the scan of D:\\' }).press('Enter');
  await says(tab, 'Nothing to search yet');
  assert.deepEqual([await ask('/api/jobs'), await focused(tab)], [[], 'Find files']);
});
