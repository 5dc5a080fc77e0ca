// Lists and the map as a user of Windows works with them: long folders, columns, menus, keys, and what a reload
// and the browser's history bring back.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { altered, becomes, find, folders, goTo, mark, MiB, requestsOf, row, rowsOf, says, scanned, settled, toBin } from './support/browser.mjs';

const MEDIA = { 'films/a.mkv': 70 * MiB, 'films/b.mkv': 60 * MiB, 'photos/2019/c.raw': 80 * MiB, 'photos/d.raw': 20 * MiB, 'note.txt': 'n' };
const names = async (table) => (await rowsOf(table)).map((cells) => cells[1]);

test('a folder of 100,000 files: loaded as one gets to it, few nodes, sorted as a whole', async (t) => {
  const { root, tab } = await scanned(t, { 'many/x': 'x', 'b.iso': 70 * MiB }, { viewport: { width: 1440, height: 900 } });
  const count = 100_000;
  const asked = [];
  await tab.route('**/api/files*', async (route) => {
    const url = new URL(route.request().url());
    if (!url.searchParams.get('p').endsWith('many')) return void await route.continue();
    const from = Number(url.searchParams.get('from') ?? 0);
    const most = Number(url.searchParams.get('most') ?? 1000);
    asked.push(from);
    const files = Array.from({ length: Math.min(most, count - from) }, (_, i) => ({ n: `file ${(from + i) * 7919 % count}`, s: 1_000_000 - from - i, m: 1e12 + i }));
    await route.fulfill({ json: { path: `${root}\\many`, files, total: count, dirs: 0 } });
  });
  const tree = await folders(tab);
  await row(tree, 'many').first().click();
  await tree.press('ArrowRight');
  await becomes(() => tree.getAttribute('aria-rowcount'), '1005');
  assert.deepEqual(asked, [0], 'only what is looked at');
  for (const rows of [21_005, 41_005, 61_005, 81_005, 100_004]) {
    await tree.press('End');
    await becomes(() => tree.getAttribute('aria-rowcount'), String(rows));
  }
  const nodes = await tab.locator('*').count();
  assert.ok(nodes <= 1500, `${nodes} elements`);
  await tab.getByRole('button', { name: 'Sort by Name' }).click();
  await tree.press('Home');
  await becomes(async () => (await names(tree)).slice(0, 5), [root, 'many', 'file 0', 'file 1', 'file 2'], 'numbers in names count as numbers');
  await tree.press('Control+a');
  await says(tab, '2 items selected');
});

test('columns are chosen, made wider and sorted by, and a reload keeps that', async (t) => {
  const { root, tab } = await scanned(t, MEDIA);
  const tree = await folders(tab);
  const heads = () => tree.getByRole('columnheader').allInnerTexts();
  const width = (name) => tree.getByRole('columnheader', { name }).evaluate((cell) => Math.round(cell.getBoundingClientRect().width));
  await becomes(() => names(tree), [root, 'films', 'photos', 'note.txt'], 'files of any size');
  await tab.getByRole('button', { name: 'Columns' }).click();
  for (const name of ['Type', 'Files']) await tab.getByRole('menuitemcheckbox', { name }).click();
  await tab.keyboard.press('Escape');
  await becomes(heads, ['Selected', 'Name', 'Size', 'Share', 'Changed', 'Type', 'Menu']);
  const before = await width('Size');
  await tab.getByRole('button', { name: 'Sort by Size' }).press('Shift+ArrowRight');
  await becomes(() => width('Size'), before + 16);
  await tab.getByRole('button', { name: 'Sort by Name' }).click();
  await tab.getByRole('button', { name: 'Sort by Name' }).click();
  await becomes(() => names(tree), [root, 'photos', 'films', 'note.txt'], 'by name, folders come first');
  await tab.getByRole('button', { name: 'Columns' }).click();
  await tab.getByRole('menuitemcheckbox', { name: 'Folders first' }).click();
  await becomes(() => names(tree), [root, 'photos', 'note.txt', 'films']);
  await tab.reload();
  await becomes(() => names(tree), [root, 'photos', 'note.txt', 'films']);
  assert.deepEqual([await heads(), await width('Size')], [['Selected', 'Name', 'Size', 'Share', 'Changed', 'Type', 'Menu'], before + 16]);
});

