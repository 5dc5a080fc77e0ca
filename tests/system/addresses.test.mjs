// Bounds on a single address do not hold for loopback, so these clients have addresses of their own: in a
// network namespace that a virtual cable connects with that of the program.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { lastFirst } from './support/ends.mjs';
import { needs } from './support/home.mjs';
import { ownWine, startFor } from './support/vorda.mjs';

const KEY = 'open sesame';
const PORT = 7777;
const [server, near, far] = ['10.77.0.1', '10.77.0.2', '10.77.0.3'];
const client = fileURLToPath(new URL('support/address_client.mjs', import.meta.url));

// Two namespaces with one end of the cable each; both go with the test.
function cable(t) {
  const ip = (...args) => execFileSync('ip', args, { stdio: ['ignore', 'pipe', 'inherit'] });
  const [one, other] = ['a', 'b'].map((end) => `vorda-${process.pid}-${end}`);
  for (const name of [one, other]) {
    ip('netns', 'add', name);
    lastFirst(t).after(() => ip('netns', 'del', name));
    ip('-n', name, 'link', 'set', 'lo', 'up');
  }
  ip('link', 'add', 'cable', 'netns', one, 'type', 'veth', 'peer', 'name', 'cable', 'netns', other);
  for (const [name, address] of [[one, server], [other, near], [other, far]]) ip('-n', name, 'addr', 'add', `${address}/24`, 'dev', 'cable');
  for (const name of [one, other]) ip('-n', name, 'link', 'set', 'cable', 'up');
  return [one, other].map((name) => ['ip', 'netns', 'exec', name]);
}

test('one address has 64 connections, and a minute without keys after 20 wrong ones', needs('namespaces'), async (t) => {
  const [here, there] = cable(t);
  // Wine's server answers only in the namespace in which it was started.
  const wine = ownWine(t, {}, here);
  startFor(t, ['--agent', '--token', KEY, '--port', String(PORT)], wine);
  const [program, ...args] = [...there, process.execPath, client, server, PORT, KEY, near, far];
  const told = JSON.parse(execFileSync(program, args.map(String), { stdio: ['ignore', 'pipe', 'inherit'], timeout: 120_000 }));
  const { latest, ...rest } = told;
  assert.ok(latest < 16, 'those that have waited longest'); // several threads take connections in, so nearly in order
  assert.deepEqual(rest, {
    closed: 6, // of 70 silent ones
    ownMeanwhile: 200, // it pushes out one more
    otherMeanwhile: 200,
    wrong: Array(20).fill(401),
    right: [429, '{"error":"tooManyKeys"}'],
    otherRight: 200,
  });
});
