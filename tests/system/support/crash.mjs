// Has the program crash, from outside.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { helper, vorda } from './vorda.mjs';

// The folder of crash reports in a prefix.
export function reportFolder({ env }) {
  const users = `${env.VORDA_WINEPREFIX}/drive_c/users`;
  const [user] = fs.readdirSync(users).filter((name) => name !== 'Public');
  return `${users}/${user}/AppData/Local/Vorda`;
}

export const reportsIn = (wine) => fs.readdirSync(reportFolder(wine)).filter((name) => /^crash-.*\.dmp$/.test(name)).sort();

// Ends a serving program by a thread that begins at an offset of its code (0: where no code is). Returns
// the path of its report.
export async function crash(wine, server, offset = 0) {
  const before = reportsIn(wine);
  const { code, err } = await vorda(['crash', String(server.port), String(offset)], { ...wine, program: helper });
  assert.equal(code, 0, err);
  const { code: ended } = await server.ended;
  assert.notEqual(ended, 0);
  const [report] = reportsIn(wine).filter((name) => !before.includes(name));
  return `${reportFolder(wine)}/${report}`;
}