test('the menu of an item, by mouse and by keys; what it opens; expanding everything', async (t) => {
  const { root, tab } = await scanned(t, MEDIA, { permissions: ['clipboard-read', 'clipboard-write'] });
  const opened = requestsOf(tab, '/api/open');
  const copied = () => tab.evaluate(() => navigator.clipboard.readText());
  const tree = await folders(tab);
  const menu = tab.getByRole('menu');
  await row(tree, 'films').first().click({ button: 'right' });
  await becomes(() => menu.getByRole('menuitem').locator('.label').allInnerTexts(), ['Expand', 'Expand everything below', 'Open', 'Show in Windows Explorer', 'Open a terminal here', 'Properties',
    'Open in the map', 'Copy path', 'Copy as table', 'Select', 'Scan this folder again', 'Delete…', 'Delete permanently…']);
  await menu.getByRole('menuitem', { name: 'Open a terminal here' }).click();
  await becomes(() => opened.map((body) => [body.get('what'), body.get('p')]), [['terminal', `${root}\\films`]]);
  await becomes(() => tab.evaluate(() => document.activeElement.getAttribute('role')), 'treegrid', 'the focus goes back');
  await tree.press('Shift+F10');
  for (const key of ['c', 'Enter']) await tab.keyboard.press(key);
  await becomes(copied, `${root}\\films`);
  await tree.press('Home');
  await tree.press('*');
  await becomes(() => names(tree), [root, 'films', 'a.mkv', 'b.mkv', 'photos', '2019', 'c.raw', 'd.raw', 'note.txt']);
  await row(tree, 'a.mkv').click();
  await row(tree, 'c.raw').click({ modifiers: ['Shift'] });
  await says(tab, '3 items selected');
  assert.equal(await tab.evaluate(() => getSelection().toString()), '', 'rows are selected, not text');
  await tree.press('Control+c');
  await becomes(copied, [`films\\a.mkv`, 'films\\b.mkv', 'photos', 'photos\\2019', 'photos\\2019\\c.raw'].map((name) => `${root}\\${name}`).join('\n'));
  await row(tree, 'note.txt').click();
  await tab.getByRole('button', { name: 'Clear selection' }).click();
  await tree.press('Shift+Delete');
  await becomes(() => tab.getByRole('dialog').getByLabel('Delete permanently').isChecked(), true);
  await tab.keyboard.press('Escape');
  await tree.press('?');
  await tab.getByRole('dialog', { name: 'Keys' }).waitFor();
  await tab.keyboard.press('Escape');
  await row(tree, 'films').first().click();
  await tree.press('Control+m');
  await tab.getByRole('listbox', { name: /^Size map of .*films/ }).waitFor();
  await goTo(tab, 'explorer', 'Folders');
  await tree.press('/');
  await tab.getByRole('heading', { level: 1, name: 'Find files' }).waitFor();
});

test('a reload brings back folders, marks and the scan; Back and Forward are exact; links lead to a folder', async (t) => {
  const { root, server, tab } = await scanned(t, MEDIA);
  const tree = await folders(tab);
  await row(tree, 'films').first().click();
  await tree.press('ArrowRight');
  await mark(tree, 'b.mkv');
  await tab.reload();
  await becomes(() => names(tree), [root, 'films', 'a.mkv', 'b.mkv', 'photos', 'note.txt']);
  await says(tab, '1 item selected, 60.0 MB');

  await goTo(tab, 'map', 'Map');
  const where = () => tab.getByRole('navigation', { name: 'Where the map is' }).locator('[aria-current]').innerText();
  await tab.getByRole('link', { name: root }).click();
  await tab.getByRole('listbox').focus();
  await row(tab.getByRole('grid'), 'photos').dblclick();
  await becomes(where, 'photos');
  await row(tab.getByRole('grid'), '2019').dblclick();
  await becomes(where, '2019');
  await goTo(tab, 'types', 'Types');
  await row(tab.getByRole('grid', { name: 'Types' }), '.raw').click();
  await says(tab.getByRole('main'), '100 MB, 2 files');
  for (const wanted of ['types', '2019', 'photos', root]) {
    await tab.goBack();
    await becomes(() => (wanted === 'types' ? tab.locator('h1').innerText().then((text) => text.toLowerCase()) : where()), wanted);
  }
  await tab.goForward();
  await becomes(where, 'photos');
  await tab.reload();
  await becomes(where, 'photos');
  await tab.goForward();
  await becomes(where, '2019');
  const link = await tab.getByRole('link', { name: 'photos' }).evaluate((one) => one.href);
  const other = await tab.context().newPage();
  await other.goto(link);
  await other.getByRole('listbox', { name: /photos$/ }).waitFor();
  assert.equal(new URL(link).origin, server.base);
});

