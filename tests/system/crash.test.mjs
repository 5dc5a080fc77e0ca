// When it goes wrong at a user's: the report of a crash, and the diagnostic log.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { test } from 'node:test';
import { crash, reportFolder, reportsIn } from './support/crash.mjs';
import { needs } from './support/home.mjs';
import { serve, until } from './support/server.mjs';
import { makeFiles, ownWine, scratch, vorda, winPath } from './support/vorda.mjs';

test('a crash leaves a report, which the next start tells about, and three are kept', needs('prefixes'), async (t) => {
  const wine = ownWine(t);
  const folder = reportFolder(wine);
  fs.mkdirSync(folder, { recursive: true });
  const others = ['crash-20200101-000000-1.dmp', 'crash-20210101-000000-1.dmp', 'crash-20220101-000000-1.dmp', 'crash-mine.dmp'];
  for (const name of others) fs.writeFileSync(`${folder}/${name}`, name);
  const server = await serve(t, [], wine);
  const report = await crash(wine, server);
  const next = await serve(t, [], wine);
  assert.deepEqual(reportsIn(wine), [...others.slice(1, 3), report.split('/').pop(), 'crash-mine.dmp'].sort());
  const { body } = await next.json('/api/about');
  assert.equal(body.crash.path.split('\\').pop(), report.split('/').pop());
  assert.ok(Math.abs(body.crash.time - Date.now()) < 600_000);
  for (const name of reportsIn(wine)) fs.rmSync(`${folder}/${name}`);
  assert.equal('crash' in (await next.json('/api/about')).body, false);
});

test('the diagnostic log tells what happened, without names and keys unless asked', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'private/a.txt': 'x' });
  for (const [options, names] of [[[], false], [['--log-names'], true]]) {
    const log = `${folder}/log ${names}.txt`;
    const server = await serve(t, ['--agent', '--token', 'SECRETKEY', '--log', winPath(log), ...options]);
    const headers = { 'X-Vorda-Token': 'SECRETKEY' };
    const { body } = await server.json('/api/about', { headers });
    assert.equal(body.log, winPath(log));
    await server.json('/api/scan?token=SECRETKEY', { method: 'POST', body: new URLSearchParams({ path: winPath(`${folder}/private`), password: 'HIDDEN' }) });
    await server.json('/api/jobs?token=WRONGKEY');
    // A request's line is written after its answer, and a scan's by its own thread.
    const lines = [/POST \/api\/scan 200, /, /GET \/api\/jobs refused, 401/, /scan by walk begins/];
    const written = () => fs.readFileSync(log, 'utf8');
    await until(() => lines.every((line) => line.test(written())), 'the lines of the log');
    const text = written();
    assert.doesNotMatch(text, /SECRETKEY|HIDDEN|WRONGKEY/);
    assert.equal(text.includes('private'), names);
    assert.match(text, /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z info {4}Vorda \d/);
  }
  // It goes with a run on the command line too, and one that cannot be written is told at once.
  const log = `${folder}/run.txt`;
  assert.equal((await vorda(['--scan', `${folder}/private`, '--out', `${folder}/o.json`, '--log', winPath(log)])).code, 0);
  assert.match(fs.readFileSync(log, 'utf8'), /scan by walk ends: 1 files, \d folders, 0 unreadable/);
  const refused = await vorda(['--scan', folder, '--out', '-', '--log', winPath(`${folder}/none/x`)]);
  assert.equal(refused.code, 1);
  assert.match(refused.err, /^Vorda: could not write the log /);
});
