// Qualities of the whole page: small, accessible, fits every screen, fully translated, usable with the
// keyboard alone. All tests but the last ones look at the same finished scans and change nothing.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import fs from 'node:fs';
import { createRequire } from 'node:module';
import { after, describe, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { gzipSync } from 'node:zlib';
import { altered, MiB, openTab, settled } from './support/browser.mjs';
import { needs } from '../system/support/home.mjs';
import { serve, until } from '../system/support/server.mjs';
import { makeFiles, ownWine, scratch, winPath } from '../system/support/vorda.mjs';

const repo = fileURLToPath(new URL('../..', import.meta.url));
const axe = fs.readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8');
const here = { after };

const folder = scratch(here);
const twice = 'copy'.repeat(MiB);
makeFiles(folder, {
  'Films/Norway/a.mkv': 3000 * MiB, 'Films/b.mp4': 900 * MiB, 'Photos/old.raw': 1200 * MiB, 'Windows/Temp/setup.log': 1200 * MiB,
  'Users/anna/Downloads/setup.iso': 2500 * MiB, 'Users/anna/AppData/Local/Temp/t.tmp': 600 * MiB, 'node_modules/x.bin': 1500 * MiB,
  'pagefile.sys': 4000 * MiB, 'Copies/one.dat': twice, 'Copies/two.dat': twice, 'Copies/three.dat': twice, 'Photos/notes.txt': 'n',
});
fs.utimesSync(`${folder}/Photos/old.raw`, new Date('2017-05-04'), new Date('2017-05-04'));
const wine = await ownWine(here, { 'd:': folder });
const server = await serve(here, [], wine);
// A failed scan is shown in the header and among the targets.
await server.post('/api/scan', { path: 'D:\\nowhere', kind: 'folder', label: 'D:\\nowhere' });
const { id: ids } = await server.scan('D:\\', { kind: 'drive', label: 'Data (D:)' });
const finished = (path, fields) => server.post(path, fields).then(() => until(async () => !(await server.json(path)).body.running, path));
await finished('/api/findfiles', { ids, exts: '.mkv .mp4 .raw .iso .dat', names: '', min: '0', sort: 'size' });
await finished('/api/dupsacross', { ids, exts: '.dat', names: '', min: '1' });

// A tab whose program lacks rights and, with `beyondBin`, can't put everything into the bin: some texts are
// only shown then.
async function open(t, { address = '/#overview', stored = {}, html = null, beyondBin = false, ...options } = {}) {
  const tab = await openTab(t, options);
  await tab.addInitScript((values) => Object.assign(localStorage, values), stored);
  if (html) await tab.route(`${server.base}/`, (route) => route.fulfill({ contentType: 'text/html; charset=utf-8', body: html }));
  await altered(tab, '/api/targets', (answer) => ({ ...answer, elevated: false }));
  if (beyondBin) await altered(tab, '/api/delete', (answer) => ({ ...answer, noBin: answer.wouldDelete.slice(0, 1), refused: [{ p: 'D:\\Windows', why: 'missing' }] }));
  await tab.goto(`${server.base}${address}`);
  await tab.locator('main h1').waitFor();
  return tab;
}

const goTo = async (tab, section) => {
  await tab.evaluate((wanted) => { location.hash = wanted; }, section);
  await tab.locator(`.nav a[href="#${section}"][aria-current=page]`).waitFor({ state: 'attached' });
  await settled(tab);
};
const pressed = async (tab, place, ...keys) => {
  await tab.locator(place).first().focus();
  for (const key of keys) await tab.keyboard.press(key);
  await settled(tab);
};
const inSection = (section, place, ...keys) => async (tab) => {
  await goTo(tab, section);
  await pressed(tab, place, ...keys);
};
const clicked = async (tab, place) => {
  await tab.locator(place).first().click();
  await tab.locator('dialog[open] .ends .button').first().waitFor();
  await settled(tab);
};

// Every section and dialog by name, with the way to open it in any language.
const SCENES = {
  overview: (tab) => goTo(tab, 'overview'),
  'empty bin': (tab) => clicked(tab, '.panel .button:has([href="#i-broom"])'),
  advice: (tab) => goTo(tab, 'advice'),
  cleaning: (tab) => clicked(tab, '.finding:has(#finding-tempfiles) .button:has([href="#i-broom"])'),
  types: inSection('types', 'main .table', 'ArrowDown', 'Enter'),
  largest: inSection('largest', 'main .table', 'ArrowDown', ' '),
  'a menu': async (tab) => {
    await pressed(tab, 'main .table', 'Shift+F10');
    await tab.locator('.menu button').first().waitFor();
  },
  columns: async (tab) => {
    await tab.keyboard.press('Escape');
    await tab.locator('main .button:has([href="#i-columns"])').first().click();
    await tab.locator('.menu button').first().waitFor();
  },
  keys: async (tab) => {
    await tab.keyboard.press('Escape');
    await tab.keyboard.press('?');
    await tab.locator('dialog[open]').waitFor();
  },
  map: inSection('map', '.map .options', 'ArrowRight', 'ArrowRight'),
  find: inSection('find', 'main .table', ' ', 'Shift+ArrowDown'),
  across: async (tab) => {
    await goTo(tab, 'across');
    await tab.locator('.keep .button').click();
    await pressed(tab, 'main .table', 'ArrowDown');
  },
  picker: async (tab) => {
    await goTo(tab, 'picker');
    await tab.locator('main .button:has([href="#i-folder"])').click();
    await tab.locator('.browser button').first().waitFor();
  },
  explorer: inSection('explorer', 'main .table', 'ArrowDown', 'ArrowRight', 'ArrowDown', ' ', 'ArrowDown', ' '),
  deletion: async (tab) => {
    await tab.locator('.selection-bar .danger').click();
    await tab.locator('dialog [value=forgood]').check();
    await tab.locator('dialog .notice').waitFor();
  },
  more: async (tab) => {
    const button = '.nav .more-only button';
    if (!(await tab.locator(button).isVisible())) await tab.setViewportSize({ width: 500, height: 900 });
    await clicked(tab, button);
  },
  about: (tab) => clicked(tab, 'dialog .button:has([href="#i-info"])'),
};

async function eachScene(tab, look) {
  const size = tab.viewportSize();
  for (const [name, show] of Object.entries(SCENES)) {
    await show(tab);
    await look(name);
    if (name === 'more') continue; // leads to the next
    if (await tab.locator('dialog[open]').count()) await tab.keyboard.press('Escape');
  }
  await tab.setViewportSize(size);
}

test('the page is small', needs('drives'), async () => {
  const sent = Buffer.from(await (await fetch(`${server.base}/`)).arrayBuffer());
  const sizes = [sent.length, gzipSync(sent, { level: 9 }).length];
  assert.ok(sizes[0] <= 340_000 && sizes[1] <= 100_000, sizes.join());
});

const side = { concurrency: 2 };
describe('accessible, and no text lacks anything: every section and dialog, light and dark', side, () => ['en', 'nl', 'fr', 'es', 'pt'].forEach((lang) => {
  test(`in ${lang}`, needs('drives'), async (t) => {
    const tab = await open(t, { bypassCSP: true, beyondBin: true, stored: { 'vorda-lang': lang } });
    await tab.evaluate(axe);
    const looked = [];
    await eachScene(tab, async (name) => {
      assert.doesNotMatch(await tab.locator('body').innerText(), /\{\w+\}|undefined|NaN|\b(?:ov|ex|dt|ty|ad|fi|ac|del|st|sec)[A-Z]\w+/, name);
      for (const theme of ['light', 'dark']) {
        const found = await tab.evaluate(async (wanted) => {
          document.documentElement.dataset.theme = wanted;
          // The dark appearance differs from the light one only in its colours.
          const rules = wanted === 'dark' ? { runOnly: ['color-contrast', 'link-in-text-block'] } : {};
          const { violations, passes } = await window.axe.run({ resultTypes: ['violations'], ...rules });
          if (!passes.some((rule) => rule.id === 'color-contrast')) return ['contrast was not checked'];
          return violations.flatMap(({ id, nodes }) => nodes.map((node) => `${id}: ${node.html.slice(0, 200)} ${node.failureSummary}`));
        }, theme);
        assert.deepEqual(found, [], `${name}, ${theme}`);
        looked.push(name);
      }
    });
    assert.equal(looked.length, 2 * Object.keys(SCENES).length);
  });
}));

// What does not fit: horizontal scrolling outside of tables, and texts of the page that are cut off or
// overflow their box. Names and paths may be truncated.
const misfits = (tab) => tab.evaluate(() => {
  const found = [];
  const root = document.documentElement;
  if (root.scrollWidth > innerWidth) found.push(`the page is ${root.scrollWidth} wide in ${innerWidth}`);
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  const range = document.createRange();
  for (let node = walker.nextNode(); node; node = walker.nextNode()) {
    const at = node.parentElement;
    if (!node.data.trim() || at.closest('bdi, .trow, .heard, .chips, script, style, .skip, [aria-hidden=true], option') || !at.checkVisibility({ visibilityProperty: true })) continue;
    range.selectNodeContents(node);
    const text = range.getBoundingClientRect();
    if (text.width === 0 || getComputedStyle(at).clipPath !== 'none') continue;
    for (let box = at; box && box !== document.body; box = box.parentElement) {
      const { overflowX, display } = getComputedStyle(box);
      if (display === 'inline' || display === 'contents') continue;
      const { left, right } = box.getBoundingClientRect();
      if (text.left < left - 1 || text.right > right + 1) {
        found.push(`"${node.data.slice(0, 60)}" beyond ${box.tagName}.${box.className} by ${Math.max(left - text.left, text.right - right).toFixed(1)} in ${box.parentElement.className || box.parentElement.id} ${box.outerHTML.slice(0, 120)}`);
        break;
      }
      if (overflowX !== 'visible' && (box === at || box.matches('button'))) break;
    }
  }
  for (const one of document.querySelectorAll('#app *, dialog *')) {
    const { overflowX } = getComputedStyle(one);
    if (/auto|scroll/.test(overflowX) && one.scrollWidth > one.clientWidth + 1 && !one.closest('.table, .chips')) found.push(`${one.tagName}.${one.className} scrolls sideways`);
  }
  return found;
});

const SIZES = {
  'a small phone': { viewport: { width: 360, height: 740 }, hasTouch: true },
  'a 4K screen': { viewport: { width: 3840, height: 2160 } },
  'zoomed in to 320 pixels': { viewport: { width: 320, height: 512 } },
  'text twice as large': { viewport: { width: 1280, height: 900 }, enlarged: true },
};
describe('fits', side, () => Object.entries(SIZES).forEach(([name, { enlarged, ...options }]) => {
  test(name, needs('drives'), async (t) => {
    const tab = await open(t, { ...options, beyondBin: true, stored: { 'vorda-lang': 'fr' } });
    if (enlarged) await tab.evaluate(() => { document.documentElement.style.fontSize = '200%'; });
    const found = [];
    await eachScene(tab, async (scene) => found.push(...(await misfits(tab)).map((one) => `${scene}: ${one}`)));
    assert.deepEqual(found, []);
  });
}));

test('nothing that is shown already moves while a section loads', needs('drives'), async (t) => {
  for (const section of ['overview', 'explorer', 'advice', 'types', 'map', 'picker']) {
    const tab = await openTab(t, { viewport: { width: 1440, height: 900 }, measure: null });
    await tab.addInitScript(() => {
      window.moved = [];
      const note = ({ value, sources }) => window.moved.push([value, ...sources.map(({ node, previousRect: a, currentRect: b }) => `${node?.className} ${node?.textContent?.slice(0, 40)}: ${[a.x, a.y, a.width, a.height]} to ${[b.x, b.y, b.width, b.height]}`)]);
      new PerformanceObserver((list) => list.getEntries().forEach(note)).observe({ type: 'layout-shift', buffered: true });
    });
    await tab.goto(`${server.base}/#${section}`);
    await tab.locator('main h1').waitFor();
    await tab.waitForLoadState('networkidle');
    await settled(tab);
    assert.deepEqual(await tab.evaluate(() => window.moved), [], section);
  }
});

// The colours in the middle of elements, as they are painted. In one picture: meanwhile they may be drawn again.
async function paintedColours(tab, elements) {
  const middles = await elements.evaluateAll((all) => {
    all[0].scrollIntoView({ block: 'center' });
    return all.map((one) => {
      const box = one.getBoundingClientRect();
      return [box.x + box.width / 2, box.y + box.height / 2];
    });
  });
  const picture = (await tab.screenshot()).toString('base64');
  return tab.evaluate(async ([data, places]) => {
    const image = new Image();
    image.src = `data:image/png;base64,${data}`;
    await image.decode();
    const pen = Object.assign(document.createElement('canvas'), { width: image.width, height: image.height }).getContext('2d');
    pen.drawImage(image, 0, 0);
    return places.map(([x, y]) => pen.getImageData(x, y, 1, 1).data.join());
  }, [picture, middles]);
}

test('with forced colours legends keep theirs, and what is current is outlined', needs('drives'), async (t) => {
  const tab = await open(t, { forcedColors: 'active' });
  for (const [section, legend] of [['overview', '.legend'], ['overview', '.account-rows'], ['map', '.map-legend']]) {
    await goTo(tab, section);
    const keys = tab.locator(`${legend} .key:not(.none)`);
    await keys.first().waitFor();
    await tab.waitForLoadState('networkidle');
    await settled(tab);
    const colours = await paintedColours(tab, keys);
    assert.ok(colours.length > 1 && new Set(colours).size === colours.length, `${legend}: ${colours.join(' ')}`);
  }
  const outlines = await tab.locator('.chip.current, .nav a[aria-current]').evaluateAll((all) => all.map((one) => getComputedStyle(one).outlineStyle));
  assert.ok(outlines.length >= 2 && outlines.every((style) => style === 'solid'), outlines.join());
});

test('every text is translated, and longer ones fit', needs('drives', 'esbuild'), async (t) => {
  const file = `${scratch(t)}/page.html`;
  execFileSync(process.execPath, [`${repo}/src/page/build.mjs`, file, '--pseudo']);
  const html = fs.readFileSync(file, 'utf8');
  const found = new Set();
  for (const width of [1280, 700, 360]) {
    const tab = await open(t, { html, beyondBin: true, viewport: { width, height: 800 } });
    await eachScene(tab, async (scene) => {
      const left = await tab.evaluate(() => {
        const texts = [];
        for (const one of document.body.querySelectorAll('*')) {
          for (const name of ['aria-label', 'title', 'placeholder', 'aria-valuetext']) texts.push(one.getAttribute(name) ?? '');
          if (!one.closest('bdi, kbd, script, style, noscript, option[lang], .brand, .machine')) texts.push([...one.childNodes].map((node) => (node instanceof Text ? node.data : '')).join(''));
        }
        // Marked texts may be nested; names, paths and figures are not translated.
        return texts.map((text) => {
          for (let before = ''; before !== text;) [before, text] = [text, text.replace(/\[[^[\]]*\]/g, '')];
          return text.replace(/\b[A-Z]:(\\.*)?/g, '').replace(/\b([KMGT]?B|Data|NTFS)\b/g, '');
        }).filter((text) => /\p{L}{2}/u.test(text));
      });
      for (const one of left) found.add(`untranslated in ${scene}: ${one}`);
      for (const one of await misfits(tab)) found.add(`${width} wide, ${scene}: ${one}`);
    });
  }
  assert.deepEqual([...found], []);
});

// Works the keyboard. After every key something has the focus, is in view, and shows that it has it.
function keyboard(tab) {
  const look = () => tab.evaluate(() => {
    const at = document.activeElement;
    const { id } = document.getElementById(at.getAttribute('aria-activedescendant')) ?? {};
    const seen = id && at.matches('.table') ? document.getElementById(id) : at.matches('.options') ? document.querySelector('.ring:not([hidden])') ?? at : at;
    const { outlineStyle, outlineWidth, borderTopWidth } = getComputedStyle(seen);
    const box = seen.getBoundingClientRect();
    const x = Math.max(box.left + 1, Math.min(box.left + box.width / 2, innerWidth - 2));
    const y = Math.max(box.top + 1, Math.min(box.top + box.height / 2, innerHeight - 2));
    const above = document.elementFromPoint(x, y);
    const shown = box.width > 0 && box.bottom > 0 && box.top < innerHeight && (seen.contains(above) || above?.contains(seen) || seen.matches('.ring'));
    const ring = (outlineStyle !== 'none' && parseFloat(outlineWidth) >= 2) || (seen.matches('.ring') && parseFloat(borderTopWidth) >= 2);
    const label = at.labels?.[0]?.innerText ?? '';
    return { name: `${at.getAttribute('aria-label') ?? (label || at.innerText || at.value || '')}`.trim(), kind: at.getAttribute('role') ?? at.tagName.toLowerCase(), heading: /^h[12]$/i.test(at.tagName), shown, ring };
  });
  const good = ({ kind, shown, ring, heading }) => kind !== 'body' && shown && (ring || heading);
  // What a key changed may be drawn, and take the focus, only when answers are there: looked at until it is good.
  const goodAfter = async (key) => {
    let now = await look();
    for (const end = Date.now() + 20_000; !good(now) && Date.now() < end; now = await look()) await settled(tab);
    assert.ok(good(now), `after ${key}: ${JSON.stringify(now).slice(0, 300)}`);
  };
  const press = async (...keys) => {
    for (const key of keys) {
      await tab.keyboard.press(key);
      await settled(tab);
      // The browser's own controls come between the last and the first one.
      if (key.endsWith('Tab') && (await look()).kind === 'body') await tab.keyboard.press(key);
      await goodAfter(key);
    }
  };
  // Presses Tab until the wanted control has the focus.
  const to = async (kind, name, key = 'Tab') => {
    const met = [];
    for (let step = 0; step < 70; ++step) {
      const now = await look();
      if (now.kind === kind && name.test(now.name)) return;
      met.push(`${now.kind} ${now.name}`);
      await press(key);
    }
    assert.fail(`${key} never reaches ${kind} ${name}: ${met.join(' | ')}`);
  };
  const heading = (name, level = 1) => tab.getByRole('heading', { level, name }).waitFor();
  const section = async (name, title) => {
    await to('a', name);
    await press('Enter');
    await heading(title);
  };
  return { press, to, section, heading };
}

test('by keyboard alone: scan, map, explorer, moving to the bin', needs('drives', 'prefixes'), async (t) => {
  const place = scratch(t);
  const data = scratch(t);
  makeFiles(place, { 'a/in/big.bin': 200 * MiB, 'a/c.bin': 90 * MiB, 'b/other.bin': 100 * MiB });
  const { base } = await serve(t, [], { env: { ...wine.env, VORDA_XDG_DATA_HOME: data } });
  const tab = await openTab(t);
  await tab.goto(base);
  await tab.locator('main h1').waitFor();
  const { press, to, section, heading } = keyboard(tab);
  await to('input', /^Path of a folder/);
  await tab.keyboard.type(winPath(place));
  await tab.keyboard.press('Enter');
  await heading('Overview');
  await section(/^Map/, 'Map');
  await to('listbox', /^Size map/);
  await press('ArrowRight', 'Enter');
  await tab.getByRole('listbox', { name: /\\a$/ }).waitFor();
  await press('ArrowDown', 'Backspace');
  await tab.getByRole('listbox', { name: /[^\\]{3}$/ }).waitFor();
  await section(/^Folders/, 'Folders');
  await to('treegrid', /./);
  await press('ArrowDown', 'ArrowRight', 'ArrowRight', 'ArrowLeft', 'End', 'Home', 'ArrowDown', ' ');
  await to('button', /^Delete selected/, 'Shift+Tab');
  await press('Enter');
  await tab.getByText('1 item will be deleted').waitFor();
  await to('button', /^Move 1 item/);
  await press('Enter');
  await tab.getByRole('button', { name: 'Close', exact: true }).waitFor();
  await press('Enter', 'ArrowDown');
  assert.deepEqual([fs.readdirSync(place), fs.readdirSync(`${data}/Trash/files`)], [['b'], ['a']]);
});