test('the map stays in a small folder far down, after a deletion, a reload, by a link and from a hit', async (t) => {
  const deep = ['1', '2', '3', '4', '5', '6', '7', '8', 'end'];
  const { root, tab } = await scanned(t, { ...MEDIA, [`${deep.join('/')}/a.txt`]: 'a', [`${deep.join('/')}/b.txt`]: 'bb' });
  const at = [root, ...deep].join('\\');
  const crumbs = () => tab.getByRole('navigation', { name: 'Where the map is' }).getByRole('listitem').allInnerTexts();
  const list = tab.getByRole('grid');
  const there = async () => {
    await becomes(crumbs, [root, ...deep]);
    await row(list, 'b.txt').waitFor();
  };
  await tab.goto(`${new URL(tab.url()).origin}/#map/${encodeURIComponent(at)}`);
  await there();
  await tab.reload();
  await there();
  await row(list, 'a.txt').click();
  await list.press('Delete');
  await toBin(tab);
  await row(list, 'a.txt').waitFor({ state: 'detached' });
  await there();
  await find(tab, 'b.txt', '1 file found');
  await tab.reload(); // with a tree of which nothing is loaded
  await row(list, 'b.txt').click();
  await tab.getByRole('button', { name: 'Open in the map' }).click();
  await there();
  await tab.getByRole('listbox').press('Backspace');
  await becomes(crumbs, [root, ...deep.slice(0, -1)]);
});

test('a rest of the map is not taken for its largest tile', async (t) => {
  const { root, tab } = await scanned(t, { 'films/a.mkv': 70 * MiB });
  const small = Array.from({ length: 10_000 }, (_, i) => ({ n: `d${i}`, s: 1024, f: 1 }));
  await tab.route('**/api/dirs?*', (route) => (new URL(route.request().url()).searchParams.get('p') !== root ? route.continue()
    : route.fulfill({ json: { path: root, s: 80 * MiB, f: 10_001, dirs: [{ n: 'films', s: 70 * MiB, f: 1 }, ...small] } })));
  await tab.reload();
  await goTo(tab, 'map', 'Map');
  const rest = tab.getByRole('option', { name: /smaller items/ });
  await rest.waitFor();
  const box = await rest.boundingBox();
  await tab.mouse.click(box.x + box.width / 2, box.y + box.height / 2);
  const ring = await tab.locator('.ring:not(.hover)').boundingBox();
  assert.deepEqual([Math.round(ring.width), Math.round(ring.height)], [Math.round(box.width), Math.round(box.height)]);
  await tab.keyboard.press('Delete');
  await settled(tab);
  assert.equal(await tab.getByRole('dialog').count(), 0);
});

test('a new tab does not show that another one found nothing', async (t) => {
  const { server, tab } = await scanned(t, MEDIA);
  await server.post('/api/findfiles', { ids: '1', names: 'no such name', exts: '', min: '0', sort: 'size' });
  await becomes(async () => (await server.json('/api/findfiles')).body.running, false);
  await goTo(tab, 'find', 'Find files');
  await settled(tab);
  assert.equal(await tab.getByText('No file fits.').count(), 0);
});

