// What a release consists of: the same bytes each time, all of it listed, and signed where a certificate is.
import assert from 'node:assert/strict';
import { execFileSync, spawn, spawnSync } from 'node:child_process';
import crypto from 'node:crypto';
import fs from 'node:fs';
import http from 'node:http';
import { buffer } from 'node:stream/consumers';
import { after, test } from 'node:test';
import newman from 'newman';
import { listen } from '../system/support/ends.mjs';
import { serve } from '../system/support/server.mjs';
import { makeFiles, projectVersion, scratch, winPath } from '../system/support/vorda.mjs';
import { build, filesOf, pack, repo } from './support.mjs';

const root = scratch({ after });
const out = `${root}/a release`;
const names = pack(out);
const named = (kind) => `${out}/vorda-${projectVersion}${kind}`;
const unpack = (file, folder) => {
  execFileSync('python3', ['-m', 'zipfile', '-e', file, folder]);
  return folder;
};
const zip = unpack(named('.zip'), `${root}/zip`);
const hash = (kind, bytes) => crypto.createHash(kind).update(bytes).digest('hex');

test('the same programs give the same release, elsewhere, later and for another user', () => {
  fs.mkdirSync(`${root}/elsewhere`);
  const again = `${root}/elsewhere/b`;
  pack(again, { through: ['faketime', '-f', '+400d', 'sh', '-c', 'umask 077; TZ=Asia/Tokyo LANG=C exec "$0" "$@"'] });
  assert.deepEqual(filesOf(again), names);
  for (const name of names) assert.ok(fs.readFileSync(`${again}/${name}`).equals(fs.readFileSync(`${out}/${name}`)), `${name} differs`);
});

test('sums, list of parts and notices name everything', () => {
  const sums = fs.readFileSync(`${out}/SHA256SUMS`, 'utf8').trim().split('\n').map((line) => line.split('  '));
  assert.deepEqual(sums.map(([, name]) => name).sort(), names.filter((name) => name !== 'SHA256SUMS'));
  for (const [sum, name] of sums) assert.equal(hash('sha256', fs.readFileSync(`${out}/${name}`)), sum);
  const parts = JSON.parse(fs.readFileSync(named('.spdx.json')));
  const listed = Object.fromEntries(parts.files.map(({ fileName, checksums }) => [fileName.slice(2), checksums]));
  assert.deepEqual(Object.keys(listed).sort(), filesOf(zip));
  for (const [name, checksums] of Object.entries(listed)) {
    for (const { algorithm, checksumValue } of checksums) assert.equal(hash(algorithm.toLowerCase(), fs.readFileSync(`${zip}/${name}`)), checksumValue);
  }
  assert.deepEqual(parts.packages.map(({ name }) => name), ['Vorda', 'libstdc++', 'libgcc', 'mingw-w64-runtime', 'winpthreads']);
  assert.ok(parts.packages.every(({ versionInfo }) => /\d/.test(versionInfo)));
  const links = parts.relationships.filter(({ relationshipType }) => relationshipType === 'STATIC_LINK');
  assert.equal(links.length, 2 * 4);
  const terms = fs.readFileSync(`${zip}/THIRD-PARTY-NOTICES.txt`, 'utf8');
  for (const said of ['GCC Runtime Library Exception', 'winpthreads', 'GNU GENERAL PUBLIC LICENSE']) assert.match(terms, new RegExp(said, 'i'));
  for (const needed of ['vorda.exe', 'vorda.com', 'api/API.md', 'api/openapi.yaml', 'api/Vorda.postman_collection.json', 'CHANGELOG.md', 'troubleshooting.md', 'LICENCE.txt']) assert.ok(needed in listed, needed);
});

test('sizes stay small', () => {
  assert.ok(fs.statSync(`${zip}/vorda.exe`).size < 2.5 * 2 ** 20);
  assert.ok(fs.statSync(named('-setup.exe')).size < 2 * 2 ** 20);
});

