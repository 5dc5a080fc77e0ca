// Wine from Linux: programs are started through scripts/wine, in prefixes that go away with the tests.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { exe, repo } from './home.mjs';

export const wineScript = path.join(repo, 'scripts/wine');

// Printed by Wine about the volume that holds "/", not by the program.
export const wineChatter = /wine: Read access denied for device .*\n/g;

// Arguments for spawn. `through` is a command line to start Wine with, such as setpriv's; the other options
// are spawn's own.
export const wineCommand = (args, { env, through = [], ...options }) => {
  const [program, ...rest] = [...through, wineScript, ...args];
  return [program, rest, { ...options, env: { ...process.env, ...env } }];
};

const prefixes = new Set();

export function removePrefix(prefix) {
  if (!prefixes.delete(prefix)) return;
  spawnSync(...wineCommand(['--end'], { env: { VORDA_WINEPREFIX: prefix }, stdio: 'ignore' }));
  fs.rmSync(prefix, { recursive: true, force: true });
}

process.on('exit', () => [...prefixes].forEach(removePrefix));

// A Wine prefix like the build tree's, with its own registry, services, windows, bin and drive C:, and
// with more drives if wanted: { 'd:': folder, 'd::': image, 'unc/server/share': folder, ... }. Returns the
// options to run programs in it. Nothing else runs in the prefix until its server is up and a first
// program has ended: Wine's services start with that one, and would keep its pipes open.
export function makePrefix(drives = {}, through = []) {
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
