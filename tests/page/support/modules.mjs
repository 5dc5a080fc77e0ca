// The modules in core/ and the dictionaries, bundled like the page itself.
import { fileURLToPath } from 'node:url';
import { has } from '../../system/support/home.mjs';

const names = [
  'address', 'i18n', 'job', 'paths', 'plan', 'squarify', 'map_layout', 'map_colours', 'steps', 'tree', 'tree_order', 'units', 'failure_texts', 'bin', 'winnable', 'review', 'keeping', 'question', 'csv', 'hosts',
];

const bundle = async () => (await import('esbuild')).build({
  stdin: {
    contents: names.map((name) => `export * as ${name} from './core/${name}';`).join('') +
      ["en", "nl", "fr", "es", "pt"].map((lang) => `export { ${lang} } from './lang/${lang}';`).join(''),
    resolveDir: fileURLToPath(new URL('../../../src/page', import.meta.url)),
  },
  bundle: true, format: 'esm', write: false, target: 'node18',
});

async function load({ outputFiles: [file] }) {
  const modules = await import(`data:text/javascript;base64,${Buffer.from(file.contents).toString('base64')}`);
  return { ...modules, ...Object.fromEntries(['nl', 'fr', 'es', 'pt'].map((lang) => [lang, modules[lang]()])) };
}
export const page = has('esbuild') ? await load(await bundle()) : {};
