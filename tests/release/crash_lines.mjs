// A crash on purpose of a released program, whose folder VORDA_RELEASE names, and its lines.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import { test } from 'node:test';
import { serve } from '../system/support/server.mjs';
import { crash } from '../system/support/crash.mjs';
import { ownWine, projectVersion, scratch } from '../system/support/vorda.mjs';
import { repo } from './support.mjs';

test('the symbols of a release turn a crash report into lines', async (t) => {
  const folder = scratch(t);
  for (const zip of ['', '-symbols']) execFileSync('python3', ['-m', 'zipfile', '-e', `${process.env.VORDA_RELEASE}/vorda-${projectVersion}${zip}.zip`, folder]);
  const listed = execFileSync('x86_64-w64-mingw32-nm', ['-C', `${folder}/vorda.exe.debug`], { encoding: 'utf8', maxBuffer: 2 ** 28 });
  const [, address] = /^(\w+) T vorda::quoteArgument\b/m.exec(listed);
  const wine = ownWine(t);
  const server = await serve(t, [], { ...wine, program: `${folder}/vorda.exe` });
  const report = await crash(wine, server, { offset: Number(BigInt(`0x${address}`) & 0xffffffn), whole: true });
  const said = execFileSync(`${repo}/scripts/symbolize`, [report, `${folder}/vorda.exe`, `${folder}/vorda.exe.debug`], { encoding: 'utf8' });
  t.diagnostic(said);
  assert.match(said, /access violation/);
  assert.match(said, /vorda::quoteArgument\b.*quote_argument\.cpp:\d+/);
  assert.ok(!said.includes(repo), 'a path of this machine');
  const { size } = fs.statSync(report);
  assert.ok(size < 8 * 2 ** 20, `${size} bytes`);
});
