// The update check against real servers on this machine, with what the internet may answer.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import crypto from 'node:crypto';
import fs from 'node:fs';
import https from 'node:https';
import net from 'node:net';
import { test } from 'node:test';
import { freePort, serve } from './support/server.mjs';
import { helper, ownWine, scratch, vorda } from './support/vorda.mjs';

const newer = [3, 'Vorda 1.10.0 is available - this is 1.9.0. Download: https://get.example/\n', ''];
const same = [0, 'Vorda 1.9.0 is up to date (Brixmoor has 1.9).\n', ''];
const offline = [1, '', 'Vorda: Brixmoor could not be reached to check for a newer version\n'];
const strange = [1, '', 'Vorda: Brixmoor sent an answer Vorda does not understand\n'];
const key = '"bx_version":"1.10.0"';
const good = `[{"meta":{${key}}}]`;
const says = (body, status = 200, headers = {}) => (_, response) => response.writeHead(status, headers).end(body);
// Bytes that never come to an end, one every 200 ms.
const drips = (head) => ({ socket }) => {
  socket.write(head);
  const timer = setInterval(() => socket.write('x'), 200);
  socket.on('close', () => clearInterval(timer));
};

// A certificate for localhost, as { key, cert }.
function certificate(folder, ...through) {
  const [program, ...args] = [...through, 'openssl', 'req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-days', '2', '-subj', '/CN=localhost',
    '-addext', 'subjectAltName=DNS:localhost', '-keyout', `${folder}/key`, '-out', `${folder}/cert`];
  execFileSync(program, args, { stdio: 'ignore' });
  return { key: fs.readFileSync(`${folder}/key`), cert: fs.readFileSync(`${folder}/cert`) };
}

// Makes the programs of one Wine prefix trust a certificate, in the form that Windows keeps in its
// registry: the property with number 32 is the certificate itself.
function trust({ cert }, wine) {
  const { raw } = new crypto.X509Certificate(cert);
  const hash = crypto.createHash('sha1').update(raw).digest('hex').toUpperCase();
  const blob = Buffer.concat([Buffer.from(Uint32Array.of(32, 1, raw.length).buffer), raw]).toString('hex');
  const name = `HKCU\\Software\\Microsoft\\SystemCertificates\\Root\\Certificates\\${hash}`;
  return vorda(['add', name, '/v', 'Blob', '/t', 'REG_BINARY', '/d', blob], { ...wine, program: 'reg.exe' });
}

test('the update check', async (t) => {
  const wine = await ownWine(t);
  const folder = scratch(t);
  const [trusted, expired, stranger] = [certificate(folder), certificate(folder, 'faketime', '2020-01-01'), certificate(folder)];
  for (const one of [trusted, expired]) await trust(one, wine);
  const check = async (port, { host = 'localhost', limit = 20_000 } = {}) => {
    const began = Date.now();
    const { code, out, err } = await vorda(['check-update', host, String(port), String(limit)], { ...wine, program: helper });
    return { told: [code, out.toString(), err], took: Date.now() - began };
  };
  const listen = async (server) => {
    const held = [];
    server.on('connection', (socket) => held.push(socket.on('error', () => {})));
    await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
    t.after(() => {
      held.forEach((socket) => socket.destroy());
      server.close();
    });
    return server.address().port;
  };

  let handle;
  const asked = [];
  const port = await listen(https.createServer(trusted, (request, response) => {
    asked.push(`${request.method} ${request.url} ${request.headers['user-agent']}`);
    handle(request, response);
  }));
  const answers = [
    [says(good), newer], [says('{"bx_version":"1.9"}'), same], [says(''), strange], [says(key.slice(0, -1)), strange],
    [says(key.padStart(65_536)), newer], [says(key.padStart(65_537)), strange], [says(good + ' '.repeat(5_000_000)), newer],
    [(_, response) => {
      for (const byte of good) response.write(byte);
      setTimeout(() => response.end(), 1500);
    }, newer],
    [says(good, 404), strange], [says(good, 204), strange], [says(good, 401), strange], [says(good, 500), strange],
    // Followed, these would be asked for once more.
    [says(good, 301, { location: '/elsewhere' }), strange], [says(good, 302, { location: `http://localhost:${port}/` }), strange],
    [says(good, 307, { location: `https://localhost:${port}/` }), strange],
    [(_, response) => response.writeHead(200, { 'content-length': 1000 }).write(good, () => response.destroy()), offline],
    [({ socket }) => socket.destroy(), offline], [({ socket }) => socket.end('no HTTP at all\r\n\r\n'), offline],
  ];
  for (const [i, [answer, outcome]] of answers.entries()) {
    handle = answer;
    assert.deepEqual((await check(port)).told, outcome, `answer ${i}`);
  }
  assert.deepEqual(asked, answers.map(() => 'GET /wp-json/wp/v2/bx_tool?slug=vorda&_fields=meta.bx_version Vorda/1.9.0'));

  const seen = [];
  const serving = (proof) => listen(https.createServer(proof, ({ url }) => seen.push(url)));
  const unproven = [[await serving(stranger)], [await serving(expired)], [await serving(trusted), { host: '127.0.0.1' }],
    [await freePort()], [443, { host: 'no-such-host.invalid' }]];
  for (const [at, options] of unproven) assert.deepEqual((await check(at, options)).told, offline);
  assert.deepEqual(seen, []);

  const endless = await Promise.all([net.createServer(() => {}), https.createServer(trusted, () => {}),
    https.createServer(trusted, drips('HTTP/1.1 200 OK\r\nX: ')),
    https.createServer(trusted, drips('HTTP/1.1 200 OK\r\nContent-Length: 9000\r\n\r\n'))].map(listen));
  for (const { told, took } of await Promise.all(endless.map((at) => check(at, { limit: 3000 })))) {
    t.diagnostic(`${took} ms with a limit of 3000`);
    assert.deepEqual(told, offline);
    assert.ok(took > 2900 && took < 10_000, `${took} ms`);
  }

  // The program itself asks the host it was built with, which is not there without a network.
  const run = async (...more) => Object.values(await vorda(['--check-update', ...more], wine)).map(String);
  assert.deepEqual(await run('--no-open'), ['1', 'null', ...offline.slice(1)]);
  for (const other of ['--agent', '--service', '--server', '--show-key', '--stop', 'C:\\', '--ext', '--port=1', '--port 1', '--token k',
    '--grant-service-logon me']) {
    assert.deepEqual(await run(...other.split(' ')),
      ['2', 'null', '', 'Vorda: --check-update stands on its own\nRun vorda.com --help for the options.\n'], other);
  }
  const { status, body } = await (await serve(t, [], wine)).post('/api/update');
  assert.deepEqual([status, body.ok, body.error], [502, false, 'updateOffline']);
});
