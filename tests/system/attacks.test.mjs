// What anyone who reaches the port can do without a key, and what a planted library or program can do:
// nothing that keeps others from being served, or the program from going on.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import { test } from 'node:test';
import { ATTACKS, startAttacks } from './support/attacks.mjs';
import { exchange, serve, until } from './support/server.mjs';
import { home, needs, testProgram } from './support/home.mjs';
import { exe, output, ownWine, processFacts, scratch, winPath } from './support/vorda.mjs';

const KEY = 'open sesame';
// Of Windows, used by the program. Wine's own shell would take others, such as version.dll, from there.
const LIBRARIES = ['winhttp', 'wtsapi32'];
// More than may wait without having shown a key. They last until they are pushed out.
const LASTING = ['a head that never ends', 'a silent connection', 'a body that never ends', 'a page that is not read'];

// ms until an answer, however busy the machine: an attacker's connection lives for a minute.
const LATEST = 30_000;
const HEAVY = /never ends|silent|not read|held back|large body/;

for (const mode of ['an agent', 'the interactive tool']) {
  for (const name of Object.keys(ATTACKS)) {
    test(`${mode} under attack: ${name}`, needs(...HEAVY.test(name) ? ['fast'] : []), async (t) => {
      const agent = mode === 'an agent';
      const server = await serve(t, agent ? ['--agent', '--token', KEY] : []);
      const key = agent ? { headers: { 'X-Vorda-Token': KEY } } : {};
      const { outcomes, stop } = startAttacks(t, server.port, { [name]: LASTING.includes(name) ? 530 : 12 });
      // Good requests meanwhile, until the attack has had its say.
      let slowest = 0;
      let asked = 0;
      const heard = () => Object.values(outcomes).reduce((sum, count) => sum + count, 0);
      // A client that does not read does not notice that it was closed.
      const none = ['a body held back at its end', 'a page that is not read'].includes(name);
      while (asked < 30 || heard() < (none ? 0 : 12)) {
        const began = Date.now();
        assert.deepEqual(await server.json('/api/jobs', key), { status: 200, body: [] });
        slowest = Math.max(slowest, Date.now() - began);
        ++asked;
      }
      await stop();
      const { peak: memory, threads } = processFacts(server.child);
      t.diagnostic(`slowest of ${asked} answers ${slowest} ms, peak of memory ${memory.toFixed(0)} MiB, ${threads} threads, ${JSON.stringify(outcomes)}`);
      assert.ok(memory < 300, `${memory} MiB`);
      assert.ok(slowest < LATEST, `${slowest} ms`);
      assert.ok(threads < 80, `${threads} threads`);
      assert.equal(server.child.exitCode, null);
    });
  }
}

test('what does not fit into memory fails alone', needs('procfs'), async (t) => {
  const root = scratch(t);
  const workers = Math.min(Math.max(os.cpus().length, 4), 16);
  const folders = 10 * workers; // what they take is more than the threads and what is to spare
  for (let i = 0; i < folders; ++i) {
    fs.mkdirSync(`${root}/${i}`);
    for (let j = 0; j < 1000; ++j) {
      const file = fs.openSync(`${root}/${i}/${'a file with a long name '.repeat(9)}${j}`, 'w');
      fs.ftruncateSync(file, 2 ** 30); // large enough to be listed
      fs.closeSync(file);
    }
  }
  const server = await serve(t);
  const scanned = async () => {
    const { id } = (await server.post('/api/scan', { path: winPath(root) })).body;
    return until(async () => {
      assert.equal(server.child.exitCode, null);
      const { status, body: jobs } = await server.json('/api/jobs').catch(() => ({ status: 500 }));
      if (status === 500) return undefined; // the scan holds all the memory just now
      const job = jobs.find((one) => one.id === id);
      return ['done', 'error'].includes(job.state) && job;
    }, 'the scan to end');
  };
  const body = () => fetch(`${server.base}/api/hello`, { method: 'POST', body: 'x'.repeat(60 * 2 ** 20) }).then((answer) => answer.status, () => 'closed');
  const data = Number(/VmData:\s*(\d+)/.exec(fs.readFileSync(`/proc/${server.child.pid}/status`, 'utf8'))[1]);
  // With less to spare the threads of the scan do not start, and that stops Wine itself.
  const spare = 22 + 2.5 * workers; // MiB
  const limit = (bytes) => execFileSync('prlimit', ['--pid', String(server.child.pid), `--data=${bytes}:`]);
  limit(data * 1024 + spare * 2 ** 20);
  const { state, error } = await scanned();
  assert.deepEqual([state, error], ['error', 'noMemory']);
  const refused = await body();
  assert.ok(refused === 'closed' || refused === 500, `${refused}`);
  await until(async () => (await server.json('/api/jobs')).status === 200, 'memory for an answer');
  limit('unlimited');
  const { files } = await scanned();
  assert.equal(files, folders * 1000);
  assert.equal(await body(), 200);
});

