#!/usr/bin/env node
// scripts/run-debian-job.mjs FOLDER [NUMBER]: runs the steps of the workflow's Debian job, from the given one on, in
// a fresh Debian 12 in FOLDER (debootstrap --variant=minbase bookworm FOLDER), as root. What the actions do is
// done here: the checkout is a clone of this repository's HEAD; caches and uploads are left out.
import { execFileSync, spawnSync } from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { parse } from 'yaml';

const repo = fileURLToPath(new URL('..', import.meta.url));
const [debian, from = '1'] = process.argv.slice(2);
const { steps } = parse(fs.readFileSync(`${repo}/.github/workflows/tests.yml`, 'utf8')).jobs.debian;
const inside = '/vorda';

// A namespace of its own, so that nothing stays mounted.
const enter = (script) => spawnSync('unshare', ['--mount', '--pid', '--fork', '--kill-child', 'bash', '-c', `
  mount -t proc proc "$0/proc" && mount --rbind /dev "$0/dev" && mount -t tmpfs tmpfs "$0/dev/shm" && mkdir -p "$0${inside}" &&
  exec env -i HOME=/root LANG=C.UTF-8 CI=true PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \\
    chroot "$0" bash --noprofile --norc -eo pipefail -c 'cd ${inside}; . /root/step.sh'`, debian],
{ stdio: 'inherit', input: fs.writeFileSync(path.join(debian, 'root/step.sh'), script) });

// A container's runtime supplies this.
const hosts = path.join(debian, 'etc/hosts');
if (!fs.existsSync(hosts)) fs.writeFileSync(hosts, '127.0.0.1 localhost\n');

for (const [i, { name, uses, run }] of steps.entries()) {
  if (i + 1 < Number(from)) continue;
  if (uses?.startsWith('actions/checkout@')) {
    fs.rmSync(path.join(debian, inside), { recursive: true, force: true });
    execFileSync('git', ['clone', '-q', '--no-hardlinks', repo, path.join(debian, inside)], { stdio: 'inherit' });
  }
  console.log(`== step ${i + 1}: ${name ?? uses}`);
  if (!run) continue;
  const began = Date.now();
  const { status } = enter(run);
  console.log(`== step ${i + 1}: exit code ${status} after ${Math.round((Date.now() - began) / 1000)} s`);
  if (status !== 0) process.exit(1);
}
