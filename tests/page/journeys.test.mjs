// What people do with the page, from start to end, with the disk looked at afterwards.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import http from 'node:http';
import { test } from 'node:test';
import { goTo, openDialog, openTab, scanned } from './support/browser.mjs';
import { serve, until } from '../system/support/server.mjs';
import { makeFiles, readCsv, scratch, startSilent, winPath } from '../system/support/vorda.mjs';

const MiB = 2 ** 20;
const requestsOf = (tab, path) => {
  const bodies = [];
  tab.on('request', (request) => {
    if (new URL(request.url()).pathname === path) bodies.push(new URLSearchParams(request.postData() ?? ''));
  });
  return bodies;
};

test('a first scan: picked, followed, looked at; scanning again replaces it', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'films/a.mkv': 300 * MiB, 'films/b.txt': 'b', 'small/c.txt': 'c', 'd.iso': 70 * MiB });
  const { base, json } = await serve(t);
  const tab = await openTab(t);
  await tab.goto(base);
  await tab.getByLabel('Path of a folder').fill(winPath(folder));
  await tab.getByRole('button', { name: 'Scan folder' }).click();
  await tab.getByRole('heading', { name: 'Overview' }).waitFor();
  assert.match(await tab.locator('.answer').innerText(), /Most of the space is in films: 300 MB, 81% of what was scanned\./);
  assert.equal(new URL(tab.url()).hash, '#overview');

  const [download] = await Promise.all([tab.waitForEvent('download'), tab.getByRole('link', { name: 'Large files (CSV)' }).click()]);
  assert.deepEqual(readCsv(fs.readFileSync(await download.path())).rows.map((row) => row[1]), [String(300 * MiB), String(70 * MiB)]);

  await goTo(tab, 'explorer', 'Folders');
  const tree = tab.getByRole('treegrid');
  await tree.focus();
  for (const key of ['ArrowDown', 'ArrowRight', 'ArrowRight']) await tab.keyboard.press(key);
  await tab.getByRole('row', { name: 'a.mkv' }).waitFor();
  const active = () => tab.evaluate(() => document.getElementById(document.querySelector('[role=treegrid]').getAttribute('aria-activedescendant'))?.getAttribute('aria-level'));
  assert.equal(await active(), '3');
  await tab.keyboard.press('ArrowLeft');
  assert.equal(await active(), '2');
  await tab.keyboard.press('Enter');
  await tab.getByRole('listbox', { name: /Size map of .*films/ }).waitFor();
  await tab.goBack();
  await tab.goBack();
  await tab.getByRole('heading', { name: 'Overview' }).waitFor();

  fs.rmSync(`${folder}/films`, { recursive: true });
  await tab.getByRole('button', { name: 'Scan again' }).click();
  await tab.getByText(/is in .*: 70.0 MB|There are 70.0 MB/).waitFor();
  assert.deepEqual((await json('/api/jobs')).body.map((job) => job.id), [2], 'the first scan is forgotten');
});

test('into the recycle bin, for good only with the word, and a refusal explained', async (t) => {
  const { folder, root, tab } = await scanned(t, { 'a/big.bin': 200 * MiB, 'b/other.bin': 100 * MiB, 'b/in/deep.txt': 'x', 'Windows/Temp/t': 90 * MiB });
  const sent = requestsOf(tab, '/api/delete');
  await goTo(tab, 'explorer', 'Folders');
  const tree = tab.getByRole('treegrid');
  await tree.focus();
  await tab.keyboard.press('ArrowDown');
  await tab.keyboard.press(' ');
  let dialog = await openDialog(tab);
  assert.equal(await tab.evaluate(() => document.activeElement.textContent), 'Cancel');
  assert.ok(fs.existsSync(`${folder}/a`), 'asking touches nothing');
  await dialog.getByRole('button', { name: 'Move 1 item (200 MB) to the recycle bin' }).click();
  await dialog.getByRole('button', { name: 'Close' }).click();
  assert.deepEqual(fs.readdirSync(folder).sort(), ['Windows', 'b']);
  assert.deepEqual(sent.map((body) => [body.getAll('p'), body.get('job'), body.get('dryrun'), body.get('permanent')]),
    [[[`${root}\\a`], '1', '1', null], [[`${root}\\a`], '1', null, '0']]);
  assert.equal(await tab.getByRole('row', { name: /^a / }).count(), 0, 'the tree follows');
  assert.equal(await tab.evaluate(() => document.activeElement.getAttribute('role')), 'treegrid');

  await tab.getByRole('row', { name: /^b / }).locator('.mark-cell').click();
  dialog = await openDialog(tab);
  await dialog.getByLabel('Delete permanently').check();
  const go = dialog.getByRole('button', { name: 'Delete 1 item (100 MB) permanently' });
  for (const typed of ['', 'delet', 'VERWIJDER']) {
    await dialog.getByLabel('Type DELETE to confirm').fill(typed);
    assert.ok(await go.isDisabled(), typed);
    await tab.keyboard.press('Enter');
  }
  assert.ok(fs.existsSync(`${folder}/b`));
  await dialog.getByLabel('Type DELETE to confirm').fill(' delete ');
  await tab.keyboard.press('Enter');
  await dialog.getByText('1 item deleted').waitFor();
  await dialog.getByRole('button', { name: 'Close' }).click();
  assert.deepEqual(fs.readdirSync(folder), ['Windows']);

  fs.rmSync(`${folder}/Windows`, { recursive: true });
  await tab.getByRole('row', { name: /^Windows / }).locator('.mark-cell').click();
  dialog = await openDialog(tab);
  await dialog.getByText('None of this can be deleted.').waitFor();
  await dialog.getByText('(no longer there)').waitFor();
  assert.equal(await dialog.getByRole('button', { name: /Delete|Move/ }).count(), 0);
});

