// Cases the real program can't produce on a healthy machine: hostile, late or truncated answers, a
// program without administrator rights and its restart with them.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { becomes, find, folders, GOING, goTo, mark, MiB, openDialog, openScan, openTab, pathsIn, requestsOf, row, says, settled, toBin } from './support/browser.mjs';
import { CUT, between } from './support/between.mjs';
import { serve, until } from '../system/support/server.mjs';
import { makeFiles, scratch, winPath } from '../system/support/vorda.mjs';

// A program of the test's own on these files, a proxy before it, and a tab.
async function opened(t, { files = {}, ...options } = {}) {
  const folder = scratch(t);
  makeFiles(folder, files);
  const server = await serve(t, [], { env: { VORDA_XDG_DATA_HOME: scratch(t) } });
  const faults = await between(t, server.base);
  return { faults, folder, server, tab: await openTab(t, options) };
}

// Names that may come from a disk, a host or another program.
const NAMES = [
  '<img src=x onerror=alert(1)>', '"><script>alert(1)</script>', '\u202egpj.exe\u2066', 'half \ud83d pair \ude00', 'tab\tline\nnul\u0000esc\u001b[31m',
  `${'long '.repeat(6400)}end`, 'x'.repeat(32_000), 'javascript:alert(1)', '{name} {n}', '__proto__', 'constructor', '', '\u0645\u0644\u0641', 'e\u0301'.repeat(300), '..', ' ',
];

