// Scans by Windows' own ssh client and server, with a bash behind the server.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import fs from 'node:fs';
import os from 'node:os';
import { test } from 'node:test';
import { lastFirst } from './support/ends.mjs';
import { bash, needs } from './support/home.mjs';
import { makeFiles, output, readJson, scratch } from './support/vorda.mjs';

const windowsSsh = (name) => `${process.env.SystemRoot}\\System32\\OpenSSH\\${name}`;
const run = (program, ...args) => execFileSync(program, args, { encoding: 'utf8', windowsHide: true });

// Puts a file in place for the test; what was there comes back afterwards.
function place(hooks, file, bytes) {
  const before = fs.existsSync(file) ? fs.readFileSync(file) : null;
  lastFirst(hooks).after(() => (before ? fs.writeFileSync(file, before) : fs.rmSync(file)));
  fs.writeFileSync(file, bytes);
  // The client and the server refuse a key that others may read or change.
  run('icacls.exe', file, '/inheritance:r', '/grant', '*S-1-5-18:F', '*S-1-5-32-544:F', `${os.userInfo().username}:F`);
}

// A setting of the server for the test.
function set(hooks, name, value) {
  const key = 'HKLM\\SOFTWARE\\OpenSSH';
  const { stdout } = spawnSync('reg.exe', ['query', key, '/v', name], { encoding: 'utf8', windowsHide: true });
  const before = /REG_SZ\s+(.*\S)/.exec(stdout)?.[1];
  run('reg.exe', 'add', key, '/v', name, '/d', value, '/f');
  lastFirst(hooks).after(() => run('reg.exe', ...(before ? ['add', key, '/v', name, '/d', before, '/f'] : ['delete', key, '/v', name, '/f'])));
}

test('a scan over the ssh server of Windows says what the walk says', needs('sshServer'), async (t) => {
  const folder = scratch(t);
  const tree = `${folder}\\tree`;
  makeFiles(tree, { 'a b/ü 1.iso': 2_000_000, 'it’s/deep/er/x.vhdx': 70_000, 'none/empty.d/.hidden': '' });
  run(windowsSsh('ssh-keygen.exe'), '-q', '-t', 'ed25519', '-N', '', '-f', `${folder}\\id`);
  fs.mkdirSync(`${os.homedir()}\\.ssh`, { recursive: true });
  place(t, `${os.homedir()}\\.ssh\\id_ed25519`, fs.readFileSync(`${folder}\\id`));
  fs.mkdirSync(`${process.env.ProgramData}\\ssh`, { recursive: true });
  place(t, `${process.env.ProgramData}\\ssh\\administrators_authorized_keys`, fs.readFileSync(`${folder}\\id.pub`));
  set(t, 'DefaultShell', bash);
  set(t, 'DefaultShellCommandOption', '-lc'); // as a login shell it finds its own find first
  if (!/STATE\s+: 4/.test(run('sc.exe', 'query', 'sshd'))) {
    run('net.exe', 'start', 'sshd');
    lastFirst(t).after(() => run('net.exe', 'stop', 'sshd'));
  }
  const remote = `ssh://${os.userInfo().username}@127.0.0.1/${tree[0].toLowerCase()}${tree.slice(2).replaceAll('\\', '/')}`;
  const [far, near] = await Promise.all([remote, tree].map(async (one) => readJson(await output(['--scan', one, '--out', '-']))));
  const facts = ({ meta: { files, dirs, used, bigFileBytes }, exts }) => ({ files, dirs, used, bigFileBytes, exts });
  assert.deepEqual(facts(far), facts(near));
  assert.deepEqual([far.meta.kind, far.meta.files], ['ssh', 3]);
});
