// What a hostile client may do to the program. Each attack makes one connection, works on it until it ends
// or is stopped, and says how it went: 'closed', or the first line of an answer.
import { fork } from 'node:child_process';
import { once, setMaxListeners } from 'node:events';
import net from 'node:net';
import { fileURLToPath } from 'node:url';
import { lastFirst } from './ends.mjs';

const MiB = 2 ** 20;
const HEAD_LIMIT = 8 * MiB;

// A connection that is over when the program closes it or `stop` fires.
function connection(port, stop, work) {
  return new Promise((resolve) => {
    const socket = net.connect({ port, host: '127.0.0.1' });
    const heard = [];
    const end = () => socket.destroy();
    stop.addEventListener('abort', end);
    socket.on('data', (bytes) => heard.push(bytes));
    socket.on('error', () => {});
    socket.on('close', () => {
      stop.removeEventListener('abort', end);
      resolve(heard.length === 0 ? 'closed' : Buffer.concat(heard).toString().split('\r\n')[0]);
    });
    socket.on('connect', () => work(socket));
  });
}

// Writes one piece a second.
const dribble = (socket, piece) => {
  const timer = setInterval(() => socket.write(piece), 1000);
  socket.on('close', () => clearInterval(timer));
};

const fields = (count) => Array.from({ length: count }, (_, i) => `k${i}=`).join('&');
const post = (path, length, more = '') => `POST ${path} HTTP/1.1\r\nHost: localhost\r\n${more}Content-Length: ${length}\r\n\r\n`;
const ampersands = `GET /api/jobs?${'&'.repeat(HEAD_LIMIT - 100)} HTTP/1.1\r\nHost: localhost\r\n\r\n`;
const headers = `GET /api/jobs HTTP/1.1\r\n${':\r\n'.repeat((HEAD_LIMIT - 100) / 3)}\r\n`;
const many = fields(490_000);
const bulk = Buffer.alloc(MiB, 'x');

export const ATTACKS = {
  'a query of eight million pairs': (socket) => socket.write(ampersands),
  'nearly three million headers': (socket) => socket.write(headers),
  'a form of 490,000 fields': (socket) => socket.write(post('/api/findfiles', many.length) + many),
  'a head that never ends': (socket) => {
    socket.write('GET /api/jobs HTTP/1.1\r\nX: ');
    dribble(socket, 'x');
  },
  'a silent connection': () => {},
  'a body that never ends': (socket) => {
    socket.write(post('/api/scan', 100_000));
    dribble(socket, 'x');
  },
  'a body held back at its end': (socket) => {
    socket.write(post('/api/scan', 64 * MiB));
    for (let i = 0; i < 63; ++i) socket.write(bulk);
    socket.write(bulk.subarray(8));
  },
  'a large body from another site': (socket) => {
    socket.write(post('/api/delete', 16 * MiB, 'Origin: http://evil.example\r\n'));
    for (let i = 0; i < 16; ++i) socket.write(bulk);
  },
  'a page that is not read': (socket) => {
    socket.pause();
    socket.write('GET / HTTP/1.1\r\nHost: localhost\r\n\r\n');
  },
};

// Keeps so many connections of one attack going until `stop` fires; counts in `outcomes` how they ended.
export function attack(name, port, { connections, stop, outcomes }) {
  setMaxListeners(0, stop);
  const one = async () => {
    while (!stop.aborted) {
      const outcome = await connection(port, stop, ATTACKS[name]);
      outcomes[outcome] = (outcomes[outcome] ?? 0) + 1;
      await new Promise((resolve) => setTimeout(resolve, 20));
    }
  };
  return Promise.all(Array.from({ length: connections }, one));
}

// Starts attacks from a process of their own; { name: connections }. `outcomes` is kept up to date.
export function startAttacks(t, port, connections) {
  const attacker = fork(fileURLToPath(new URL('attacker.mjs', import.meta.url)), [String(port), JSON.stringify(connections)]);
  lastFirst(t).after(() => attacker.kill('SIGKILL'));
  const outcomes = {};
  attacker.on('message', (told) => Object.assign(outcomes, told));
  const stop = () => {
    const ended = once(attacker, 'exit');
    attacker.send('stop');
    return ended;
  };
  return { outcomes, stop };
}
