// Real ssh for vorda.exe under Wine: the relay behind ssh_bridge_win.cpp, an sshd for keys, and a
// server that takes passwords. Nothing of this machine's own ssh configuration is read or written.
import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import net from 'node:net';
import os from 'node:os';
import path from 'node:path';
import ssh2 from 'ssh2';
import { freePort, until } from './server.mjs';
import { exe, wineScript } from './vorda.mjs';

const kExit = 0;
const kOut = 1;
const kError = 2;

export const bridge = path.join(path.dirname(exe), 'tests/ssh_bridge_win.exe');
export const user = os.userInfo().username;
export const quoted = (text) => `'${text.replaceAll("'", `'\\''`)}'`;

export function makeKey(file, passphrase = '') {
  execFileSync('ssh-keygen', ['-q', '-t', 'ed25519', '-N', passphrase, '-f', file]);
  return file;
}

export function writeScript(file, text) {
  fs.mkdirSync(path.dirname(file), { recursive: true });
  fs.writeFileSync(file, `#!/bin/sh\n${text}\n`, { mode: 0o755 });
}

function frame(kind, bytes, number = bytes.length) {
  const head = Buffer.alloc(5);
  head[0] = kind;
  head.writeUInt32LE(number >>> 0, 1);
  return Buffer.concat([head, bytes]);
}

// The parts of what a bridge tells: input, command line and environment; null while it is on its way.
function toldBy(bytes) {
  const [front, block, end] = bytes.toString().split('\0\0');
  if (end === undefined) return null;
  const [input, ...args] = front.split('\0');
  const variables = block.split('\0').map((entry) => /^(.[^=]*)=(.*)$/s.exec(entry).slice(1));
  return { input, args, env: Object.fromEntries(variables) };
}

// Runs the real ssh for every bridge that comes, with a configuration, a list of known hosts and an
// askpass script in `folder`. `runs` has what each bridge was started with; `env` is for vorda.exe.
export async function relay(t, folder, wineEnv = {}) {
  const config = path.join(folder, 'ssh_config');
  const knownHosts = path.join(folder, 'known_hosts');
  const lines = ['GlobalKnownHostsFile /dev/null', `UserKnownHostsFile ${knownHosts}`, 'IdentitiesOnly yes', 'IdentityFile none'];
  fs.writeFileSync(config, lines.join('\n'));
  const askpass = path.join(folder, 'askpass');
  const settings = Object.entries(wineEnv).map(([name, value]) => `${name}=${quoted(value)}`).join(' ');
  writeScript(askpass, `${settings} exec ${quoted(wineScript)} ${quoted(exe)} "$@"`);
  const runs = [];
  const children = new Set();
  const server = net.createServer((socket) => {
    let heard = Buffer.alloc(0);
    socket.on('error', () => {});
    socket.on('data', (piece) => {
      heard = Buffer.concat([heard, piece]);
      const run = toldBy(heard);
      if (!run) return;
      runs.push(run);
      const env = { PATH: process.env.PATH, HOME: folder, LC_ALL: 'C.UTF-8' };
      for (const name of ['SSH_ASKPASS_REQUIRE', 'VORDA_ASKPASS']) if (name in run.env) env[name] = run.env[name];
      if ('SSH_ASKPASS' in run.env) env.SSH_ASKPASS = askpass;
      const ssh = spawn('ssh', ['-F', config, ...run.args.slice(1)], { env, stdio: ['ignore', 'pipe', 'pipe'] });
      children.add(ssh);
      for (const [stream, kind] of [[ssh.stdout, kOut], [ssh.stderr, kError]]) {
        stream.on('data', (bytes) => {
          if (socket.write(frame(kind, bytes))) return;
          stream.pause();
          socket.once('drain', () => stream.resume());
        });
        socket.on('close', () => stream.destroy());
      }
      socket.on('close', () => { run.left = true; });
      ssh.on('close', (code, signal) => {
        children.delete(ssh);
        run.ended = { code, signal };
        if (!socket.destroyed) socket.end(frame(kExit, Buffer.alloc(0), code ?? 255));
      });
    });
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  t.after(() => {
    for (const child of children) child.kill('SIGKILL');
    server.close();
  });
  return { runs, config, knownHosts, env: { ...wineEnv, VORDA_SSH_RELAY: String(server.address().port) } };
}

// A real sshd for the account the tests run as. `paths` come before the system's on its PATH.
export async function startSshd(t, folder, { port, hostKey, authorized, paths = [], banner } = {}) {
  if (process.getuid() === 0) fs.mkdirSync('/run/sshd', { recursive: true, mode: 0o755 }); // it insists
  const chosen = port ?? await freePort();
  const lines = [`Port ${chosen}`, 'ListenAddress 127.0.0.1', `HostKey ${hostKey}`, `AuthorizedKeysFile ${authorized}`,
    'PidFile none', 'StrictModes no', 'UsePAM no', 'PasswordAuthentication no', 'KbdInteractiveAuthentication no',
    'PermitRootLogin yes', `SetEnv PATH=${[...paths, '/usr/bin', '/bin'].join(':')}`];
  if (banner) lines.push(`Banner ${banner}`);
  const config = path.join(folder, `sshd_config-${chosen}`);
  fs.writeFileSync(config, lines.join('\n'));
  const child = spawn('/usr/sbin/sshd', ['-D', '-e', '-f', config], { stdio: 'ignore' });
  const ended = once(child, 'exit');
  const stop = () => {
    child.kill('SIGTERM');
    return ended;
  };
  t.after(stop);
  await until(() => answers(chosen), 'sshd');
  return { port: chosen, child, stop };
}

const answers = (port) => new Promise((resolve) => {
  const socket = net.connect(port, '127.0.0.1');
  socket.on('error', () => resolve(false));
  socket.on('data', () => {
    socket.destroy();
    resolve(true);
  });
});

// Takes one password; the questions that keyboard-interactive asks first are `questions`. Runs the
// commands in a shell, after `before` is printed.
export async function passwordServer(t, hostKey, { password, questions = [], before = '' }) {
  const asked = [];
  const server = new ssh2.Server({ hostKeys: [fs.readFileSync(hostKey)] }, (client) => {
    client.on('error', () => {});
    client.on('authentication', (context) => {
      asked.push(context.method);
      if (context.method === 'password' && context.password === password) return context.accept();
      if (context.method !== 'keyboard-interactive' || questions.length === 0) {
        return context.reject(questions.length > 0 ? ['keyboard-interactive'] : ['password']);
      }
      return context.prompt(questions, (answers) => {
        asked.push(answers);
        context.reject();
      });
    });
    client.on('ready', () => client.on('session', (accept) => accept().on('exec', (agree, refuse, { command }) => {
      const channel = agree();
      channel.write(before);
      const shell = spawn('sh', ['-c', command], { stdio: ['ignore', 'pipe', 'pipe'] });
      shell.stdout.pipe(channel, { end: false });
      shell.on('close', (code) => {
        channel.exit(code);
        channel.end();
      });
    })));
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  t.after(() => server.close());
  return { port: server.address().port, asked };
}

export const assertNowhere = (text, secret, where) => assert.ok(!text.includes(secret), `the password is in ${where}`);
