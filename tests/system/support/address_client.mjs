// address_client.mjs HOST PORT KEY NEAR FAR: a client with two addresses, run inside a network namespace.
// Prints what it saw.
import { once } from 'node:events';
import http from 'node:http';
import net from 'node:net';
import { text } from 'node:stream/consumers';
import { setTimeout as pause } from 'node:timers/promises';

const [host, port, key, near, far] = process.argv.slice(2);

const ask = (localAddress, path, token = key) => new Promise((resolve, reject) => {
  http.get({ host, port, path, localAddress, agent: false, headers: { 'X-Vorda-Token': token } }, async (answer) => {
    resolve([answer.statusCode, await text(answer)]);
  }).on('error', reject);
});

while (!await ask(far, '/api/hello').catch(() => null)) await pause(100);

const sockets = [];
const closed = new Set();
for (let i = 0; i < 70; ++i) {
  const socket = net.connect({ host, port, localAddress: near }).on('error', () => {}).on('close', () => closed.add(i));
  socket.resume();
  await once(socket, 'connect');
  sockets.push(socket);
}
// If the program fails to close these six, all 70 run into their time limit and are counted.
while (closed.size < 6) await pause(50);
await pause(300);
const told = { closed: closed.size, latest: Math.max(...closed) };
[told.ownMeanwhile] = await ask(near, '/api/jobs');
[told.otherMeanwhile] = await ask(far, '/api/jobs');
for (const socket of sockets) socket.destroy();
told.wrong = [];
for (let i = 0; i < 20; ++i) told.wrong.push((await ask(near, '/api/jobs', `wrong ${i}`))[0]);
told.right = await ask(near, '/api/jobs');
[told.otherRight] = await ask(far, '/api/jobs');
process.stdout.write(JSON.stringify(told));
