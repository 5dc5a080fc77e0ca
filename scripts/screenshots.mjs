// Takes the screenshots in docs/screenshots: every section in both appearances, on an invented drive.
// scripts/screenshots runs this file.
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';
import { lastChanged, realisticDisk } from './screenshots-disk.mjs';
import { settled } from '../tests/page/support/settled.mjs';
import { serve, until } from '../tests/system/support/server.mjs';
import { confinedWine, makeFiles, scratch } from '../tests/system/support/vorda.mjs';

const GiB = 2 ** 30;
const same = 'report'.repeat(2 ** 20);
const files = {
  ...realisticDisk(), 'Backup/report.pdf': same, 'Users/Anna/Documents/report.pdf': same, 'Users/Anna/Documents/report (2).pdf': same,
};

const ends = [];
const t = { after: (end) => ends.unshift(end) };
const out = fileURLToPath(new URL('../docs/screenshots', import.meta.url));

async function searched(page) {
  await page.getByLabel('Extensions').fill('.nef .mp4 .iso');
  await page.keyboard.press('Enter');
  await page.getByRole('grid').waitFor();
}

async function comparedDuplicates(page) {
  await page.getByLabel('Extensions').fill('.pdf');
  await page.getByRole('button', { name: 'Search for duplicates' }).click();
  await page.getByRole('grid').waitFor();
  await page.getByRole('button', { name: 'Select the others' }).click();
}

async function opened(page) {
  await page.getByRole('treegrid').focus();
  for (const key of ['ArrowDown', 'ArrowRight', 'ArrowRight', 'ArrowRight', 'ArrowRight', 'ArrowRight', ' ']) {
    await page.keyboard.press(key);
    await settled(page);
  }
}

// The map looks into folders until all are there, and is drawn again a moment after the last.
async function looked(page) {
  for (let asked = true; asked;) {
    asked = await page.waitForRequest(/\/api\/(dirs|files)/, { timeout: 3000 }).then(() => true, () => false);
  }
}

const PREPARE = { explorer: opened, map: looked, find: searched, across: comparedDuplicates };

async function main() {
  const disk = scratch(t);
  makeFiles(disk, files);
  for (const name of Object.keys(files)) {
    const changed = lastChanged(name);
    if (changed) fs.utimesSync(path.join(disk, name), changed, changed);
  }
  const wine = await confinedWine(t);
  fs.symlinkSync(disk, path.join(wine.env.VORDA_WINEPREFIX, 'dosdevices/d:'));
  const server = await serve(t, [], { env: wine.env });
  await server.post('/api/scan', { path: 'D:\\', kind: 'drive', label: 'Data (D:)' });
  await until(async () => (await server.json('/api/jobs')).body[0].state === 'done', 'the scan');
  const browser = await chromium.launch({ executablePath: '/usr/bin/chromium', args: ['--no-sandbox', '--disable-gpu', '--no-proxy-server'] });
  t.after(() => browser.close());
  fs.mkdirSync(out, { recursive: true });
  for (const colorScheme of ['light', 'dark']) {
    const context = await browser.newContext({ viewport: { width: 1440, height: 900 }, colorScheme, locale: 'en-GB', reducedMotion: 'reduce' });
    // The invented files are nearly all holes.
    await context.addInitScript(() => localStorage.setItem('vorda-measure', 's'));
    // The files are sparse and larger than the real disk, so the disk's figures are replaced.
    const disks = { volumeSize: 593 * GiB, volumeFree: 38 * GiB, size: 593 * GiB, free: 38 * GiB };
    await context.route(/\/api\/(result|targets)/, async (route) => {
      const answer = await (await route.fetch()).text();
      await route.fulfill({ contentType: 'application/json', body: answer.replace(/"(volumeSize|volumeFree|size|free)":\d+/g, (_, name) => `"${name}":${disks[name]}`) });
    });
    for (const section of ['overview', 'explorer', 'advice', 'types', 'largest', 'map', 'find', 'across', 'picker']) {
      const page = await context.newPage();
      await page.goto(`${server.base}/#${section}`);
      await page.locator('main h1').waitFor();
      await settled(page);
      await PREPARE[section]?.(page);
      await settled(page);
      await page.screenshot({ path: path.join(out, `${section}-${colorScheme}.png`) });
      await page.close();
    }
  }
}

try {
  await main();
} finally {
  for (const end of ends) await end();
}
