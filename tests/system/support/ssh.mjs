// Real ssh for vorda.exe under Wine: the relay behind ssh_bridge_win.cpp, an sshd that takes keys and a
// server that takes a password. The ssh configuration of this machine is neither read nor written.
import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import net from 'node:net';
import ssh2 from 'ssh2';
import { lastFirst, listen } from './ends.mjs';
import { exe, testProgram } from './home.mjs';
import { until } from './server.mjs';
import { winPath } from './vorda.mjs';
import { wineScript } from './wine.mjs';

export const bridge = testProgram('ssh_bridge_win.exe');
export const writeScript = (file, text) => fs.writeFileSync(file, `#!/bin/sh\n${text}\n`, { mode: 0o755 });

export function makeKey(file, passphrase = '') {
  execFileSync('ssh-keygen', ['-q', '-t', 'ed25519', '-N', passphrase, '-f', file]);
  return file;
}

function frame(kind, bytes, number = bytes.length) {
  const head = Buffer.alloc(5, kind);
  head.writeUInt32LE(number, 1);
  return Buffer.concat([head, bytes]);
}

// What a bridge was started with; false until all of it has arrived.
function toldBy(bytes) {
  const [front, block, end] = bytes.toString().split('\0\0');
  const [input, ...args] = front.split('\0');
  return end !== undefined && { input, args, env: Object.fromEntries(block.split('\0').map((entry) => /^(.[^=]*)=([^]*)$/.exec(entry).slice(1))) };
}

// Puts a bridge into the folder's bin, and runs the real ssh for every bridge that connects. `runs` lists what each
// was started with and its process; `env` is the environment that vorda.exe needs for this.
export async function relay(hooks, folder, wineEnv) {
  const [config, askpass, bin] = [`${folder}/ssh_config`, `${folder}/askpass`, `${folder}/bin`];
  fs.mkdirSync(bin);
  fs.symlinkSync(bridge, `${bin}/ssh.exe`);
  fs.writeFileSync(config, `GlobalKnownHostsFile /dev/null\nUserKnownHostsFile ${folder}/known_hosts\nIdentitiesOnly yes\nIdentityFile ${folder}/id\n`);
  const settings = Object.entries(wineEnv).map(([name, value]) => `${name}='${value}'`).join(' ');
  writeScript(askpass, `echo "$1" >>${folder}/asked; ${settings} exec '${wineScript}' '${exe}' "$@"`);
  const runs = [];
  async function serve(socket) {
    let [heard, run] = [Buffer.alloc(0), false];
    for (; !run; run = toldBy(heard)) heard = Buffer.concat([heard, ...await once(socket, 'data')]);
    const { SSH_ASKPASS, SSH_ASKPASS_REQUIRE = 'never', VORDA_ASKPASS = '' } = run.env;
    const env = { PATH: process.env.PATH, SSH_ASKPASS: SSH_ASKPASS && askpass, SSH_ASKPASS_REQUIRE, VORDA_ASKPASS };
    const ssh = spawn('ssh', ['-F', config, ...run.args.slice(1)], { env, stdio: ['ignore', 'pipe', 'pipe'] });
    lastFirst(hooks).after(() => ssh.kill('SIGKILL'));
    runs.push({ ...run, ssh, socket });
    socket.on('close', () => [ssh.stdout, ssh.stderr].forEach((stream) => stream.destroy()));
    const ended = once(ssh, 'close');
    await Promise.all([ssh.stdout, ssh.stderr].map(async (stream, i) => {
      for await (const bytes of stream) if (!socket.write(frame(i + 1, bytes))) await once(socket, 'drain');
    }));
    socket.end(frame(0, Buffer.alloc(0), (await ended)[0] ?? 255));
  }
  // When a bridge disconnects because nobody reads its output any more, only its ssh ends.
  const server = net.createServer((socket) => serve(socket.on('error', () => {})).catch(() => {}));
  return { runs, config, env: { ...wineEnv, WINEPATH: winPath(bin), VORDA_SSH_RELAY: String(await listen(hooks, server)) } };
}

const greets = (port) => new Promise((resolve) => {
  const socket = net.connect(port, '127.0.0.1').on('error', () => resolve(false)).on('data', () => resolve(socket.destroy()));
});

// Starts sshd for the account that runs the tests, with these additional lines of configuration.
export async function startSshd(hooks, folder, port, lines) {
  if (process.getuid() === 0) fs.mkdirSync('/run/sshd', { recursive: true }); // sshd wants this folder
  const settings = [`Port ${port}`, 'ListenAddress 127.0.0.1', 'PidFile none', 'StrictModes no', 'UsePAM no', 'PermitRootLogin prohibit-password', ...lines];
  fs.writeFileSync(`${folder}/sshd_config`, `${settings.join('\n')}\nPasswordAuthentication no\nKbdInteractiveAuthentication no\n`);
  const child = spawn('/usr/sbin/sshd', ['-D', '-f', `${folder}/sshd_config`], { stdio: 'ignore' });
  const stop = () => child.kill('SIGTERM') && once(child, 'exit');
  lastFirst(hooks).after(stop);
  await until(() => greets(port), 'sshd to answer');
  return { child, stop };
}

// A server that takes one password and no key, and runs commands in a shell. Returns its port.
export async function passwordServer(hooks, hostKey, password) {
  const server = new ssh2.Server({ hostKeys: [fs.readFileSync(hostKey)] }, (client) => {
    client.on('error', () => {});
    client.on('authentication', (one) => {
      // Any key is asked to prove itself, so that ssh asks for its pass phrase, but none is accepted.
      const right = one.method === 'publickey' ? !one.signature : one.method === 'password' && one.password === password;
      return right ? one.accept() : one.reject(['publickey', 'password']);
    });
    client.on('session', (accept) => accept().on('exec', (agree, refuse, { command }) => {
      const channel = agree();
      const shell = spawn('sh', ['-c', command], { stdio: ['ignore', 'pipe', 'ignore'] });
      shell.stdout.pipe(channel, { end: false });
      shell.on('close', (code) => channel.exit(code) || channel.end());
    }));
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  lastFirst(hooks).after(() => server.close());
  return server.address().port;
}
