// Has the program crash, from outside.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { until } from './server.mjs';
import { helper, vorda } from './vorda.mjs';

// The folder of crash reports in a prefix.
export function reportFolder({ env }) {
  const users = `${env.VORDA_WINEPREFIX}/drive_c/users`;
  const [user] = fs.readdirSync(users).filter((name) => name !== 'Public');
  return `${users}/${user}/AppData/Local/Vorda`;
}

export const reportsIn = (wine) => fs.readdirSync(reportFolder(wine)).filter((name) => /^crash-.*\.dmp$/.test(name)).sort();

// Ends a serving program by a thread that begins at an offset of its code (0: where no code is). Returns
// the path of its report, which is empty unless all of it is waited for: Wine takes a minute to write it, since it
// reads all libraries of this machine for that.
export async function crash(wine, server, { offset = 0, whole = false } = {}) {
  const before = fs.existsSync(reportFolder(wine)) ? reportsIn(wine) : [];
  const helping = vorda(['crash', String(server.port), String(offset)], { ...wine, program: helper });
  const fresh = () => fs.existsSync(reportFolder(wine)) && reportsIn(wine).filter((name) => !before.includes(name))[0];
  const report = await until(fresh, 'the report');
  if (!whole) server.child.kill('SIGKILL');
  assert.notEqual((await server.ended).code, 0);
  const { code, err } = await helping;
  assert.equal(code, 0, err);
  return `${reportFolder(wine)}/${report}`;
}
