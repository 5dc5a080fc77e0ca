// The modules in core/, without a browser.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { needs } from '../system/support/home.mjs';
import { checkNumbered, numberedKeys } from '../../src/page/keys.mjs';
import { BETWEEN_TEXTS, numbersAnd, packed, unpacked } from '../../src/page/lang/forms.mjs';
import { page } from './support/modules.mjs';

const {
  bin, winnable, address, i18n, job, map_colours, map_layout, paths, plan, squarify, steps, tree, units, failure_texts, review, keeping, question, csv, hosts,
} = page;
const MiB = 2 ** 20;

test('sizes, shares and dates are formatted for the locale', needs('esbuild'), () => {
  const sizes = [0, 1023, 1024, 1536, 10 * 1024, 10 * 1024 - 1, 99.96 * 1024, 1024 * 1024 - 1, 1500 * MiB, 2 ** 40 - 1, 2 ** 50, 5000 * 2 ** 50];
  assert.deepEqual(sizes.map((bytes) => units.formatSize(bytes, 'en-GB')),
    ['0 B', '1023 B', '1.00 KB', '1.50 KB', '10.0 KB', '10.0 KB', '100 KB', '1.00 MB', '1.46 GB', '1.00 TB', '1.00 PB', '5000 PB']);
  assert.deepEqual(['nl-NL', 'fr-FR'].map((locale) => units.formatSize(1536, locale)), ['1,50 KB', '1,50 Ko']);
  assert.equal(units.formatSize(5, 'fr-FR'), '5 o');
  assert.deepEqual([NaN, -1].map((bytes) => units.formatSize(bytes, 'en-GB')), ['0 B', '0 B']);
  assert.deepEqual([0, 0.0001, 0.05, 0.5, 1].map((share) => units.formatPercent(share, 'en-GB')), ['0%', '< 0.1%', '5.0%', '50%', '100%']);
  assert.deepEqual([0, -5, 1e17].map((time) => units.formatDate(time, 'en-GB')), ['', '', '']);
  assert.equal(units.formatDate(Date.UTC(2024, 1, 3, 12), 'en-GB'), '03/02/2024');
  assert.equal(units.formatSeconds(1.25, 'fr-FR'), '1,3 s');
});

test('paths: parent and name, joining, owning scan, topmost', needs('esbuild'), () => {
  const cases = [['C:\\a\\b', 'C:\\a', 'b'], ['C:\\a', 'C:\\', 'a'], ['C:\\', '', 'C:'], ['\\\\srv\\share\\x', '\\\\srv\\share', 'x'],
    ['/home/x', '/home', 'x'], ['/home', '/', 'home'], ['/', '', '/'], ['C:\\a\\', 'C:\\', 'a'], ['C:\\a/b\\c', 'C:\\a/b', 'c']];
  for (const [path, parent, name] of cases) assert.deepEqual([paths.parentOf(path), paths.baseName(path)], [parent, name], path);
  assert.deepEqual([paths.joinPath('C:\\', 'a'), paths.joinPath('C:\\a', 'b'), paths.joinPath('/', 'a'), paths.joinPath('/a', 'b\\c')], ['C:\\a', 'C:\\a\\b', '/a', '/a/b\\c']);
  const roots = [{ id: 1, root: 'D:\\Data' }, { id: 2, root: 'D:\\' }, { id: 3, root: 'd:\\data\\deep\\' }];
  const owner = (path) => paths.owningJob(path, roots);
  assert.deepEqual(['D:\\Data2\\x', 'd:\\DATA\\x', 'D:\\Data', 'D:\\Data\\Deep\\x', 'E:\\x'].map(owner), [2, 1, 1, 3, 0]);
  assert.deepEqual(['\\\\srv\\share\\x', '/x'].map((path) => paths.owningJob(path, [{ id: 4, root: '/' }])), [0, 4]);
  assert.deepEqual(paths.topmost(['C:\\a\\b', 'C:\\A', 'C:\\ab', 'C:\\a\\b\\c', 'C:\\A']), ['C:\\A', 'C:\\ab']);
  assert.ok(paths.sameTarget('C:\\', 'c:') && paths.sameTarget('/a/', '/A') && !paths.sameTarget('C:\\a', 'C:\\ab'));
});

test('the address: its key and path, in the program’s own spelling and in links', needs('esbuild'), () => {
  const read = (search, hash = '') => Object.values(address.openingOf(search, hash));
  assert.deepEqual(read('?token=a+b&c%%3D'), ['a+b&c%%3D', '', '', '', '']);
  assert.deepEqual(read('?token=k%C3%A9y?scan=C%3A%5Ca%2Bb%3Fscan%3D', '#find'), ['kéy', 'C:\\a+b?scan=', '?scan=C%3A%5Ca%2Bb%3Fscan%3D', '', 'find']);
  assert.deepEqual(read('?token=k&scan=D:%5C'), ['k', 'D:\\', '?scan=D%3A%5C', '', '']);
  assert.deepEqual(read('?scan=D:%5C&x=1&token=k'), ['k', 'D:\\', '?scan=D%3A%5C&x=1', '?x=1', '']);
  assert.deepEqual(read('?scan=D:', '#key=s%20k=1'), ['s k=1', 'D:', '?scan=D%3A', '', '']);
  assert.deepEqual(read('', '#advice'), ['', '', '', '', 'advice']);
});

