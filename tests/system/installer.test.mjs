// The commands that an installer gives: real copies in several folders, a real service and a real registry.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import path from 'node:path';
import { after, beforeEach, test } from 'node:test';
import { lastFirst } from './support/ends.mjs';
import { has, home, needs } from './support/home.mjs';
import { freePort, serve, until } from './support/server.mjs';
import { exe, helper, projectVersion, scratch, start, startSilent, vorda, winPath } from './support/vorda.mjs';

const lists = JSON.parse(fs.readFileSync(new URL('../data/restart_lists.json', import.meta.url)));
const listKey = 'HKLM\\Software\\Brixmoor\\VordaUpdate';
const ownSid = () => /S-1-[-\d]+/.exec(execFileSync('whoami.exe', ['/user']))[0];
// Wine runs everything as the same account.
const account = `account|${home === 'windows' ? ownSid() : 'S-1-5-21-0-0-0-1000'}|`;
const gone = { code: 0, lines: ['nothing to restart'] };
const fileTime = (ms) => (BigInt(Math.round(ms)) + 11_644_473_600_000n) * 10_000n;
const withoutIds = (lines) => lines.map((line) => line.replace(/^pid \d+/, 'pid #')).sort();
const version = (port) => fetch(`http://127.0.0.1:${port}/api/targets?token=k`).then(async (answer) => (await answer.json()).version, () => null);

const here = { after };
const root = scratch(here);
const run = async (program, ...args) => (await vorda(args, { program: `${program}.exe` })).out.toString();
// What a step prints and returns. It writes to a file: under Wine, whatever a step starts would hold a
// pipe open, although it does not inherit it.
async function told(args, options) {
  const fd = fs.openSync(`${root}/said`, 'w');
  const { code } = await startSilent(args, { ...options, stdio: ['ignore', fd, fd] }).ended;
  fs.closeSync(fd);
  return { code, lines: fs.readFileSync(`${root}/said`, 'utf8').split('\n').slice(0, -1) };
}
const restartAsSystem = ({ path }) => told(['restart', path], { program: helper });
// The values of a registry key, each as text; null if there is no such key.
async function values(key) {
  const text = await run('reg', 'query', key);
  return text.includes('HKEY_') ? Object.fromEntries([...text.matchAll(/^ {4}(\S+) {4}REG_\w+ {4}(.*?)\r?$/gm)].map((found) => found.slice(1))) : null;
}
async function remember({ agents, minutesAgo = 0, written, agentsType = 'REG_MULTI_SZ', writtenType = 'REG_BINARY' }) {
  const time = Buffer.from(BigUint64Array.of(fileTime(Date.now() - minutesAgo * 60_000)).buffer).toString('hex');
  await run('reg', 'add', listKey, '/v', 'Agents', '/t', agentsType, '/d', agents, '/f');
  await run('reg', 'add', listKey, '/v', 'Written', '/t', writtenType, '/d', written ?? time, '/f');
}
// scripts/wine quotes the program in every command line, and node on Windows only where it must.
const quoted = (program) => (home === 'wine' || program.includes(' ') ? `"${program}"` : program);
// Without the quotes of a program's path, which is quoted or not by who started it.
const unquoted = (line) => line.replace(/"([^" ]+)"/, '$1');
// A folder with a copy of the program: how to start it, and its command line with given arguments.
function install(name, program = exe) {
  const file = path.normalize(`${root}/${name}/vorda.exe`);
  fs.mkdirSync(`${root}/${name}`);
  fs.copyFileSync(program, file);
  return { path: winPath(`${root}/${name}`), file, at: { program: file }, line: (args) => `${quoted(winPath(file))} ${args}` };
}
// Starts a verb of the helper, waits until it is ready, and ends it with the test.
async function holding(t, verb, options) {
  const { child, ended } = start([verb], options);
  lastFirst(t).after(() => {
    child.kill('SIGKILL');
    return ended;
  });
  await once(child.stdout, 'data');
  return child;
}

// Whatever a test left behind: every copy of the program is ended, the list of an installer forgotten.
beforeEach(async () => {
  if (!has('ownMachine')) return;
  await startSilent(['--stop']).ended;
  await run('reg', 'delete', listKey, '/f');
});

// A command line as it is printed and logged: without the key.
const shown = (line) => line.replace(/--token (k|"a .*")/, '--token ***');

