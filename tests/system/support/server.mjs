// Starts vorda.exe as a server and talks to it.
import assert from 'node:assert/strict';
import net from 'node:net';
import { setTimeout as pause } from 'node:timers/promises';
import './description.mjs';
import { startFor } from './vorda.mjs';

// Whether nobody listens on a port now.
export const canListen = (port) => new Promise((resolve) => {
  const server = net.createServer().on('error', () => resolve(false));
  server.listen(port, '127.0.0.1', () => server.close(() => resolve(true)));
});

// A port nobody is using. It is below those that the system hands out to connections, so it stays free.
export async function freePort() {
  for (;;) {
    const port = 10_000 + Math.floor(Math.random() * 20_000);
    if (await canListen(port)) return port;
  }
}

// Waits until check() returns something true, and returns that. The limit only ends a hanging test.
export async function until(check, what, milliseconds = 120_000) {
  const end = Date.now() + milliseconds;
  while (Date.now() < end) {
    const value = await check();
    if (value) return value;
    await pause(50);
  }
  assert.fail(`timed out waiting for ${what}`);
}

// Starts the program and waits until it answers. It ends with the test, if not before.
export async function serve(t, args = [], options) {
  const port = await freePort();
  const { child, ended } = startFor(t, ['--port', String(port), '--no-open', ...args], options);
  const base = `http://127.0.0.1:${port}`;
  await until(() => {
    assert.equal(child.exitCode, null, 'the server ended at once');
    return fetch(`${base}/api/hello`).catch(() => null);
  }, 'the server to answer');
  const json = async (path, init) => {
    const response = await fetch(base + path, init);
    return { status: response.status, body: await response.json() };
  };
  const post = (path, fields) => json(path, { method: 'POST', body: new URLSearchParams(fields) });
  // Resolves to the job of a scan when that is done.
  const scan = async (path, fields) => {
    const { id } = (await post('/api/scan', { path, ...fields })).body;
    return until(async () => (await json('/api/jobs')).body.find((job) => job.id === id && job.state === 'done'), `the scan of ${path}`);
  };
  // Resolves to what a deletion of these paths, spelled for Windows, is told to have done.
  const remove = async (paths, fields = {}) => {
    const { status, body } = await post('/api/delete', [...paths.map((one) => ['p', one]), ...Object.entries(fields)]);
    assert.equal(status, 200);
    return body;
  };
  return { child, ended, port, base, json, post, scan, remove };
}

// Sends bytes over a new connection and resolves to everything that comes back.
export function exchange(port, pieces) {
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
    });
  });
}
