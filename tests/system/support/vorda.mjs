// Runs vorda.exe as a user does, and reads its output strictly.
import assert from 'node:assert/strict';
import { execFileSync, spawn, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { parse } from 'csv-parse/sync';

const repo = fileURLToPath(new URL('../../..', import.meta.url));
export const exe = path.resolve(repo, process.env.VORDA_EXE ?? 'build/mingw-release/vorda.exe');
export const companion = path.join(path.dirname(exe), 'vorda.com');
export const helper = path.join(path.dirname(exe), 'tests/update_helper_win.exe');
export const wineScript = path.join(repo, 'scripts/wine');
export const projectVersion =
  /^project\(vorda VERSION (\S+)/m.exec(fs.readFileSync(path.join(repo, 'CMakeLists.txt'), 'utf8'))[1];

// Printed by Wine about the volume that holds "/", not by the program.
const wineChatter = /wine: Read access denied for device .*\n/g;

// Arguments for spawn. `through` is a command line to start Wine with, such as setpriv's; the other options
// are spawn's own.
const wineCommand = (args, { env, through = [], ...options }) => {
  const [program, ...rest] = [...through, wineScript, ...args];
  return [program, rest, { ...options, env: { ...process.env, ...env } }];
};

const prefixes = new Set();

function removePrefix(prefix) {
  if (!prefixes.delete(prefix)) return;
  spawnSync(...wineCommand(['--end'], { env: { VORDA_WINEPREFIX: prefix }, stdio: 'ignore' }));
  fs.rmSync(prefix, { recursive: true, force: true });
}

process.on('exit', () => [...prefixes].forEach(removePrefix));
for (const signal of ['SIGINT', 'SIGTERM']) process.once(signal, () => process.exit(1));

// A Wine prefix like the build tree's, with its own registry, services, windows, bin and drive C:, and
// with more drives if wanted: { 'd:': folder, 'd::': image, 'unc/server/share': folder, ... }. Returns the
// options to run programs in it. Nothing else runs in the prefix until its server is up and a first
// program has ended: Wine's services start with that one, and would keep its pipes open.
function makePrefix(drives = {}, through = []) {
  const from = process.env.VORDA_WINEPREFIX ?? path.join(repo, 'build/wine');
  // Their output goes to a file: a pipe would stay open as long as Wine's services.
  const run = (...args) => {
    const said = fs.openSync(`${prefix}/said`, 'w');
    const { status } = spawnSync(...wineCommand(args, { env, through, stdio: ['ignore', said, said] }));
    fs.closeSync(said);
    assert.equal(status, 0, `scripts/wine ${args.join(' ')}: ${fs.readFileSync(`${prefix}/said`)}`);
  };
  execFileSync(wineScript, ['--make'], { stdio: ['ignore', 'ignore', 'inherit'] });
  const prefix = fs.mkdtempSync(`${from}-test-`);
  prefixes.add(prefix);
  const env = { VORDA_WINEPREFIX: prefix, VORDA_XDG_DATA_HOME: `${prefix}/xdg-data` };
  for (const name of ['dosdevices', 'tmp', 'xdg-data/Trash/files', 'xdg-data/Trash/info']) fs.mkdirSync(`${prefix}/${name}`, { recursive: true });
  for (const name of ['system.reg', 'user.reg', 'userdef.reg', '.update-timestamp', 'vorda-ready']) fs.copyFileSync(`${from}/${name}`, `${prefix}/${name}`);
  // Hard links take no time, and a deleted one leaves the other; users' files may be written to.
  execFileSync('cp', ['-al', `${from}/drive_c`, prefix]);
  fs.rmSync(`${prefix}/drive_c/users`, { recursive: true });
  execFileSync('cp', ['-a', `${from}/drive_c/users`, `${prefix}/drive_c`]);
  for (const [name, target] of Object.entries({ 'c:': '../drive_c', 'z:': '/', ...drives })) {
    fs.mkdirSync(path.dirname(`${prefix}/dosdevices/${name}`), { recursive: true });
    fs.symlinkSync(target, `${prefix}/dosdevices/${name}`);
  }
  run('--start');
  run(exe, '--help');
  return { through, env };
}

// A prefix that ends with the test.
export function ownWine(t, drives, through) {
  const options = makePrefix(drives, through);
  t.after(() => removePrefix(options.env.VORDA_WINEPREFIX));
  return options;
}

// The same without the rights by which root may read and write everything, as Wine's server opens the
// files. For a user without such rights setpriv changes nothing.
export const confinedWine = (t) =>
  ownWine(t, {}, process.getuid() === 0 ? ['setpriv', '--inh-caps=-all', '--bounding-set=-all'] : []);

// The prefix of this test file, where programs run unless their options name another.
let filePrefix = null;
const startWine = (args, options) => {
  if (options.env?.VORDA_WINEPREFIX) return spawn(...wineCommand(args, options));
  filePrefix ??= makePrefix();
  return spawn(...wineCommand(args, { ...options, env: { ...filePrefix.env, ...options.env } }));
};

// Starts the program, or another one, and returns at once: { child, ended }. The child's process id is the
// program's own, as each script on the way replaces itself. `ended` resolves to { code, signal, out (bytes),
// err (text) }.
export function start(args, { program = exe, ...options } = {}) {
  const limit = { timeout: 600_000, killSignal: 'SIGKILL' }; // far beyond the longest run
  const child = startWine([program, ...args], { ...options, ...limit, stdio: ['ignore', 'pipe', 'pipe'] });
  const out = [];
  const err = [];
  child.stdout.on('data', (piece) => out.push(piece));
  child.stderr.on('data', (piece) => err.push(piece));
  const ended = new Promise((resolve, reject) => {
    child.on('error', reject);
    child.on('close', (code, signal) => {
      const text = Buffer.concat(err).toString().replace(wineChatter, '');
      resolve({ code, signal, out: Buffer.concat(out), err: text });
    });
  });
  return { child, ended };
}

// The same without its output, for runs that open windows: the first of them starts Wine's desktop process,
// which would keep the pipes open for as long as Wine runs.
export function startSilent(args, { program = exe, stdio = 'ignore', ...options } = {}) {
  const child = startWine([program, ...args], { ...options, stdio });
  return { child, ended: once(child, 'exit').then(([code, signal]) => ({ code, signal })) };
}

export const vorda = (args, options) => start(args, options).ended;

// A run that must succeed; returns the bytes on its standard output.
export async function output(args, options) {
  const { code, out, err } = await vorda(args, options);
  assert.equal(code, 0, `vorda ${args.join(' ')} failed: ${err}`);
  return out;
}

// A new folder, in memory where that is possible, that goes away with the test.
export function scratch(t) {
  const base = fs.existsSync('/dev/shm') ? '/dev/shm' : os.tmpdir();
  const folder = fs.mkdtempSync(path.join(base, 'vorda-test-'));
  t.after(() => fs.rmSync(folder, { recursive: true, force: true }));
  return folder;
}

// Under Wine, drive Z: is the file system.
export const winPath = (unixPath) => `Z:${unixPath.replaceAll('/', '\\')}`;

// Makes files from { 'path/in/folder': content, or a number: that many bytes, all in a hole }.
export function makeFiles(folder, files) {
  for (const [name, content] of Object.entries(files)) {
    const file = `${folder}/${name}`;
    fs.mkdirSync(file.slice(0, file.lastIndexOf('/')), { recursive: true });
    fs.writeFileSync(file, typeof content === 'number' ? '' : content);
    if (typeof content === 'number') fs.truncateSync(file, content);
  }
}

const strictUtf8 = (bytes) => new TextDecoder('utf-8', { fatal: true, ignoreBOM: true }).decode(bytes);

export const readJson = (bytes) => JSON.parse(strictUtf8(bytes));

// The file's bytes as { root, columns, rows }; the frame around the rows is checked to the byte.
export function readCsv(bytes) {
  const text = strictUtf8(bytes);
  const head = /^\uFEFF# Vorda {2}(.+?) {2}on {3}scanned \d{4}-\d\d-\d\d \d\d:\d\d\r\n/.exec(text);
  assert.ok(head, `no byte-order mark and comment line: ${JSON.stringify(text.slice(0, 200))}`);
  assert.ok(text.endsWith('\r\n'), 'the last line has no end');
  const [columns, ...rows] = parse(text.slice(head[0].length), { record_delimiter: '\r\n' });
  return { root: head[1], columns: columns.join(), rows };
}