test('only what is certainly on a drive of this machine may be scanned without asking', needs('esbuild'), () => {
  const drives = [{ path: 'C:\\', type: 'fixed' }, { path: 'E:\\', type: 'removable' }, { path: 'N:\\', type: 'network' }];
  const own = (path) => paths.onOwnDrive(path, drives);
  for (const path of ['c:', 'C:\\', 'C:/x', 'e:\\a\\..\\b', 'C:\\a@b:/c', '\\\\?\\C:\\x']) assert.ok(own(path), path);
  for (const path of ['N:\\', 'X:\\', '\\\\nas\\share', '//nas/share', '\\/nas/share', '/\\nas\\share', '\\\\?\\UNC\\nas\\share', '\\\\?\\C:\\..\\UNC\\nas\\share', '\\\\.\\UNC\\nas\\share',
    '\\??\\UNC\\nas\\share', '\\\\wsl$\\Debian', '\\\\wsl.localhost\\Debian', 'ssh://me@host/C:', 'me@host:/x', 'C:x', 'C', '', ' \\\\nas\\share', 'x:', '\\\\?\\N:\\']) assert.ok(!own(path), path);
});

test('hostile names are made safe and short enough to display', needs('esbuild'), () => {
  assert.equal(paths.shown('a\u202egpj.exe\u0000\ud800b\u{1f600}'), 'a[U+202E]gpj.exe\u2400\ufffdb\u{1f600}');
  const long = `C:\\${'x'.repeat(32_000)}\\${'y'.repeat(300)}.txt`;
  const { head, tail } = paths.displayParts(long);
  assert.ok(head.length <= 520 && tail.length <= 260 && tail.endsWith('.txt') && head.startsWith('C:\\'));
  assert.deepEqual(['D:\\', '\\\\nas\\a b', 'Data (D:)', 'me@host:/var', '..', `\u202e${'x'.repeat(300)}`].map((name) => paths.fileNameOf(name).slice(0, 12)),
    ['D', 'nas-a-b', 'Data-(D-)', 'me@host-var', '', '[U+202E]xxxx']);
  for (let most = 3; most < 12; ++most) {
    const short = paths.shorten('ab\u{1f600}\u{1f600}cd\u{1f600}ef\u{1f600}', most);
    assert.ok(short.length <= most && short.isWellFormed?.() !== false && !/[\ud800-\udbff](?![\udc00-\udfff])/.test(short), `${most}: ${short}`);
  }
});

