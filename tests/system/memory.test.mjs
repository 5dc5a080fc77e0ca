// The real program with little memory left: the limit is set from outside while it runs.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import { test } from 'node:test';
import { serve, until } from './support/server.mjs';
import { makeFiles, scratch, winPath } from './support/vorda.mjs';

const MIB = 1024 * 1024;
const FILES = 30_000;
const LEFT = 24; // MiB
const limitAddresses = (pid, bytes) => execFileSync('prlimit', ['--pid', String(pid), `--as=${bytes}:unlimited`]);
const addresses = (pid) => 1024 * Number(/VmSize:\s*(\d+)/.exec(fs.readFileSync(`/proc/${pid}/status`, 'utf8'))[1]);

// Lets the program take so many MiB more than it has now.
const leave = (pid, mib) => limitAddresses(pid, addresses(pid) + mib * MIB);

async function scanned(server, folder) {
  const { status, body } = await server.post('/api/scan', { path: winPath(folder) });
  assert.equal(status, 200, JSON.stringify(body));
  return until(async () => {
    const jobs = (await server.json('/api/jobs')).body;
    const job = jobs.find((one) => one.id === body.id);
    return job.state !== 'scanning' && job;
  }, 'the scan to end');
}

test('what needs more memory than is left fails alone, and works once there is more', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'small/a.txt': 'text' });
  fs.mkdirSync(`${folder}/large`);
  for (let i = 0; i < FILES; ++i) {
    const file = `${folder}/large/${String(i).padStart(6, '0')} ${'long '.repeat(40)}`;
    fs.writeFileSync(`${file}.bin`, '');
    fs.truncateSync(`${file}.bin`, 60 * MIB); // large enough to be listed
  }
  const server = await serve(t);
  assert.equal((await scanned(server, `${folder}/small`)).state, 'done');

  leave(server.child.pid, LEFT);
  const short = await scanned(server, `${folder}/large`);
  assert.deepEqual([short.state, short.error], ['error', 'noMemory']);
  assert.deepEqual(await server.json(`/api/result?id=${short.id}`), { status: 400, body: { error: 'noMemory' } });
  // Each path is held in UTF-16 as well.
  const paths = new URLSearchParams(Array.from({ length: 40_000 }, (_, i) => ['p', `C:\\${'x'.repeat(500)}${i}`]));
  const large = await server.post('/api/verifydups', paths);
  assert.deepEqual(large, { status: 500, body: { error: 'noMemory' } });
  // What needs little is done at the same time.
  assert.equal((await server.json('/api/result?id=1')).status, 200);
  const again = await scanned(server, `${folder}/small`);
  assert.deepEqual([again.state, again.files], ['done', 1]);

  limitAddresses(server.child.pid, 'unlimited');
  const whole = await scanned(server, `${folder}/large`);
  assert.deepEqual([whole.state, whole.files, whole.error], ['done', FILES, '']);
  assert.equal(server.child.exitCode, null);
});
