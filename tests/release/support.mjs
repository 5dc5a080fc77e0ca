// Releases made of the programs of this build.
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { exe } from '../system/support/vorda.mjs';

export const repo = fileURLToPath(new URL('../..', import.meta.url));
export const build = path.dirname(exe);

// Packs the programs of a folder, those of the build if none is named, and returns the names of the files.
export function pack(out, { programs = build, version, env = {}, through = [] } = {}) {
  const [command, ...rest] = [...through, `${repo}/scripts/release`, '--pack', programs, out];
  execFileSync(command, rest, {
    env: { ...process.env, SOURCE_DATE_EPOCH: '1795342500', ...(version ? { VORDA_RELEASE_VERSION: version } : {}), ...env },
    stdio: ['ignore', 'ignore', 'pipe'],
  });
  return filesOf(out);
}

export const filesOf = (folder) => fs.readdirSync(folder, { recursive: true, withFileTypes: true })
  .filter((one) => one.isFile()).map((one) => path.relative(folder, path.join(one.parentPath ?? one.path, one.name))).sort();

// A folder with the programs as of another version, for installers that replace each other.
export function programsOf(folder, version) {
  fs.mkdirSync(folder);
  for (const name of ['vorda.exe', 'vorda.com']) {
    const bytes = fs.readFileSync(`${build}/${name}`);
    bytes.writeUInt16LE(Number(version.split('.')[0]), bytes.indexOf(Buffer.from([0xbd, 0x04, 0xef, 0xfe])) + 10);
    fs.writeFileSync(`${folder}/${name}`, bytes);
  }
  fs.copyFileSync(`${build}/CMakeCache.txt`, `${folder}/CMakeCache.txt`);
  return folder;
}
