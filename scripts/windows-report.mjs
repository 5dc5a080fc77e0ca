// node scripts/windows-report.mjs [--out FILE] [NAME...]: runs everything that tests vorda.exe on this Windows and
// writes one text file for whoever builds it: the machine, what passed, what failed and why, what could
// not run here, and the steps that are left for a person. NAME is a part of the names of test files. Exits
// with 0 if nothing failed.
import { spawnSync } from 'node:child_process';
import { createHash } from 'node:crypto';
import fs from 'node:fs';
import os from 'node:os';
import path from 'node:path';
import { exe, has, home, repo } from '../tests/system/support/home.mjs';

const args = process.argv.slice(2);
const at = args.indexOf('--out');
const file = path.resolve(at < 0 ? `${repo}/vorda-report.txt` : args.splice(at, 2)[1]);
const report = fs.openSync(file, 'w');
const write = (text = '') => {
  fs.writeSync(report, `${text}\n`);
  console.log(text);
};
const total = { passed: 0, failed: 0, notHere: 0 };

// The output of a program, or why there is none. A file takes it: under Wine node has no pipes of its own.
function run(program, ...rest) {
  const said = `${file}.said`;
  const to = fs.openSync(said, 'w');
  const { status, error } = spawnSync(program, rest, { cwd: repo, stdio: ['ignore', to, to], windowsHide: true, timeout: 3_600_000 });
  fs.closeSync(to);
  const text = fs.readFileSync(said, 'utf8').replaceAll('\r\n', '\n').trim();
  fs.rmSync(said);
  return { code: status ?? -1, text: error ? `${text}\n${error.message}` : text };
}

function machine() {
  const line = (name, value) => write(`${name.padEnd(18)}${value}`);
  const registry = (key, value) => / (?:0x[0-9a-f]+|\S+)$/m.exec(run('reg.exe', 'query', key, '/v', value).text)?.[0].trim() ?? 'not set';
  line('Date', new Date().toISOString());
  line('Windows', `${os.version()}  ${os.release()}  ${os.arch()}  (${home})`);
  line('Processors', `${os.cpus().length}, ${(os.totalmem() / 2 ** 30).toFixed(1)} GiB of memory`);
  line('Administrator', has('administrator') ? 'yes' : 'no');
  line('Disposable', process.env.VORDA_DISPOSABLE === '1' ? 'yes' : 'no');
  line('Long paths', registry('HKLM\\SYSTEM\\CurrentControlSet\\Control\\FileSystem', 'LongPathsEnabled'));
  line('8.3 names', registry('HKLM\\SYSTEM\\CurrentControlSet\\Control\\FileSystem', 'NtfsDisable8dot3NameCreation'));
  line('Node', process.version);
  line('vorda.exe', `${fs.statSync(exe).size} bytes, SHA-256 ${createHash('sha256').update(fs.readFileSync(exe)).digest('hex')}`);
}

// Counts one run and writes what failed, and what this home lacks.
function part(title, { code, text }) {
  const doctest = /test cases:\s*\d+ \|\s*(\d+) passed \|\s*(\d+) failed/.exec(text);
  const number = (word) => Number(new RegExp(`^# ${word} (\\d+)`, 'm').exec(text)?.[1] ?? 0);
  const passed = doctest ? Number(doctest[1]) : number('pass');
  const failed = Math.max(doctest ? Number(doctest[2]) : number('fail') + number('cancelled'), code === 0 && passed > 0 ? 0 : 1);
  const left = [...text.matchAll(/^\s*ok \d+ - (.*) # SKIP not on this home \((.*)$/gm)].map(([, name, missing]) => `${name}  (${missing}`);
  total.passed += passed;
  total.failed += failed;
  total.notHere += left.length;
  write(`\n== ${title}: ${passed} passed, ${failed} failed, ${left.length} not on this home`);
  left.forEach((one) => write(`  not here: ${one}`));
  if (failed > 0) write(text);
}

const tests = (folder) => fs.readdirSync(`${repo}/tests/${folder}`).filter((name) => name.endsWith('.test.mjs'))
  .filter((name) => args.length === 0 || args.some((one) => name.includes(one))).map((name) => `tests/${folder}/${name}`);
const node = (...files) => run(process.execPath, '--test', '--test-concurrency=1', '--test-reporter=tap', ...files);

// Before anything is believed: a test that fails on purpose must be reported as failed.
function selfTest() {
  const { code, text } = node('tests/tools/homes/fails.mjs');
  const right = code !== 0 && ['pass', 'fail', 'skipped'].every((word) => new RegExp(`^# ${word} 1$`, 'm').test(text));
  write(`\n== a test that fails on purpose: ${right ? 'reported as failed' : 'NOT reported as it should be'}`);
  if (right) return;
  write(text);
  total.failed += 1;
}

machine();
selfTest();
const unit = path.join(path.dirname(exe), 'vorda_tests.exe');
if (args.length === 0) part('unit tests', fs.existsSync(unit) ? run(unit, '--no-colors') : { code: 1, text: `${unit} is missing` });
for (const folder of ['system', 'page']) {
  // One file at a time, so that a file that hangs or breaks takes no other along.
  for (const one of tests(folder)) part(one, node(one));
}
write(`\n${total.passed} passed, ${total.failed} failed, ${total.notHere} not on this home`);
if (args.length === 0) write(`\n== for a person: please write the outcome behind each step\n\n${fs.readFileSync(`${repo}/docs/windows-checklist.md`, 'utf8')}`);
console.log(`\nwritten: ${file}`);
process.exitCode = total.failed > 0 || total.passed === 0 ? 1 : 0;
