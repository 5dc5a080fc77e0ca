// How the server bears load, under Wine and on this machine:
//   1. requests per second against a bare accept-read-answer loop, taking turns;
//   2. the same with a scan of a large tree going on;
//   3. scans started, watched, cancelled and forgotten by 16 clients, and what is left behind;
//   4. answers while a large folder is being deleted.
// node bench/serve.mjs TREE SECONDS, from a shell with Wine's environment set.
import { execFileSync, spawn } from 'node:child_process';
import fs from 'node:fs';
import net from 'node:net';
import { setTimeout as pause } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';

const [tree, seconds] = [process.argv[2], Number(process.argv[3] ?? 10)];
const repo = fileURLToPath(new URL('..', import.meta.url));
const build = `${repo}build/mingw-release`;

async function freePort() {
  const server = net.createServer();
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  const { port } = server.address();
  await new Promise((resolve) => server.close(resolve));
  return port;
}

async function startProgram(program, port, args) {
  const child = spawn(`${repo}scripts/wine`, [program, ...args], { stdio: 'ignore' });
  process.on('exit', () => child.kill('SIGKILL')); // also after a failure
  const base = `http://127.0.0.1:${port}`;
  for (let i = 0; i < 200; ++i) {
    if (await fetch(`${base}/api/hello`).then(() => true, () => false)) return { child, base };
    await pause(50);
  }
  throw new Error(`${program} does not answer`);
}

function load(base, path, forSeconds) {
  const text = execFileSync('wrk', ['-t2', '-c64', `-d${forSeconds}s`, '--latency', '--timeout', '10s', base + path]).toString();
  const number = (pattern) => pattern.exec(text)?.[1] ?? '0';
  return {
    rate: Number(number(/Requests\/sec:\s+([\d.]+)/)),
    p99: number(/99%\s+(\S+)/),
    errors: number(/(Socket errors: .*)/) + (/Non-2xx.*/.exec(text)?.[0] ?? ''),
  };
}

const median = (list) => [...list].sort((a, b) => a - b)[Math.floor(list.length / 2)];
const told = ({ rate, p99, errors }) => `${rate.toFixed(0)}/s, p99 ${p99}, errors: ${errors === '0' ? 'none' : errors}`;

const ports = [await freePort(), await freePort()];
const vorda = await startProgram(`${build}/vorda.exe`, ports[0], ['--port', ports[0], '--no-open']);
const bare = await startProgram(`${build}/bench/bench_bare_server_win.exe`, ports[1], [ports[1], 2]);
const text = async (path, init) => (await fetch(vorda.base + path, init)).text();
const scan = async () => JSON.parse(await text('/api/scan', { method: 'POST', body: new URLSearchParams({ path: tree }) })).id;

const rates = { vorda: [], bare: [] };
for (let round = 0; round < 3; ++round) {
  for (const [name, { base }] of Object.entries({ vorda, bare })) {
    const one = load(base, '/api/jobs', Math.max(3, seconds / 6));
    rates[name].push(one.rate);
    console.log(`${name.padEnd(6)} ${told(one)}`);
  }
}
console.log(`medians: ${median(rates.vorda).toFixed(0)} against ${median(rates.bare).toFixed(0)} requests a second, ratio ${(median(rates.vorda) / median(rates.bare)).toFixed(2)}`);

let scans = 0;
let scanning = true;
const keepScanning = (async () => {
  while (scanning) {
    const id = await scan();
    while (scanning && !/"state":"(done|error)"/.test(await text('/api/jobs'))) await pause(200);
    await text(`/api/forget?id=${id}`);
    ++scans;
  }
})();
const [pieces, busy] = [[], spawn('wrk', ['-t2', '-c64', `-d${seconds}s`, '--latency', '--timeout', '10s', `${vorda.base}/api/jobs`])];
busy.stdout.on('data', (piece) => pieces.push(piece));
await new Promise((resolve) => busy.on('close', resolve));
scanning = false;
await keepScanning;
console.log(`while scanning (${scans} scans of the tree ended): ${Buffer.concat(pieces).toString().match(/Requests\/sec.*|99%.*|Socket errors.*|Non-2xx.*/g).join(', ')}`);

const state = () => {
  const status = fs.readFileSync(`/proc/${vorda.child.pid}/status`, 'utf8');
  return `${/VmRSS:\s+(\d+)/.exec(status)[1]} KiB, ${/Threads:\s+(\d+)/.exec(status)[1]} threads, ${fs.readdirSync(`/proc/${vorda.child.pid}/fd`).length} descriptors`;
};
const soak = async (forSeconds) => {
  const end = Date.now() + forSeconds * 1000;
  let jobs = 0;
  await Promise.all(Array.from({ length: 16 }, async () => {
    while (Date.now() < end) {
      const ids = [await scan(), await scan()];
      for (const path of ['/api/jobs', `/api/cancel?id=${ids[0]}`, `/api/result?id=${ids[0]}`, '/api/jobs', ...ids.map((id) => `/api/forget?id=${id}`)]) await text(path);
      jobs += 2;
    }
  }));
  while ((await text('/api/jobs')) !== '[]') await pause(100);
  await pause(3000);
  return jobs;
};
await soak(5);
const before = state();
const jobs = await soak(seconds);
console.log(`${jobs} scans made and dropped by 16 clients; before: ${before}; after: ${state()}`);

const folder = `${tree.slice(2).replaceAll('\\', '/')}-deleted`;
execFileSync('node', [`${repo}bench/make-tree.mjs`, folder, '20000'], { stdio: 'ignore' });
const waits = [];
let deleting = true;
const began = performance.now();
const deletion = text('/api/delete', { method: 'POST', body: new URLSearchParams({ p: `${tree}-deleted`, permanent: 1 }) }).finally(() => { deleting = false; });
while (deleting) {
  const asked = performance.now();
  await text('/api/jobs');
  waits.push(performance.now() - asked);
}
const { deleted, error } = JSON.parse(await deletion);
console.log(`20,000 files deleted in ${Math.round(performance.now() - began)} ms (${deleted} folder, error: ${error || 'none'}); ${waits.length} answers meanwhile, median ${median(waits).toFixed(1)} ms, slowest ${Math.max(...waits).toFixed(1)} ms`);
await text('/api/quit');
bare.child.kill();
