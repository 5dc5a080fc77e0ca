// The installer under Wine: into a folder with blanks and letters of another script, over a running service,
// back to an older version, and out again without a trace.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import { after, test } from 'node:test';
import { freePort, until } from '../system/support/server.mjs';
import { ownWine, projectVersion, scratch, startSilent, vorda } from '../system/support/vorda.mjs';
import { wineScript } from '../system/support/wine.mjs';
import { filesOf, pack, programsOf } from './support.mjs';

const root = scratch({ after });
const setups = {};
for (const version of [projectVersion, '77.0.0']) {
  const out = `${root}/${version}`;
  pack(out, { version, programs: programsOf(`${root}/programs-${version}`, version) });
  setups[version] = `${out}/vorda-${version}-setup.exe`;
}
const FOLDER = 'C:\\Program Files\\Vorda für жизнь';
// The installer's own syntax: last, and without quotes, which an argument with blanks would get.
const inFolder = `/D=${FOLDER}`.split(' ');
const uninstallKey = 'Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Vorda';

// A prefix of its own: { run(program, ...args) → exit code, out(program, ...args) → text, drive: its C:, folder: the
// program's in it }.
function machine(t) {
  const options = ownWine(t);
  const drive = `${options.env.VORDA_WINEPREFIX}/drive_c`;
  return {
    options, drive, folder: `${drive}/${FOLDER.slice(3).replaceAll('\\', '/')}`,
    run: async (program, ...args) => (await startSilent(args, { ...options, program }).ended).code,
    out: async (program, ...args) => (await vorda(args, { ...options, program: `${program}.exe` })).out.toString(),
  };
}