test('the map fills its section, and its colours, depth and width are remembered', async (t) => {
  const { tab } = await scanned(t, { ...MEDIA, 'music/e.mp3': 40 * MiB, 'photos/2019/small.txt': 'x' }, { viewport: { width: 1440, height: 900 } });
  await goTo(tab, 'map', 'Map');
  const box = () => tab.locator('.map').evaluate((map) => map.clientWidth * map.clientHeight / (innerWidth * innerHeight));
  assert.ok(await box() >= 0.55, `${await box()} of the window`);
  const legend = tab.getByRole('list', { name: 'What the colours mean' });
  await becomes(async () => (await legend.getByRole('button').allInnerTexts()).map((text) => text.replace(/\s+/g, ' ').trim()), ['Pictures .raw 100 MB', 'Video .mkv 130 MB', 'Music and sound .mp3 40.0 MB', 'Documents', 'Archives', 'Programs', 'Disk images and backups', 'Everything else'], 'the folders in it were looked into');
  const painted = async () => {
    await row(tab.getByRole('grid'), 'photos').first().dblclick();
    await tab.getByRole('listbox', { name: /photos$/ }).waitFor();
    await settled(tab);
    const picture = await tab.locator('.map canvas').evaluate((one) => one.toDataURL());
    await tab.getByRole('listbox').press('Backspace');
    return picture;
  };
  const plain = await painted();
  await legend.getByRole('button', { name: 'Video' }).click();
  await becomes(() => legend.getByRole('button', { name: 'Video' }).getAttribute('aria-pressed'), 'true');
  await becomes(async () => await painted() === plain, true, 'a colour that was picked out fades nothing where it does not occur');
  const tip = tab.locator('.map-tip');
  await tab.locator('.map').hover({ position: { x: 20, y: 200 } });
  await becomes(async () => /\\.*\d%/s.test(await tip.innerText()), true);
  await tab.getByLabel('Colours', { exact: true }).selectOption('Colour by folder');
  await becomes(async () => (await legend.getByRole('button').allInnerTexts()).map((text) => text.split('\n')[0]), ['films', 'photos', 'music']);
  const handle = tab.getByRole('separator', { name: 'Width of the map' });
  const before = await box();
  for (let i = 0; i < 4; ++i) await handle.press('ArrowLeft');
  await becomes(async () => await box() < before, true);
  const narrower = await box();
  await tab.getByRole('listbox').press('-');
  await tab.reload();
  await becomes(async () => (await legend.getByRole('button').allInnerTexts()).map((text) => text.split('\n')[0]), ['films', 'photos', 'music']);
  assert.ok(Math.abs(await box() - narrower) < 0.01);
  assert.equal(JSON.parse(await tab.evaluate(() => localStorage['vorda-map'])).depth, 7);
  await row(tab.getByRole('grid'), 'films').first().dblclick();
  await tab.getByRole('listbox', { name: /films$/ }).waitFor();
  assert.equal(await tab.getByText('Nothing here takes up space.').isVisible(), false);
  await tab.getByLabel('What sizes mean').selectOption('On disk');
  await says(tab, 'Nothing here takes up space.'); // the files are sparse
  await tab.evaluate(() => delete localStorage['vorda-map']);
  await tab.setViewportSize({ width: 1024, height: 700 });
  await tab.reload();
  await becomes(() => row(tab.getByRole('grid'), '.mkv').first().locator('.name-cell').evaluate((cell) => cell.clientWidth >= 100), true, 'names have room beside the map');
  await tab.getByRole('listbox').press('-');
  await tab.setViewportSize({ width: 1440, height: 900 });
  await tab.reload();
  await becomes(() => tab.locator('.map').evaluate((map) => map.clientWidth / map.parentElement.clientWidth > 0.75), true, 'a width that nobody chose is not kept');
});

test('all types; tapping one on a narrow screen leads to it; a stopped scan says so after a reload', async (t) => {
  const types = Object.fromEntries(Array.from({ length: 30 }, (_, i) => [`x/f.t${i}`, 'x'.repeat(100 - i)]));
  const { tab } = await scanned(t, { ...types, 'big.mkv': 70 * MiB }, { viewport: { width: 360, height: 740 }, hasTouch: true });
  await altered(tab, '/api/result*', (doc) => ({ ...doc, meta: { ...doc.meta, partial: 'cancelled' } }));
  await tab.goto(`${new URL(tab.url()).origin}/#types`);
  await tab.reload();
  const list = tab.getByRole('grid', { name: 'Types' });
  await becomes(() => list.getAttribute('aria-rowcount'), '32');
  await says(tab, 'The scan was stopped: sizes and counts are of the part read until then.');
  await row(list, '.t1').first().click();
  await becomes(() => tab.locator('.columns.types h2').evaluate((title) => [title.innerText, document.activeElement === title, title.getBoundingClientRect().top < innerHeight - 60]), ['.t1', true, true]);
  const title = () => tab.locator('.columns.types h2').innerText();
  await list.press('End');
  await becomes(title, '.t29');
  await goTo(tab, 'overview', 'Overview');
  await tab.goBack();
  await says(tab.getByRole('main'), '71 B, 1 file');
  assert.equal(await title(), '.t29', 'though the result does not list it among the largest');
});

