// The program as a server, as seen by a browser, curl, scripts and attackers.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import net from 'node:net';
import path from 'node:path';
import { test } from 'node:test';
import { listen } from './support/ends.mjs';
import { home } from './support/home.mjs';
import { exchange, serve, until } from './support/server.mjs';
import { exe, makeFiles, output, readJson, scratch, startFor, startSilent, winPath } from './support/vorda.mjs';

const page = fs.readFileSync(path.join(path.dirname(exe), 'page/page.html'), 'utf8');

test('scan, download and quit', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'b/big.iso': 60_000_000, 'b/deep/c.txt': 'abc', 'é 10/x.bin': 70_000_000, 'é 9/y': '' });
  const server = await serve(t);
  assert.equal(
    await exchange(server.port, ['GET /api/hello HTTP/1.1\r\nHost: localhost\r\n\r\n']),
    'HTTP/1.1 200 OK\r\nContent-Type: application/json; charset=utf-8\r\nContent-Length: 44\r\n' +
      'Cache-Control: no-store\r\nConnection: close\r\n\r\n{"auth":false,"server":false,"canQuit":true}');
  assert.equal(await (await fetch(server.base)).text(), page);
  const targets = (await server.json('/api/targets')).body;
  assert.ok(targets.drives.some((drive) => drive.path === (home === 'windows' ? 'C:\\' : 'Z:\\') && drive.type === 'fixed' && drive.size > 0));

  const root = winPath(folder);
  const job = await server.scan(root, { kind: 'folder', label: 'Mine & yours' });
  assert.deepEqual([job.label, job.files, job.dirs, job.bytes, job.phase], ['Mine & yours', 4, 5, 130_000_003, 3]);
  const byPage = (await server.json('/api/result?id=1')).body;
  const byCommand = readJson(await output(['--scan', root, '--out', '-']));
  const steady = ({ meta, ...rest }) => ({ ...rest, tree: { ...rest.tree, c: null }, meta: { ...meta, seconds: 0, volumeFree: 0 } });
  assert.deepEqual(steady(byPage), steady(byCommand));

  const foreign = await exchange(server.port, ['GET /api/jobs HTTP/1.1\r\nHost: evil.example\r\n\r\n']);
  assert.match(foreign, /^HTTP\/1\.1 403 Internal Server Error\r\n[^]*\{"error":"foreignOrigin"\}$/);
  assert.deepEqual((await server.json('/api/quit')).body, { ok: true });
  assert.equal((await server.ended).code, 0);
});

test('an agent requires its key, cannot be quit by a page, and ends on --stop', async (t) => {
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

test('if its port is taken, the page moves on to another after a while', async (t) => {
  const port = await listen(t, net.createServer());
  const began = Date.now();
  startFor(t, ['--port', String(port), '--no-open']);
  const alive = (one) => fetch(`http://127.0.0.1:${one}/api/hello`).then((answer) => answer.ok, () => false);
  const others = Array.from({ length: 12 }, (_, i) => port + 1 + i);
  await until(async () => (await Promise.all(others.map(alive))).includes(true), 'one of the next ports');
  assert.ok(Date.now() - began >= 14 * 200, 'it tried its own port first');
});
