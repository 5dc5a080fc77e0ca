// The update check against real servers on this machine, with what the internet may answer.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import crypto from 'node:crypto';
import { once } from 'node:events';
import fs from 'node:fs';
import https from 'node:https';
import net from 'node:net';
import { test } from 'node:test';
import { setTimeout as pause } from 'node:timers/promises';
import { freePort, serve } from './support/server.mjs';
import { helper, ownWine, scratch, vorda, wineScript } from './support/vorda.mjs';

const newer = 'Vorda 1.10.0 is available - this is 1.9.0. Download: https://get.example/';
const same = 'Vorda 1.9.0 is up to date (Brixmoor has 1.9).';
const offline = 'Vorda: Brixmoor could not be reached to check for a newer version';
const strange = 'Vorda: Brixmoor sent an answer Vorda does not understand';
const good = '[{"meta":{"bx_version":"1.10.0"}}]';
const says = (body, status = 200, headers = {}) => (_, response) => response.writeHead(status, headers).end(body);

// A certificate for localhost as { key, cert }.
function certificate(folder, through = []) {
  const [key, cert] = [`${folder}/key`, `${folder}/cert`];
  const [program, ...args] = [...through, 'openssl', 'req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-days', '2',
    '-subj', '/CN=localhost', '-addext', 'subjectAltName=DNS:localhost', '-keyout', key, '-out', cert];
  execFileSync(program, args, { stdio: 'ignore' });
  return { key: fs.readFileSync(key), cert: fs.readFileSync(cert) };
}

// Makes the programs of one Wine prefix trust a certificate, as Windows keeps it in its registry: the
// property with number 32 is the certificate itself.
function trust({ cert }, { env }) {
  const { raw } = new crypto.X509Certificate(cert);
  const head = Buffer.from(Uint32Array.of(32, 1, raw.length).buffer);
  const store = 'HKCU\\Software\\Microsoft\\SystemCertificates\\Root\\Certificates';
  const key = `${store}\\${crypto.createHash('sha1').update(raw).digest('hex').toUpperCase()}`;
  const blob = Buffer.concat([head, raw]).toString('hex');
  execFileSync(wineScript, ['reg', 'add', key, '/v', 'Blob', '/t', 'REG_BINARY', '/d', blob],
    { env: { ...process.env, ...env }, stdio: 'ignore' });
}

async function listen(t, server) {
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  const held = new Set();
  server.on('connection', (socket) => held.add(socket.on('error', () => {})));
  t.after(() => {
    for (const socket of held) socket.destroy();
    server.close();
  });
  return server.address().port;
}