test('hostile names are shown as text and sent back unchanged', async (t) => {
  const { faults, tab } = await opened(t);
  const root = 'D:\\';
  const paths = NAMES.map((name) => root + name);
  const sizes = NAMES.map((_, i) => (100 - i) * MiB);
  const nasty = NAMES[2] + NAMES[0];
  const job = { id: 7, path: root, kind: 'folder', label: nasty, state: 'done', files: 1e15, bytes: 2 ** 60, dirs: -1, phase: 3, seconds: 1e9, status: nasty, current: nasty, error: '', method: nasty, noTurbo: nasty };
  const hits = paths.map((p, i) => ({ p, s: sizes[i], m: i % 2 ? 9e15 : -1, job: 7, ...(i === 1 ? { lock: nasty } : {}) })).filter((hit) => hit.p !== root);
  const node = (n, s, c) => ({ n, s, f: 3, c });
  const fields = (value) => Object.fromEntries(['target', 'n1', 'n2'].map((name) => [name, value]));
  const finding = (code, level) => ({ code, level, bytes: 5 * MiB, ...fields(nasty), paths, pathBytes: sizes, pathFiles: [], pathGroup: [], pathLock: ['', nasty], notes: NAMES });
  Object.assign(faults.answers, {
    '/api/targets': { drives: [{ path: root, label: nasty, fs: nasty, type: nasty, size: 10, free: 2 ** 53, turbo: false, turboReason: nasty }], wsl: [{ name: nasty, path: nasty }],
      home: paths[2], machine: nasty, elevated: true, version: nasty, vendor: nasty, website: 'javascript:alert(1)', logPath: paths[2] },
    '/api/jobs': [job, { ...job, id: 8, path: paths[6], state: 'error', error: nasty }],
    '/api/result': { meta: { ...Object.fromEntries(['method', 'host', 'kind', 'volumeLabel'].map((name) => [name, nasty])), path: root, seconds: 0, files: 9, dirs: 9, denied: 1, skipped: 2, used: 9 * MiB, volumeSize: 10, volumeFree: 99, freed: 2 ** 53, binned: 3 },
      tree: node(root, 999 * MiB, NAMES.map((name, i) => node(name, sizes[i], NAMES.map((one) => node(one, 9))))), exts: NAMES.map((e, i) => ({ e: e.slice(0, 300), s: sizes[i], c: 3 })), files: hits, advice: [finding('downloads', 'serious'), finding(nasty, nasty), finding('__proto__', 'good')] },
    '/api/dirs': ({ url }) => ({ path: url.searchParams.get('p'), s: 999 * MiB, f: 9, dirs: NAMES.map((n, i) => ({ n, s: sizes[i], f: 2 })), total: 9 }),
    '/api/files': { path: root, files: NAMES.map((n, i) => ({ n, s: sizes[i], m: 0 })), total: 99, dirs: 0 },
    '/api/ext': { ext: nasty, folders: paths.map((p) => ({ p, s: 5, c: 1 })), files: hits, total: 99 },
    '/api/types': { types: NAMES.map((e, i) => ({ e, s: sizes[i], c: 3 })) },
    '/api/account': { used: 9 * MiB, rows: [nasty, 'files', 'unreadable'].map((code) => ({ code, bytes: 2 ** 53, exact: false, count: 1e15, p: paths[2], parts: paths.map((n) => ({ n, bytes: -1 })) })), source: nasty, unexplained: -(2 ** 53) },
    '/api/file': ({ url }) => ({ p: url.searchParams.get('p'), s: -1, a: 2 ** 60, links: 1e9, names: paths, streams: NAMES.map((n) => ({ n, s: 1 })), cloud: nasty, compressed: nasty }),
    '/api/browse': { path: paths[2], parent: nasty, dirs: NAMES.map((n, i) => ({ n, p: paths[i], link: true })) },
    '/api/findfiles': { running: false, files: hits, shown: 9, count: 9, bytes: 9, capped: true, opts: { ssh_skipped: [{ id: 1, label: nasty }], failed: [{ id: 1, label: nasty, error: nasty }] } },
    '/api/dupsacross': { running: false, groups: [{ s: 5, c: NAMES.length, waste: 9, files: hits.map((hit) => ({ ...hit, names: NAMES })) }], shown: 1, count: 1, waste: 9, skipped: { cloud: 1, unreadable: 1, changed: 1 }, opts: {} },
    '/api/delete': ({ body }) => ({ deleted: 0, bytes: 9, error: '', dryRun: true, refused: [{ p: paths[2], why: nasty }], wouldDelete: body.getAll('p'), noBin: [] }),
  });
  tab.on('dialog', () => assert.fail('a name was executed'));
  const sent = requestsOf(tab, '/api/delete');
  await tab.goto(faults.base);
  await tab.getByRole('heading', { level: 1, name: 'Failed' }).or(tab.getByRole('heading', { name: 'Overview' })).waitFor();
  await tab.getByRole('list', { name: 'Scans' }).getByRole('button').first().click();
  const inert = async (where) => {
    const found = await tab.evaluate(() => {
      const texts = [];
      const walk = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
      for (let node = walk.nextNode(); node; node = walk.nextNode()) texts.push(node.data);
      for (const element of document.querySelectorAll('[title], [aria-label]')) texts.push(element.title, element.ariaLabel ?? '');
      return {
        raw: texts.filter((text) => /[\u0000-\u0008\u000b-\u001f\u202a-\u202e\u2066-\u2069]|[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/.test(text)).map((text) => text.slice(0, 80)),
        made: document.querySelectorAll('#app img, #app script, #app iframe, dialog img, [href^="javascript"]').length,
        wide: document.documentElement.scrollWidth > innerWidth,
        long: [...document.querySelectorAll('body *')].filter((one) => !one.firstElementChild && one.textContent.length > 1000 && !one.closest('.details, .heard, .path, script, style')).map((one) => `${one.parentElement.className} ${one.textContent.length}`),
      };
    });
    assert.deepEqual(found, { raw: [], made: 0, wide: false, long: [] }, where);
  };
  for (const [section, title] of [['overview', 'Overview'], ['explorer', 'Folders'], ['advice', 'Advice'], ['types', 'Types'], ['map', 'Map'], ['find', 'Find files'], ['across', 'Duplicates'], ['picker', 'What do']]) {
    await goTo(tab, section, title);
    await inert(section);
  }
  await tab.getByRole('button', { name: 'Browse' }).click();
  await tab.locator('.browser li').nth(3).waitFor();
  await inert('browse');
  await tab.getByRole('button', { name: 'About Vorda' }).click();
  await inert('about');
  await tab.keyboard.press('Escape');
  await goTo(tab, 'find', 'Find files');
  await tab.getByRole('grid').press('Control+a');
  await openDialog(tab);
  await inert('deletion');
  const wanted = hits.filter((hit) => !hit.lock).map((hit) => Buffer.from(hit.p).toString());
  assert.deepEqual(sent[0].getAll('p').sort(), wanted.sort());
});

test('late and truncated answers lose nothing', async (t) => {
  const { faults, folder, server, tab } = await opened(t, { expected: /ERR_|400/, files: { 'a/one.iso': 80 * MiB, 'b/two.iso': 70 * MiB } });
  faults.answers['/api/dirs'] = CUT;
  await tab.goto(`${faults.base}/?scan=Z:%5Cnowhere`);
  await says(tab.getByRole('main'), 'Failed: This path does not exist');
  await tab.getByRole('button', { name: /^Close the scan/ }).click();
  await openScan(tab, faults.base, winPath(folder));
  await tab.getByRole('button', { name: 'Scan again' }).click();
  faults.answers['/api/result'] = CUT;
  await says(tab.getByRole('alert'), 'Vorda does not answer.');
  delete faults.answers['/api/result'];
  await tab.getByRole('button', { name: 'Scan again' }).waitFor(); // the result was fetched again

  const tree = await folders(tab);
  await row(tree, 'Could not be loaded').first().waitFor();
  await row(tree, 'one.iso').waitFor({ state: 'detached' });
  delete faults.answers['/api/dirs'];
  await row(tree, 'Could not be loaded').first().getByRole('button', { name: 'Try again' }).click();
  await row(tree, 'Could not be loaded').waitFor({ state: 'detached' });

  // A scan started while another one's result is still on its way is followed as well.
  let release;
  const held = new Promise((resolve) => { release = resolve; });
  faults.answers['/api/result'] = async ({ real }) => {
    const made = await real();
    await held;
    return made;
  };
  await goTo(tab, 'picker', 'What do');
  await tab.getByLabel('Path of a folder').fill(winPath(`${folder}/a`));
  await tab.getByRole('button', { name: 'Scan folder' }).click();
  await until(async () => (await server.json('/api/jobs')).body.length === 2, 'the first scan');
  await tab.getByLabel('Path of a folder').fill(winPath(`${folder}/b`));
  await tab.getByRole('button', { name: 'Scan folder' }).click();
  await until(async () => (await server.json('/api/jobs')).body.filter((job) => job.state === 'done').length === 3, 'the second scan');
  delete faults.answers['/api/result'];
  release();
  await says(tab, /There are 70\.0 MB in .*b, mostly in files/);

  // Without a server, the page keeps its data, and the deletion dialog reports the failure.
  await goTo(tab, 'explorer', 'Folders');
  await mark(tree, 'two.iso');
  faults.lost = true;
  await tab.getByRole('button', { name: 'Delete selected' }).click();
  const dialog = tab.getByRole('dialog');
  await says(dialog, 'Vorda does not answer.');
  assert.equal(await dialog.getByRole('button', { name: /^Delete|^Move/ }).count(), 0);
  faults.lost = false;
  await dialog.getByRole('button', { name: 'Try again' }).click();
  await says(dialog, '1 item will be deleted, 70.0 MB.');
});

test('what the recycle bin does not take needs the confirmation word; what missed it, though it was to go there, is said', async (t) => {
  const { faults, folder, tab } = await opened(t, { files: { 'a/x': 80 * MiB, 'b/y': 70 * MiB } });
  let beyondBin = ['a'];
  let done = { deleted: 0, bytes: 0, freed: 0, binned: 0, error: 'failed:124' };
  faults.answers['/api/delete'] = async ({ body, real }) => {
    if (body.get('dryrun') === '1') return { ...await real(), noBin: body.getAll('p').filter((path) => beyondBin.includes(path.at(-1))) };
    return { ...done, dryRun: false, refused: [], wouldDelete: body.getAll('p') };
  };
  await openScan(tab, faults.base, winPath(folder));
  await (await folders(tab)).press('Control+a');
  const dialog = await openDialog(tab);
  const go = dialog.getByRole('button', { name: 'Delete 2 items (2 files, 150 MB), 1 of them permanently' });
  assert.ok(await go.isDisabled());
  await dialog.getByRole('textbox').fill('DELETE');
  await go.click();
  await says(dialog, 'Windows did not delete everything (code 124).');
  await says(dialog, '2 items are still there.');
  await dialog.getByRole('button', { name: 'Close' }).click();

  beyondBin = [];
  done = { deleted: 2, bytes: 150 * MiB, freed: 80 * MiB, binned: 70 * MiB, error: '' };
  await openDialog(tab);
  await dialog.getByRole('button', { name: 'Move 2 items (2 files, 150 MB) to the recycle bin' }).click();
  await says(dialog, '2 items deleted: 80.0 MB permanently, 70.0 MB in the recycle bin.');
  await says(dialog, '80.0 MB did not go into the recycle bin: Windows deleted it permanently.');
});

test('a deletion of several requests can be stopped between them', async (t) => {
  const { faults, folder, server, tab } = await opened(t, { files: { 'one/a.tmp': 'a', 'two/b.tmp': 'b' } });
  for (const name of ['one', 'two']) await server.scan(winPath(`${folder}/${name}`), { kind: 'folder', label: name });
  await tab.goto(faults.base);
  await find(tab, '.tmp', '2 files found');
  await tab.getByRole('grid').press('Control+a');
  const dialog = await openDialog(tab);
  await dialog.getByLabel('Delete permanently').check();
  await dialog.getByRole('textbox').fill('DELETE');
  let release = null;
  const held = new Promise((resolve) => { release = resolve; });
  let sent = 0;
  faults.answers['/api/delete'] = async ({ body, real }) => {
    if (body.get('dryrun') !== '1') ++sent;
    await held;
    return real();
  };
  await dialog.getByRole('button', { name: /permanently$/ }).click();
  await dialog.getByRole('button', { name: 'Stop' }).click();
  for (let i = 0; i < 3; ++i) await tab.keyboard.press('Escape');
  await settled(tab);
  assert.ok(await dialog.isVisible(), 'it stays until its request has ended');
  release();
  await says(dialog, '1 item deleted permanently');
  await says(dialog, '1 item is still there.');
  assert.deepEqual([sent, fs.readdirSync(folder, { recursive: true }).filter((name) => name.endsWith('.tmp')).length], [1, 1]);
  await dialog.getByRole('button', { name: 'Close' }).click();
  await says(tab.getByRole('main'), '1 item selected');
});

test('possible duplicates of the advice are compared before they go, also by the menu; who marks one for itself has it deleted as it is', async (t) => {
  const { faults, folder, tab } = await opened(t, { files: { 'first/film.mkv': 'same', 'second/film.mkv': 'same', 'first/photo.raw': 'one', 'second/photo.raw': 'two', 'third/big.iso': 60 * MiB } });
  const root = winPath(folder);
  const [film, photo] = [`${root}\\first\\film.mkv`, `${root}\\second\\photo.raw`];
  // The advice about two groups of two possible duplicates.
  const paths = [film, `${root}\\second\\film.mkv`, `${root}\\first\\photo.raw`, photo];
  const each = (value) => paths.map(() => value);
  const advice = [{ code: 'duplicates', level: 'serious', bytes: 7, n1: 2, n2: 0, target: '', paths, pathBytes: each(4), pathFiles: each(1), pathGroup: [1, 1, 2, 2], pathLock: each(''), notes: [] }];
  faults.answers['/api/result'] = async ({ real }) => ({ ...await real(), advice });
  await openScan(tab, faults.base, root);
  const tree = await folders(tab);
  await mark(tree, 'third');
  await goTo(tab, 'advice', 'Advice');
  const box = (name) => tab.getByRole('checkbox', { name });
  for (const name of [film, photo]) await box(name).check();
  const dialog = await openDialog(tab);
  const would = () => pathsIn(dialog, GOING);
  await becomes(would, [`${root}\\third`], 'first what was not marked as a copy');
  await toBin(tab);
  await says(tab, '2 items selected, 8 B');
  await openDialog(tab);
  await says(tab, '1 file is no longer equal to one that stays, and is left alone.');
  await becomes(would, [film]);
  await tab.keyboard.press('Escape');

  await goTo(tab, 'explorer', 'Folders');
  await row(tree, 'first').first().click();
  await tree.press('ArrowRight');
  await row(tree, 'film.mkv').click({ button: 'right' });
  await tab.getByRole('menuitem', { name: 'Delete…' }).click();
  await becomes(would, [film]);
  await says(dialog, '1 file is no longer equal to one that stays, and is left alone.');
  await tab.keyboard.press('Escape');

  await goTo(tab, 'advice', 'Advice');
  await box(film).uncheck();
  await box(photo).press('Delete');
  await says(tab, 'None of the selected files is still equal to one that stays. Nothing is deleted.');
  assert.equal(await dialog.count(), 0);
  await box(photo).uncheck();
  await goTo(tab, 'explorer', 'Folders');
  for (const [name, key] of [['first', 'ArrowLeft'], ['second', 'ArrowRight']]) {
    await row(tree, name).first().click();
    await tree.press(key);
  }
  await mark(tree, 'photo.raw');
  await openDialog(tab);
  await becomes(would, [photo]);
});

test('administrator rights: requested, refused, granted', async (t) => {
  const { faults, tab } = await opened(t, { expected: /ERR_|Failed to load/ });
  let elevated = false;
  let answer = { ok: true };
  faults.answers['/api/targets'] = async ({ real }) => ({ ...await real(), elevated });
  faults.answers['/api/elevate'] = () => answer;
  let loads = 0;
  tab.on('load', () => { ++loads; });
  await tab.goto(faults.base);
  const chip = (name) => tab.getByRole('banner').getByRole('button', { name });
  const [restart, restarting, answering] = ['Restart as administrator', 'Restarting', 'Please answer the question Windows is asking.'].map(chip);
  await restart.click();
  await restarting.waitFor();
  await answering.waitFor();
  await says(tab.locator('.toasts'), 'Vorda is running without administrator rights: the restart was declined or did not work.');
  await becomes(() => loads, 2, 'the page was reloaded');
  assert.deepEqual(await tab.evaluate(() => Object.keys(sessionStorage).filter((name) => name !== 'vorda-views')), []);
  await restart.click();
  await restarting.waitFor();
  faults.lost = true;
  elevated = true;
  await tab.waitForEvent('requestfailed');
  faults.lost = false;
  await tab.waitForEvent('load');
  await tab.getByRole('heading', { level: 1 }).waitFor();
  await becomes(async () => [await restart.count(), await tab.locator('.toast').count()], [0, 0]);
  elevated = false;
  await tab.reload();
  answer = { ok: true, already: true };
  await Promise.all([tab.waitForEvent('load'), restart.click()]);
});

test('About tells about the build, the last crash and the diagnostic log', async (t) => {
  const { faults, tab } = await opened(t, { expected: /ERR_/ });
  const crash = { path: 'C:\\Users\\me\\AppData\\Local\\Vorda\\crash-20261122-101500-4711.dmp', time: Date.UTC(2026, 10, 22, 12) };
  const dialog = tab.getByRole('dialog', { name: 'About Vorda' });
  const open = async (answer) => {
    faults.answers['/api/about'] = answer;
    await tab.goto(`${faults.base}/#about`);
    await says(dialog, /^Version \d/);
  };
  await open({ version: '1.0.0', signed: false, log: 'D:\\vorda-log.txt', crash });
  await says(dialog, 'This build is not signed.');
  for (const text of [/ended unexpectedly on 22\/11\/2026/, crash.path, 'D:\\vorda-log.txt']) await says(dialog, text);
  await dialog.getByRole('button', { name: 'Close' }).click();
  await open({ version: '1.0.0', signed: true, log: 'D:\\another.txt' });
  await says(dialog, 'D:\\another.txt');
  assert.doesNotMatch(await dialog.innerText(), /signed|crash/i);
  await dialog.getByRole('button', { name: 'Close' }).click();
  await open(CUT); // the rest is there without it
});

test('after a deletion nothing of what went stays marked, counted or listed', async (t) => {
  const { faults, folder, tab } = await opened(t, { files: { 'films/a.mkv': 70 * MiB, 'films/b.mkv': 90 * MiB, 'rest/c.txt': 'c', 'copies/1.dat': 'same', 'copies/2.dat': 'same', 'copies/3.dat': 'same' } });
  const root = winPath(folder);
  const copies = ['1.dat', '2.dat', '3.dat'].map((name) => ({ p: `${root}\\copies\\${name}`, m: 1e12, job: 1 }));
  faults.answers['/api/dupsacross'] = { running: false, groups: [{ s: 2 ** 20, c: 3, waste: 2 ** 21, files: copies }], shown: 1, count: 5000, waste: 2 ** 30, capped: true };
  await openScan(tab, faults.base, root);
  await goTo(tab, 'across', 'Duplicates');
  await says(tab.getByRole('main'), '5,000 groups found, 1.00 GB could be freed');
  await find(tab, '.mkv', '2 files found');

  const tree = await folders(tab);
  const marked = () => tab.locator('.selection-bar strong').innerText();
  await tree.press('*');
  await row(tree, '1.dat').waitFor();
  await mark(tree, 'films');
  await becomes(marked, '1 item selected, 160 MB');
  for (const name of ['1.dat', 'a.mkv']) {
    await row(tree, name).click({ button: 'right' });
    await tab.getByRole('menuitem', { name: 'Delete…' }).click();
    await toBin(tab);
    await row(tree, name).waitFor({ state: 'detached' });
  }
  await becomes(marked, '1 item selected, 90.0 MB');

  for (const name of ['b.mkv', 'rest']) await mark(tree, name);
  await becomes(marked, '2 items selected, 90.0 MB');
  await openDialog(tab);
  fs.writeFileSync(`${folder}/rest/new.txt`, 'nobody saw this');
  await toBin(tab);
  await row(tree, 'b.mkv').waitFor({ state: 'detached' });
  await becomes(marked, '1 item selected, 1 B');
  await goTo(tab, 'find', 'Find files');
  await says(tab.getByRole('main'), 'No files found.');
  await goTo(tab, 'across', 'Duplicates');
  await says(tab.getByRole('main'), '5,000 groups found, 1023 MB could be freed');
});

test('the advice about a host offers nothing that only works on this machine', async (t) => {
  const { faults, folder, tab } = await opened(t, { files: { 'a/old.iso': 'old' } });
  const paths = [`${winPath(folder)}\\a\\old.iso`];
  const finding = { level: 'serious', bytes: 3, n1: 100, n2: 0, target: '', paths, pathBytes: [3], pathFiles: [1], pathGroup: [1], pathLock: [''], notes: [] };
  let remote = false;
  faults.answers['/api/jobs'] = async ({ real }) => (await real()).map((job) => ({ ...job, ...(remote && { kind: 'ssh', method: 'ssh' }) }));
  faults.answers['/api/result'] = async ({ real }) => ({ ...await real(), advice: ['oldfiles', 'duplicates', 'denied'].map((code) => ({ ...finding, code })) });
  faults.answers['/api/targets'] = async ({ real }) => ({ ...await real(), elevated: false });
  await openScan(tab, faults.base, winPath(folder));
  await goTo(tab, 'advice', 'Advice');
  const offered = () => tab.locator('article > details > .actions').getByRole('button').allInnerTexts();
  await becomes(offered, ['Show all 100', 'Search for duplicates', 'Restart as administrator']);
  remote = true;
  await tab.reload();
  await tab.getByRole('heading', { name: 'Advice' }).waitFor();
  await becomes(offered, []);
});

test('hits on a share are never deleted for the scan of a host that is on view', async (t) => {
  const { faults, tab } = await opened(t, { expected: /404/ });
  const share = '\\\\nas\\public';
  const paths = [`${share}\\x.iso`, 'D:\\gone.iso'];
  const job = (id, path, kind, method) => ({ id, path, kind, method, label: path, state: 'done', files: 1, bytes: 9, dirs: 1, phase: 3, seconds: 1, status: '', current: '', error: '', noTurbo: '' });
  const roots = { 1: share, 2: '/' };
  Object.assign(faults.answers, {
    '/api/jobs': [job(1, share, 'unc', 'walk'), job(2, 'me@host:/', 'ssh', 'ssh')],
    '/api/result': ({ url }) => ({ meta: { path: roots[url.searchParams.get('id')], seconds: 0, files: 1, dirs: 1, denied: 0, skipped: 0, used: 9, volumeSize: 10, volumeFree: 1, freed: 0, binned: 0 }, tree: null, exts: [], files: [], advice: [] }),
    '/api/findfiles': { running: false, files: paths.map((p) => ({ p, s: 9, m: 1, job: 1 })), shown: 2, count: 2, bytes: 18, opts: {} },
    '/api/delete': ({ body }) => ({ deleted: 0, bytes: 9, error: '', dryRun: true, refused: [], wouldDelete: body.getAll('p'), noBin: [] }),
  });
  const sent = requestsOf(tab, '/api/delete');
  await tab.goto(`${faults.base}/#find`);
  await tab.getByRole('grid').press('Control+a');
  await openDialog(tab);
  assert.deepEqual(sent.map((body) => [body.get('job'), ...body.getAll('p')]), [['1', paths[0]], ['0', paths[1]]]);
});

test('a host is remembered when its scan ends, what is typed stays, and not again at a reload', async (t) => {
  const { faults, folder, server, tab } = await opened(t, { files: { 'a.iso': 'a' } });
  await server.post('/api/scan', { path: winPath(folder), kind: 'folder', label: 'x' });
  let over = {};
  faults.answers['/api/jobs'] = async ({ real }) => (await real()).map((job) => ({ ...job, path: 'ssh://nas/data', kind: 'ssh', method: 'ssh', ...over }));
  over = { state: 'scanning' };
  await tab.goto(`${faults.base}/#picker`);
  const kept = () => tab.evaluate(() => JSON.parse(localStorage['vorda-hosts'] ?? '[]').map((host) => host.path));
  await tab.getByRole('banner').getByRole('button', { name: /^Stop the scan/ }).waitFor();
  await goTo(tab, 'picker', 'What do');
  await tab.getByLabel('Path of a folder').fill('D:\\half');
  over = {};
  await becomes(kept, ['ssh://nas/data']);
  await tab.getByRole('button', { name: 'Forget: ssh://nas/data' }).waitFor();
  assert.equal(await tab.getByLabel('Path of a folder').inputValue(), 'D:\\half');
  await tab.getByRole('button', { name: 'Forget: ssh://nas/data' }).click();
  await becomes(kept, []);
  await tab.reload();
  await tab.getByRole('banner').getByRole('button', { name: /^Close the scan/ }).waitFor();
  await settled(tab);
  assert.deepEqual(await kept(), []);
});

test('a double click on Stop stops a scan and does not close it', async (t) => {
  const { faults, folder, tab } = await opened(t, { files: { 'a/one.iso': 'one' } });
  let stopped = false;
  faults.answers['/api/jobs'] = async ({ real }) => (await real()).map((job) => (stopped ? job : { ...job, state: 'scanning' }));
  faults.answers['/api/cancel'] = () => {
    stopped = true;
    return { ok: true };
  };
  const closed = requestsOf(tab, '/api/forget');
  await tab.goto(`${faults.base}/?scan=${encodeURIComponent(winPath(folder))}`);
  const stop = tab.getByRole('banner').getByRole('button', { name: /^Stop the scan/ });
  await stop.click({ clickCount: 2, delay: 300 });
  const close = tab.getByRole('banner').getByRole('button', { name: /^Close the scan/ });
  await close.waitFor();
  assert.equal(closed.length, 0);
  await close.click();
  await close.waitFor({ state: 'detached' });
});