// Of Wine itself: its console's settings, devices and drivers, and the uninstaller's own copy in the folder of temporary
// files, which Windows is asked to delete.
const OF_WINE = /^\[Console\]|Cryptography\\\\RNG|HARDWARE|DriverDateData|Control\\\\Class\\\\\{|PendingFileRenameOperations/;

// What there is: files by size, and the lines of the registry. Wine writes them when it ends.
function snapshot({ drive, options }) {
  const env = { ...process.env, ...options.env };
  execFileSync(wineScript, ['--end'], { env, stdio: 'ignore' });
  const noise = /^(windows\/temp|users\/[^/]+\/(Temp|AppData\/Local\/Temp))\//i;
  const files = filesOf(drive).filter((name) => !noise.test(name)).map((name) => `${name} ${fs.lstatSync(`${drive}/${name}`).size}`);
  const lines = [];
  for (const hive of ['system', 'user']) {
    let key = '';
    for (const line of fs.readFileSync(`${options.env.VORDA_WINEPREFIX}/${hive}.reg`, 'utf8').split('\n')) {
      if (line.startsWith('[')) key = line.replace(/ \d+$/, '');
      if (line && !line.startsWith('#')) lines.push(line.startsWith('[') ? key : `${key} ${line}`);
    }
  }
  execFileSync(wineScript, ['--start'], { env, stdio: 'ignore' });
  return { files: new Set(files), lines: new Set(lines.filter((line) => !OF_WINE.test(line))) };
}
const missing = (from, all) => [...all].filter((one) => !from.has(one));

const version = (port, key) => fetch(`http://127.0.0.1:${port}/api/about`, { headers: { 'X-Vorda-Token': key } }).then(async (answer) => (await answer.json()).version, () => null);

test('install, upgrade over a running service, downgrade, and remove', async (t) => {
  const pc = machine(t);
  const before = snapshot(pc);
  // An installer of the older version first, silently, with everything.
  assert.equal(await pc.run(setups[projectVersion], '/S', '/ALLUSERS', '/SERVICE', '/EXPLORER', ...inFolder), 0);
  const { folder } = pc;
  const installed = filesOf(folder);
  assert.deepEqual(installed, ['CHANGELOG.md', 'LICENCE.txt', 'THIRD-PARTY-NOTICES.txt', 'api/API.md', 'api/Vorda.postman_collection.json', 'api/openapi.yaml', 'troubleshooting.md', 'uninstall.exe', 'vorda.com', 'vorda.exe'].sort());
  const exe = `${folder}/vorda.exe`;
  const key = await until(async () => (await vorda(['--show-key'], { ...pc.options, program: exe })).out.toString().trim(), 'the key of the service');
  assert.equal(await until(() => version(7777, key), 'the service'), projectVersion);
  const entry = await pc.out('reg', 'query', 'HKLM\\Software\\Classes\\Directory\\shell\\Vorda\\command', '/ve');
  assert.match(entry, /vorda\.exe" --scan "%1"/);

  // A page and an agent of this account run as well when the newer version comes.
  const [pagePort, agentPort] = [await freePort(), await freePort()];
  const page = startSilent(['--no-open', '--port', String(pagePort)], { ...pc.options, program: exe });
  const agent = startSilent(['--agent', '--token', 'k', '--port', String(agentPort)], { ...pc.options, program: exe });
  await until(async () => await version(pagePort, '') && await version(agentPort, 'k'), 'page and agent');
  assert.equal(await pc.run(setups['77.0.0'], '/S', '/ALLUSERS'), 0);
  await Promise.all([page.ended, agent.ended]);
  assert.equal(await until(() => version(7777, key), 'the service of the new version'), '77.0.0');
  assert.deepEqual(filesOf(folder), installed);
  assert.match(await pc.out('reg', 'query', `HKLM\\${uninstallKey}`, '/v', 'DisplayVersion'), /77\.0\.0/);

  // Back only when told.
  assert.equal(await pc.run(setups[projectVersion], '/S', '/ALLUSERS'), 2);
  assert.equal(await version(7777, key), '77.0.0');
  assert.equal(await pc.run(setups[projectVersion], '/S', '/ALLUSERS', '/DOWNGRADE'), 0);
  assert.equal(await until(() => version(7777, key), 'the service of the old version'), projectVersion);

  assert.equal(await pc.run(`${folder}/uninstall.exe`, '/S'), 0);
  await until(() => !fs.existsSync(folder), 'the folder to go');
  // The uninstaller goes on for a moment after its folder is gone.
  await until(async () => !(await pc.out('reg', 'query', 'HKLM\\Software\\Brixmoor')).includes('HKEY'), 'the settings to go');
  const then = snapshot(pc);
  for (const kind of ['files', 'lines']) {
    assert.deepEqual({ added: missing(before[kind], then[kind]), gone: missing(then[kind], before[kind]) }, { added: [], gone: [] });
  }
});

test('what is to stay stays, and a folder of the user is left alone', async (t) => {
  const pc = machine(t);
  assert.equal(await pc.run(setups[projectVersion], '/S', '/CURRENTUSER', ...inFolder), 0);
  const { folder } = pc;
  assert.match(await pc.out('reg', 'query', `HKCU\\${uninstallKey}`, '/v', 'InstallLocation'), /Program Files.Vorda f/);
  assert.doesNotMatch(await pc.out('reg', 'query', 'HKCU\\Software\\Classes\\Directory\\shell'), /Vorda/);
  await pc.out('reg', 'add', 'HKLM\\Software\\Brixmoor\\Vorda', '/v', 'Port', '/t', 'REG_DWORD', '/d', '7700', '/f');
  const user = fs.readdirSync(`${pc.drive}/users`).find((name) => name !== 'Public');
  const logs = `${pc.drive}/users/${user}/AppData/Local/Vorda`;
  fs.mkdirSync(logs, { recursive: true });
  fs.writeFileSync(`${logs}/verwijderd.log`, 'what went');
  fs.writeFileSync(`${folder}/mine.txt`, 'of the user');
  assert.equal(await pc.run(`${folder}/uninstall.exe`, '/S', '/KEEP'), 0);
  await until(() => !fs.existsSync(`${folder}/uninstall.exe`), 'the program to go');
  assert.deepEqual(filesOf(folder), ['mine.txt']);
  assert.deepEqual(fs.readdirSync(logs), ['verwijderd.log']);
  assert.match(await pc.out('reg', 'query', 'HKLM\\Software\\Brixmoor\\Vorda'), /Port/);
});