test('in a server, nothing is offered that would open on its own screen', async (t) => {
  const { tab } = await scanned(t, MEDIA);
  await tab.route('**/api/hello', (route) => route.fulfill({ json: { auth: false, server: true, canQuit: false } }));
  await tab.goto(`${new URL(tab.url()).origin}/#explorer`);
  await tab.reload();
  const tree = tab.getByRole('treegrid');
  await row(tree, 'films').first().click({ button: 'right' });
  await becomes(() => tab.getByRole('menu').getByRole('menuitem', { name: /^(Open|Open a terminal here|Properties)$/ }).count(), 0);
  await tab.getByRole('menuitem', { name: 'Copy path' }).waitFor();
});

test('searches are remembered until the user has them forgotten, and hosts by their names', async (t) => {
  const { tab } = await scanned(t, { 'film.mkv': 'a', 'b.txt': 'b' });
  await goTo(tab, 'find', 'Find files');
  await tab.getByRole('button', { name: 'Save this search' }).click();
  await says(tab, 'Enter a name, an extension or a size of at least 1 MB.');
  await tab.getByLabel('Extensions').fill('.mkv');
  await tab.getByRole('button', { name: 'Save this search' }).click();
  await tab.reload();
  await tab.getByRole('button', { name: '.mkv', exact: true }).click();
  await says(tab.getByRole('main'), '1 file found');
  assert.equal(await tab.getByLabel('Extensions').inputValue(), '.mkv', 'the form says what was asked');
  await tab.getByRole('button', { name: 'Remove this saved search: .mkv' }).click();
  await tab.reload();
  await tab.getByRole('button', { name: 'Save this search' }).waitFor();
  assert.equal(await tab.getByRole('button', { name: '.mkv', exact: true }).count(), 0);

  await tab.evaluate(() => localStorage.setItem('vorda-hosts', JSON.stringify([{ path: 'ssh://nas/data', name: '', scanned: Date.UTC(2026, 2, 4), free: 5 * 2 ** 30 }])));
  await goTo(tab, 'picker', 'What do you want to scan?');
  await says(tab, 'last scan 04/03/2026, 5.00 GB free');
  await tab.getByRole('button', { name: 'Rename: ssh://nas/data' }).click();
  await tab.getByLabel('Name of this host').fill('Cellar');
  await tab.keyboard.press('Enter');
  await tab.reload();
  await tab.getByRole('button', { name: 'Scan: Cellar' }).waitFor();
});

test('pictures among duplicates have a preview, other files with such names have none', async (t) => {
  const png = Buffer.from('iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg==', 'base64');
  const picture = Buffer.concat([png, Buffer.alloc(2 ** 20, 1)]);
  const other = Buffer.alloc(3 * 2 ** 20, 'no picture');
  const { tab } = await scanned(t, { 'a/one.png': picture, 'b/one.png': picture, 'a/not.png': other, 'b/not.png': other }, { expected: /400|404/ });
  await goTo(tab, 'across', 'Duplicates');
  await tab.getByRole('button', { name: 'Search for duplicates' }).click();
  await says(tab.getByRole('main'), '2 groups found');
  const shown = (name) => Promise.all([
    tab.waitForResponse((response) => response.url().includes('/api/preview') && response.url().includes(name)),
    tab.getByRole('main').getByRole('row').filter({ hasText: name }).first().click(),
  ]);
  const image = tab.getByRole('complementary').locator('img.preview');
  assert.equal((await shown('one.png'))[0].headers()['content-type'], 'image/png');
  await becomes(() => image.evaluate((one) => [one.complete, one.naturalWidth]), [true, 1]);
  assert.notEqual((await shown('not.png'))[0].status(), 200);
  await image.waitFor({ state: 'detached' });
  // A row that is drawn again between the two halves of a click does not lose it.
  await tab.getByRole('main').getByRole('row').filter({ hasText: 'b\\one.png' }).hover();
  await tab.mouse.down();
  await tab.setViewportSize({ width: 1281, height: 900 });
  await settled(tab);
  await tab.mouse.up();
  await image.waitFor();
});

