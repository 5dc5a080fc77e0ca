// Counts a tree with find and stat, as Wine shows it, or on Windows with node, and compares the program's
// output with that.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import { home } from './home.mjs';
import { output, readCsv, readJson, winPath } from './vorda.mjs';

const kListed = 120;
export const listThreshold = 52_428_800;

export function typeOf(name) {
  const dot = name.lastIndexOf('.');
  if (dot <= 0 || dot === name.length - 1) return '(none)';
  return name.length - dot >= 13 ? '(other)' : name.slice(dot).toLowerCase();
}

const parentOf = (unixPath) => unixPath.slice(0, unixPath.lastIndexOf('/'));

// The same as find tells. Links and other reparse points are none of its files.
function listEntries(root) {
  const entries = [{ kind: 'd', target: 'd', path: root }];
  let denied = 0;
  for (const folder of entries) {
    if (folder.kind !== 'd') continue;
    let children = [];
    try {
      children = fs.readdirSync(folder.path, { withFileTypes: true });
    } catch (error) {
      assert.match(error.code, /^(EPERM|EACCES)$/, `${folder.path}: ${error}`);
      ++denied;
    }
    for (const child of children) {
      const path = `${folder.path}/${child.name}`;
      const kind = child.isSymbolicLink() ? 'l' : child.isDirectory() ? 'd' : 'f';
      const { size, mtimeMs } = fs.lstatSync(path);
      entries.push({ kind, target: kind === 'l' ? '?' : kind, size, ms: mtimeMs, path });
    }
  }
  return { entries, denied };
}

function findEntries(root, { through = [] } = {}) {
  const [program, ...args] = [...through, 'find', root, '-xdev', '-printf', '%y%Y %D %s %T@ %p\\0'];
  const find = spawnSync(program, args, {
    maxBuffer: 2 ** 30,
    env: { ...process.env, LC_ALL: 'C' },
  });
  const text = find.stderr.toString();
  const denied = text.split('Permission denied').length - 1;
  assert.ok(find.status === 0 || denied > 0, `find ${root} failed: ${text}`);
  // This decoder and Wine both turn bytes that are not UTF-8 into U+FFFD.
  const entries = find.stdout.toString().split('\0').slice(0, -1).map((line) => {
    const [, kind, target, device, size, seconds, path] =
      /^(.)(.) (\d+) (\d+) (\d+\.\d{3})\d* (.*)$/s.exec(line);
    return { kind, target, device, size: Number(size), ms: Number(seconds.replace('.', '')), path };
  });
  return { entries, denied };
}

// What a correct scan finds. Wine shows some things differently than find does:
// - a link to a folder is a reparse point, which a scan does not follow; so is a mount point in the tree;
// - a link to a file looks like a file with the size and time of its target;
// - a broken or circular link is not shown at all;
// - pipes, sockets, devices and links to them look like files of 0 bytes.
// And a scan shows a separator in a name as U+FFFD.
function countTree(root, options) {
  const { entries, denied } = home === 'wine' ? findEntries(root, options) : listEntries(root);
  const files = [];
  const folders = new Map();
  const types = new Map();
  let bytes = 0;
  for (const { kind, target, device, size, ms, path: found } of entries) {
    const path = home === 'wine' ? found.replaceAll('\\', '\uFFFD') : found;
    if (kind === 'd' && device === entries[0].device) folders.set(path, { s: 0, f: 0 });
    if (kind === 'd' || (kind === 'l' && 'dNL?'.includes(target))) continue;
    const facts = kind === 'l' ? fs.statSync(found) : { size, mtimeMs: ms };
    const file = { path, size: target === 'f' ? facts.size : 0, ms: Math.floor(facts.mtimeMs) };
    files.push(file);
    bytes += file.size;
    const type = typeOf(path.slice(path.lastIndexOf('/') + 1));
    const total = types.get(type) ?? { bytes: 0, files: 0 };
    types.set(type, { bytes: total.bytes + file.size, files: total.files + 1 });
  }
  for (const { path, size } of files) {
    for (let folder = parentOf(path); folder.length >= root.length; folder = parentOf(folder)) {
      folders.get(folder).s += size;
      folders.get(folder).f += 1;
    }
  }
  files.sort((a, b) => b.size - a.size);
  return { root, files, folders, types, bytes, denied };
}

