// Runs vorda.exe as a user does, in any home, and reads its output strictly.
import assert from 'node:assert/strict';
import { execFileSync, spawn, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { buffer, text } from 'node:stream/consumers';
import { setTimeout as pause } from 'node:timers/promises';
import { parse } from 'csv-parse/sync';
import { lastFirst } from './ends.mjs';
import { exe, has, home, repo, testProgram } from './home.mjs';
import { makePrefix, removePrefix, wineChatter, wineCommand } from './wine.mjs';

export { exe };
export const helper = testProgram('update_helper_win.exe');
export const companion = path.join(path.dirname(exe), 'vorda.com');
export const projectVersion =
  /^project\(vorda VERSION (\S+)/m.exec(fs.readFileSync(path.join(repo, 'CMakeLists.txt'), 'utf8'))[1];
const onWindows = home !== 'wine';

for (const signal of ['SIGINT', 'SIGTERM']) process.once(signal, () => process.exit(1));

// On Windows: runs a verb of system_helper_win.cpp and returns what it printed.
export function ask(...args) {
  const { status, stdout, stderr } = spawnSync(testProgram('system_helper_win.exe'), args.map(String), { encoding: 'utf8', windowsHide: true });
  assert.equal(status, 0, `system_helper_win ${args.join(' ')}: ${stdout}${stderr}`);
  return stdout;
}

// How many threads a running program has, and the most memory it has had, in MiB.
export function processFacts({ pid }) {
  if (onWindows) {
    const [threads, peak] = ask('process', pid).split(' ').map(Number);
    return { threads, peak: peak / 2 ** 20 };
  }
  const peak = /VmHWM:\s*(\d+)/.exec(fs.readFileSync(`/proc/${pid}/status`, 'utf8'))[1];
  return { threads: fs.readdirSync(`/proc/${pid}/task`).length, peak: Number(peak) / 1024 };
}

// On Windows the drives are substituted ones, so they can only stand for folders.
function substitute(t, drives) {
  if (!has('drives')) return {}; // for what a file sets up before its tests, which are left out
  for (const [name, target] of Object.entries(drives)) {
    assert.match(name, /^[a-z]:$/, 'only a Wine prefix has such a drive');
    execFileSync('subst.exe', [name, winPath(target)], { windowsHide: true });
    lastFirst(t).after(() => execFileSync('subst.exe', [name, '/d'], { windowsHide: true }));
  }
  return {};
}

// A world with these drives that ends with the test; from Linux it is a Wine prefix of its own.
export function ownWine(t, drives = {}, through = []) {
  if (onWindows) return substitute(t, drives);
  const options = makePrefix(drives, through);
  lastFirst(t).after(() => removePrefix(options.env.VORDA_WINEPREFIX));
  return options;
}

// The same without the rights by which root may read and write everything, as Wine's server opens the
// files. For a user without such rights setpriv changes nothing.
export const confinedWine = (t) =>
  ownWine(t, {}, !onWindows && process.getuid() === 0 ? ['setpriv', '--inh-caps=-all', '--bounding-set=-all'] : []);

// The prefix of this test file, where programs run unless their options name another.
let filePrefix = null;
const sharedPrefix = () => (filePrefix ??= makePrefix());
// Wine now and then refuses node the start of a program, with an error that node does not know.
function spawnForWindows(program, args, options, tries = home === 'wine-node' ? 3 : 1) {
  try {
    return spawn(program, args, options);
  } catch (error) {
    if (error.code !== 'UNKNOWN' || tries === 1) throw error;
    return spawnForWindows(program, args, options, tries - 1);
  }
}

const startProgram = ([program, ...args], { env, ...options }) => {
  if (onWindows) return spawnForWindows(program, args, { ...options, env: { ...process.env, ...env }, windowsHide: true });
  if (env?.VORDA_WINEPREFIX) return spawn(...wineCommand([program, ...args], { env, ...options }));
  return spawn(...wineCommand([program, ...args], { ...options, env: { ...sharedPrefix().env, ...env } }));
};

// Starts the program, or another one, and returns at once: { child, ended }. The child's process id is the
// program's own, as each script on the way replaces itself. `ended` resolves to { code, signal, out (bytes),
// err (text) }.
export function start(args, { program = exe, ...options } = {}) {
  const limit = { timeout: 600_000, killSignal: 'SIGKILL' }; // far beyond the longest run
  const child = startProgram([program, ...args], { ...options, ...limit, stdio: ['ignore', 'pipe', 'pipe'] });
  const ended = Promise.all([once(child, 'close'), buffer(child.stdout), text(child.stderr)])
    .then(([[code, signal], out, err]) => ({ code, signal, out, err: err.replace(wineChatter, '') }));
  return { child, ended };
}

// The same without its output, for runs that open windows: the first of them starts Wine's desktop process,
// which would keep the pipes open for as long as Wine runs.
export function startSilent(args, { program = exe, stdio = 'ignore', ...options } = {}) {
  const child = startProgram([program, ...args], { ...options, stdio });
  return { child, ended: once(child, 'exit').then(([code, signal]) => ({ code, signal })) };
}

// The same for one that ends with the test, if not before.
export function startFor(t, args, options) {
  const { child, ended } = startSilent(args, options);
  lastFirst(t).after(() => child.kill('SIGKILL') && ended);
  return { child, ended };
}

// Another program makes a file and has it open until the returned function is called, or the test ends.
export async function holdOpen(t, file, options = {}) {
  const command = ['/c', `set /p x= > ${winPath(file).replaceAll(' ', '^ ')}`];
  const { child, ended } = startSilent(command, { ...options, program: 'cmd.exe', stdio: ['pipe', 'ignore', 'ignore'] });
  const end = () => child.kill('SIGKILL') && ended;
  lastFirst(t).after(end);
  while (!fs.existsSync(file)) await pause(50);
  return end;
}

export const vorda = (args, options) => start(args, options).ended;

// A run that must succeed; returns the bytes on its standard output.
export async function output(args, options) {
  const { code, signal, out, err } = await vorda(args, options);
  assert.equal(code, 0, `vorda ${args.join(' ')} failed after ${out.length} bytes, ${signal}: ${err}`);
  return out;
}

// On Windows a folder cannot go while a program has something open in it, so folders go last.
const scratchFolders = [];
process.on('exit', () => scratchFolders.forEach((folder) => {
  try {
    fs.rmSync(folder, { recursive: true, force: true, maxRetries: 5, retryDelay: 100 });
  } catch (error) {
    console.log(`left behind: ${error.message}`); // no fault of the program
  }
}));

// A new folder, in memory where that is possible, that goes away with the test. Its path has forward slashes.
export function scratch(t) {
  const base = fs.existsSync('/dev/shm') && !onWindows ? '/dev/shm' : fs.realpathSync.native(os.tmpdir());
  const folder = fs.mkdtempSync(path.join(base, 'vorda-test-')).replaceAll('\\', '/');
  if (onWindows) scratchFolders.push(folder);
  else lastFirst(t).after(() => fs.rmSync(folder, { recursive: true, force: true }));
  return folder;
}

// The path as Windows programs spell it. Under Wine, drive Z: is the file system.
export const winPath = (one) => (one.startsWith('/') ? 'Z:' : '') + one.replaceAll('/', '\\');

const kSmallHole = 1 << 20;

// Makes files from { 'path/in/folder': content, or a number: that many bytes, all in a hole }.
export function makeFiles(folder, files) {
  const holes = [];
  for (const [name, content] of Object.entries(files)) {
    const file = `${folder}/${name}`;
    fs.mkdirSync(file.slice(0, file.lastIndexOf('/')), { recursive: true });
    fs.writeFileSync(file, typeof content === 'number' ? '' : content);
    if (typeof content !== 'number') continue;
    // A hole on Windows takes a file that is marked as sparse; a small one is not worth that.
    if (onWindows && content > kSmallHole) holes.push(winPath(file), content);
    else fs.truncateSync(file, content);
  }
  if (holes.length > 0) ask('sparse', ...holes);
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