test('marks that were cleared stay cleared when a scan is made again; a reload meanwhile loses none', async (t) => {
  const { tab } = await scanned(t, MEDIA);
  const list = tab.getByRole('grid');
  const marked = () => tab.locator('.selection-bar strong').innerText();
  const scanAgain = async () => {
    await goTo(tab, 'overview', 'Overview');
    await tab.getByRole('button', { name: 'Scan again' }).click();
  };
  await goTo(tab, 'largest', 'Largest files');
  for (const name of ['a.mkv', 'b.mkv']) await mark(list, name);
  await becomes(marked, '2 items selected, 130 MB');
  await mark(list, 'b.mkv');
  await scanAgain();
  await goTo(tab, 'largest', 'Largest files');
  await row(list, 'b.mkv').waitFor();
  await becomes(marked, '1 item selected, 70.0 MB');

  let running = true;
  await altered(tab, '/api/jobs', (jobs) => (running ? jobs.map((job) => ({ ...job, state: 'scanning' })) : jobs));
  await scanAgain();
  await tab.getByRole('main').getByRole('button', { name: 'Stop this scan' }).waitFor();
  await tab.reload();
  await tab.getByRole('main').getByRole('button', { name: 'Stop this scan' }).waitFor();
  await tab.reload();
  running = false;
  await goTo(tab, 'largest', 'Largest files');
  await row(list, 'b.mkv').waitFor();
  await becomes(marked, '1 item selected, 70.0 MB');
});

test('Back leads on, past a folder that is gone and a scan that was made again', async (t) => {
  const { server, tab } = await scanned(t, MEDIA);
  const title = () => tab.locator('h1').innerText();
  const back = async (wanted) => {
    await settled(tab);
    await tab.goBack();
    await becomes(title, wanted);
  };
  await goTo(tab, 'map', 'Map');
  const list = tab.getByRole('grid');
  await row(list, 'photos').dblclick();
  await row(list, 'd.raw').waitFor();
  await tab.getByRole('listbox').press('Backspace');
  await row(list, 'photos').click();
  await list.press('Delete');
  await toBin(tab);
  for (const wanted of ['Map', 'Map', 'Overview']) await back(wanted);

  for (const [section, name] of [['explorer', 'Folders'], ['overview', 'Overview']]) await goTo(tab, section, name);
  await tab.getByRole('button', { name: 'Scan again' }).click();
  await becomes(async () => (await server.json('/api/jobs')).body.map(({ id, state }) => [id, state]), [[2, 'done']]);
  await tab.getByRole('button', { name: 'Scan again' }).waitFor();
  for (const wanted of ['Folders', 'Overview']) await back(wanted);
});

test('scrolled to any place, or sorted, a list shows at once the rows that belong there', async (t) => {
  const { tab } = await scanned(t, Object.fromEntries(Array.from({ length: 400 }, (_, i) => [`many/f${100 + i}.txt`, 'x'.repeat(500 - i)])));
  const tree = await folders(tab);
  await row(tree, 'many').first().locator('.twist').click();
  await row(tree, 'f100.txt').waitFor();
  // A third of the places are reached with time for what is done later, two thirds without.
  const wrong = (first, by) => tree.evaluate(async (table, [first, by]) => {
    if (by < 0) table.querySelector('[data-sort=size]').click();
    const { left, top, bottom } = table.getBoundingClientRect();
    const [head, height] = ['.head-row', '.trow:not([hidden])'].map((one) => table.querySelector(one).offsetHeight);
    const faults = [];
    for (let turn = 0; turn < 90; ++turn) {
      const last = table.scrollTop;
      for (let y = top + head + 5; y < bottom - 5; y += height) {
        const index = Math.floor((last + y - top - head - 1) / height);
        const shown = document.elementFromPoint(left + 200, y)?.closest('.trow')?.querySelector('.cell-name').textContent;
        if (index > 1 && shown !== `f${first + by * (index - 2)}.txt`) faults.push(`${index} ${shown}`);
      }
      table.scrollTop = turn % 4 ? last + [0, 1300, -30, 90][turn % 4] : (turn * turn * 397) % (table.scrollHeight - 500);
      table.dispatchEvent(new Event('scroll'));
      if (turn % 3 === 0) await new Promise((resolve) => setTimeout(resolve, 30));
    }
    return faults;
  }, [first, by]);
  assert.deepEqual(await wrong(100, 1), []);
  assert.deepEqual(await wrong(499, -1), []);
});

