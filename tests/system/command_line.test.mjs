// What the program prints and returns for a command line, to the letter.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { makeFiles, output, projectVersion, readCsv, readJson, scratch, vorda, winPath } from './support/vorda.mjs';

const outNeedsName = '--out needs a file name, or - for standard output';
const extNeeds = '--ext needs one or more extensions, such as ".jpg .png"';
const nothingToScan = 'there is nothing to scan: add --scan <path>';
const notCombined = '--out cannot be combined with --agent, --server, --service, --port, --token, ' +
  '--show-key, --stop or --grant-service-logon';
const whatNeedsCsv = '--what only applies to CSV: add --format csv, or give the file a .csv name';
const filterNeedsFiles = '--ext and --find narrow the file list, so they go with --what files';

const wrongCommandLines = [
  [['--scan', 'x', '--out', 'f', '--format'], ['--format needs json or csv']],
  [['--find', '--ext'], ['--find needs a name or pattern, such as "holiday*"', extNeeds, nothingToScan]],
  [['x', '--out', '', '--find', 'a'], ['--format, --what, --ext and --find only work together with --out']],
  [['x', '--out', 'f', 'ÿ 😀', '-o', '--Out'],
    ['unknown argument: ÿ 😀', 'unknown argument: -o', 'unknown argument: --Out']],
  [['x', '--out', 'f', '--format', 'JSON'], ['--format is json or csv, not JSON']],
  [['x', '--out', 'f.json', '--what', 'files'], [whatNeedsCsv]],
  [['x', '--out', 'f.csv', '--what', 'advice', '--ext', '.a'], [filterNeedsFiles]],
  ...['--agent', '--server', '--service', '--show-key', '--stop', '--token k', '--port -1',
    '--grant-service-logon me'].map((other) => [['x', '--out', 'f', ...other.split(' ')], [notCombined]]),
  [['--stop', '-x', '--what', 'all', '--find', 'q', '--format', 'json', '--ext', '--out'],
    [extNeeds, outNeedsName, nothingToScan, notCombined, 'unknown argument: -x',
      '--what is files, types or advice, not all', whatNeedsCsv, filterNeedsFiles]],
];

test('all wrong arguments are reported together, in order', async (t) => {
  const cwd = scratch(t);
  for (const [args, messages] of wrongCommandLines) {
    const { code, out, err } = await vorda(args, { cwd });
    const named = messages.map((message) => `Vorda: ${message}\n`).join('');
    const expected = `${named}Run vorda.com --help for the options.\n`;
    assert.deepEqual({ code, out: out.toString(), err }, { code: 2, out: '', err: expected }, args.join(' '));
  }
  assert.deepEqual(fs.readdirSync(cwd), []);
});

test('help is printed wherever on the command line it is requested', async () => {
  const title = `Vorda ${projectVersion}  -  Brixmoor`;
  for (const args of ['--help', '-h', '--format xml --bogus --help --out', '--out --help']) {
    const { code, out, err } = await vorda(args.split(' '));
    assert.deepEqual([code, err], [0, ''], args);
    const lines = out.toString().split('\n');
    assert.deepEqual(lines.slice(0, 3), ['', title, 'Disk analysis for Windows.']);
    assert.deepEqual(lines.slice(-2), ['api\\Vorda.postman_collection.json to try it out.', '']);
    assert.ok(lines.includes('  --ext ".jpg .png"                     keep only these extensions'));
    assert.equal(lines.length, 65);
    assert.ok(!out.includes('\r'));
  }
});

test('the output name or --format chooses the format', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'tree/a.bin': 5 });
  const shapes = [
    ['r.json'], ['r'], ['r.csv.txt'], ['r.csv', '--format', 'json'],
    ['s.csv'], ['s2.CSV'], ['s', '--format', 'csv'], ['s.json', '--format', 'csv', '--what', 'files'],
  ];
  for (const [name, ...options] of shapes) {
    const file = `${folder}/${name}`;
    await output(['--scan', `${folder}/tree`, '--out', file, ...options]);
    if (name[0] === 's') assert.equal(readCsv(fs.readFileSync(file)).columns, 'path,bytes,modified', name);
    else assert.equal(readJson(fs.readFileSync(file)).meta.files, 1, name);
  }
});

test('messages go to standard error, data and summary to standard output', async (t) => {
  const folder = scratch(t);
  const tree = `${folder}/tree 😀`;
  const out = `${folder}/out.json`;
  makeFiles(tree, { 'a.bin': 1.5 * 2 ** 40, 'empty': '' });
  const toFile = await vorda(['--scan', tree, '--out', out]);
  assert.deepEqual([toFile.code, toFile.err], [0, `Vorda: scanning ${tree}\n`]);
  const summary = toFile.out.toString().replace(/ {2}\d+\.\d s {2}/, '  # s  ');
  assert.equal(summary, `Vorda: ${tree}  2 files  1.5 TB  # s  (walk)\n  -> ${out}\n`);
  for (const [options, read] of [[[], readJson], [['--format', 'csv'], readCsv]]) {
    const run = await vorda(['--scan', tree, '--out', '-', ...options]);
    assert.deepEqual([run.code, run.err], [0, `Vorda: scanning ${tree}\n`]);
    assert.ok(read(run.out));
    assert.ok(!run.out.includes('(walk)'));
  }
  assert.deepEqual(fs.readdirSync(folder).sort(), ['out.json', 'tree 😀']);
});

