// vorda.com, which scripts start instead of vorda.exe.
import assert from 'node:assert/strict';
import { once } from 'node:events';
import fs from 'node:fs';
import path from 'node:path';
import { test } from 'node:test';
import { needs } from './support/home.mjs';
import { freePort, until } from './support/server.mjs';
import { companion, exe, helper, makeFiles, readJson, scratch, start, startFor, vorda, winPath } from './support/vorda.mjs';

// A folder with vorda.com and, as vorda.exe, a program: { path, at: the option to start it with }.
function install(t, program = exe, name = 'a folder ж') {
  const folder = `${scratch(t)}/${name}`;
  fs.mkdirSync(folder);
  fs.copyFileSync(companion, `${folder}/vorda.com`);
  if (program) fs.copyFileSync(program, `${folder}/vorda.exe`);
  return { path: folder, at: { program: `${folder}/vorda.com` } };
}

test('output and exit codes are those of vorda.exe', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'tree/a.bin': 5, 'tree/b c/ж.txt': 'x' });
  const { at } = install(t);
  for (const [args, code] of [
    [['--help'], 0],
    [['--scan', `${folder}/tree`, '--out', '-', '--find', '?.txt'], 0],
    [['--scan', `${folder}/none`, '--out', '-'], 1],
    [['--scan', `${folder}/tree`, '--out', '-', '--format', 'a "quoted" word\\'], 2],
  ]) {
    const [direct, through] = [await vorda(args), await vorda(args, at)];
    const still = ({ out, ...rest }) => ({ ...rest, out: out.toString().replace(/"(seconds|volumeFree)":[\d.]+/g, '') });
    assert.deepEqual(still(through), still(direct), args.join(' '));
    assert.equal(through.code, code);
  }
  const { code, out } = await vorda(['pour', '100'], install(t, helper).at);
  assert.equal(code, 42);
  assert.equal(out.length, 100 * 2 ** 20);
  for (let i = 0; i < out.length; i += 16 * 997) assert.equal(out.toString('latin1', i, i + 16), `${String(i / 16).padStart(15, '.')}\n`);
});

test('arguments arrive as they were typed, and vorda.exe is the one beside vorda.com', async (t) => {
  const installed = install(t, helper);
  const cwd = scratch(t);
  fs.writeFileSync(`${cwd}/vorda.exe`, 'a planted one');
  const args = ['tell-line', 'C:\\', 'a b', '', '"q"', '\\"', 'ж😀'];
  const { code, out } = await vorda(args, { ...installed.at, cwd });
  assert.equal(code, 0);
  const [line, folder] = out.toString().split('\n');
  const direct = (await vorda(args, { program: `${installed.path}/vorda.exe`, cwd })).out.toString().split('\n')[0];
  const tail = (text) => text.slice(text.indexOf('tell-line'));
  assert.equal(tail(line), tail(direct));
  assert.ok(line.startsWith(`"${winPath(installed.path)}\\vorda.exe" `), line);
  assert.equal(folder, winPath(cwd));

  // With none beside it, the planted one is not taken instead.
  const alone = install(t, null);
  const missing = await vorda(['--help'], { ...alone.at, cwd });
  assert.deepEqual([missing.code, missing.out.length, missing.err],
    [1, 0, `Vorda: vorda.exe is missing; it belongs into ${winPath(alone.path)}\\\n`]);
  fs.writeFileSync(`${alone.path}/vorda.exe`, 'not a program');
  const broken = await vorda(['--help'], { ...alone.at, cwd });
  assert.equal(broken.code, 1);
  assert.match(broken.err, /^Vorda: [A-Z]:.*vorda\.exe could not be started: ./);
});

test('vorda.com works through a link, as package managers make them', needs('linkedPrograms'), async (t) => {
  const { path: folder } = install(t, helper);
  const cwd = scratch(t);
  fs.symlinkSync(`${folder}/vorda.com`, `${cwd}/linked.com`);
  const { code, out } = await vorda(['tell-line', 'a b'], { program: `${cwd}/linked.com`, cwd });
  assert.equal(code, 0);
  assert.ok(out.toString().startsWith(`"${winPath(folder)}\\vorda.exe" tell-line "a b"\n`), out);
});

// Under Wine an interruption from outside is what Ctrl+C is on Windows.
test('Ctrl+C stops a scan, which then writes nothing', needs('interrupts'), async (t) => {
  const folder = scratch(t);
  const { at } = install(t);
  makeFiles(folder, Object.fromEntries(Array.from({ length: 40_000 }, (_, i) => [`tree/${i % 400}/${i}`, ''])));
  const { child, ended } = start(['--scan', `${folder}/tree`, '--out', `${folder}/out.json`, '--find', '*'], at);
  await once(child.stderr, 'data');
  child.kill('SIGINT');
  const { code, out, err } = await ended;
  assert.deepEqual([code, out.toString(), err],
    [1, '', `Vorda: scanning ${folder}/tree\nVorda: stopped; nothing was written\n`]);
  assert.deepEqual(fs.readdirSync(folder), ['tree']);
  const whole = await vorda(['--scan', `${folder}/tree`, '--out', '-'], at);
  assert.equal(readJson(whole.out).meta.files, 40_000);
});

test('an agent and the page say where they are, and Ctrl+C closes them', needs('interrupts'), async (t) => {
  const { at } = install(t);
  for (const mode of [['--no-open'], ['--agent', '--token', 'k']]) {
    const port = await freePort();
    const said = path.join(scratch(t), 'said');
    const fd = fs.openSync(said, 'w');
    const { child, ended } = startFor(t, ['--port', String(port), ...mode], { ...at, stdio: ['ignore', 'ignore', fd] });
    fs.closeSync(fd);
    await until(() => fs.readFileSync(said, 'utf8').endsWith('.\n'), 'the address');
    assert.equal(fs.readFileSync(said, 'utf8'),
      `Vorda is at http://127.0.0.1:${port}/\nPress Ctrl+C to stop it, or run vorda.com --stop elsewhere.\n`);
    assert.equal((await fetch(`http://127.0.0.1:${port}/api/hello`)).status, 200);
    child.kill('SIGINT');
    assert.equal((await ended).code, 0);
    await assert.rejects(fetch(`http://127.0.0.1:${port}/api/hello`));
  }
});
