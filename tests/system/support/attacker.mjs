// attacker.mjs PORT CONNECTIONS: attacks a program until told to stop. CONNECTIONS says in JSON how many of
// each attack. A process of its own, because hundreds of attackers in that of the good client would make it
// slow to send its requests. Tells the parent ten times a second how they have gone.
import { attack } from './attacks.mjs';

const stop = new AbortController();
const outcomes = {};
process.on('message', () => stop.abort());
process.on('disconnect', () => process.exit(1));
const timer = setInterval(() => process.send(outcomes), 100);
await Promise.all(Object.entries(JSON.parse(process.argv[3])).map(([name, connections]) =>
  attack(name, Number(process.argv[2]), { connections, stop: stop.signal, outcomes })));
clearInterval(timer);
process.send(outcomes, () => process.exit(0));