test('a fault in a file for package managers is found', () => {
  const check = (folder) => spawnSync('python3', ['-c', 'import sys, pathlib; sys.path.insert(0, sys.argv[1]); import manifests; print("\\n".join(manifests.faults_of(pathlib.Path(sys.argv[2]), sys.argv[3])))',
    `${repo}/scripts/packing`, folder, projectVersion], { encoding: 'utf8' }).stdout.trim();
  assert.equal(check(out), '');
  for (const [file, from, to, fault] of [
    ['winget/Brixmoor.Vorda.installer.yaml', /Sha256: ./, 'Sha256: G', 'the hash of'],
    ['winget/Brixmoor.Vorda.locale.en-US.yaml', /PackageVersion: ./, 'PackageVersion: 9', 'another version'],
    ['scoop/vorda.json', /"hash": "./, '"hash": "x', 'another file'],
    ['chocolatey/vorda.nuspec', /<version>/, '<version>9', 'another version'],
  ]) {
    const wrong = `${root}/wrong`;
    fs.cpSync(out, wrong, { recursive: true });
    fs.writeFileSync(`${wrong}/${file}`, fs.readFileSync(`${wrong}/${file}`, 'utf8').replace(from, to));
    assert.match(check(wrong), new RegExp(fault), file);
    fs.rmSync(wrong, { recursive: true });
  }
});

// A certificate authority, a certificate to sign with, and a server for time stamps, all for this test.
function throwAway(folder) {
  const openssl = (...args) => execFileSync('openssl', args, { cwd: folder, stdio: ['ignore', 'pipe', 'pipe'] });
  fs.mkdirSync(folder);
  fs.writeFileSync(`${folder}/ext`, '[code]\nextendedKeyUsage=codeSigning\n[stamp]\nextendedKeyUsage=critical,timeStamping\n');
  openssl('req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-subj', '/CN=Throw-away root', '-days', '3650', '-keyout', 'root.key', '-out', 'root.pem', '-addext', 'basicConstraints=critical,CA:true');
  for (const kind of ['code', 'stamp']) {
    openssl('req', '-newkey', 'rsa:2048', '-nodes', '-subj', `/CN=Throw-away ${kind}`, '-keyout', `${kind}.key`, '-out', `${kind}.csr`);
    openssl('x509', '-req', '-in', `${kind}.csr`, '-CA', 'root.pem', '-CAkey', 'root.key', '-set_serial', kind === 'code' ? '2' : '3', '-days', '3650', '-extfile', 'ext', '-extensions', kind, '-out', `${kind}.pem`);
  }
  openssl('pkcs12', '-export', '-inkey', 'code.key', '-in', 'code.pem', '-passout', 'pass:a word', '-out', 'code.pfx');
  fs.writeFileSync(`${folder}/word`, 'a word');
  fs.writeFileSync(`${folder}/serial`, '01\n');
  fs.writeFileSync(`${folder}/tsa.conf`, ['[tsa]', 'default_tsa=t', '[t]', 'serial=serial', 'signer_cert=stamp.pem', 'signer_key=stamp.key', 'signer_digest=sha256', 'default_policy=1.2.3.4', 'digests=sha256,sha384,sha512', 'accuracy=secs:1', 'ess_cert_id_alg=sha256'].join('\n'));
  return (query) => {
    fs.writeFileSync(`${folder}/query`, query);
    openssl('ts', '-reply', '-config', 'tsa.conf', '-section', 't', '-queryfile', 'query', '-out', 'reply');
    return fs.readFileSync(`${folder}/reply`);
  };
}

test('with a certificate, programs, installer and what it installs are signed, and About knows', async (t) => {
  const keys = `${root}/keys`;
  const stamp = throwAway(keys);
  let stamps = 0;
  const server = http.createServer(async (request, response) => {
    stamps += 1;
    response.writeHead(200, { 'Content-Type': 'application/timestamp-reply' }).end(stamp(await buffer(request)));
  });
  const signed = `${root}/signed`;
  const env = { VORDA_SIGN_PFX: `${keys}/code.pfx`, VORDA_SIGN_PASSFILE: `${keys}/word`, VORDA_SIGN_TIMESTAMP: `http://127.0.0.1:${await listen(t, server)}/` };
  // Not in step with this process, which answers the requests for time stamps.
  const made = spawn(`${repo}/scripts/release`, ['--pack', build, signed], { env: { ...process.env, SOURCE_DATE_EPOCH: String(Math.floor(Date.now() / 1000)), ...env }, stdio: 'ignore' });
  assert.equal(await new Promise((resolve) => { made.on('close', resolve); }), 0);
  assert.equal(stamps, 4); // two programs, uninstaller, installer
  const files = unpack(`${signed}/vorda-${projectVersion}.zip`, `${root}/signed files`);
  const verify = (file) => spawnSync('osslsigncode', ['verify', '-CAfile', `${keys}/root.pem`, '-TSA-CAfile', `${keys}/root.pem`, '-in', file], { encoding: 'utf8' });
  for (const file of [`${files}/vorda.exe`, `${files}/vorda.com`, `${signed}/vorda-${projectVersion}-setup.exe`]) {
    const { status, stdout } = verify(file);
    assert.equal(status, 0, stdout);
    assert.match(stdout, /Timestamp/i);
  }
  const bytes = fs.readFileSync(`${files}/vorda.com`);
  bytes[4096] ^= 1;
  fs.writeFileSync(`${root}/changed.com`, bytes);
  assert.notEqual(verify(`${root}/changed.com`).status, 0);
  for (const [folder, is] of [[files, true], [zip, false]]) {
    const { json } = await serve(t, [], { program: `${folder}/vorda.exe` });
    assert.equal((await json('/api/about')).body.signed, is);
  }
});

test('every request of the Postman collection passes against the program', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'a.txt': 'twice', 'b.txt': 'twice', 'sub/c.bin': 5_000 });
  const server = await serve(t, [], { program: `${zip}/vorda.exe`, env: { VORDA_XDG_DATA_HOME: scratch(t) } });
  const collection = JSON.parse(fs.readFileSync(`${zip}/api/Vorda.postman_collection.json`));
  const run = (really) => new Promise((resolve, reject) => {
    const envVar = Object.entries({ baseUrl: server.base, folder: winPath(folder), file: winPath(`${folder}/a.txt`), really }).map(([key, value]) => ({ key, value }));
    newman.run({ collection, envVar, timeoutScript: 60_000, timeoutRequest: 120_000 }, (error, summary) => (error ? reject(error) : resolve(summary.run)));
  });
  const all = collection.item.map(({ name }) => name);
  const dangerous = ['cleanup', 'emptyBin', 'elevate', 'quit', 'reveal', 'open', 'openBin'];
  for (const really of ['no', 'yes']) {
    const { failures, executions } = await run(really);
    assert.deepEqual(failures.map(({ source, error }) => `${source?.name}: ${error.message}`), []);
    const answered = new Set(executions.filter(({ response }) => response).map(({ item }) => item.name));
    assert.deepEqual(all.filter((name) => !answered.has(name)), really === 'yes' ? [] : all.filter((name) => dangerous.includes(name)));
    assert.ok(fs.existsSync(`${folder}/a.txt`));
  }
  assert.equal((await server.ended).code, 0); // the last request was to quit
});
