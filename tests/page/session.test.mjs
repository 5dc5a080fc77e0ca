// Links, keys, languages, appearance, SSH hosts, and a program that ends and starts again.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { after, test } from 'node:test';
import { altered, becomes, goTo, mark, MiB, openTab, requestsOf, row, says, scan, scanned } from './support/browser.mjs';
import { needs } from '../system/support/home.mjs';
import { serve, until } from '../system/support/server.mjs';
import { makeKey, passwordServer, relay } from '../system/support/ssh.mjs';
import { makeFiles, ownWine, scratch, startFor } from '../system/support/vorda.mjs';

const TITLES = { overview: 'Overview', explorer: 'Folders', advice: 'Advice', types: 'Types', map: 'Map', find: 'Find files', across: 'Duplicates', picker: 'What do you want to scan?' };
const here = { after };
const folder = scratch(here);
makeFiles(`${folder}/d`, { 'films/a.mkv': 300 * MiB, 'b.iso': 70 * MiB });
const wine = await ownWine(here, { 'd:': `${folder}/d` });
const heading = (tab, name) => tab.getByRole('heading', { level: 1, name }).waitFor();

test('a section in the address is opened if possible, without a history step of its own', needs('drives'), async (t) => {
  const server = await serve(t, [], wine);
  const tab = await openTab(t);
  const open = async (fragment, title) => {
    await tab.goto('about:blank');
    await tab.goto(`${server.base}/#${fragment}`);
    await heading(tab, title);
    const section = Object.keys(TITLES).find((one) => TITLES[one] === title);
    await tab.waitForFunction((wanted) => location.hash === wanted, `#${section}`);
    await tab.goBack();
    await becomes(() => tab.url(), 'about:blank', `one step back from ${fragment}`);
  };
  for (const [asked, given] of [['advice', 'picker'], ['picker', 'picker'], ['find', 'find'], ['across', 'across'], ['nonsense', 'picker']]) await open(asked, TITLES[given]);
  await tab.goto(`${server.base}/?scan=D:%5C`);
  await heading(tab, 'Overview');
  await says(tab, 'Most of the space is in films: 300 MB, 81% of what was scanned.');
  const jobs = async () => (await server.json('/api/jobs')).body.map((job) => [job.id, job.path, job.kind]);
  assert.deepEqual([await jobs(), new URL(tab.url()).search], [[[1, 'D:\\', 'drive']], '']);
  await tab.reload();
  await heading(tab, 'Overview');
  await tab.goto(`${server.base}/?scan=D:%5Cfilms`);
  await says(tab, 'There are 300 MB in D:\\films, mostly in files that lie directly in it.');
  assert.deepEqual(await jobs(), [[1, 'D:\\', 'drive'], [2, 'D:\\films', 'folder']]);
  for (const section of Object.keys(TITLES)) await open(section, TITLES[section]);
  await tab.goto(`${server.base}/#about`);
  await says(tab.getByRole('dialog', { name: 'About Vorda' }), /^Version \d/);
  await tab.keyboard.press('Escape');
  await heading(tab, 'Overview');
  await tab.evaluate(() => { location.hash = 'about'; });
  await tab.getByRole('dialog', { name: 'About Vorda' }).waitFor();
});

test('a key in the address is used, removed, and kept by this tab only', needs('drives'), async (t) => {
  const key = 'k€y é/+=&1';
  const { base } = await serve(t, ['--server', '--token', key], wine);
  const tab = await openTab(t, { expected: /401/, measure: null });
  await tab.goto(`${base}/?token=${encodeURIComponent(key)}#find`);
  await heading(tab, 'Find files');
  await scan(tab, 'D:\\');
  await becomes(() => tab.url(), `${base}/#overview`);
  assert.equal(await tab.getByRole('button', { name: 'Quit Vorda' }).count(), 0);
  const [download] = await Promise.all([tab.waitForEvent('download'), tab.getByRole('link', { name: 'Types (CSV)' }).click()]);
  assert.match(fs.readFileSync(await download.path(), 'utf8'), /\.mkv/, 'links contain the key');
  assert.equal(download.suggestedFilename(), 'vorda-D-types.csv');
  await tab.reload();
  await heading(tab, 'Overview');
  await tab.goBack();
  assert.ok(!(tab.url() + await tab.title()).includes('token'));
  assert.deepEqual(await tab.evaluate(() => [Object.keys(localStorage), sessionStorage['vorda-token']]), [[], key]);

  const other = await tab.context().newPage();
  await other.goto(base);
  const dialog = other.getByRole('dialog', { name: 'Key needed' });
  const input = dialog.getByLabel('Key', { exact: true });
  await input.press('Enter');
  await says(dialog, 'Enter the key first.');
  await input.fill('wrong');
  await other.keyboard.press('Enter');
  await says(dialog, 'This key is not the right one.');
  await becomes(() => input.inputValue(), '');
  await dialog.getByRole('button', { name: 'Cancel' }).click();
  await other.getByRole('main').getByRole('button', { name: 'Sign in' }).click();
  await input.fill(key);
  await dialog.getByRole('button', { name: 'Sign in' }).click();
  await heading(other, 'Overview');
});