test('closing one folder of two', needs('ownMachine'), async (t) => {
  const [one, two] = [install('one folder'), install('two')];
  const page = await serve(t, [], one.at);
  const server = await serve(t, ['--server', '--token', 'k'], one.at);
  const agent = await serve(t, ['--agent', '--token', 'a "quoted" key'], one.at);
  const other = await serve(t, ['--agent', '--token', 'k'], two.at);
  const agents = [one.line(`--port ${server.port} --no-open --server --token k`), one.line(`--port ${agent.port} --no-open --agent --token "a \\"quoted\\" key"`)];
  await remember({ agents: 'service|' });
  // The folder may be spelt in any way; the step itself runs from that folder and is spared.
  const closed = await told(['--close-for-update', `${one.path.toUpperCase()}\\.\\..\\One Folder\\/`], one.at);
  assert.equal(closed.code, 0);
  assert.deepEqual(withoutIds(closed.lines), [`pid # closed  ${one.line(`--port ${page.port} --no-open`)}`, ...agents.map((line) => `pid # closed  agent  ${shown(line)}`)].sort());
  for (const copy of [page, server, agent]) assert.equal((await copy.ended).code, 0);
  assert.equal((await fetch(`${other.base}/api/hello`)).status, 200);
  const list = await values(listKey);
  assert.deepEqual(list.Agents.split('\\0').sort(), agents.map((line) => account + line).sort());
  assert.deepEqual(list.Log.split('\\0'), closed.lines);
  const { code, lines } = await told(['--restart-after-update', one.path]);
  assert.deepEqual([code, lines.sort()], [0, agents.map((line) => `not restarted, runs under its own account: ${shown(line)}`).sort()]);

  const nothing = { code: 0, lines: [`nothing was running from ${one.path}`] };
  for (const [option, left] of [['--close-for-removal', null], ['--close-for-update', '']]) {
    await remember({ agents: 'service|' });
    assert.deepEqual(await told([option, one.path]), nothing);
    assert.equal((await values(listKey))?.Agents ?? null, left);
  }
  assert.deepEqual(await told(['--restart-after-update', one.path]), gone);
});

test('two installations at once restart their own agents', needs('ownMachine'), async (t) => {
  const folders = [install('first'), install('second')];
  const lines = [];
  for (const folder of folders) {
    const agent = await serve(t, ['--agent', '--token', 'k'], folder.at);
    lines.push(folder.line(`--port ${agent.port} --no-open --agent --token k`));
  }
  for (const folder of folders) assert.equal((await told(['--close-for-update', folder.path], folder.at)).code, 0);
  const list = await values(listKey);
  assert.deepEqual([list.Agents, list.Folder], [account + lines[1], folders[1].path]);
  for (const [i, folder] of folders.entries()) {
    const { lines: said } = await told(['--restart-after-update', `${folder.path.toLowerCase()}\\`]);
    assert.deepEqual(said, [`not restarted, runs under its own account: ${shown(lines[i])}`]);
    assert.deepEqual(await told(['--restart-after-update', folder.path]), gone);
  }
  assert.equal(await values(listKey), null);
});

test('a copy that cannot be opened is reported and left alone', needs('ownMachine'), async (t) => {
  const folder = install('shut', helper);
  const child = await holding(t, 'hold-shut', folder.at);
  const closed = await told(['--close-for-removal', folder.path]);
  assert.deepEqual([closed.code, withoutIds(closed.lines), child.exitCode], [1, ['pid #: cannot open'], null]);
});