test('found among thousands: three marked, three gone', async (t) => {
  const files = Object.fromEntries(Array.from({ length: 2000 }, (_, i) => [`many/f${String(i).padStart(4, '0')}.jpg`, 'x'.repeat(1 + (i % 7))]));
  const { folder, tab } = await scanned(t, { ...files, 'other.txt': 'o' });
  await goTo(tab, 'find', 'Find files');
  await tab.getByRole('button', { name: 'Find', exact: true }).click();
  await tab.getByText('Enter a name, an extension').waitFor();
  await tab.getByLabel('Extensions').fill('.jpg');
  await tab.keyboard.press('Enter');
  await tab.getByRole('main').getByText('2,000 files found').waitFor();
  await tab.getByRole('button', { name: 'Sort by Name' }).click();
  await tab.getByRole('grid').focus();
  for (const key of ['ArrowDown', ' ', 'Shift+ArrowDown', 'Shift+ArrowDown']) await tab.keyboard.press(key);
  await tab.getByText('3 items marked').waitFor();
  assert.ok(await tab.evaluate(() => document.querySelectorAll('*').length) < 1500);
  await tab.getByLabel('Filter').fill('f0001');
  await tab.getByText('2 of them are hidden by the filter').waitFor();
  const dialog = await openDialog(tab);
  await dialog.getByRole('button', { name: /to the recycle bin/ }).click();
  await dialog.getByRole('button', { name: 'Close' }).click();
  const left = fs.readdirSync(`${folder}/many`);
  assert.deepEqual([left.length, left.includes('f0000.jpg'), ...[1, 2, 3].map((i) => left.includes(`f000${i}.jpg`))], [1997, true, false, false, false]);
  await tab.getByRole('main').getByText('1,997 files found').waitFor();
});

test('duplicates: one of each group stays, and what changed meanwhile is left alone', async (t) => {
  const content = (letter) => letter.repeat(2 * MiB);
  const { folder, tab } = await scanned(t, { 'a/one': content('x'), 'b/two': content('x'), 'c/three': content('x'), 'a/four': content('y'), 'b/five': content('y') });
  await goTo(tab, 'across', 'Duplicates');
  await tab.getByRole('button', { name: 'Search for duplicates' }).click();
  await tab.getByRole('main').getByText('2 groups found').waitFor();
  await tab.getByLabel('Keep in each group').selectOption('first');
  await tab.getByRole('button', { name: 'Mark the others' }).click();
  await tab.getByText('3 items marked, 6.00 MB').waitFor();
  await tab.getByRole('row', { name: /a\\one/ }).locator('.mark-cell').click();
  await tab.getByText('One copy of each group always stays.').last().waitFor();
  await tab.getByText('3 items marked, 6.00 MB').waitFor();
  fs.writeFileSync(`${folder}/b/five`, content('z'));
  const dialog = await openDialog(tab, 'Compare and delete');
  await dialog.getByText('2 items would go').waitFor();
  await dialog.getByRole('button', { name: /to the recycle bin/ }).click();
  await dialog.getByRole('button', { name: 'Close' }).click();
  assert.deepEqual(['a', 'b', 'c'].map((name) => fs.readdirSync(`${folder}/${name}`)), [['four', 'one'], ['five'], []]);
});

