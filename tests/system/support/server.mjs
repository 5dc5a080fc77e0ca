// Starts vorda.exe as a server and talks to it.
import assert from 'node:assert/strict';
import net from 'node:net';
import { setTimeout as pause } from 'node:timers/promises';
import { startSilent } from './vorda.mjs';

// A port nobody listens on now.
export async function freePort() {
  const server = net.createServer();
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  const { port } = server.address();
  await new Promise((resolve) => server.close(resolve));
  return port;
}

// Waits until check() gives something true, and returns that.
export async function until(check, what, milliseconds = 20_000) {
  const end = Date.now() + milliseconds;
  while (Date.now() < end) {
    const value = await check();
    if (value) return value;
    await pause(50);
  }
  assert.fail(`waited in vain for ${what}`);
}

// Starts the program and waits until it answers. Ends with the test, if not before.
export async function serve(t, args = [], options) {
  const port = await freePort();
  const { child, ended } = startSilent(['--port', String(port), '--no-open', ...args], options);
  t.after(() => {
    child.kill('SIGKILL');
    return ended;
  });
  const base = `http://127.0.0.1:${port}`;
  await until(() => fetch(`${base}/api/hello`).catch(() => null), 'an answer of the server');
  const json = async (path, init) => {
    const response = await fetch(base + path, init);
    return { status: response.status, body: await response.json() };
  };
  const post = (path, fields) => json(path, { method: 'POST', body: new URLSearchParams(fields) });
  return { child, ended, port, base, json, post };
}

// Sends bytes over a connection of its own and resolves to everything that comes back. With
// `end` the sending side is closed behind the last byte.
export function exchange(port, pieces, { end = false } = {}) {
  return new Promise((resolve) => {
    const socket = net.connect({ port, host: '127.0.0.1', allowHalfOpen: true });
    const heard = [];
    socket.on('data', (bytes) => heard.push(bytes));
    socket.on('error', () => {});
    socket.on('end', () => socket.destroy());
    socket.on('close', () => resolve(Buffer.concat(heard).toString()));
    socket.on('connect', async () => {
      socket.setNoDelay(true);
      for (const piece of pieces) {
        socket.write(piece);
        await pause(0);
      }
      if (end) socket.end();
    });
  });
}