test('the addresses that a program with a key opens; no restart with other rights from there', needs('drives'), async (t) => {
  const key = 'a+b&c';
  const { base } = await serve(t, ['--server', '--token', key], wine);
  const tab = await openTab(t, { expected: /401/, measure: null });
  await altered(tab, '/api/targets', (answer) => ({ ...answer, elevated: false }));
  await tab.goto(`${base}/?token=${key}?scan=D%3A%5C`);
  await says(tab, 'Most of the space is in films');
  await becomes(() => tab.url(), `${base}/#overview`);
  await goTo(tab, 'picker', TITLES.picker);
  assert.equal(await tab.getByRole('button', { name: 'Restart as administrator' }).count(), 0);
  const [request] = await Promise.all([tab.waitForRequest('**/api/targets'), tab.reload()]);
  assert.deepEqual([await tab.evaluate(() => sessionStorage['vorda-token']), request.headers()['x-vorda-token']], [key, key]);

  // Locked: the key comes in the fragment. A tab that is open already takes it as well.
  const locked = await serve(t, ['--lock', '--token', key], wine);
  const other = await openTab(t, { expected: /401/, measure: null });
  await other.goto(locked.base);
  await says(other.getByRole('dialog'), 'This Vorda answers only the page that it opened itself.');
  await other.evaluate((text) => { location.hash = `key=${encodeURIComponent(text)}`; }, key);
  await heading(other, TITLES.picker);
  await becomes(() => other.url(), `${locked.base}/#picker`);
  await other.evaluate(() => sessionStorage.clear());
  await other.goto('about:blank');
  await other.goto(`${locked.base}/?scan=D%3A%5Cfilms#key=${encodeURIComponent(key)}`);
  await says(other, 'There are 300 MB in D:\\films');
  await becomes(() => other.url(), `${locked.base}/#overview`);
  assert.deepEqual(await other.evaluate(() => [sessionStorage['vorda-token'], Object.keys(localStorage), JSON.stringify(history.state).includes(sessionStorage['vorda-token'])]), [key, [], false]);
  await other.getByRole('button', { name: 'Quit Vorda' }).click();
  await other.getByRole('dialog').getByRole('button', { name: 'Quit Vorda' }).click();
  await says(other, 'Vorda has ended. You can close this tab.');
  assert.equal((await locked.ended).code, 0);
});

test('every language has its own confirmation word', needs('drives'), async (t) => {
  const { tab } = await scanned(t, { 'films/b.iso': 80 * MiB, 'photos/d.iso': 70 * MiB });
  const words = { nl: 'VERWIJDER', fr: 'SUPPRIMER', es: 'ELIMINAR', pt: 'ELIMINAR', en: 'DELETE' };
  for (const [lang, word] of Object.entries(words)) {
    await tab.locator('.nav select').focus();
    await tab.locator('.nav select').selectOption(lang);
    await becomes(() => tab.evaluate(() => [document.documentElement.lang, localStorage['vorda-lang'], document.activeElement.tagName]), [lang, lang, 'SELECT'], 'the focus stays');
    await tab.locator('.nav a[href="#explorer"]').click();
    await mark(tab.getByRole('treegrid'), 'photos');
    await tab.locator('.selection-bar .danger').click();
    const dialog = tab.getByRole('dialog');
    await dialog.getByRole('radio').last().check();
    const go = dialog.locator('.ends .danger');
    for (const typed of new Set(Object.values(words))) {
      await dialog.getByRole('textbox').fill(typed.toLowerCase());
      await becomes(() => go.isEnabled(), typed === word, `${typed} in ${lang}`);
    }
    assert.match(await go.innerText(), { en: /70\.0 MB/, fr: /70,0 Mo/ }[lang] ?? /70,0 MB/);
    await tab.keyboard.press('Escape');
    await mark(tab.getByRole('treegrid'), 'photos');
  }
});

