// Makes Wine prefixes one after another, as the tests do, and starts two programs at once in each.
// node bench/fresh-prefixes.mjs COUNT [BUSY], with that many busy loops beside it. Prints how many
// prefixes failed and how many folders they left behind.
import { spawn } from 'node:child_process';
import fs from 'node:fs';
import { ownWine, vorda } from '../tests/system/support/vorda.mjs';

const [count, busy] = [Number(process.argv[2] ?? 30), Number(process.argv[3] ?? 0)];
const loops = Array.from({ length: busy }, () => spawn(process.execPath, ['-e', 'for (;;);']));
process.on('exit', () => loops.forEach((loop) => loop.kill()));
const [failures, kept] = [[], []];
for (let i = 0; i < count; ++i) {
  const ends = [];
  try {
    const wine = ownWine({ after: (end) => ends.push(end) });
    kept.push(wine.env.VORDA_WINEPREFIX);
    const runs = await Promise.all([vorda(['--help'], wine), vorda(['--help'], wine)]);
    for (const { code, err } of runs) if (code !== 0) failures.push(`${i}: exit code ${code}, ${err}`);
  } catch (error) {
    failures.push(`${i}: ${error.message}`);
  }
  ends.forEach((end) => end());
}
console.log(failures.join('\n'));
console.log(`${count} prefixes, ${failures.length} failures, ${kept.filter((prefix) => fs.existsSync(prefix)).length} left behind`);
process.exit(failures.length === 0 ? 0 : 1);