test('an agent: key by address, by dialog, and a wrong one', async (t) => {
  const key = 'k'.repeat(32);
  const { base } = await serve(t, ['--server', '--token', key]);
  const tab = await openTab(t, { expected: /401/ });
  await tab.goto(`${base}/?token=${key}#find`);
  await tab.getByRole('heading', { name: 'Find files' }).waitFor();
  assert.ok(!tab.url().includes(key));
  assert.equal(await tab.getByRole('button', { name: 'Quit Vorda' }).count(), 0);
  await tab.reload();
  await tab.getByRole('heading', { name: 'Find files' }).waitFor();
  assert.equal(await tab.getByRole('dialog').count(), 0, 'a reload still has it');
  assert.deepEqual(await tab.evaluate(() => [Object.keys(localStorage), document.title.includes('kkk')]), [[], false]);

  const other = await openTab(t, { expected: /401/ });
  await other.goto(base);
  const dialog = other.getByRole('dialog', { name: 'Key needed' });
  await dialog.getByLabel('Key', { exact: true }).fill('wrong');
  await other.keyboard.press('Enter');
  await dialog.getByText('This key is not the right one.').waitFor();
  await dialog.getByLabel('Key', { exact: true }).fill(key);
  await dialog.getByRole('button', { name: 'Sign in' }).click();
  await other.getByRole('button', { name: /^Scan: / }).first().waitFor();
});

test('names made to harm are text and nothing else', async (t) => {
  const names = ['<img src=x onerror=alert(1)>', 'a\u202egpj', '"><script>alert(1)</script>', `${'n'.repeat(200)}`];
  const { folder, tab } = await scanned(t, Object.fromEntries(names.map((name, i) => [`${name.replaceAll('/', '')}/f${i}.bin`, (60 + i) * MiB])));
  tab.on('dialog', () => assert.fail('a name was run'));
  for (const section of ['explorer', 'types', 'map', 'advice', 'overview']) await tab.locator(`.nav a[href="#${section}"]`).click();
  await goTo(tab, 'explorer', 'Folders');
  await tab.getByText('a[U+202E]gpj').first().waitFor();
  assert.equal(await tab.locator('#app img, #app script').count(), 0);
  assert.ok(fs.readdirSync(folder).length === names.length);
});

test('five languages, two appearances, remembered', async (t) => {
  const { tab } = await scanned(t, { 'a/b.iso': 80 * MiB });
  for (const [lang, title] of [['nl', 'Overzicht'], ['fr', 'Vue d’ensemble'], ['es', 'Resumen'], ['pt', 'Resumo']]) {
    await tab.locator('.nav select').focus();
    await tab.locator('.nav select').selectOption(lang);
    await tab.getByRole('heading', { level: 1, name: title }).waitFor();
    assert.equal(await tab.locator('html').getAttribute('lang'), lang);
    assert.equal(await tab.evaluate(() => document.activeElement.tagName), 'SELECT', 'the focus stays');
  }
  await tab.getByRole('button', { name: 'Aspeto escuro' }).click();
  assert.deepEqual(await tab.evaluate(() => [localStorage['vorda-lang'], localStorage['vorda-theme'], document.documentElement.dataset.theme]), ['pt', 'dark', 'dark']);
  await tab.reload();
  await tab.getByRole('heading', { level: 1, name: 'Resumo' }).waitFor();
  assert.equal(await tab.evaluate(() => getComputedStyle(document.documentElement).backgroundColor), 'rgb(20, 24, 29)');
});

test('quit, and a server that is lost and comes back', async (t) => {
  const first = await serve(t);
  const tab = await openTab(t);
  await tab.goto(first.base);
  await tab.getByRole('button', { name: /^Scan: / }).first().waitFor();
  first.child.kill('SIGKILL');
  await first.ended;
  await tab.getByLabel('Path of a folder').fill('Z:\\nowhere');
  await tab.getByRole('button', { name: 'Scan folder' }).click();
  await tab.getByText('Vorda does not answer. What you see').waitFor();
  const second = startSilent(['--port', String(first.port), '--no-open']);
  t.after(() => second.child.kill('SIGKILL'));
  await until(() => fetch(first.base).catch(() => null), 'the second server');
  await tab.getByRole('button', { name: 'Try again' }).click();
  await tab.getByText('Vorda answers again.').waitFor();
  await tab.getByRole('button', { name: 'Quit Vorda' }).click();
  await tab.getByRole('dialog').getByRole('button', { name: 'Quit Vorda' }).click();
  await tab.getByText('Vorda has ended. You can close this tab.').waitFor();
});

test('inside a frame the page does nothing but say so', async (t) => {
  const { base } = await serve(t);
  const outer = http.createServer((_, response) => response.setHeader('Content-Type', 'text/html').end(`<iframe src="${base}/" width=600 height=300></iframe>`));
  await new Promise((resolve) => outer.listen(0, '127.0.0.1', resolve));
  t.after(() => outer.close());
  const tab = await openTab(t);
  const asked = requestsOf(tab, '/api/hello');
  await tab.goto(`http://127.0.0.1:${outer.address().port}/`);
  await tab.frameLocator('iframe').getByText('Vorda does not run inside another page.').waitFor();
  assert.equal(asked.length, 0);
});
