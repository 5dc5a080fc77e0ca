// How tests take down what they set up, whatever happens: node:test skips all hooks behind one that fails.

const known = new WeakMap();

// What takes the ends of a test or file, and runs all of them then, the last one first. A failure counts when
// all have run. There is one for each context, so that everything set up in it is in one order.
export function lastFirst(hooks) {
  if (known.has(hooks)) return known.get(hooks);
  const ends = [];
  const own = { after: (end) => ends.unshift(end) };
  known.set(hooks, own).set(own, own);
  hooks.after(async () => {
    const failures = [];
    for (const end of ends) {
      try {
        await end();
      } catch (error) {
        failures.push(error);
      }
    }
    if (failures.length > 0) throw failures[0];
  });
  return own;
}

// Has a server of the test's own listen on this machine. It ends with the test, and so do its connections.
// Resolves to its port.
export async function listen(hooks, server) {
  const held = new Set();
  server.on('connection', (socket) => held.add(socket.on('error', () => {})));
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  lastFirst(hooks).after(() => {
    held.forEach((socket) => socket.destroy());
    server.close();
  });
  return server.address().port;
}