test('light and dark: the system’s choice, then the user’s', needs('drives'), async (t) => {
  const server = await serve(t, [], wine);
  const tab = await openTab(t, { colorScheme: 'dark' });
  await tab.goto(server.base);
  const ground = () => tab.evaluate(() => getComputedStyle(document.documentElement).backgroundColor);
  await becomes(ground, 'rgb(20, 24, 29)', 'as the system has it');
  await tab.getByRole('button', { name: 'Light appearance' }).click();
  await becomes(ground, 'rgb(247, 248, 250)');
  await tab.reload();
  await tab.getByRole('button', { name: 'Dark appearance' }).waitFor();
  assert.deepEqual([await ground(), await tab.evaluate(() => localStorage['vorda-theme'])], ['rgb(247, 248, 250)', 'light']);
});

test('a lost program leaves its data on the page; a new one starts empty', needs('drives'), async (t) => {
  const first = await serve(t, [], wine);
  const tab = await openTab(t, { expected: /ERR_CONNECTION/ });
  await tab.goto(`${first.base}/?scan=D:%5C`);
  await heading(tab, 'Overview');
  first.child.kill('SIGKILL');
  await first.ended;
  await tab.getByRole('button', { name: 'Scan again' }).click();
  await says(tab.getByRole('alert'), 'Vorda does not answer. What you see is as of the last answer.');
  await says(tab, 'Most of the space is in films: 300 MB');
  startFor(t, ['--port', String(first.port), '--no-open'], wine);
  await until(() => fetch(first.base).catch(() => null), 'the second program');
  await says(tab, 'Vorda answers again.');
  await becomes(() => tab.getByRole('alert').isVisible(), false);
  await scan(tab, 'D:\\films');
  await says(tab, 'There are 300 MB in D:\\films');
  await becomes(() => tab.getByRole('list', { name: 'Scans' }).getByRole('listitem').count(), 1);
});

test('an SSH host with a password', needs('drives', 'sshd'), async (t) => {
  const ssh = `${folder}/ssh`;
  makeFiles(ssh, { 'home/big/film.mkv': 90 * MiB, 'home/note': 'x' });
  const { env } = await relay(t, ssh, wine.env);
  const port = await passwordServer(t, makeKey(`${ssh}/host`), 's3cret pass');
  const own = await serve(t, [], { ...wine, env });
  const tab = await openTab(t, { expected: /400/ });
  const sent = requestsOf(tab, '/api/scan');
  await tab.goto(own.base);
  await tab.getByLabel('Host and path').fill(`ssh://anna@127.0.0.1:${port}${ssh}/home`);
  await tab.getByLabel(/^Password/).fill('wrong');
  await tab.getByRole('button', { name: 'Scan host' }).click();
  await says(tab.getByRole('main'), 'Failed: The host refused the sign-in.');
  await tab.getByLabel(/^Password/).fill('s3cret pass');
  await tab.getByRole('button', { name: 'Scan host' }).click();
  await heading(tab, 'Overview');
  await says(tab, 'anna@127.0.0.1');
  assert.deepEqual([(await own.json('/api/jobs')).body.length, sent.map((body) => body.get('password'))], [1, ['wrong', 's3cret pass']]);
  await goTo(tab, 'explorer', 'Folders');
  await row(tab.getByRole('treegrid'), 'big').click();
  await says(tab, 'On another host: it can be looked at, not changed.');
  assert.equal(await tab.locator('.mark-cell .mark:not(.none)').count(), 0);
  await tab.getByRole('treegrid').press('Space');
  assert.equal(await tab.getByRole('button', { name: /Delete/ }).count(), 0);
  const kept = await tab.evaluate(() => JSON.stringify([{ ...localStorage }, { ...sessionStorage }, location.href, document.title, document.documentElement.outerHTML, history.state]));
  assert.ok(!kept.includes('s3cret'));
  await goTo(tab, 'picker', TITLES.picker);
  await tab.getByRole('button', { name: /^Scan again: 127/ }).click();
  await heading(tab, 'Overview');
  assert.equal(sent.at(-1).get('password'), 's3cret pass', 'this tab remembers it');
});