test('an installation and its rollback', needs('ownMachine'), async (t) => {
  const folder = install('installed');
  const old = fs.readFileSync(folder.file);
  const ports = [await freePort(), await freePort()];
  const [service, agent] = ['service', 'agent'].map((mode, i) => folder.line(`--${mode} --port ${ports[i]} --token k`));
  // The same program with another version number in its resource.
  const fresh = Buffer.from(old);
  fresh.writeUInt16LE(77, fresh.indexOf(Buffer.from([0xbd, 0x04, 0xef, 0xfe])) + 10);
  const bothRun = async (wanted) => {
    for (const port of ports) assert.equal(await until(() => version(port), `port ${port}`), wanted);
    assert.match(await run('sc', 'query', 'VordaAgent'), /STATE\s*: 4 /);
  };
  await run('sc', 'create', 'VordaAgent', 'binPath=', service);
  lastFirst(t).after(async () => {
    await run('sc', 'delete', 'VordaAgent');
    // It is only marked while somebody has it open.
    await until(async () => !(await run('sc', 'query', 'VordaAgent')).includes('STATE'), 'the service to go');
  });
  await run('sc', 'start', 'VordaAgent');
  startSilent(['--agent', '--port', String(ports[1]), '--token', 'k'], folder.at);
  await bothRun(projectVersion);
  for (const [bytes, wanted] of [[fresh, projectVersion.replace(/^\d+/, '77')], [old, projectVersion]]) {
    const closed = await told(['--close-for-update', folder.path]);
    assert.deepEqual([closed.code, withoutIds(closed.lines.map(unquoted))], [0, [`pid # closed  ${shown(service)}`, `pid # closed  agent  ${shown(agent)}`, 'service VordaAgent stopped'].map(unquoted).sort()]);
    assert.deepEqual([await version(ports[0]), await version(ports[1])], [null, null]);
    assert.equal(unquoted((await values(listKey)).Agents), unquoted(`${account}${agent}\\0service|`));
    fs.rmSync(folder.file);
    fs.writeFileSync(folder.file, bytes);
      // Wine has no local system account; the helper stands in for it and restarts the agent.
    await remember({ agents: `system|${agent}\\0service|` });
    assert.deepEqual(await restartAsSystem(folder), { code: 0, lines: [`restarted  ${shown(agent)}`, 'service VordaAgent started'] });
    await bothRun(wanted);
    assert.match((await values('HKLM\\Software\\Brixmoor\\Vorda')).LastUpdate, /^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d$/);
    assert.deepEqual(await restartAsSystem(folder), gone); // nothing is started twice
  }
  await remember({ agents: 'service|' });
  assert.deepEqual(await told(['--restart-after-update', folder.path]), { code: 0, lines: ['service VordaAgent was already running'] });
  assert.deepEqual((await told(['--close-for-removal', root])).lines, [`nothing was running from ${root}`]);
  assert.equal((await told(['--close-for-removal', folder.path])).lines.length, 3);
  fs.writeFileSync(folder.file, 'not a program');
  await remember({ agents: 'system|v --agent\\0service|' });
  assert.deepEqual(await restartAsSystem(folder), { code: 1, lines: ['restart failed (193)', 'service VordaAgent would not start'] });
});

test('lists that are too old, damaged or of another kind', needs('ownMachine'), async () => {
  for (const list of lists) {
    await remember(list);
    assert.deepEqual(await told(['--restart-after-update', root]), { code: list.code, lines: [list.says] }, JSON.stringify(list));
    assert.equal(await values(listKey), null);
  }
});

test('agents that are told to stop while an installer runs', needs('ownMachine'), async (t) => {
  const folder = install('aware');
  const serveAndStop = async (...modes) => {
    const copies = [];
    for (const mode of modes) copies.push(await serve(t, mode, folder.at));
    assert.equal((await startSilent(['--stop']).ended).code, 0);
    for (const { ended } of copies) assert.equal((await ended).code, 0);
    return copies.map(({ port }, i) => account + folder.line([`--port ${port} --no-open`, ...modes[i]].join(' ')));
  };
  await serveAndStop(['--agent', '--token', 'k']);
  assert.equal(await values(listKey), null);
  await holding(t, 'hold-installer', { program: helper });
  await remember({ agents: 'service|', minutesAgo: 61 });
  // Many at once: none may lose the entry of another. The last one is not an agent.
  const agents = Array(6).fill(['--agent', '--token', 'k']);
  const noted = (await serveAndStop(...agents, ['--server', '--token', 'k'], [])).slice(0, -1);
  const { Agents, Log } = await values(listKey);
  assert.deepEqual(Agents.split('\\0').sort(), noted.sort());
  assert.equal(Log, noted.map(() => 'asked to close during an installation, noted for restart').join('\\0'));
  assert.equal((await told(['--restart-after-update', folder.path])).lines.length, noted.length);
});

test('the right to log on as a service', needs('ownMachine'), async () => {
  const refusal = ['Could not grant the log-on-as-a-service right to no such account.', 'unknownAccount'];
  assert.deepEqual(await told(['--grant-service-logon', 'no such account']), { code: 1, lines: refusal });
  const user = (await run('whoami')).trim().split('\\').pop();
  assert.deepEqual(await told(['--grant-service-logon', user]), { code: 0, lines: [] });
});