test('who moves on in the tree stays there, whatever is loaded meanwhile', async (t) => {
  const many = Object.fromEntries(Array.from({ length: 130 }, (_, i) => [`many/f${100 + i}.txt`, 'x'.repeat(300 - i)]));
  const { tab } = await scanned(t, { ...MEDIA, ...many });
  const tree = await folders(tab);
  const active = () => tree.locator('.trow.active .cell-name').innerText();
  await row(tree, 'note.txt').click();
  await goTo(tab, 'overview', 'Overview');
  await goTo(tab, 'explorer', 'Folders');
  await becomes(active, 'note.txt');
  await row(tree, 'films').first().locator('.twist').click();
  await row(tree, 'a.mkv').waitFor();
  await settled(tab);
  assert.equal(await active(), 'films');

  // After a deletion all open folders are loaded again.
  await row(tree, 'many').first().locator('.twist').click();
  await row(tree, 'f100.txt').waitFor();
  await tab.keyboard.type('f227');
  await becomes(active, 'f227.txt');
  await tab.route('**/api/dirs*', async (route) => {
    if (route.request().url().endsWith('many&more=1')) await new Promise((resolve) => setTimeout(resolve, 300));
    await route.continue();
  });
  await tree.press('Delete');
  await toBin(tab);
  await row(tree, 'f227.txt').waitFor({ state: 'detached' });
  await row(tree, 'f229.txt').waitFor();
  assert.equal(await active(), 'f228.txt');
});

test('a range goes on from its row, wherever that is by now, and not from a row of another list', async (t) => {
  const { tab } = await scanned(t, MEDIA);
  const tree = await folders(tab);
  const marked = () => tab.locator('.selection-bar strong').innerText();
  await row(tree, 'photos').first().click();
  await row(tree, 'films').first().locator('.twist').click();
  await row(tree, 'b.mkv').waitFor();
  await row(tree, 'note.txt').click({ modifiers: ['Shift'] });
  await becomes(marked, '2 items selected, 100 MB');
  await tab.getByRole('button', { name: 'Clear selection' }).click();
  await row(tree, 'note.txt').click();
  await goTo(tab, 'largest', 'Largest files');
  await row(tab.getByRole('grid'), 'a.mkv').click({ modifiers: ['Shift'] });
  await becomes(marked, '1 item selected, 70.0 MB');
});

test('after a deletion the map looks into folders again', async (t) => {
  const { tab } = await scanned(t, { ...MEDIA, 'many/all.bin': 70 * MiB, 'many/gone/x.txt': 'x' }, { viewport: { width: 1440, height: 900 } });
  // As many folders as the map looks into, answered for in the page, which is quicker.
  await tab.addInitScript(() => {
    const ask = window.fetch;
    window.looked = 0;
    window.fetch = (address, options) => {
      const url = new URL(address, location.href);
      const path = url.searchParams.get('p') ?? '';
      const dirs = url.pathname === '/api/dirs';
      const numbers = [...Array(800).keys()];
      let made = null;
      if (dirs && path.endsWith('many')) made = { s: 70 * 2 ** 20 + 1 + 800 * 2 ** 17, f: 802, dirs: [{ n: 'gone', s: 1, f: 1 }, ...numbers.map((n) => ({ n: `m${n}`, s: 2 ** 17, f: 1 }))] };
      else if (/many.m\d+$/.test(path)) made = dirs ? { s: 2 ** 17, f: 1, dirs: [] } : { files: [{ n: 'x.bin', s: 2 ** 17, m: 0 }], total: 1, dirs: 0 };
      if (made && dirs) ++window.looked;
      return made ? Promise.resolve(new Response(JSON.stringify(made))) : ask(address, options);
    };
  });
  await tab.reload();
  const looked = () => tab.evaluate(() => window.looked);
  await goTo(tab, 'map', 'Map');
  const list = tab.getByRole('grid');
  await row(list, 'many').first().dblclick();
  await becomes(async () => await looked() > 700, true);
  await settled(tab);
  const before = await looked();
  await list.press('End');
  await becomes(() => list.locator('.trow.active .cell-name').innerText(), 'gone');
  await list.press('Delete');
  await toBin(tab);
  await becomes(async () => await looked() > before + 700, true);
});
