// The program as a server: what a browser, curl, a script and an enemy see of it.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import net from 'node:net';
import path from 'node:path';
import { test } from 'node:test';
import { exchange, freePort, serve, until } from './support/server.mjs';
import { exe, makeFiles, output, readCsv, readJson, scratch, startSilent, winPath, wineScript } from './support/vorda.mjs';

const curl = (...args) => execFileSync('curl', ['-s', '--max-time', '20', ...args]).toString();
const page = fs.readFileSync(path.join(path.dirname(exe), 'page/page.html'), 'utf8');
const threadsOf = (child) => fs.readdirSync(`/proc/${child.pid}/task`).length;
const memoryOf = (child) => Number(/VmRSS:\s+(\d+)/.exec(fs.readFileSync(`/proc/${child.pid}/status`, 'utf8'))[1]);

test('a person scans, looks around, downloads and quits', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'b/big.iso': 60_000_000, 'b/deep/c.txt': 'abc', 'é 10/x.bin': 70_000_000, 'é 9/y': '' });
  const server = await serve(t);
  assert.equal(
    curl('-i', `${server.base}/api/hello`),
    'HTTP/1.1 200 OK\r\nContent-Type: application/json; charset=utf-8\r\nContent-Length: 44\r\n' +
      'Cache-Control: no-store\r\nConnection: close\r\n\r\n{"auth":false,"server":false,"canQuit":true}');
  assert.equal(curl(server.base), page);
  const targets = (await server.json('/api/targets')).body;
  assert.deepEqual(Object.keys(targets), ['drives', 'wsl', 'home', 'machine', 'elevated', 'version', 'vendor', 'website', 'logPath']);
  assert.ok(targets.drives.some((drive) => drive.path === 'Z:\\' && drive.type === 'fixed' && drive.size > 0));
  assert.match(targets.logPath, /\\Vorda\\verwijderd\.log$/);

  const root = winPath(folder);
  const browsed = (await server.json(`/api/browse?p=${encodeURIComponent(root)}`)).body;
  assert.deepEqual(browsed.dirs.map((dir) => dir.n), ['b', 'é 9', 'é 10']);
  const files = (await server.json(`/api/files?p=${encodeURIComponent(`${root}\\b`)}`)).body;
  assert.deepEqual([files.files[0].n, files.files[0].s, files.total, files.dirs], ['big.iso', 60_000_000, 1, 1]);

  assert.deepEqual(await server.post('/api/scan', { path: root, kind: 'folder', label: 'Mine & yours' }), { status: 200, body: { id: 1, ok: true } });
  const job = await until(async () => (await server.json('/api/jobs')).body.find((one) => one.state === 'done'), 'the scan');
  assert.deepEqual([job.label, job.files, job.dirs, job.bytes, job.phase], ['Mine & yours', 4, 5, 130_000_003, 3]);
  const byPage = (await server.json('/api/result?id=1')).body;
  const byCommand = readJson(await output(['--scan', root, '--out', '-']));
  const steady = ({ meta, ...rest }) => ({ ...rest, tree: { ...rest.tree, c: null }, meta: { ...meta, seconds: 0, volumeFree: 0 } });
  assert.deepEqual(steady(byPage), steady(byCommand));
  const dirs = (await server.json(`/api/dirs?id=1&p=${encodeURIComponent(root)}`)).body;
  assert.deepEqual(dirs.dirs.map((dir) => [dir.n, dir.s, dir.f]), [['é 10', 70_000_000, 1], ['b', 60_000_003, 2], ['é 9', 0, 1]]);
  assert.equal((await server.json('/api/ext?id=1&e=.iso')).body.files[0].p, `${root}\\b\\big.iso`);
  const csv = readCsv(Buffer.from(await (await fetch(`${server.base}/api/export?id=1&what=files`)).arrayBuffer()));
  assert.deepEqual(csv.rows.map((row) => row[1]), ['70000000', '60000000']);

  assert.equal((await server.post('/api/scan', { path: 'Z:\\no such folder' })).body.id, 2);
  await until(async () => (await server.json('/api/jobs')).body[1].state === 'error', 'the failure');
  assert.deepEqual(await server.json('/api/result?id=2'), { status: 400, body: { error: 'noSuchDir' } });
  assert.deepEqual((await server.json('/api/forget?id=1')).body, { ok: true });
  assert.deepEqual(await server.json('/api/result?id=1'), { status: 404, body: { error: 'opdracht onbekend' } });
  const foreign = await exchange(server.port, ['GET /api/jobs HTTP/1.1\r\nHost: evil.example\r\n\r\n']);
  assert.match(foreign, /^HTTP\/1\.1 403 Internal Server Error\r\n[^]*\{"error":"foreignOrigin"\}$/);
  assert.deepEqual((await server.json('/api/quit')).body, { ok: true });
  assert.equal((await server.ended).code, 0);
});

