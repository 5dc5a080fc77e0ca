// node scripts/openapi.mjs VERSION OUT: docs/api/openapi.yaml as compact JSON, with the program's version.
import fs from 'node:fs';
import { parse } from 'yaml';

export function description(version) {
  const document = parse(fs.readFileSync(new URL('../docs/api/openapi.yaml', import.meta.url), 'utf8'));
  document.info.version = version;
  return document;
}

if (process.argv[1]?.endsWith('openapi.mjs')) {
  const [version, out] = process.argv.slice(2);
  fs.writeFileSync(out, `${JSON.stringify(description(version))}\n`);
}
