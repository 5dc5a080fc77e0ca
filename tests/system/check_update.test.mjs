// The update check against real servers on this machine, which answer in every way the internet might.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import crypto from 'node:crypto';
import fs from 'node:fs';
import https from 'node:https';
import net from 'node:net';
import { after, test } from 'node:test';
import { listen } from './support/ends.mjs';
import { has, needs } from './support/home.mjs';
import { freePort, serve } from './support/server.mjs';
import { helper, scratch, vorda } from './support/vorda.mjs';

const newer = [3, 'Vorda 1.10.0 is available - this is 1.9.0. Download: https://get.example/\n', ''];
const same = [0, 'Vorda 1.9.0 is up to date (Brixmoor has 1.9).\n', ''];
const offline = [1, '', 'Vorda: Brixmoor could not be reached to check for a newer version\n'];
const strange = [1, '', 'Vorda: Brixmoor sent an answer Vorda does not understand\n'];
const key = '"bx_version":"1.10.0"';
const good = `[{"meta":{${key}}}]`;
const says = (body, status = 200, headers = {}) => (_, response) => response.writeHead(status, headers).end(body);
// An answer that never ends: one byte every 200 ms.
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

// Makes Windows programs trust a certificate, stored the way Windows keeps it in the registry:
// property number 32 is the certificate itself.
function trust({ cert }) {
  const { raw } = new crypto.X509Certificate(cert);
  const hash = crypto.createHash('sha1').update(raw).digest('hex').toUpperCase();
  const blob = Buffer.concat([Buffer.from(Uint32Array.of(32, 1, raw.length).buffer), raw]).toString('hex');
  const name = `HKCU\\Software\\Microsoft\\SystemCertificates\\Root\\Certificates\\${hash}`;
  return vorda(['add', name, '/v', 'Blob', '/t', 'REG_BINARY', '/d', blob], { program: 'reg.exe' });
}

const folder = scratch({ after });
const [trusted, expired, stranger] = has('certificates') ? [certificate(folder), certificate(folder, 'faketime', '2020-01-01'), certificate(folder)] : [];
if (trusted) for (const one of [trusted, expired]) await trust(one);

async function check(port, { host = 'localhost', limit = 120_000 } = {}) {
  const began = Date.now();
  const { code, out, err } = await vorda(['check-update', host, String(port), String(limit)], { program: helper });
  return { told: [code, out.toString(), err], took: Date.now() - began };
}

test('what a server may answer', needs('certificates'), async (t) => {
  let handle;
  const asked = [];
  const port = await listen(t, https.createServer(trusted, (request, response) => {
    asked.push(`${request.method} ${request.url} ${request.headers['user-agent']}`);
    handle(request, response);
  }));
  const answers = [
    [says(good), newer], [says('{"bx_version":"1.9"}'), same], [says(''), strange], [says(good, 401), strange],
    [says(key.padStart(65_536)), newer], [says(key.padStart(65_537)), strange], [says(good + ' '.repeat(5_000_000)), newer],
    [(_, response) => {
      for (const byte of good) response.write(byte);
      response.end();
    }, newer],
    // If a redirection were followed, there would be one more request.
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
});

test('a server that cannot prove who it is gets no request', needs('certificates'), async (t) => {
  const seen = [];
  const serving = (proof) => listen(t, https.createServer(proof, ({ url }) => seen.push(url)));
  const unproven = [[await serving(stranger)], [await serving(expired)], [await serving(trusted), { host: '127.0.0.1' }],
    [await freePort()], [443, { host: 'no-such-host.invalid' }]];
  for (const [at, options] of unproven) assert.deepEqual((await check(at, options)).told, offline);
  assert.deepEqual(seen, []);
});

test('an answer that does not end is given up at the time limit', needs('certificates'), async (t) => {
  const endless = await Promise.all([net.createServer(() => {}), https.createServer(trusted, () => {}),
    https.createServer(trusted, drips('HTTP/1.1 200 OK\r\nX: ')),
    https.createServer(trusted, drips('HTTP/1.1 200 OK\r\nContent-Length: 9000\r\n\r\n'))].map((server) => listen(t, server)));
  for (const { told, took } of await Promise.all(endless.map((port) => check(port, { limit: 3000 })))) {
    assert.deepEqual(told, offline);
    assert.ok(took > 2900 && took < 120_000, `${took} ms`);
  }
});

test('--check-update asks the host it was built with, which does not exist, and stands on its own', async (t) => {
  const run = async (...more) => Object.values(await vorda(['--check-update', ...more])).map(String);
  assert.deepEqual(await run('--no-open'), ['1', 'null', ...offline.slice(1)]);
  for (const other of ['--agent', '--stop', 'C:\\', '--ext', '--port=1', '--port 1', '--token k', '--grant-service-logon me']) {
    assert.deepEqual(await run(...other.split(' ')),
      ['2', 'null', '', 'Vorda: --check-update stands on its own\nRun vorda.com --help for the options.\n'], other);
  }
  const { status, body } = await (await serve(t)).post('/api/update');
  assert.deepEqual([status, body.ok, body.error], [502, false, 'updateOffline']);
});
