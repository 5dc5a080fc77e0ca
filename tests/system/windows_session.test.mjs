// The program among the other programs of a Windows: consoles that start it, ports, accounts and services.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import net from 'node:net';
import { test } from 'node:test';
import { lastFirst } from './support/ends.mjs';
import { needs } from './support/home.mjs';
import { freePort, serve, until } from './support/server.mjs';
import { exe, makeFiles, output, scratch, startFor, vorda, winPath } from './support/vorda.mjs';

const CODES = [[['--scan', 'tree', '--out', 'out.json'], 0], [['--scan', 'missing', '--out', 'out.json'], 1], [['--what', 'nonsense'], 2]];
// A command line of cmd, as it is written there.
const cmd = (line, cwd) => spawnSync('cmd.exe', ['/d', '/s', '/c', `"${line}"`], { cwd, encoding: 'utf8', windowsHide: true, windowsVerbatimArguments: true, timeout: 60_000 });
const powershell = (script, cwd) => spawnSync('powershell.exe', ['-NoProfile', '-NonInteractive', '-Command', script], { cwd, encoding: 'utf8', windowsHide: true, timeout: 120_000 });

test('cmd and PowerShell get the exit code when they wait', needs('console', 'com'), async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'tree/file': '1' });
  for (const [args, code] of CODES) {
    const line = args.join(' ');
    assert.equal(cmd(`start /wait "" "${exe}" ${line}`, folder).status, code, `cmd: ${line}`);
    assert.equal(cmd(`"${exe.replace(/exe$/, 'com')}" ${line}`, folder).status, code, `vorda.com: ${line}`);
    const { status, stderr } = powershell(`exit (Start-Process -Wait -PassThru -FilePath '${exe}' -ArgumentList ${args.map((one) => `'${one}'`).join()}).ExitCode`, folder);
    assert.equal(status, code, `PowerShell: ${line}: ${stderr}`);
  }
  assert.ok(fs.existsSync(`${folder}/out.json`));
});

test('what is printed can be redirected and piped, by cmd and PowerShell', needs('console'), async (t) => {
  const folder = scratch(t);
  const help = (await output(['--help'])).toString();
  assert.equal(cmd(`"${exe}" --help > help.txt & "${exe}" --help | findstr Brixmoor > found.txt`, folder).status, 0);
  assert.equal(fs.readFileSync(`${folder}/help.txt`, 'utf8'), help);
  assert.match(fs.readFileSync(`${folder}/found.txt`, 'utf8'), /^Vorda .* - {2}Brixmoor/);
  assert.match(powershell(`& '${exe}' --help | Out-String`, folder).stdout, /Disk analysis for Windows\./);
});

test('a copy that ends while connections are held open leaves its port to the next one', needs('windows'), async (t) => {
  const first = await serve(t);
  const sockets = await Promise.all(Array.from({ length: 20 }, async () => {
    const socket = net.connect(first.port, '127.0.0.1').on('error', () => {});
    await once(socket, 'connect');
    return socket;
  }));
  lastFirst(t).after(() => sockets.forEach((socket) => socket.destroy()));
  assert.deepEqual((await first.json('/api/quit')).body, { ok: true });
  await first.ended;
  const began = Date.now();
  startFor(t, ['--port', String(first.port), '--no-open']);
  await until(() => fetch(`${first.base}/api/hello`).then((answer) => answer.ok, () => false), 'the same port', 30_000);
  t.diagnostic(`after ${Date.now() - began} ms`);
});

test('without administrator rights the stored key is not told', needs('ordinaryUser'), async () => {
  const { code, out, err } = await vorda(['--show-key']);
  assert.match(`${out}${err}`, /administrator|no key/);
  assert.ok(code === 0 || code === 1);
  assert.notEqual(spawnSync('reg.exe', ['query', 'HKLM\\Software\\Brixmoor\\Vorda', '/v', 'Token']).status, 0);
});

test('a service under an account of its own starts once that has the right', needs('windows', 'ownMachine'), async (t) => {
  const [name, password] = ['vordatest', `V0rda-${process.pid}-${Date.now()}`];
  const run = (program, ...args) => execFileSync(program, args, { encoding: 'latin1', windowsHide: true });
  const port = await freePort();
  const folder = `${process.env.PUBLIC}/vorda service`;
  fs.mkdirSync(folder, { recursive: true });
  fs.copyFileSync(exe, `${folder}/vorda.exe`);
  run('net.exe', 'user', name, password, '/add');
  lastFirst(t).after(() => {
    spawnSync('sc.exe', ['stop', 'VordaAgent']);
    spawnSync('sc.exe', ['delete', 'VordaAgent']);
    spawnSync('net.exe', ['user', name, '/delete']);
    fs.rmSync(folder, { recursive: true, force: true, maxRetries: 20, retryDelay: 100 });
  });
  run('sc.exe', 'create', 'VordaAgent', 'binPath=', `"${winPath(folder)}\\vorda.exe" --service --port ${port} --token k1`, 'obj=', `.\\${name}`, 'password=', password);
  assert.notEqual(spawnSync('sc.exe', ['start', 'VordaAgent']).status, 0, 'it has no right to log on as a service yet');
  assert.equal((await vorda(['--grant-service-logon', name])).code, 0);
  run('sc.exe', 'start', 'VordaAgent');
  await until(() => fetch(`http://127.0.0.1:${port}/api/jobs?token=k1`).then((answer) => answer.ok, () => false), 'the service', 30_000);
  const said = run('sc.exe', 'queryex', 'VordaAgent');
  assert.match(said, /STATE\s*:\s*4 /);
  run('sc.exe', 'stop', 'VordaAgent');
  await until(() => /STATE\s*:\s*1 /.test(run('sc.exe', 'query', 'VordaAgent')), 'the service to stop', 30_000);
});