test('a drive is scanned from its root, and the summary says why turbo mode was not used', async (t) => {
  const out = `${scratch(t)}/c.json`;
  const run = await vorda(['--scan', 'c:', '--out', out]);
  assert.deepEqual([run.code, run.err], [0, 'Vorda: scanning c:\\\n']);
  assert.match(run.out.toString(), / s {2}\(walk\) {2}turbo mode (needs administrator rights|unavailable: \w+)\n/);
  const { meta, tree } = readJson(fs.readFileSync(out));
  assert.deepEqual([meta.path, meta.kind, tree.n], ['c:\\', 'drive', 'c:\\']);
  assert.ok(meta.volumeSize > meta.volumeFree && meta.volumeFree > 0);
});

test('filters narrow the list of files and nothing else', async (t) => {
  const folder = scratch(t);
  const names = ['Holiday one.JPG', 'holiday.png', 'my holiday.jpg.txt', 'a.jpg', 'b.gif', '.jpg', 'jpg',
    'ÉTÉ.jpeg', '😀.txt', 'ab.txt', 'a b.txt', '[x].txt', 'x+y.txt'];
  makeFiles(folder, Object.fromEntries(names.map((name) => [name, 'x'])));
  const day = (text) => new Date(`${text}T12:00:00Z`);
  for (const [name, text] of [['a.jpg', '2020-02-29'], ['b.gif', '2021-03-01']]) fs.utimesSync(`${folder}/${name}`, day(text), day(text));
  fs.writeFileSync(`${folder}/ab.txt`, 'x'.repeat(2048));
  const filters = [
    [['--older', '2021-03-02', '--newer', '2020-03-01'], ['b.gif']],
    [['--min', '1', '--max', '2047B', '--ext', 'txt'], ['[x].txt', 'a b.txt', 'my holiday.jpg.txt', 'x+y.txt', '😀.txt']],
    [['--ext', 'JPG,png;.gif'], ['Holiday one.JPG', 'a.jpg', 'b.gif', 'holiday.png']],
    [['--find', ' ; a b ;; été* '], ['a b.txt', 'ÉTÉ.jpeg']],
    [['--find', '?.txt;[x];x+*'], ['[x].txt', 'x+y.txt', '😀.txt']],
  ];
  const plain = readJson(await output(['--scan', folder, '--out', '-']));
  assert.deepEqual([plain.meta.files, plain.files], [names.length, []]);
  for (const [args, expected] of filters) {
    const { meta, tree, exts, files } = readJson(await output([folder, '--out', '-', ...args]));
    const found = files.map(({ p }) => p.slice(winPath(folder).length + 1)).sort();
    assert.deepEqual(found, [...expected].sort(), args.join(' '));
    const { seconds, volumeFree, bigFileBytes } = plain.meta;
    assert.deepEqual({ meta: { ...meta, seconds, volumeFree, bigFileBytes }, tree, exts },
      { meta: plain.meta, tree: plain.tree, exts: plain.exts });
    assert.equal(meta.bigFileBytes, files.reduce((sum, { s }) => sum + s, 0));
  }
});

test('relative paths and forward slashes', async (t) => {
  const cwd = scratch(t);
  makeFiles(cwd, { 'sub/dir/one.txt': '1', 'sub/two.txt': '22' });
  const at = winPath(cwd);
  const one = `${at}\\sub\\dir\\one.txt`;
  const roots = [
    ['.', at], ['sub/dir', `${at}\\sub\\dir`], ['.\\sub\\dir\\', `${at}\\sub\\dir`],
    ['sub/../sub', `${at}\\sub`], [`${at.replaceAll('\\', '/')}/sub//`, `${at}\\sub`], [`${at}\\sub\\\\`, `${at}\\sub`],
    [`\\\\?\\${at}\\sub`, `${at}\\sub`],
  ];
  for (const [root, absolute] of roots) {
    const { code, err } = await vorda(['--scan', root, '--out', 'r.json', '--find', 'one.txt'], { cwd });
    assert.deepEqual([code, err], [0, `Vorda: scanning ${root}\n`]);
    const { meta, tree, files } = readJson(fs.readFileSync(`${cwd}/r.json`));
    assert.deepEqual([meta.path, tree.n], [root, absolute]);
    assert.deepEqual(files.map(({ p }) => p), [one], root);
    fs.rmSync(`${cwd}/r.json`);
  }
});