// The same lines in any order; on failure, shows the first few that differ.
function assertSameLines(actual, expected, what) {
  const onlyIn = (a, b) => {
    const others = new Set(b);
    return a.filter((line) => !others.has(line)).slice(0, 5);
  };
  const difference = { missing: onlyIn(expected, actual), unexpected: onlyIn(actual, expected) };
  assert.deepEqual(difference, { missing: [], unexpected: [] }, what);
  assert.equal(actual.length, expected.length, what);
}

const fileLine = (path, size, date) => JSON.stringify([path, Number(size), date]);

function checkLargest(listed, expected, keptFrom) {
  const kept = expected.filter((file) => file.size >= keptFrom);
  const largest = kept.slice(0, kListed);
  assert.deepEqual(listed.map((file) => file.s), largest.map((file) => file.size), 'largest sizes');
  // Among files of the same size, any may be the last ones listed.
  const known = new Set(kept.map((file) => fileLine(winPath(file.path), file.size, file.ms)));
  const lines = listed.map((file) => fileLine(file.p, file.s, file.m));
  assert.deepEqual(lines.filter((line) => !known.has(line)), [], 'files that do not exist');
  assert.equal(new Set(lines).size, lines.length, 'a file is listed twice');
}

function checkTreeNode(node, path, folders) {
  assert.deepEqual({ s: node.s, f: node.f }, folders.get(path), `sums of ${path}`);
  if (node.c) assert.equal(node.c.reduce((sum, child) => sum + child.s, 0), node.s, path);
  for (const child of node.c ?? []) {
    if (!child.rest) checkTreeNode(child, `${path}/${child.n}`, folders);
  }
}

function checkDocument(document, expected, keptFrom) {
  const { meta, tree, exts, files } = document;
  const kept = expected.files.filter((file) => file.size >= keptFrom);
  const { path, kind, method, host, denied, skipped, dirs, used, bigFileBytes } = meta;
  assert.deepEqual(
    { path, kind, method, host, denied, skipped, dirs, used, bigFileBytes, files: meta.files },
    { path: expected.root, kind: 'folder', method: 'walk', host: 'local', denied: expected.denied,
      skipped: 0, dirs: expected.folders.size, used: expected.bytes,
      bigFileBytes: kept.reduce((sum, file) => sum + file.size, 0), files: expected.files.length },
  );
  assert.equal(tree.n, winPath(expected.root));
  checkTreeNode(tree, expected.root, expected.folders);
  assert.equal(exts.length, Math.min(expected.types.size, 20));
  for (const { e, s, c } of exts) assert.deepEqual({ bytes: s, files: c }, expected.types.get(e), e);
  checkLargest(files, expected.files, keptFrom);
}

function assertFalling(sizes, what) {
  assert.ok(sizes.every((size, i) => i === 0 || sizes[i - 1] >= size), `${what}: not largest first`);
}

// Scans the folder into every kind of output and compares each with the count, which is returned.
export async function compareWithCount(root, options) {
  const expected = countTree(root, options);
  const scan = (...args) => output(['--scan', root, '--out', '-', ...args], options);
  checkDocument(readJson(await scan()), expected, listThreshold);
  checkDocument(readJson(await scan('--find', '*')), expected, 0);

  const files = readCsv(await scan('--find', '*', '--format', 'csv'));
  assert.deepEqual([files.root, files.columns], [root, 'path,bytes,modified']);
  assertFalling(files.rows.map((row) => Number(row[1])), 'files');
  assertSameLines(
    files.rows.map(([path, size, date]) => fileLine(path, size, date)),
    expected.files.map(({ path, size, ms }) =>
      fileLine(winPath(path), size, ms > 0 ? new Date(ms).toISOString().slice(0, 10) : '')),
    'files');

  const types = readCsv(await scan('--format', 'csv', '--what', 'types'));
  assert.deepEqual([types.root, types.columns], [root, 'extension,bytes,files']);
  assertFalling(types.rows.map((row) => Number(row[1])), 'types');
  assertSameLines(types.rows.map((row) => row.join()),
    [...expected.types].map(([type, total]) => [type, total.bytes, total.files].join()), 'types');
  return expected;
}
