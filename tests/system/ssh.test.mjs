// Scans over real ssh: this machine's client, two real servers, and df and find behind them.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import { after, test } from 'node:test';
import { lastFirst } from './support/ends.mjs';
import { has, needs } from './support/home.mjs';
import { canListen, exchange, freePort, serve, until } from './support/server.mjs';
import { bridge, makeKey, passwordServer, relay, startSshd, writeScript } from './support/ssh.mjs';
import { confinedWine, exe, makeFiles, output, readJson, scratch, vorda, winPath } from './support/vorda.mjs';
import { wineScript } from './support/wine.mjs';

const here = lastFirst({ after });
const folder = scratch(here);
let sshd = null;

async function setUp() {
  const wine = confinedWine(here);
  const { runs, config, env } = await relay(here, folder, wine.env);
  for (const name of ['server-bin', 'planted']) fs.mkdirSync(`${folder}/${name}`);
  const withPath = (...folders) => ({ ...wine, env: { ...env, WINEPATH: folders.join(';') } });
  const options = { ...wine, env };
  const port = await freePort();
  const hostKeys = ['host', 'host2'].map((name) => makeKey(`${folder}/${name}`));
  makeKey(`${folder}/id`);
  fs.writeFileSync(`${folder}/banner`, 'Only for us.\nVORDA-FIND \nf\t1\t0\t/x\n');
  const lines = [`HostKey ${hostKeys[0]}`, `AuthorizedKeysFile ${folder}/id.pub`, `Banner ${folder}/banner`, `SetEnv PATH=${folder}/server-bin:/usr/bin:/bin`];
  sshd = await startSshd(here, folder, port, lines);
  return { wine, runs, config, env, withPath, options, port, hostKeys, lines, server: await serve(here, [], options) };
}

const { wine, runs, config, env, withPath, options, port, hostKeys, lines, server } = has('sshd') ? await setUp() : {};
const me = `${os.userInfo().username}@127.0.0.1`;
const target = (path, at = port) => `ssh://${me}:${at}${path}`;
const kSentences = {
  sshDenied: 'the host refused the sign-in; on the command line only a key works, the key of the account Vorda runs as',
  sshFailed: 'ssh stopped with an error; 255 means unreachable, port closed or host key changed',
  sshEmpty: 'signed in, but find returned nothing; does the path exist?',
  sshTarget: 'not readable as user@host:/path',
  sshMissing: 'ssh.exe could not be started; is the OpenSSH client installed?',
};

async function post(one, on = server, more = {}) {
  const { id } = (await on.post('/api/scan', { path: one, kind: 'ssh', ...more })).body;
  const job = async () => (await on.json('/api/jobs')).body.find((other) => other.id === id);
  const ended = async () => ((now) => now.phase === 3 && now.state !== 'cancelled' && now)(await job());
  return { id, job, done: () => until(ended, 'the job to end') };
}

async function fails(one, word, on = server, wineOptions = options) {
  const { id, done } = await post(one, on);
  assert.deepEqual([(await done()).state, (await on.json(`/api/result?id=${id}`)).body], ['error', { error: word }], one);
  const { code, err } = await vorda(['--scan', one, '--out', '-'], wineOptions);
  const [name, exitCode] = word.split(':');
  assert.deepEqual([code, err], [1, `Vorda: scanning ${one} failed: ${kSentences[name]}${exitCode ? ` (exit code ${exitCode})` : ''}\n`]);
}

test('a scan of 100,000 files over ssh says what the walk says', needs('sshd'), async () => {
  const tree = `${folder}/tree`;
  execFileSync('node', ['bench/make-tree.mjs', tree, '100000']);
  makeFiles(tree, { 'b i g/ü 1.iso': 200_000_000, "b i g/it's.iso": 100_000_000, 'b i g/deep/er/x.vhdx': 70_000_000, 'none/empty.d/.hidden': '' });
  const scan = async (one, ...args) => output(['--scan', one, '--out', '-', ...args], options);
  const node = ({ n, s, f, c = [], rest }) => ({ n, s, f, rest, c: c.map(node) });
  const facts = ({ meta: { files, dirs, used, bigFileBytes, denied, skipped }, exts, files: list, tree: root }) => ({
    files, dirs, used, bigFileBytes, denied, skipped, exts, tree: { ...node(root), n: '' },
    list: list.map(({ p, s, m }) => [p.replace('Z:', '').replaceAll('\\', '/'), s, m]) });
  const remote = readJson(await scan(target(tree)));
  assert.deepEqual(facts(remote), facts(readJson(await scan(tree))));
  assert.deepEqual([remote.meta.files, remote.meta.path, remote.meta.host, remote.meta.kind, remote.tree.n], [100_004, target(tree), me, 'ssh', tree]);
  assert.equal(remote.meta.volumeSize, execFileSync('df', ['-Pk', tree]).toString().split('\n')[1].split(/ +/)[1] * 1024);
  const rows = (csv) => csv.toString().replaceAll('"Z:', '"').replaceAll('\\', '/').split('\r\n').slice(1).sort();
  const csv = await scan(target(tree), '--format', 'csv', '--find', '*');
  assert.ok(csv.toString().startsWith(`\uFEFF# Vorda  ${target(tree)}  on ${me}  scanned `));
  assert.deepEqual(rows(csv), rows(await scan(tree, '--format', 'csv', '--find', '*')));
  assert.deepEqual([runs.at(-1).input, runs.at(-1).args.slice(0, 5), runs.at(-1).env.SSH_ASKPASS], ['nothing to read', ['ssh.exe', '-p', String(port), '-o', 'BatchMode=yes'], undefined]);
});