test('a refusal reaches a client that is still sending', async (t) => {
  const server = await serve(t);
  const head = 'POST /api/delete HTTP/1.1\r\nHost: evil.example\r\nContent-Length: 40000\r\n\r\n';
  assert.match(await exchange(server.port, [head, 'x'.repeat(20_000), 'x'.repeat(20_000)]), /\{"error":"foreignOrigin"\}$/);
});

test('a locked session serves only who has its key', async (t) => {
  const server = await serve(t, ['--lock', '--token', KEY]);
  assert.deepEqual((await server.json('/api/hello')).body, { auth: true, server: false, canQuit: true });
  assert.equal((await server.json('/api/jobs')).status, 401);
  const key = { headers: { 'X-Vorda-Token': KEY } };
  assert.deepEqual(await server.json('/api/jobs', key), { status: 200, body: [] });
  const elsewhere = `GET /api/jobs HTTP/1.1\r\nHost: evil.example\r\nX-Vorda-Token: ${KEY}\r\n\r\n`;
  assert.match(await exchange(server.port, [elsewhere]), /foreignOrigin/);
  assert.deepEqual((await server.json('/api/quit', key)).body, { ok: true });
  assert.equal((await server.ended).code, 0);
});

test('a locked session without a browser says where its page is', async (t) => {
  const file = `${scratch(t)}/said`;
  const server = await serve(t, ['--lock'], { stdio: ['ignore', 'ignore', fs.openSync(file, 'w')] });
  const [, key] = await until(() => /http:\/\/127\.0\.0\.1:\d+\/#key=(\w{20})/.exec(fs.readFileSync(file, 'utf8')), 'the address');
  assert.deepEqual(await server.json('/api/jobs', { headers: { 'X-Vorda-Token': key } }), { status: 200, body: [] });
});

test('a library planted beside the program is not loaded', async (t) => {
  const folder = scratch(t);
  fs.copyFileSync(exe, `${folder}/vorda.exe`);
  const planted = testProgram('planted_library.dll');
  for (const name of LIBRARIES) fs.copyFileSync(planted, `${folder}/${name}.dll`);
  // Wine prefers its own libraries to those in the folder of a program; Windows does not.
  if (home !== 'windows') for (const name of LIBRARIES) await output(['add', 'HKCU\\Software\\Wine\\DllOverrides', '/v', name, '/d', 'native,builtin', '/f'], { program: 'reg.exe' });
  // The library tells that it was loaded when that is asked for.
  await output([`${winPath(folder)}\\winhttp.dll,run`], { program: 'rundll32.exe' });
  assert.ok(fs.existsSync(`${folder}/winhttp.dll.loaded`));
  fs.rmSync(`${folder}/winhttp.dll.loaded`);
  const server = await serve(t, [], { program: `${folder}/vorda.exe` });
  assert.match((await server.json('/api/targets')).body.version, /^\d/);
  await server.post('/api/update', {});
  assert.deepEqual(fs.readdirSync(folder).filter((name) => name.endsWith('.loaded')), []);
});

test('Explorer is the one of Windows, wherever else a program of that name lies', needs('prefixes'), async (t) => {
  const folder = scratch(t);
  const wine = ownWine(t);
  fs.copyFileSync(exe, `${folder}/vorda.exe`);
  const server = await serve(t, [], { ...wine, program: `${folder}/vorda.exe`, cwd: folder });
  const started = `${folder}/started`;
  fs.writeFileSync(started, '');
  const plant = (file, name) => {
    fs.rmSync(file, { force: true }); // the prefix has it as a link
    fs.writeFileSync(file, `#!/bin/sh\necho ${name} >>'${started}'\n`, { mode: 0o755 });
  };
  const windows = `${wine.env.VORDA_WINEPREFIX}/drive_c/windows`;
  plant(`${windows}/explorer.exe`, 'right');
  // Windows looks for a bare name in the current folder first, and Wine in this one.
  for (const place of [folder, `${windows}/system32`]) plant(`${place}/explorer.exe`, 'wrong');
  assert.equal((await server.json('/api/reveal?p=C%3A%5CWindows')).status, 200);
  assert.equal((await server.post('/api/openbin', {})).status, 200);
  const names = () => fs.readFileSync(started, 'utf8').split('\n').slice(0, -1);
  await until(() => names().length === 2, 'Explorer to be started twice');
  assert.deepEqual(names(), ['right', 'right']);
});