test('failure words: what figures stand in them, unknown ones as they are, and why turbo was not used', needs('esbuild'), () => {
  for (const lang of Object.keys(i18n.LANGS)) {
    i18n.setLanguage(lang);
    assert.match(i18n.failure('sshFailed:255'), /255/);
    for (const word of ['sshFailed:1', 'sshEmpty']) assert.match(i18n.failure(word), /\s\//, 'how to write a link is not said');
    const done = { state: 'done', files: 1, bytes: 1 };
    for (const partial of ['cancelled', 'broken']) assert.ok(i18n.known(`ovPartial_${partial}`) && job.summary({ ...done, partial }) !== job.summary(done));
    assert.match(i18n.failure('failed:124'), /124/);
  }
  // Why turbo was not used, also when it failed.
  i18n.setLanguage('en');
  assert.deepEqual(['notfixed', 'noadmin', 'mftDenied', 'mftBoot', 'mftMemory', 'cancelled', 'newWord'].map(job.turboReason), ['not a fixed drive',
    'turbo needs administrator rights', 'turbo needs administrator rights', 'the start of the drive could not be read', 'there was too little memory for the file table', 'Stopped.', 'newWord']);
  assert.equal(i18n.failure('somethingNew'), 'somethingNew');
  assert.equal(failure_texts.wordingOf('constructor').key, null);
  i18n.setLanguage('nl');
  assert.deepEqual([i18n.t('nFiles', { n: 1 }), i18n.t('nFiles', { n: 12345 }), i18n.phrase('r_', 'newWord'), i18n.text('no such key')],
    ['1 bestand', '12.345 bestanden', 'newWord', 'no such key']);
  i18n.setLanguage('fr');
  assert.deepEqual([i18n.t('nFiles', { n: 0 }), i18n.t('nFiles', { n: 1_000_000 })], ['0 fichier', '1\u202f000\u202f000 de fichiers']);
  assert.deepEqual([i18n.preferredLanguage(['de-DE', 'pt-BR', 'en']), i18n.preferredLanguage(['de'])], ['pt', 'en']);
  i18n.setLanguage('en');
});

test('no dictionary contains English text', needs('esbuild'), () => {
  // Texts that are the same in both languages.
  const alike = {
    nl: ['colType', 'colMenu', 'keyShift', 'keyEnter', 'keyDelete', 'g_video', 'scansList', 'nItems', 'filter', 'details', 'adNotes', 'acRunning'],
    fr: ['colType', 'colMenu', 'g_documents', 'g_archives', 'sections', 'secTypes', 'exportTypes', 'fiExts', 'abVersion'],
    es: ['a_oldfiles_returns', 'a_duplicates_returns', 'acRunning'],
    pt: ['colMenu', 'keyShift', 'keyEnter', 'keyDelete', 'acRunning'],
  };
  const everywhere = ['title', 'turbo', 's_turbo', 'progressLine', 'how_ssh', 'mapTile', 'fiExtsHint'];
  for (const [lang, keys] of Object.entries(alike)) {
    const left = Object.keys(page.en).filter((key) => JSON.stringify(page[lang][key]) === JSON.stringify(page.en[key]));
    assert.deepEqual(left.filter((key) => !keys.includes(key) && !everywhere.includes(key)), [], lang);
  }
});

test('keys that are put together while the page runs begin like some that there are', () => {
  const folder = new URL('../../src/page/', import.meta.url);
  const source = fs.readdirSync(folder, { recursive: true }).filter((name) => name.endsWith('.ts')).map((name) => fs.readFileSync(new URL(name, folder), 'utf8')).join('');
  const beginnings = new Set(Array.from(source.matchAll(/\b(?:phrase\('|text\(`)(\w+_)/g), ([, beginning]) => beginning));
  assert.ok(beginnings.size > 10);
  assert.deepEqual([...beginnings].filter((beginning) => !Object.keys(page.en).some((key) => key.startsWith(beginning))), []);
});

test('a key has a number in the built page unless something may look for it by its name', () => {
  const source = `t('one'); parts('one', x); t(yes ? 'camelOne' : 'camelTwo'); const camelTwo = 1; el('x', { class: 'both' }, t('both')); text(\`r_\${why}\`);`;
  const { keys, named, replaced } = numberedKeys(['one', 'camelOne', 'camelTwo', 'both', 'r_why', 'unused'], [source, "title: 'camelOne'"]);
  assert.deepEqual([keys, named], [['one', 'camelOne', 'unused'], ['camelTwo', 'both', 'r_why']]);
  assert.match(replaced(source), /^t\(1\); parts\(1, x\); t\(yes \? 2 : 'camelTwo'\).*t\('both'\)/);
  checkNumbered(keys, replaced(source));
  assert.throws(() => checkNumbered(keys, 'f("camelOne")'), /camelOne/);
});

test('each language finds its texts under the numbers and names of the English ones', needs('esbuild'), () => {
  const names = Object.keys(page.en).reverse();
  const [numbered, named] = [names.slice(0, 300), names.slice(300)];
  const inPage = (lang, keys) => unpacked(keys, packed([...numbered, ...named].map((key) => page[lang][key]), lang === 'fr'), lang === 'fr');
  const english = inPage('en', numbersAnd(numbered.length, named.join(BETWEEN_TEXTS)));
  for (const lang of ['nl', 'fr', 'es', 'pt']) {
    const texts = inPage(lang, Object.keys(english));
    // A text may have a form for millions that its language never asks for.
    const same = (key, at) => assert.deepEqual(texts[at], typeof texts[at] === 'string' ? page[lang][key] : { ...texts[at], ...page[lang][key] }, `${lang} ${key}`);
    numbered.forEach((key, i) => same(key, i + 1));
    for (const key of named) same(key, key);
  }
});

const doc = (over = {}) => ({
  meta: { path: 'C:\\d', used: 300 * MiB, files: 9 }, exts: [], advice: [],
  files: [{ p: 'C:\\d\\a\\big.iso', s: 60 * MiB, m: 5 }, { p: 'C:\\d\\film.mkv', s: 90 * MiB, m: 0 }, { p: 'C:\\d\\small', s: 10, m: 0 }],
  tree: { n: 'C:\\d', s: 300 * MiB, f: 9, i: 0, c: [
    { n: 'a', s: 150 * MiB, f: 4, i: 1, c: [{ n: '', rk: 'loose', s: 150 * MiB, f: 4, rest: true }] },
    { n: '', rk: 'smaller', rn: 3, s: 40 * MiB, f: 2, rest: true },
    { n: '', rk: 'loose', s: 110 * MiB, f: 3, rest: true },
  ] }, ...over,
});

test('the tree combines the pruned tree, fetched folders and files of any size', needs('esbuild'), () => {
  const scan = new tree.ScanTree(doc());
  const names = (path) => scan.entries(path).map((entry) => `${entry.kind} ${entry.name} ${entry.s / MiB} ${entry.f}`);
  assert.deepEqual(names('C:\\d'), ['folder a 150 4', 'file film.mkv 90 1', 'smaller  40 2', `loose  ${20 - 10 / MiB} 1`, `file small ${10 / MiB} 1`]);
  assert.deepEqual(names('C:\\d\\a'), ['loose  90 3', 'file big.iso 60 1']);
  assert.ok(scan.needsLoading('C:\\d'));
  scan.startLoading('C:\\d');
  assert.ok(!scan.needsLoading('C:\\d'));
  scan.setFolders('C:\\d', { path: 'C:\\d', s: 300 * MiB, f: 9, dirs: [{ n: 'a', s: 150 * MiB, f: 4 }, { n: 'b', s: 40 * MiB, f: 2 }, { n: 'none', s: 0, f: 0 }], total: 3 });
  const listing = (files, total) => ({ path: 'C:\\d', files: files.map(([n, s]) => ({ n, s: s * MiB, m: 7 })), total, dirs: 3 });
  scan.setFiles('C:\\d', listing([['film.mkv', 90]], 4));
  assert.deepEqual(names('C:\\d'), ['folder a 150 4', 'file film.mkv 90 1', 'folder b 40 2', 'folder none 0 0', 'more  20 3']);
  scan.setFiles('C:\\d', listing([['c', 8], ['b', 8]], 4), 2);
  assert.equal(scan.entries('C:\\d').at(-1).n, 3, 'a page that does not continue the list is left out');
  scan.setFiles('C:\\d', listing([['c', 8], ['b', 8], ['tiny', 1]], 4), 1);
  assert.deepEqual(names('C:\\d'), ['folder a 150 4', 'file film.mkv 90 1', 'folder b 40 2', 'file b 8 1', 'file c 8 1', 'file tiny 1 1', 'folder none 0 0', 'gone  3 0']);
  const order = (by, down, foldersFirst = false) => scan.arrangedEntries('C:\\d', { by, down, foldersFirst, measure: 's' }).map((entry) => entry.name || entry.kind).join();
  assert.deepEqual([order('name', false), order('name', true, true), order('type', false), order('date', true)],
    ['a,b,b,c,film.mkv,none,tiny,gone', 'none,b,a,tiny,film.mkv,c,b,gone', 'a,b,b,c,tiny,none,film.mkv,gone', 'film.mkv,b,c,tiny,a,b,none,gone']);
  const rows = tree.treeRows(scan, new Set(['C:\\d', 'C:\\d\\a', 'C:\\d\\none']));
  assert.deepEqual(rows.map((row) => [row.entry.name, row.depth, row.parent, row.open]).slice(0, 5),
    [['C:\\d', 0, -1, true], ['a', 1, 0, true], ['', 2, 1, false], ['big.iso', 2, 1, false], ['film.mkv', 1, 0, false]]);
  assert.deepEqual([tree.findTyped(rows, 0, 'B'), tree.findTyped(rows, 4, 'b'), tree.findTyped(rows, 0, 'zz')], [3, 5, -1]);
  scan.setFailed('C:\\d\\b', 'offline');
  assert.deepEqual(scan.entries('C:\\d\\b').map((entry) => [entry.kind, entry.name]), [['failed', 'offline']]);
  assert.ok(scan.needsLoading('C:\\d\\b'), 'a failed folder can be loaded again');
  for (const n of ['C:', 'C:\\', 'C:\\d\\']) {
    const odd = new tree.ScanTree(doc({ tree: { n, s: 90 * MiB, f: 2, c: [{ n: 'in', s: 9, f: 1 }] }, files: [{ p: `${n.replace(/\\$/, '')}\\x.iso`, s: 60 * MiB, m: 0 }] }));
    const [file, folder] = odd.entries(n);
    assert.deepEqual([file.name, folder.name, odd.find(folder.path)?.name, odd.folderOf(folder.path)], ['x.iso', 'in', 'in', n]);
  }
  const empty = new tree.ScanTree(doc({ tree: null, files: [] }));
  assert.deepEqual([empty.root.path, tree.treeRows(empty, new Set(['C:\\d'])).length], ['C:\\d', 1]);

  // What is on the disk, and what comes back, also for what is not listed.
  const disk = new tree.ScanTree(doc({ tree: { n: 'C:\\d', s: 100, a: 80, x: 70, f: 3, c: [] }, files: [] }));
  disk.setFolders('C:\\d', { path: 'C:\\d', s: 100, a: 80, x: 70, f: 3, dirs: [{ n: 'in', s: 50, a: 60, x: 10, f: 1 }] });
  disk.setFiles('C:\\d', { files: [{ n: 'f', s: 30, a: 4, x: 4, cl: 26, m: 0 }], total: 2, dirs: 1 });
  assert.deepEqual(disk.entries('C:\\d').map(({ kind, s, a, x, cl }) => [kind, s, a, x, cl]), [['folder', 50, 60, 10, undefined], ['file', 30, 4, 4, 26], ['more', 20, 16, 56, undefined]]);
});

// The tree of an invented folder: nodes with children, sizes that need not add up, chains and hundreds of
// small ones.
function randomTree(random, depth, size) {
  const node = { size, folder: depth > 0 && size > 2e9 && random() < 0.8, children: [] };
  if (!node.folder) return node;
  const count = random() < 0.2 ? 1 : Math.floor(random() ** 3 * 300) + 1;
  const whole = random() < 0.5;
  let left = size;
  for (let i = 0; i < count && left > 0; ++i) {
    const part = count === 1 && whole ? size : Math.floor(left * random() * (count < 8 ? 0.6 : 0.05));
    node.children.push(randomTree(random, depth - 1, part));
    left -= part;
  }
  node.children.sort((a, b) => b.size - a.size);
  return node;
}

const source = { childrenOf: (node) => node.children, sizeOf: (node) => node.size, isFolder: (node) => node.folder };

test('every tile of the map has its share of the area, at all depths, and nothing is missing', needs('esbuild'), () => {
  let state = 3;
  const random = () => (state = (Math.imul(state, 1_664_525) + 1_013_904_223) >>> 0) / 2 ** 32;
  let looked = 0;
  for (let round = 0; round < 12; ++round) {
    const top = { ...randomTree(random, 6, 1e12), folder: true };
    const area = { x: 0, y: 0, w: 300 + Math.floor(random() * 1200), h: 200 + Math.floor(random() * 700) };
    const share = (size) => (size / top.size) * area.w * area.h;
    for (const deepest of [1, 2, 4, 7]) {
      const tiles = map_layout.layoutMap(top, area, source, deepest);
      looked += tiles.length;
      const held = new Map();
      let worst = 0;
      for (const tile of tiles) {
        const around = tile.parent < 0 ? area : tiles[tile.parent];
        const beyond = Math.max(around.x - tile.x, around.y - tile.y, tile.x + tile.w - around.x - around.w, tile.y + tile.h - around.y - around.h);
        const other = tile.rest ? 0 : share(Math.abs(tile.size - tile.item.size));
        worst = Math.max(worst, Math.abs(tile.w * tile.h - share(tile.size)), other, beyond);
        held.set(tile.parent, (held.get(tile.parent) ?? 0) + tile.w * tile.h);
      }
      assert.ok(worst < 1, `wrong by ${worst} pixels`);
      for (const [parent, sum] of held) assert.ok(Math.abs(sum - (parent < 0 ? area.w * area.h : tiles[parent].w * tiles[parent].h)) < 1, 'the tiles fill their folder');
      assert.ok(tiles.every((tile, index) => tile.inside === held.has(index)) && tiles.every((tile) => tile.level < deepest));
    }
  }
  assert.ok(looked > 20_000, `${looked} tiles`);
});

test('tiles of the map: chains, what is not known, and what has grown since', needs('esbuild'), () => {
  const node = (size, ...children) => ({ size, folder: true, children });
  const file = (size) => ({ size, folder: false, children: [] });
  const layout = (top, depth = 5) => map_layout.layoutMap(top, { x: 0, y: 0, w: 400, h: 250 }, source, depth);
  const brief = (tiles) => tiles.map((tile) => `${tile.rest ? `rest of ${tile.count}` : 'item'} ${Math.round(tile.size)} ${tile.level}${tile.joined ? ' joined' : ''}`);
  assert.deepEqual(brief(layout(node(100, file(10)))), ['item 10 0', 'rest of 0 90 0'], 'what is not listed is not stretched');
  const chain = layout(node(100, node(100, node(100, file(60), file(40)))));
  assert.deepEqual(brief(chain), ['item 100 0', 'item 100 0 joined', 'item 60 1', 'item 40 1']);
  assert.deepEqual(chain.map((tile) => tile.only), [1, -1, -1, -1]);
  assert.deepEqual(brief(layout(node(100, node(100)))), ['item 100 0'], 'a folder whose contents are not known is one tile');
  assert.deepEqual(brief(layout(node(100, file(90), file(60)))), ['item 60 0', 'item 40 0'], 'more than the folder has');
  const many = Array.from({ length: 500 }, () => file(0.002));
  assert.deepEqual(brief(layout(node(100, file(99), ...many))), ['item 99 0', 'rest of 500 1 0']);
  const rects = squarify.squarify([6, 4, 3], { x: 0, y: 0, w: 100, h: 50 });
  assert.equal(map_layout.tileAt(layout(node(100, file(60), file(40))), 1, 1), 0);
  assert.deepEqual([map_layout.nearestTile(rects, 0, 1, 0), map_layout.nearestTile(rects, 0, -1, 0), map_layout.nearestTile([], 0, 1, 0)], [1, 0, -1]);
});

// The colours of the map are told apart with any colour vision, and carry dark text.
test('colours of the map: text on them, edges between them, and distance for colour-blind eyes', needs('esbuild'), () => {
  const css = fs.readFileSync(new URL('../../src/page/css/tokens.css', import.meta.url), 'utf8');
  const token = (name) => [1, 3, 5].map((at) => parseInt(new RegExp(`--${name}: (#\\w{6})`).exec(css)[1].slice(at, at + 2), 16) / 255).map((c) => (c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4));
  const light = ([r, g, b]) => 0.2126 * r + 0.7152 * g + 0.0722 * b;
  const contrast = (a, b) => (Math.max(light(a), light(b)) + 0.05) / (Math.min(light(a), light(b)) + 0.05);
  const lab = ([r, g, b]) => {
    const [l, m, s] = [0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b, 0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b, 0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b].map(Math.cbrt);
    return [0.2104542553 * l + 0.793617785 * m - 0.0040720468 * s, 1.9779984951 * l - 2.428592205 * m + 0.4505937099 * s, 0.0259040371 * l + 0.7827717662 * m - 0.808675766 * s];
  };
  // How the world looks without one of the three kinds of cones.
  const EYES = {
    all: [[1, 0, 0], [0, 1, 0], [0, 0, 1]],
    noRed: [[0.152286, 1.052583, -0.204868], [0.114503, 0.786281, 0.099216], [-0.003882, -0.048116, 1.051998]],
    noGreen: [[0.367322, 0.860646, -0.227968], [0.280085, 0.672501, 0.047413], [-0.01182, 0.04294, 0.968881]],
    noBlue: [[1.255528, -0.076749, -0.178779], [-0.078411, 0.930809, 0.147602], [0.004733, 0.691367, 0.3039]],
  };
  const seen = (eye, colour) => lab(eye.map((row) => Math.min(1, Math.max(0, row.reduce((sum, part, i) => sum + part * colour[i], 0)))));
  const palette = [1, 2, 3, 4, 5, 6, 7, 'other'].map((i) => token(`tile-${i}`));
  const ages = [1, 2, 3, 4, 5, 6].map((i) => token(`age-${i}`));
  for (const colour of [...palette, ...ages]) {
    assert.ok(contrast(colour, token('tile-ink')) >= 4.5, `text: ${contrast(colour, token('tile-ink'))}`);
    assert.ok(contrast(colour, token('tile-line')) >= 1.5 && contrast(token('tile-line'), token('tile-pill-ink')) >= 4.5);
  }
  for (const [name, eye] of Object.entries(EYES)) {
    const far = (a, b) => Math.hypot(...seen(eye, a).map((part, i) => part - seen(eye, b)[i]));
    palette.forEach((a, i) => palette.slice(i + 1).forEach((b, k) => assert.ok(far(a, b) >= 0.09, `${name}: ${i + 1} and ${i + k + 2}, ${far(a, b)}`)));
    ages.slice(1).forEach((colour, i) => assert.ok(light(colour) < light(ages[i]) && far(colour, ages[i]) >= 0.04, `${name}: age ${i + 2}, ${far(colour, ages[i])}`));
  }
  const file = (name, m = 0) => ({ kind: 'file', name, path: name, s: 1, f: 1, n: 0, m });
  const colour = (item, by, contents = [], rest = false) => map_colours.colourOf({ item, size: item.s, rest, count: rest ? 1 : 0, branch: 2 }, { childrenOf: () => contents, sizeOf: (one) => one.s }, by, 1e12);
  assert.deepEqual([colour(file('a.JPG'), 'type'), colour(file('b'), 'type'), colour(file('pagefile.sys'), 'type'), colour(file('driver.sys'), 'type'), colour(file('a.iso'), 'folder')], [0, 7, 7, 5, 2]);
  assert.deepEqual([1, 40, 200, 3000].map((days) => colour(file('a', 1e12 - days * 864e5), 'age')), [0, 1, 2, 5]);
  const folder = { ...file('x'), kind: 'folder', s: 100 };
  const sound = { ...file('a.mp3'), s: 95 };
  assert.deepEqual([colour(folder, 'type', [sound]), colour(folder, 'type', [{ ...sound, s: 80 }]), colour(folder, 'folder', [], true), ...[[file('b.jpg'), sound], [sound, file('b.jpg')], []].map((contents) => colour(folder, 'type', contents, true))], [2, 7, 7, 2, 7, 7]);
});

test('a place in the page and its address', needs('esbuild'), () => {
  for (const at of ['C:\\a b\\100 %\\ü#?', '/var/log', '']) assert.deepEqual(steps.readFragment(steps.fragmentOf('map', at)), { section: 'map', at });
  assert.deepEqual([steps.readFragment('#types'), steps.readFragment('map/%zz'), steps.fragmentOf('map', '\ud800')], [{ section: 'types', at: '' }, { section: 'map', at: '' }, '#map/']);
  const step = { section: 'map', scan: 2, at: 'C:\\x' };
  assert.deepEqual([steps.stepOf(step), steps.stepOf({ map: 'C:' }), steps.stepOf(null), steps.sameStep(step, { ...step }), steps.sameStep(null, step)], [step, null, null, true, false]);
});

test('deletion: one request per scan, the right sentence for the outcome, and what missed the bin', needs('esbuild'), () => {
  const roots = [{ id: 1, root: 'C:\\' }, { id: 2, root: 'D:\\Data' }];
  assert.deepEqual(plan.partsByJob(['C:\\a', 'D:\\Data\\x', 'C:\\a\\b', 'D:\\Data2\\y'], roots, 1),
    [{ job: 1, paths: ['C:\\a', 'D:\\Data2\\y'] }, { job: 2, paths: ['D:\\Data\\x'] }]);
  const nested = [{ id: 1, root: 'C:\\' }, { id: 2, root: 'C:\\in' }];
  const jobsOf = (view) => plan.partsByJob(['C:\\in\\x', 'C:\\IN2'], nested, view).map((part) => part.job);
  assert.deepEqual([jobsOf(1), jobsOf(2)], [[1], [2, 1]], 'in the name of the scan on view, if it lies in it');
  assert.deepEqual(plan.partsByJob(['C:\\in'], nested, 2), [{ job: 1, paths: ['C:\\in'] }], 'a root goes from the scan around it');
  const key = (deleted, bytes, binned) => plan.outcomeKey({ deleted, bytes, binned, error: '' });
  assert.deepEqual([key(0, 0, 0), key(2, 10, 0), key(2, 10, 10), key(2, 10, 4)], ['delNothing', 'delDone', 'delDoneBin', 'delDoneMixed']);
  assert.deepEqual(plan.outcomeOf([{ deleted: 1, bytes: 2, binned: 1, error: 'aborted' }, { deleted: 1, bytes: 3, error: '', partial: [{ p: 'x', bytes: 2 }], logged: false }]),
    { deleted: 2, bytes: 5, binned: 1, error: 'aborted', inside: 2, logged: false, gained: null });
  const drive = (freeBefore, freeAfter) => ({ deleted: 1, bytes: 9, error: '', freeBefore, freeAfter });
  assert.equal(plan.outcomeOf([drive(5, 9), drive(9, 8)]).gained, 3);
  assert.deepEqual(['delete', ' DELETE\n', 'delet', 'DELETE!'].map((typed) => plan.confirms(typed, 'DELETE')), [true, true, false, false]);
  const missed = (bytes, binned, noBin = []) => bin.missedBin({ noBin }, { bytes, binned });
  assert.deepEqual([missed(9, 9), missed(9, 4), missed(9, 0), missed(4, 9), missed(9, 4, ['C:\\a'])], [0, 5, 9, 0, 0]);
});

const finding = (code, bytes, places, over = {}) => ({
  code, level: 'warning', bytes, target: '', paths: places.map((one) => one[0]), pathBytes: places.map((one) => one[1]), pathGroup: places.map((one) => one[2] ?? 0), ...over,
});

test('what all advice together could free, and its two totals, count every byte once', needs('esbuild'), () => {
  const won = (...findings) => winnable.winnable(findings);
  const old = finding('oldfiles', 70, [['C:\\Users\\a\\Downloads\\old.iso', 30], ['C:\\x\\film.mkv', 20], ['C:\\y\\film.mkv', 20]]);
  const downloads = finding('downloads', 50, [], { target: 'C:\\Users\\a\\Downloads' });
  const copies = finding('duplicates', 40, [['C:\\x\\film.mkv', 20, 1], ['c:\\Y\\film.mkv', 20, 1], ['C:\\z\\film.mkv', 20, 1]]);
  assert.deepEqual([won(), won(old), won(downloads), won(copies)], [0, 70, 50, 40]);
  assert.equal(won(old, downloads), 90, 'a file in the folder goes with it');
  assert.equal(won(old, copies), 70, 'two of three copies are old files');
  assert.equal(won(copies, finding('caches', 20, [['C:\\z', 20]])), 60 - 20, 'the third goes with its folder');
  assert.equal(won(finding('tempfiles', 30, [['C:\\t', 10], ['C:\\t\\Temp', 4]])), 10 + 16, 'places that are not listed');
  assert.equal(won({ ...old, bytes: 100 }, { ...copies, bytes: 60 }), 70 + 30, 'which may be the same files');
  assert.equal(won({ ...old, level: 'good' }), 0);

  // The two totals add up.
  const temp = finding('tempfiles', 40, [['C:\\Users\\a\\Temp', 40]]);
  const within = finding('oldfiles', 50, [['C:\\Users\\a\\Temp\\old.bin', 30], ['C:\\x', 20]], { level: 'serious' });
  const installer = finding('installer', 90, [], { level: 'good', target: 'C:\\Windows\\Installer' });
  assert.deepEqual(winnable.gains([temp, within, installer]), { safe: 40, look: 20 }, 'what goes with the temporary files is not looked through');
  assert.deepEqual(winnable.gains([within]), { safe: 0, look: 50 });
  assert.deepEqual([temp, within, installer].map(winnable.gainOf), ['safe', 'look', 'none']);
});

test('a long deletion is sent in parts, each for one drive', needs('esbuild'), () => {
  const many = Array.from({ length: 1001 }, (_, i) => `C:\\f${i}`);
  const parts = review.requestsFor([{ job: 1, paths: ['D:\\x', ...many, 'd:\\y'] }, { job: 2, paths: ['\\\\nas\\s\\z'] }]);
  assert.deepEqual(parts.map((part) => [part.job, part.paths.length]), [[1, 2], [1, 500], [1, 500], [1, 1], [2, 1]]);
  assert.deepEqual(new Set(parts.flatMap((part) => part.paths)).size, 1004);
  const empty = { parts: [], wouldDelete: [], refused: [], noBin: [], seen: new Map(), items: new Map() };
  const items = new Map([['C:\\a', { s: 5, f: 1, m: 9 }], ['C:\\d', { s: 7, f: 3, m: 0, dir: true }]]);
  const rows = review.goingOf({ ...empty, wouldDelete: ['C:\\a', 'C:\\d'], noBin: ['C:\\a'], items }, { ...empty, wouldDelete: ['C:\\long'] });
  assert.deepEqual(rows.map(({ path, bytes, files, folder, note }) => [path, bytes, files, folder, note]),
    [['C:\\d', 7, 3, true, null], ['C:\\a', 5, 1, false, 'delTagGone'], ['C:\\long', 0, 0, false, 'delTagLong']]);
  const drives = [{ path: 'C:\\', size: 100, free: 10 }, { path: 'E:\\', size: 100, free: 10 }, { path: 'D:\\', size: 20, free: 15 }];
  assert.deepEqual(review.freeAfter([{ path: 'c:\\x', bytes: 5 }, { path: 'C:\\y', bytes: 6 }, { path: 'D:\\z', bytes: 90 }, { path: '\\\\nas\\s', bytes: 1 }], drives),
    [{ drive: 'C:', free: 21 }, { drive: 'D:', free: 20 }], 'never more than the drive has room for');
});

test('which copy is kept: preferred folders, then no copies by their place or name, then the rule', needs('esbuild'), () => {
  const group = (...paths) => ({ s: 1, c: paths.length, waste: 1, files: paths.map((p, i) => ({ p, m: 100 - i, job: 1 })) });
  const kept = (paths, rule = 'newest', folders = '') => keeping.keeper(group(...paths), rule, keeping.foldersOf(folders)).p;
  for (const bad of ['C:\\Users\\a\\Desktop\\x.jpg', 'C:\\Users\\a\\Downloads\\in\\x.jpg', 'D:\\temp\\x.jpg', 'D:\\TMP\\x.jpg', 'D:\\p\\x (1).jpg', 'D:\\p\\x (12)',
    'D:\\p\\x - Copy.jpg', 'D:\\p\\Copy of x.jpg', 'D:\\p\\x - kopie.jpg', 'D:\\p\\x - Copie (2).jpg', 'D:\\p\\x - copia.jpg', 'D:\\p\\x - Cópia.jpg', 'D:\\p\\x_copy.jpg']) {
    assert.equal(kept([bad, 'D:\\p\\x.jpg']), 'D:\\p\\x.jpg', bad);
    assert.equal(kept([bad]), bad);
  }
  for (const good of ['D:\\photocopy.jpg', 'D:\\copyright.txt', 'D:\\Desktop.jpg', 'D:\\(2019) x.jpg', 'D:\\templates\\x']) assert.ok(!keeping.looksLikeCopy(good), good);
  assert.equal(kept(['D:\\a\\x', 'E:\\b\\x', 'E:\\c\\x'], 'newest', ' e:\\C\\ ; E:\\'), 'E:\\c\\x', 'the first preferred folder counts most');
  assert.equal(kept(['D:\\a\\x', 'E:\\Downloads\\x'], 'newest', 'E:\\'), 'E:\\Downloads\\x', 'the user’s word counts more than the name');
  assert.equal(kept(['D:\\ab\\x', 'D:\\a\\x'], 'oldest', 'D:\\a'), 'D:\\a\\x');
  assert.equal(kept(['D:\\b', 'D:\\a'], 'shortest'), 'D:\\a', 'ties go by path');
});

test('a question picks from what the scans know what the program would find', needs('esbuild'), () => {
  const at = (text) => Date.parse(text);
  const files = [{ p: 'D:\\a\\Film.MKV', s: 5 * MiB, m: at('2020-05-05T12:00') }, { p: 'D:\\b\\film (2).mp4', s: 50 * MiB, m: at('2024-05-05T12:00') }, { p: 'D:\\a\\c\\été.txt', s: 10, m: 0 }];
  const picked = (asked) => files.filter(question.picker({ ...question.NO_QUESTION, ...asked })).map((file) => file.s);
  const [first, second, third] = files.map((file) => file.s);
  for (const [asked, wanted] of [
    [{}, [first, second, third]], [{ names: 'FILM' }, [first, second]], [{ names: 'film.*; É?É*' }, [first, third]], [{ names: '(2)' }, [second]], [{ names: '.' }, [first, second, third]],
    [{ exts: 'mkv, *.txt' }, [first, third]], [{ exts: '.mk' }, []], [{ min: '6' }, [second]], [{ max: '5', maxUnit: 'MB' }, [first, third]], [{ max: '0,00001' }, [third]],
    [{ before: '2021-01-01' }, [first]], [{ after: '2024-05-05' }, [second]], [{ after: '2024-05-06' }, []], [{ in: 'd:/A/' }, [first, third]], [{ in: 'D:\\a\\c' }, [third]],
  ]) assert.deepEqual(picked(asked), wanted, JSON.stringify(asked));
  const enough = (asked) => question.isEnough({ ...question.NO_QUESTION, ...asked });
  assert.deepEqual([{}, { min: '0.5' }, { max: '5' }, { in: 'D:\\' }, { min: '1' }, { before: '2020-01-01' }, { exts: 'a' }].map(enough), [false, false, false, false, true, true, true]);
});

test('CSV: quotes, and nothing that a spreadsheet would calculate', needs('esbuild'), () => {
  assert.equal(csv.csvOf(['path', 'bytes'], [['a "b", c', 5], ['=cmd()', -1], ['+1', 0], ['-x', 0], ['@x', 0]]),
    '\ufeffpath,bytes\r\n"a ""b"", c",5\r\n"\'=cmd()",-1\r\n"\'+1",0\r\n"\'-x",0\r\n"\'@x",0\r\n');
  assert.deepEqual([0, 978_307_200_000, 9e15, NaN].map(csv.utcDate), ['', '2001-01-01', '', '']);
});

test('hosts are remembered by what is usable of what was stored', needs('esbuild'), () => {
  const host = { path: 'anna@nas:/srv', name: 'NAS', scanned: 5, free: 7 };
  assert.deepEqual(hosts.hostsOf(JSON.stringify([host, null, { path: 'C:\\x' }, { path: 5 }, { path: 'ssh://b@c:22/d', name: 1, scanned: 'x', free: -1 }])),
    [host, { path: 'ssh://b@c:22/d', name: '', scanned: 0, free: 0 }]);
  for (const stored of [null, '', '{', '5', '{"path":"a@b:/c"}']) assert.deepEqual(hosts.hostsOf(stored), [], stored);
  assert.deepEqual(hosts.withHost([host], { ...host, name: 'x', scanned: 9 }).map((one) => one.name), ['x']);
  assert.deepEqual(['anna@nas:/srv/x', 'ssh://anna@nas.local:2222/srv', 'ssh://nas/', 'anna@[::1]:/srv'].map(hosts.hostAndFolder), ['nas /srv/x', 'nas.local /srv', 'nas /', '[::1] /srv']);
});

test('duplicates: one copy of each group stays, and only verified copies are deleted', needs('esbuild'), () => {
  const group = { s: 9, c: 3, waste: 18, files: [{ p: 'C:\\long\\one', m: 5, job: 1 }, { p: 'C:\\two', m: 9, job: 1 }, { p: 'D:\\x', m: 0, job: 2 }] };
  const kept = (rule) => keeping.keeper(group, rule).p;
  assert.deepEqual(['newest', 'oldest', 'shortest', 'first'].map(kept), ['C:\\two', 'C:\\long\\one', 'D:\\x', 'C:\\long\\one']);
  const locked = { ...group, files: [...group.files, { p: 'C:\\Windows\\y', m: 1, job: 1, lock: 'windows' }] };
  assert.equal(keeping.keeper(locked, 'newest').p, 'C:\\Windows\\y');
  assert.ok(plan.mayChoose(group, new Set(['C:\\two']), 'D:\\x'));
  assert.ok(!plan.mayChoose(group, new Set(['C:\\two', 'C:\\long\\one']), 'D:\\x'));
  assert.ok(!plan.mayChoose(locked, new Set(), 'C:\\Windows\\y'));
  const names = ['a', 'b', 'c', 'd'];
  const files = names.map((p) => ({ p, seen: `saw ${p}` }));
  const proof = { seen: 'saw a', keep: 'b', keepSeen: 'saw b' };
  assert.deepEqual([...plan.verified(new Set(['a', 'c', 'd']), files, [[0, 1]])], [['a', proof]], 'c and d are no longer equal to anything');
  assert.deepEqual([...plan.verified(new Set(['a', 'b']), files, [[0, 1]])], [], 'no copy would stay');
  const seen = new Map([['a', 'x'], ['c', 'y']]);
  assert.deepEqual(plan.expectations(['a', 'b', 'c'], seen, null), { p: ['a', 'b', 'c'], seen: ['x', '', 'y'] });
  assert.deepEqual(plan.expectations(['c', 'a'], seen, new Map([['a', proof]])), { p: ['a'], seen: ['saw a'], keep: ['b'], keepseen: ['saw b'] }, 'without a proof, a copy stays');
});
