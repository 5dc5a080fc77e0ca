// The tests start the program in one of three homes:
//   wine        Linux, where the program runs under Wine
//   windows     Windows itself
//   wine-node   Wine, with the tests run by the Windows build of node: the ways of Windows, without a Windows
// What a home must have for a test is a capability. `needs` leaves a test out where one is missing, with words
// that the list of what was not on this home is made from (scripts/stages.py, scripts/windows-report).
import { spawnSync } from 'node:child_process';
import fs from 'node:fs';
import net from 'node:net';
import os from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

export const repo = fileURLToPath(new URL('../../..', import.meta.url));
export const exe = path.resolve(repo, process.env.VORDA_EXE ?? 'build/mingw-release/vorda.exe');
// A program that the tests start, built beside vorda.exe.
export const testProgram = (name) => path.join(path.dirname(exe), 'tests', name);

const windows = process.platform === 'win32';
const underWine = windows && fs.existsSync(`${process.env.SystemRoot}\\system32\\winecfg.exe`);
// For this node Wine fails to connect a socket that is to be kept alive, as fetch wants it.
if (underWine) net.Socket.prototype.setKeepAlive = function setKeepAlive() { return this; };
export const home = underWine ? 'wine-node' : windows ? 'windows' : 'wine';

const succeeds = (program, ...args) => spawnSync(program, args, { stdio: 'ignore', windowsHide: true }).status === 0;
const inNewFolder = (works) => {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'vorda-can-'));
  try {
    return works(folder);
  } catch {
    return false;
  } finally {
    fs.rmSync(folder, { recursive: true });
  }
};
const canLink = () => inNewFolder((folder) => {
  fs.symlinkSync('nowhere', `${folder}/link`);
  return fs.lstatSync(`${folder}/link`).isSymbolicLink();
});
// Taken away again by what made it.
const canMakeNamespaces = () => {
  const name = `vorda-can-${process.pid}`;
  const works = succeeds('ip', 'netns', 'add', name) && succeeds('ip', '-n', name, 'link', 'set', 'lo', 'up');
  succeeds('ip', 'netns', 'del', name);
  return works;
};
const real = home === 'windows';
const onLinux = home === 'wine';
const elevated = () => succeeds('fltmc.exe');
// Set on a machine that nobody minds losing, such as one of a build service.
const disposable = () => real && process.env.VORDA_DISPOSABLE === '1';
// Of MSYS2 or of Git for Windows.
export const bash = ['C:\\msys64\\usr\\bin\\bash.exe', `${process.env.ProgramFiles}\\Git\\usr\\bin\\bash.exe`].find((file) => windows && fs.existsSync(file));

// name: [what it is, whether this home has it].
const CAPABILITIES = {
  prefixes: ['Wine prefixes of a test’s own, with their drives, bin and registry', () => onLinux],
  ownMachine: ['a machine whose drive C:, services and registry the test may change', () => !real || (disposable() && elevated())],
  drives: ['letters of drives for folders', () => !underWine],
  anyName: ['a file system that takes any name', () => onLinux],
  symlinks: ['symbolic links', () => onLinux || canLink()],
  fast: ['sockets and files that are fast enough for very many of them', () => !underWine],
  unixRights: ['Unix rights of files and folders', () => onLinux],
  namespaces: ['network namespaces, and the rights to make them', () => onLinux && canMakeNamespaces()],
  interrupts: ['an interruption from outside, which is Ctrl+C to a program of Windows', () => onLinux],
  linkedPrograms: ['programs that start through a symbolic link', () => onLinux || (real && canLink())],
  procfs: ['/proc, and programs that can be stopped and continued', () => onLinux],
  tmpfs: ['a file system in memory, so small that a result fills it', () => onLinux],
  ntfsImage: ['an NTFS image that is mounted and read as a volume', () => onLinux],
  sshServer: ['the OpenSSH server of Windows, and a bash with GNU find', () => disposable() && elevated() && fs.existsSync(`${process.env.SystemRoot}\\System32\\OpenSSH\\sshd.exe`) && bash !== undefined],
  sshd: ['an ssh server, and a relay that brings ssh into Wine', () => onLinux],
  certificates: ['certificates for a server on this machine, one of them expired', () => onLinux],
  jdupes: ['jdupes', () => onLinux],
  usr: ['the large trees of a Debian', () => onLinux],
  esbuild: ['esbuild, which bundles the modules of the page', () => !underWine && fs.existsSync(path.join(repo, 'node_modules/esbuild'))],
  windowsNode: ['the Windows build of node', () => windows],
  windowsNames: ['names as Windows has them', () => windows],
  windows: ['Windows itself', () => real],
  administrator: ['Windows itself, with administrator rights', () => real && elevated()],
  ordinaryUser: ['Windows itself, without administrator rights', () => real && !elevated()],
  console: ['cmd, PowerShell and a console of Windows', () => real],
  vhdx: ['virtual disks that diskpart attaches', () => real && elevated() && disposable()],
  caseSensitive: ['folders that mind the case', () => real && inNewFolder((folder) => succeeds('fsutil.exe', 'file', 'setCaseSensitiveInfo', folder, 'enable'))],
  cloudFiles: ['placeholders of files in the cloud', () => real && fs.existsSync(`${process.env.SystemRoot}\\System32\\cldapi.dll`)],
  com: ['vorda.com beside vorda.exe', () => windows && fs.existsSync(exe.replace(/exe$/, 'com'))],
};

// How the tests of the page start a browser.
export const BROWSER_ARGUMENTS = ['--no-sandbox', '--disable-gpu', '--no-proxy-server', '--host-resolver-rules=MAP *.test 127.0.0.1'];

const known = {};
// Whether this home has it.
export function has(name) {
  if (!(name in CAPABILITIES)) throw new Error(`there is no capability ${name}`);
  return (known[name] ??= CAPABILITIES[name][1]());
}

// Options for a test: test('name', needs('sshd'), async (t) => { … }).
export function needs(...names) {
  const missing = names.filter((name) => !has(name)).map((name) => CAPABILITIES[name][0]);
  return missing.length === 0 ? {} : { skip: `not on this home (${home}): ${missing.join('; ')}` };
}