test('each failure has its own error word and message', needs('sshd'), async () => {
  fs.symlinkSync('/usr', `${folder}/link`);
  await fails(target(`${folder}/link`), 'sshEmpty');
  await fails(target('/no/such/place'), 'sshFailed:1');
  await fails(target('/', await freePort()), 'sshFailed:255');
  const restarted = async (...settings) => {
    await sshd.stop();
    sshd = await startSshd(here, folder, port, settings);
  };
  await restarted(`HostKey ${hostKeys[1]}`, lines[1]);
  await fails(target('/'), 'sshFailed:255');
  await restarted(lines[0], `AuthorizedKeysFile ${folder}/host2.pub`);
  await fails(target('/'), 'sshDenied');
  await restarted(...lines);
  const before = runs.length;
  for (const one of ["me@h:/a'b", 'me@h:/a;b', '-oProxyCommand=x@h:/', 'me@-oProxyCommand=x:/', 'me@h"x:/']) await fails(one, 'sshTarget');
  assert.equal(runs.length, before, 'ssh was started for a refused target');
});

test('only a trusted ssh.exe is started, and the password is wiped if there is none', needs('sshd'), async (t) => {
  const [marker, beside, planted] = [`${folder}/started`, `${folder}/planted/vorda.exe`, winPath(`${folder}/planted`)];
  const [scan, inPlanted] = [['--scan', target(`${folder}/bin`), '--out', '-'], { cwd: `${folder}/planted` }];
  writeScript(`${folder}/planted/ssh.exe`, `touch '${marker}'`);
  fs.symlinkSync(exe, beside);
  const bare = { ...withPath('.', 'planted', '..\\planted', planted.slice(2), planted.replace('Z:', 'Z:.')), ...inPlanted };
  const other = await serve(t, [], bare);
  await fails(target('/'), 'sshMissing', other, { ...bare, cwd: folder });
  assert.match((await vorda(scan, { ...withPath(planted), ...inPlanted })).err, /could not be started/);
  const copy = spawnSync(wineScript, [beside, ...scan], { env: { ...process.env, ...withPath(planted, winPath(`${folder}/bin/../planted`)).env } });
  assert.match(copy.stderr.toString(), /could not be started/);
  assert.ok(!fs.existsSync(marker), 'a planted ssh.exe was started');
  // The one in the system folder comes first; without it, the planted one would have been started.
  const system = `${wine.env.VORDA_WINEPREFIX}/drive_c/windows/system32/OpenSSH`;
  fs.mkdirSync(system);
  lastFirst(t).after(() => fs.rmSync(system, { recursive: true }));
  fs.symlinkSync(bridge, `${system}/ssh.exe`);
  await output(scan, withPath(planted));
  assert.ok(!fs.existsSync(marker));
  fs.unlinkSync(`${system}/ssh.exe`);
  await vorda(scan, withPath(planted));
  assert.ok(fs.existsSync(marker));

  // Where no ssh was started, only this program has seen the password, and has wiped it.
  const traces = ['short 7', 'e for the heap a pass p'];
  for (const password of ['short 7', ...[40, 400, 2000].map((count) => 'a pass phrase for the heap '.repeat(count))]) {
    const body = String(new URLSearchParams({ path: target('/'), kind: 'ssh', password }));
    await exchange(other.port, [`POST /api/scan H\r\nContent-Length: ${body.length}\r\n\r\n${body}`]);
  }
  await until(async () => (await other.json('/api/jobs')).body.every(({ error }) => error === 'sshMissing'), 'the jobs to fail');
  const [memory, found] = [fs.openSync(`/proc/${other.child.pid}/mem`, 'r'), new Set()];
  for (const [, from, to] of fs.readFileSync(`/proc/${other.child.pid}/maps`, 'utf8').matchAll(/^(\w+)-(\w+) rw/gm)) {
    const bytes = Buffer.alloc(Number(`0x${to}`) - Number(`0x${from}`));
    try { fs.readSync(memory, bytes, 0, bytes.length, Number(`0x${from}`)); } catch { continue; }
    for (const text of [...traces, ...traces.map((one) => one.replaceAll(' ', '+')), 'sshMissing']) if (bytes.includes(text) || bytes.includes(text, 0, 'utf16le')) found.add(text);
  }
  assert.deepEqual([...found], ['sshMissing']);
});