test('the update check', async (t) => {
  const wine = await ownWine(t);
  const folder = scratch(t);
  const trusted = certificate(folder);
  const stranger = certificate(folder);
  const expired = certificate(folder, ['faketime', '2020-01-01']);
  trust(trusted, wine);
  trust(expired, wine);
  const check = async (host, port, limit = 20_000) => {
    const began = Date.now();
    const { code, out, err } = await vorda(['check-update', host, String(port), String(limit)], { ...wine, program: helper });
    return { told: [code, out.toString(), err], took: Date.now() - began };
  };
  const expect = (line) => (line === newer ? [3, `${line}\n`, ''] : line === same ? [0, `${line}\n`, ''] : [1, '', `${line}\n`]);

  await t.test('answers of a server that is trusted', async () => {
    let handle;
    let asked = 0;
    const port = await listen(t, https.createServer(trusted, (request, response) => {
      ++asked;
      handle(request, response);
    }));
    const key = '"bx_version":"1.10.0"';
    const answers = [
      [says(good), newer],
      [says('{"bx_version":"1.9"}'), same],
      [says(key.padStart(65_536)), newer],
      [says(key.padStart(65_537)), strange],
      [says(`${good}${' '.repeat(5_000_000)}`), newer],
      [(_, response) => {
        for (const byte of good) response.write(byte);
        setTimeout(() => response.end(), 1500);
      }, newer],
      ...['', '{}', '{"bx_version":"2..1"}', '{"bx_version":"v2.0"}', '{"bx_version":"2', '\0'.repeat(70_000)].map((body) => [says(body), strange]),
      ...[201, 204, 401, 404, 500, 503].map((status) => [says(good, status), strange]),
      // Followed, each of these would find a good answer or a count too high.
      ...['/elsewhere', `https://localhost:${port}/`, `http://localhost:${port}/`].map((location, i) =>
        [says(good, [301, 302, 307][i], { location }), strange]),
      [(_, response) => response.writeHead(200, { 'content-length': 1000 }).write(good, () => response.destroy()), offline],
      [(request) => request.socket.destroy(), offline],
      [(request) => request.socket.end('no HTTP at all\r\n\r\n'), offline],
    ];
    for (const [i, [answer, line]] of answers.entries()) {
      handle = answer;
      assert.deepEqual((await check('localhost', port)).told, expect(line), `answer ${i}`);
    }
    assert.equal(asked, answers.length);
    const seen = [];
    handle = ({ method, url, headers }, response) => {
      seen.push(`${method} ${url} ${headers['user-agent']}`);
      says(good)(null, response);
    };
    await check('localhost', port);
    assert.deepEqual(seen, ['GET /wp-json/wp/v2/bx_tool?slug=vorda&_fields=meta.bx_version Vorda/1.9.0']);
  });

  await t.test('certificates that prove nothing', async () => {
    const asked = [];
    const serving = (proof) => listen(t, https.createServer(proof, (request, response) => {
      asked.push(request.url);
      says(good)(request, response);
    }));
    for (const [host, proof] of [['localhost', stranger], ['127.0.0.1', trusted], ['localhost', expired]]) {
      assert.deepEqual((await check(host, await serving(proof))).told, expect(offline));
    }
    assert.deepEqual(asked, []);
  });

  await t.test('servers that are not there or never come to an end', async () => {
    const drip = (head) => async (_, response) => {
      response.socket.write(head);
      while (!response.destroyed && !response.socket.destroyed) {
        response.socket.write('x');
        await pause(200);
      }
    };
    const slow = await Promise.all([
      listen(t, net.createServer(() => {})),
      listen(t, https.createServer(trusted, () => {})),
      listen(t, https.createServer(trusted, drip('HTTP/1.1 200 OK\r\nX: '))),
      listen(t, https.createServer(trusted, drip('HTTP/1.1 200 OK\r\nContent-Length: 9000\r\n\r\n'))),
    ]);
    for (const [i, { told, took }] of (await Promise.all(slow.map((port) => check('localhost', port, 3000)))).entries()) {
      t.diagnostic(`server ${i}: ${took} ms with a limit of 3000`);
      assert.deepEqual(told, expect(offline));
      assert.ok(took > 2900 && took < 8000, `${i}: ${took} ms`);
    }
    for (const [host, port] of [['localhost', await freePort()], ['no-such-host.invalid', 443]]) {
      assert.deepEqual((await check(host, port)).told, expect(offline));
    }
  });

  // Without a network, the host that this build asks is not there.
  await t.test('the program itself asks its own host', async () => {
    const alone = await vorda(['--check-update', '--no-open'], wine);
    assert.deepEqual([alone.code, alone.out.toString(), alone.err], expect(offline));
    const together = 'Vorda: --check-update stands on its own\nRun vorda.com --help for the options.\n';
    for (const other of ['--agent', '--service', '--server', '--show-key', '--stop', 'C:\\', '--out x', '--ext', '--port 1', '--token k',
      '--scan C:\\', '--grant-service-logon me', '--what-else']) {
      const { code, out, err } = await vorda(['--check-update', ...other.split(' ')], wine);
      assert.deepEqual([code, out.toString(), err], [2, '', together], other);
    }
    const { post, json } = await serve(t, [], wine);
    const { version } = (await json('/api/targets')).body;
    const { status, body } = await post('/api/update', {});
    assert.equal(status, 502);
    assert.deepEqual(Object.entries(body).slice(0, 4), Object.entries({ ok: false, current: version, latest: '', newer: false }));
    assert.match(body.url, /^https:\/\//);
    assert.equal(body.error, 'updateOffline');
  });
});