test('heads that are cut, huge, odd or slow', async (t) => {
  const { port } = await serve(t);
  const request = 'POST /api/jobs?x HTTP/1.1\r\nHost: localhost\r\nContent-Length: 4\r\n\r\nbody';
  const whole = await exchange(port, [request]);
  assert.match(whole, /^HTTP\/1\.1 200 OK\r\n[^]*\r\n\r\n\[\]$/);
  const headEnd = request.indexOf('\r\n\r\n') + 4;
  for (let cut = 0; cut < request.length; ++cut) {
    assert.equal(await exchange(port, [request.slice(0, cut)], { end: true }), cut < headEnd ? '' : whole, `cut at ${cut}`);
    assert.equal(await exchange(port, [request.slice(0, cut), request.slice(cut)]), whole, `split at ${cut}`);
  }
  assert.equal(await exchange(port, ['GET\r\n\r\n']), '');
  assert.equal(await exchange(port, [Buffer.alloc(8_388_609, 'a')], { end: true }), '');
  const filled = `GET /api/jobs H\r\nX: ${'x'.repeat(8_388_608 - 24)}\r\n\r\n`;
  assert.equal(filled.length, 8_388_608);
  assert.equal(await exchange(port, [filled]), whole);
  assert.equal(await exchange(port, [request + 'x'.repeat(300_000)]), whole);
  assert.equal(await exchange(port, ['GET /api/jobs H\nHost: evil.example\n\r\n\r\n']), whole, 'a lone line feed ends no line');
  const twice = 'GET /api/jobs H\r\nHost: localhost\r\nHost: evil.example\r\n\r\n';
  assert.match(await exchange(port, [twice]), /foreignOrigin/);
});

test('a thousand silent connections: others are served, and all is given back', async (t) => {
  const { child, port, base } = await serve(t);
  // Holds 1,100 connections, a tenth of them with half a request; returns the time that another
  // one's answer takes and the memory when all have gone.
  const flood = async () => {
    const sockets = [];
    // No more at once than wait in the system's queue, so that every one is really held.
    while (sockets.length < 1100) {
      const batch = Array.from({ length: 20 }, () => net.connect(port, '127.0.0.1'));
      await Promise.all(batch.map((socket) => new Promise((resolve, reject) => socket.on('connect', resolve).on('error', reject))));
      batch.slice(0, 2).forEach((socket) => socket.write('GET /api/jobs'));
      sockets.push(...batch);
      await until(() => threadsOf(child) > sockets.length, 'a thread for each');
    }
    const began = Date.now();
    assert.equal(await (await fetch(`${base}/api/jobs`)).text(), '[]');
    const took = Date.now() - began;
    for (const socket of sockets) socket.destroy();
    await until(() => threadsOf(child) < 50, 'the threads to end');
    return { took, memory: memoryOf(child) };
  };
  // Wine keeps some of the memory of ended threads for the next, and how much shows after a first
  // flood or two; what counts is that a further one needs no more.
  await flood();
  const [first, second] = [await flood(), await flood()];
  t.diagnostic(`answered in ${first.took} and ${second.took} ms; RSS ${first.memory} and ${second.memory} KiB afterwards`);
  assert.ok(Math.max(first.took, second.took) < 1000, 'answered within a second');
  assert.ok(second.memory < first.memory * 1.25, 'the memory returned');
});

test('an agent asks for its key, cannot be quit by a page, and stops when told', async (t) => {
  const { ended, port, base, json } = await serve(t, ['--agent', '--token', 'sésame open']);
  assert.deepEqual((await json('/api/hello')).body, { auth: true, server: false, canQuit: false });
  const refused = { status: 401, body: { error: 'onjuiste of ontbrekende sleutel' } };
  for (const path of ['/api/jobs', '/api/jobs?token=', '/api/jobs?token=sesame+open', '/api/quit']) assert.deepEqual(await json(path), refused);
  const key = encodeURIComponent('sésame open');
  assert.deepEqual(await json(`/api/jobs?token=${key}`), { status: 200, body: [] });
  const withHeader = `GET /api/jobs?token=no H\r\nHost: elsewhere.example\r\nX-Vorda-Token: sésame open\r\n\r\n`;
  assert.match(await exchange(port, [withHeader]), /\r\n\r\n\[\]$/);
  assert.deepEqual(await json(`/api/quit?token=${key}`), { status: 400, body: { error: 'quitRefused' } });
  assert.equal((await startSilent(['--stop']).ended).code, 0);
  assert.equal((await ended).code, 0);
  await assert.rejects(fetch(base));
});

test('a busy port: the page moves on', async (t) => {
  const holder = net.createServer();
  const port = await freePort();
  await new Promise((resolve) => holder.listen(port, '127.0.0.1', resolve));
  t.after(() => holder.close());
  const began = Date.now();
  const { child, ended } = startSilent(['--port', String(port), '--no-open']);
  t.after(() => {
    child.kill('SIGKILL');
    return ended;
  });
  const ports = Array.from({ length: 12 }, (_, i) => port + 1 + i);
  const alive = (one) => fetch(`http://127.0.0.1:${one}/api/hello`).then((answer) => answer.ok, () => false);
  const found = await until(async () => {
    for (const one of ports) if (await alive(one)) return one;
    return 0;
  }, 'one of the next ports');
  assert.ok(found <= port + 12);
  assert.ok(Date.now() - began >= 14 * 200, 'it tried its own port first');
});

test('the service runs under the service manager', async (t) => {
  const sc = (...args) => execFileSync(wineScript, ['sc.exe', ...args], { env: { ...process.env, LC_ALL: 'C.UTF-8' } }).toString();
  const port = await freePort();
  const program = winPath(exe);
  const state = () => /STATE\s*:\s*(\d+)/.exec(sc('query', 'VordaAgent'))?.[1];
  sc('create', 'VordaAgent', 'binPath=', `"${program}" --service --port ${port} --token k1`);
  t.after(() => sc('delete', 'VordaAgent'));
  sc('start', 'VordaAgent');
  await until(() => fetch(`http://127.0.0.1:${port}/api/jobs?token=k1`).then((answer) => answer.ok, () => false), 'the service');
  assert.equal(state(), '4');
  sc('stop', 'VordaAgent');
  await until(() => state() === '1', 'the service to stop');
  await assert.rejects(fetch(`http://127.0.0.1:${port}/`));
});