test('a password reaches ssh through the helper and goes nowhere else', needs('sshd'), async (t) => {
  const password = 'p"ä $s\'x\\ %41+';
  makeFiles(`${folder}/few`, { 'a/b.txt': 'hello' });
  const before = fs.readFileSync(config);
  lastFirst(t).after(() => fs.writeFileSync(config, before));
  fs.appendFileSync(config, `IdentityFile ${makeKey(`${folder}/locked`, 'phrase')}\n`);
  const at = await passwordServer(here, hostKeys[0], password);
  const right = await post(target(`${folder}/few`, at), server, { password });
  assert.deepEqual((({ state, error, files, bytes, dirs, method }) => [state, error, files, bytes, dirs, method])(await right.done()), ['done', '', 1, 5, 2, 'ssh']);
  const { args, env: given } = runs.at(-1);
  assert.deepEqual([args[4], given.VORDA_ASKPASS, given.SSH_ASKPASS, given.SSH_ASKPASS_REQUIRE], ['NumberOfPasswordPrompts=1', password, winPath(exe), 'force']);
  assert.match(fs.readFileSync(`${folder}/asked`, 'utf8'), /^Enter passphrase for .*\n.*'s password: \n$/);
  assert.equal((await (await post(target('/', at), server, { password: 'wrong' })).done()).error, 'sshDenied');
  const said = JSON.stringify([args, await server.json('/api/jobs'), await server.json(`/api/result?id=${right.id}`)]);
  for (const part of ["ä $s'x", encodeURIComponent('ä $s')]) assert.ok(!said.includes(part));
  for (const [prompt, status, answer] of [["x's password: ", 0, `${password}\n`], ['--help', 0, `${password}\n`], ['Enter passphrase for key', 1, ''], ['Enter PIN for key', 1, ''], ['(yes/no)?', 1, '']]) {
    const asked = spawnSync(wineScript, [exe, prompt], { env: { ...process.env, ...env, VORDA_ASKPASS: password } });
    assert.deepEqual([asked.status, asked.stdout.toString()], [status, answer], prompt);
  }
});

test('a connection that breaks, and cancelling while find is silent or never stops', needs('sshd'), async (t) => {
  const server = await serve(t, [], options);
  const find = (text) => writeScript(`${folder}/server-bin/find`, text);
  lastFirst(t).after(() => fs.rmSync(`${folder}/server-bin/find`));
  const halfway = async () => {
    const started = await post(target(`${folder}/tree`), server);
    await until(async () => (await started.job()).files >= 4096, 'the first totals');
    return { ...started, run: runs.at(-1) };
  };
  const cancel = async ({ id, job }) => {
    await server.json(`/api/cancel?id=${id}`);
    await until(async () => (await job()).phase > 1, 'the reading to end');
  };
  const line = `f\\t1\\t0\\t${folder}/tree/`;
  find(`seq 10000 | sed 's|^|${line}|'; exec tail --pid=${process.pid} -f /dev/null`);
  const killed = await halfway();
  const sessions = fs.readFileSync(`/proc/${sshd.child.pid}/task/${sshd.child.pid}/children`, 'utf8');
  for (const pid of sessions.trim().split(' ')) process.kill(pid, 'SIGKILL');
  const broken = await killed.done();
  assert.deepEqual([broken.state, broken.partial, broken.files >= 4096 && broken.files <= 10_000], ['done', 'broken', true]);
  const ended = ({ run }) => until(() => run.socket.destroyed, 'ssh.exe to be ended');
  const partOf = async ({ id, job }) => [(await job()).state, (await job()).partial, (await server.json(`/api/result?id=${id}`)).body.meta.partial];
  const stopped = ['done', 'cancelled', 'cancelled'];
  // A silent ssh would not notice that nobody reads; it is ended.
  const silent = await halfway();
  await cancel(silent);
  await silent.done();
  await ended(silent);
  assert.deepEqual(await partOf(silent), stopped);
  find(`yes "$(printf '${line}x')"`);
  const endless = await halfway();
  await cancel(endless);
  await endless.done();
  assert.deepEqual(await partOf(endless), stopped);
  await until(() => endless.run.ssh.exitCode !== null || endless.run.ssh.signalCode !== null, 'ssh to notice that nobody reads');
  // One that will never write again ends with the program, however that ends, and nothing keeps its port.
  find(`seq 4096 | sed 's|^|${line}|'; exec tail --pid=${process.pid} -f /dev/null`);
  const left = await halfway();
  server.child.kill('SIGKILL');
  await server.ended;
  await ended(left);
  await until(() => canListen(server.port), 'the port of the server to be free');
});
