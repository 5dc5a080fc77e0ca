// The modules in core/, without a browser.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { needs } from '../system/support/home.mjs';
import { page } from './support/modules.mjs';

const { bin, winnable, address, i18n, job, paths, plan, selection, squarify, tree, units, failure_texts } = page;
const MiB = 2 ** 20;

test('sizes, shares and dates are formatted for the locale', needs('esbuild'), () => {
  const sizes = [0, 1023, 1024, 1536, 10 * 1024, 10 * 1024 - 1, 99.96 * 1024, 1024 * 1024 - 1, 1500 * MiB, 2 ** 40 - 1, 2 ** 50, 5000 * 2 ** 50];
  assert.deepEqual(sizes.map((bytes) => units.formatSize(bytes, 'en-GB')),
    ['0 B', '1023 B', '1.00 KB', '1.50 KB', '10.0 KB', '10.0 KB', '100 KB', '1.00 MB', '1.46 GB', '1.00 TB', '1.00 PB', '5000 PB']);
  assert.equal(units.formatSize(1536, 'nl-NL'), '1,50 KB');
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

test('failure words have a text in every language, unknown ones are shown as they are', needs('esbuild'), () => {
  const known = ['noSuchDir', 'scanFailed', 'cancelled', 'sshTarget', 'sshMissing', 'sshEmpty', 'sshPipe', 'sshDenied', 'sshTooLarge', 'sshFailed:1', 'notabsolute', 'mftDenied', 'mftBoot', 'mftMemory',
    'unreadable', 'elevateDenied', 'elevateRefused', 'tooManyKeys', 'quitRefused', 'updateOffline', 'updateAnswer', 'needFilter', 'noJob', 'emptyFailed', 'aborted', 'incomplete', 'searchFailed', ''];
  for (const lang of Object.keys(i18n.LANGS)) {
    i18n.setLanguage(lang);
    for (const word of known) assert.ok(i18n.failure(word).length > 5 && i18n.failure(word) !== word, `${lang}: ${word}`);
    assert.match(i18n.failure('sshFailed:255'), /255/);
    for (const word of ['sshFailed:1', 'sshEmpty']) assert.match(i18n.failure(word), /\s\//, 'how to write a link is not said');
    const done = { state: 'done', files: 1, bytes: 1 };
    for (const partial of ['cancelled', 'broken']) assert.ok(i18n.known(`ovPartial_${partial}`) && job.summary({ ...done, partial }) !== job.summary(done));
    assert.match(i18n.failure('failed:124'), /124/);
    for (const word of ['turbo', 'walk', 'fallback', 'reading', 'merging', 'summing', 'mftOpen', 'mftFind', 'mftRead', 'tree', 'sshConnect', 'sshList']) assert.ok(i18n.known(`s_${word}`));
  }
  // Why turbo was not used, also when it failed.
  i18n.setLanguage('en');
  assert.deepEqual(['notfixed', 'noadmin', 'mftDenied', 'mftBoot', 'mftMemory', 'cancelled', 'newWord'].map(job.turboReason), ['not a fixed drive',
    'turbo needs administrator rights', 'turbo needs administrator rights', 'the file table could not be read', 'there was too little memory for the file table', 'Stopped.', 'newWord']);
  assert.equal(i18n.failure('somethingNew'), 'somethingNew');
  assert.equal(failure_texts.wordingOf('constructor').key, null);
  i18n.setLanguage('nl');
  assert.deepEqual([i18n.t('nFiles', { n: 1 }), i18n.t('nFiles', { n: 12345 }), i18n.phrase('r_', 'newWord'), i18n.text('no such key')],
    ['1 bestand', '12.345 bestanden', 'newWord', 'no such key']);
  i18n.setLanguage('fr');
  assert.deepEqual([i18n.t('nFiles', { n: 0 }), i18n.t('nFiles', { n: 1_000_000 })], ['0 fichier', '1\u202f000\u202f000 de fichiers']);
  assert.deepEqual(['en', 'nl', 'fr', 'es', 'pt'].map((lang) => page[lang].confirmWord), ['DELETE', 'VERWIJDER', 'SUPPRIMER', 'ELIMINAR', 'ELIMINAR']);
  assert.deepEqual([i18n.preferredLanguage(['de-DE', 'pt-BR', 'en']), i18n.preferredLanguage(['de'])], ['pt', 'en']);
  i18n.setLanguage('en');
});

test('no dictionary contains English text', needs('esbuild'), () => {
  // Texts that are the same in both languages.
  const alike = {
    nl: ['scansList', 'nItems', 'nScans', 'filter', 'details', 'adNotes', 'acRunning'],
    fr: ['sections', 'secTypes', 'exportTypes', 'tyTitle', 'fiExts', 'abVersion'],
    es: ['a_oldfiles_returns', 'a_duplicates_returns', 'acRunning'],
    pt: ['acRunning'],
  };
  const everywhere = ['title', 'turbo', 's_turbo', 'progressLine', 'how_ssh', 'mapTile', 'fiExtsHint'];
  for (const [lang, keys] of Object.entries(alike)) {
    const left = Object.keys(page.en).filter((key) => JSON.stringify(page[lang][key]) === JSON.stringify(page.en[key]));
    assert.deepEqual(left.filter((key) => !keys.includes(key) && !everywhere.includes(key)), [], lang);
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

test('the tree combines the pruned tree, fetched folders and large files', needs('esbuild'), () => {
  const scan = new tree.ScanTree(doc());
  const names = (path) => scan.entries(path).map((entry) => `${entry.kind} ${entry.name} ${entry.s / MiB} ${entry.f}`);
  assert.deepEqual(names('C:\\d'), ['folder a 150 4', 'file film.mkv 90 1', 'smaller  40 2', 'loose  20 2']);
  assert.deepEqual(names('C:\\d\\a'), ['loose  90 3', 'file big.iso 60 1']);
  assert.ok(scan.needsLoading('C:\\d'));
  scan.startLoading('C:\\d');
  assert.ok(!scan.needsLoading('C:\\d'));
  scan.setFolders('C:\\d', { path: 'C:\\d', s: 300 * MiB, f: 9, dirs: [{ n: 'a', s: 150 * MiB, f: 4 }, { n: 'b', s: 40 * MiB, f: 2 }, { n: 'none', s: 0, f: 0 }], total: 3 });
  scan.setFiles('C:\\d', { path: 'C:\\d', files: [{ n: 'film.mkv', s: 90 * MiB, m: 7 }, { n: 'tiny', s: 1, m: 0 }], total: 2, dirs: 3 });
  assert.deepEqual(names('C:\\d'), ['folder a 150 4', 'file film.mkv 90 1', 'folder b 40 2', 'loose  20 2', 'folder none 0 0']);
  const rows = tree.treeRows(scan, new Set(['C:\\d', 'C:\\d\\a', 'C:\\d\\none']));
  assert.deepEqual(rows.map((row) => [row.entry.name, row.depth, row.parent, row.open]),
    [['C:\\d', 0, -1, true], ['a', 1, 0, true], ['', 2, 1, false], ['big.iso', 2, 1, false], ['film.mkv', 1, 0, false], ['b', 1, 0, false], ['', 1, 0, false], ['none', 1, 0, false]]);
  assert.deepEqual([tree.findTyped(rows, 0, 'B'), tree.findTyped(rows, 4, 'b'), tree.findTyped(rows, 0, 'zz')], [3, 5, -1]);
  scan.setFailed('C:\\d\\b', 'offline');
  assert.deepEqual(scan.entries('C:\\d\\b').map((entry) => entry.kind), ['failed']);
  assert.ok(scan.needsLoading('C:\\d\\b'), 'a failed folder can be loaded again');
  for (const n of ['C:', 'C:\\', 'C:\\d\\']) {
    const odd = new tree.ScanTree(doc({ tree: { n, s: 90 * MiB, f: 2, c: [{ n: 'in', s: 9, f: 1 }] }, files: [{ p: `${n.replace(/\\$/, '')}\\x.iso`, s: 60 * MiB, m: 0 }] }));
    const [file, folder] = odd.entries(n);
    assert.deepEqual([file.name, folder.name, odd.find(folder.path)?.name, odd.folderOf(folder.path)], ['x.iso', 'in', 'in', n]);
  }
  const empty = new tree.ScanTree(doc({ tree: null, files: [] }));
  assert.deepEqual([empty.root.path, tree.treeRows(empty, new Set(['C:\\d'])).length], ['C:\\d', 1]);
});

test('tiles of the map have the right areas and stay inside', needs('esbuild'), () => {
  const area = { x: 3, y: 5, w: 401, h: 233 };
  for (const values of [[1], [5, 3, 1, 1], Array.from({ length: 400 }, (_, i) => 1000 / (i + 1)), [1e15, 1, 1], [7, 7, 7, 7, 7]]) {
    const rects = squarify.squarify(values, area);
    const total = values.reduce((sum, value) => sum + value, 0);
    rects.forEach((rect, i) => assert.ok(Math.abs(rect.w * rect.h - (values[i] / total) * area.w * area.h) < 1e-3, `${i} of ${values.length}`));
    assert.ok(rects.every((rect) => rect.x >= area.x - 1e-6 && rect.y >= area.y - 1e-6 && rect.x + rect.w <= area.x + area.w + 1e-6 && rect.y + rect.h <= area.y + area.h + 1e-6));
  }
  assert.ok(squarify.squarify([0, 0], area).every((rect) => rect.w === 0));
  const children = { top: ['a', 'b', 'c'], a: ['x', 'y'] };
  const size = { a: 60, b: 39.9999, c: 0.0001, x: 40, y: 20 };
  const layout = squarify.layoutMap('top', { x: 0, y: 0, w: 400, h: 300 }, (item) => (children[item] ?? []).map((name) => ({ item: name, size: size[name] })), 5, 18);
  assert.deepEqual(layout.tiles.map((tile) => [tile.item, tile.level, tile.branch, tile.heading]), [['a', 0, 0, true], ['b', 0, 1, false], ['x', 1, 0, false], ['y', 1, 0, false]]);
  assert.equal(layout.melted.length, 1, 'tiles too small to draw become a rest');
  const inside = layout.tiles[2];
  assert.equal(squarify.tileAt(layout.tiles, inside.x + 1, inside.y + 1), 2);
  const own = layout.tiles.slice(0, 2);
  assert.equal(squarify.nearestTile(own, 0, own[1].x > own[0].x ? 1 : 0, own[1].x > own[0].x ? 0 : 1), 1);
});

test('deletion: one request per scan, and the right sentence for the outcome', needs('esbuild'), () => {
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
    { deleted: 2, bytes: 5, binned: 1, error: 'aborted', inside: 2, logged: false });
  assert.deepEqual(['delete', ' DELETE\n', 'delet', 'DELETE!'].map((typed) => plan.confirms(typed, 'DELETE')), [true, true, false, false]);
});

test('what was to go into the bin and did not', needs('esbuild'), () => {
  const missed = (bytes, binned, noBin = []) => bin.missedBin({ noBin }, { bytes, binned });
  assert.deepEqual([missed(9, 9), missed(9, 4), missed(9, 0), missed(4, 9), missed(9, 4, ['C:\\a'])], [0, 5, 9, 0, 0]);
});

test('what all advice together could free counts every byte once', needs('esbuild'), () => {
  const finding = (code, bytes, places, over = {}) => ({
    code, level: 'warning', bytes, target: '', paths: places.map((one) => one[0]), pathBytes: places.map((one) => one[1]), pathGroup: places.map((one) => one[2] ?? 0), ...over,
  });
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
});

test('duplicates: one copy of each group stays, and only verified copies are deleted', needs('esbuild'), () => {
  const group = { s: 9, c: 3, waste: 18, files: [{ p: 'C:\\long\\one', m: 5, job: 1 }, { p: 'C:\\two', m: 9, job: 1 }, { p: 'D:\\x', m: 0, job: 2 }] };
  const kept = (rule) => plan.keeper(group, rule).p;
  assert.deepEqual(['newest', 'oldest', 'shortest', 'first'].map(kept), ['C:\\two', 'C:\\long\\one', 'D:\\x', 'C:\\long\\one']);
  const locked = { ...group, files: [...group.files, { p: 'C:\\Windows\\y', m: 1, job: 1, lock: 'windows' }] };
  assert.equal(plan.keeper(locked, 'newest').p, 'C:\\Windows\\y');
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

test('marking a range in both directions', needs('esbuild'), () => {
  const marks = new selection.Selection();
  const keyAt = (i) => (i === 3 ? null : `k${i}`);
  marks.toggle(5, 'k5');
  marks.extendTo(2, keyAt);
  assert.deepEqual([...marks.keys].sort(), ['k2', 'k4', 'k5']);
  marks.extendTo(6, keyAt);
  marks.keepOnly((key) => key !== 'k4');
  assert.deepEqual([...marks.keys].sort(), ['k2', 'k5', 'k6']);
});
