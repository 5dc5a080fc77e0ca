// Builds the page: one HTML file that contains style, script and dictionaries, and a policy that allows
// exactly these. Usage: node build.mjs OUTPUT [--pseudo]
// --pseudo makes the English texts 40 % longer and puts them in brackets, which reveals texts that do not
// come from the dictionary or don't fit.
import { build } from 'esbuild';
import { createHash } from 'node:crypto';
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';
import { minify } from 'terser';
import { checkNumbered, numberedKeys } from './keys.mjs';
import { BETWEEN_TEXTS, packed } from './lang/forms.mjs';

const MOST_BYTES = 340 * 1000;
const MOST_GZIPPED = 100 * 1000;
const STYLES = ['tokens', 'base', 'layout', 'controls', 'tables', 'screens', 'map', 'dialogs'];

const here = path.dirname(fileURLToPath(import.meta.url));
const source = (name) => fs.readFileSync(path.join(here, name), 'utf8');
const hash = (text) => `'sha256-${createHash('sha256').update(text).digest('base64')}'`;

const common = { bundle: true, write: false, minify: true, legalComments: 'none', target: 'chrome109', logLevel: 'warning' };

// Makes a text longer and marks it; placeholders and the confirmation word stay as they are.
const longer = (text) => `[${text}${' _____'.repeat(100).slice(0, Math.ceil(text.replace(/\{\w+\}/g, '').length * 0.4))}]`;
const longerTexts = (texts) => Object.fromEntries(Object.entries(texts).map(([key, text]) => [key,
  text === 'DELETE' ? text : typeof text === 'string' ? longer(text) : longerTexts(text)]));

async function textsOf(file) {
  const { outputFiles } = await build({ ...common, entryPoints: [file], format: 'esm' });
  const module = await import(`data:text/javascript;base64,${Buffer.from(outputFiles[0].contents).toString('base64')}`);
  const [texts] = Object.values(module);
  return typeof texts === 'function' ? texts() : texts;
}

// In the order of the English texts: those that begin alike stand side by side, which compresses better.
async function sortedEnglish() {
  const texts = await textsOf(path.join(here, 'lang/en.ts'));
  const order = (text) => JSON.stringify(text);
  return Object.fromEntries(Object.entries(texts).sort(([, a], [, b]) => (order(a) < order(b) ? -1 : 1)));
}

const isSource = (name) => name.endsWith('.ts') && !/^lang\b/.test(name);
const sources = () => fs.readdirSync(here, { recursive: true }).filter(isSource).map(source);

// The texts of all languages, and numbers instead of their keys in the sources. The keys that have no number stand
// there once, apart from the texts.
const dictionaries = (english, { keys, named, replaced }, pseudo) => ({
  name: 'dictionaries',
  setup(bundle) {
    const all = [...keys, ...named];
    const written = (texts, french) => JSON.stringify(packed(all.map((key) => texts[key]), french));
    bundle.onLoad({ filter: /[/\\]lang[/\\][a-z]{2}\.ts$/ }, async ({ path: file }) => {
      const lang = path.basename(file, '.ts');
      if (lang === 'en') {
        return {
          contents: `import { numbersAnd, unpacked } from './forms.mjs';
            export const en = unpacked(numbersAnd(${keys.length}, ${JSON.stringify(named.join(BETWEEN_TEXTS))}), ${written(pseudo ? longerTexts(english) : english)});`,
          loader: 'js', resolveDir: path.dirname(file),
        };
      }
      const french = lang === 'fr';
      return {
        contents: `import { en } from './en'; import { unpacked } from './forms.mjs';
          export const ${lang} = () => unpacked(Object.keys(en), ${written(await textsOf(file), french)}, ${french});`,
        loader: 'js', resolveDir: path.dirname(file),
      };
    });
    bundle.onLoad({ filter: /\.ts$/ }, ({ path: file }) => (
      isSource(path.relative(here, file)) ? { contents: replaced(fs.readFileSync(file, 'utf8')), loader: 'ts' } : undefined));
  },
});

async function bundledScript(pseudo) {
  const english = await sortedEnglish();
  const numbered = numberedKeys(Object.keys(english), sources());
  const result = await build({ ...common, plugins: [dictionaries(english, numbered, pseudo)], entryPoints: [path.join(here, 'main.ts')], format: 'iife', charset: 'utf8' });
  // What esbuild has bundled gets 3 % smaller by this. Left out are the steps after which it compresses worse.
  const compress = { passes: 3, inline: 1, lhs_constants: false, sequences: false };
  const { code } = await minify(result.outputFiles[0].text, { ecma: 2020, toplevel: true, compress });
  const text = code.trim();
  checkNumbered(numbered.keys, text);
  // The script is inlined, so it must not contain anything that ends the script element.
  if (/<\/script|<!--/i.test(text)) throw new Error('the script holds "</script" or "<!--"');
  return text;
}

async function bundledStyle() {
  const contents = STYLES.map((name) => source(`css/${name}.css`)).join('\n');
  const result = await build({ ...common, stdin: { contents, loader: 'css' } });
  return result.outputFiles[0].text.trim();
}

function policy(script, style) {
  return [
    "default-src 'none'",
    `script-src ${hash(script)}`,
    `style-src ${hash(style)}`,
    "connect-src 'self'",
    "img-src 'self' data:",
    "base-uri 'none'",
    "form-action 'none'",
    "require-trusted-types-for 'script'",
    "trusted-types 'none'",
  ].join('; ');
}

// Minifies markup of our own: removes comments and the space between elements.
const dense = (markup) => markup.replace(/<!--[^]*?-->/g, '').replace(/>\s+</g, '><').trim();

function fillIn(html, parts) {
  for (const [name, text] of Object.entries(parts)) {
    const mark = `<!-- ${name} -->`;
    if (!html.includes(mark)) throw new Error(`index.html has no place for ${name}`);
    html = html.replace(mark, () => text);
  }
  return html;
}

async function page(pseudo) {
  const [script, style] = await Promise.all([bundledScript(pseudo), bundledStyle()]);
  const icon = encodeURIComponent(dense(source('../app/vorda.svg')));
  const html = fillIn(source('index.html').replace(/\n\s*/g, '\n'), {
    policy: `<meta http-equiv="Content-Security-Policy" content="${policy(script, style)}">`,
    icon: `<link rel="icon" href="data:image/svg+xml,${icon}">`,
    style: `<style>${style}</style>`,
    sprite: dense(source('sprite.svg')),
    script: `<script>${script}</script>`,
  });
  const bytes = Buffer.byteLength(html);
  const gzipped = gzipSync(html, { level: 9 }).length;
  if (!pseudo && (bytes > MOST_BYTES || gzipped > MOST_GZIPPED)) {
    throw new Error(`the page is too big: ${bytes} bytes, ${gzipped} gzipped; allowed are ${MOST_BYTES} and ${MOST_GZIPPED}`);
  }
  return { html, bytes, gzipped };
}

const [output, option] = process.argv.slice(2);
if (!output) {
  console.error('usage: node build.mjs OUTPUT [--pseudo]');
  process.exit(2);
}
try {
  const { html, bytes, gzipped } = await page(option === '--pseudo');
  fs.mkdirSync(path.dirname(path.resolve(output)), { recursive: true });
  fs.writeFileSync(output, html);
  console.log(`${path.basename(output)}: ${bytes} bytes, ${gzipped} gzipped`);
} catch (error) {
  console.error(error.message);
  process.exit(1);
}
