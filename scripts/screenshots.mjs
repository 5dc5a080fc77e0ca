// Takes the screenshots in docs/screenshots: every section in both appearances, on an invented drive.
// scripts/screenshots runs this file.
import fs from 'node:fs';
import path from 'node:path';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';
import { settled } from '../tests/page/support/settled.mjs';
import { serve, until } from '../tests/system/support/server.mjs';
import { confinedWine, makeFiles, scratch } from '../tests/system/support/vorda.mjs';

const MiB = 2 ** 20;
const GiB = 2 ** 30;
const photos = Object.fromEntries(Array.from({ length: 300 }, (_, i) => [`Users/anna/Pictures/20${10 + (i % 15)}/DSC_${4000 + i}.NEF`, (20 + (i % 60)) * MiB]));
const files = {
  ...photos,
  'Users/anna/Downloads/windows_11.iso': 6.2 * GiB, 'Users/anna/Downloads/archive 2019.zip': 3.4 * GiB, 'Users/anna/Downloads/setup.exe': 240 * MiB,
  'Users/anna/Videos/Norway/GOPR0042.MP4': 4.1 * GiB, 'Users/anna/Videos/Norway/GOPR0043.MP4': 3.9 * GiB, 'Users/anna/Videos/Wedding.mkv': 7.7 * GiB,
  'Users/anna/AppData/Local/Temp/install.tmp': 1.5 * GiB, 'Users/anna/AppData/Local/Browser/Cache/data_3': 2.6 * GiB,
  'Users/anna/Documents/thesis.docx': 90 * MiB, 'Users/anna/projects/web/node_modules/x.bin': 700 * MiB, 'Windows/Temp/setup.log': 900 * MiB,
  'Games/world.pak': 12 * GiB, 'Backup/windows_11.iso': 6.2 * GiB, 'Virtual machines/debian.vhdx': 22 * GiB, 'readme.txt': 1200,
  'Backup/report.pdf': 'report'.repeat(MiB), 'Users/anna/Documents/report.pdf': 'report'.repeat(MiB), 'Users/anna/Documents/report (2).pdf': 'report'.repeat(MiB),
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

const PREPARE = { explorer: opened, find: searched, across: comparedDuplicates };

async function main() {
  const disk = scratch(t);
  makeFiles(disk, Object.fromEntries(Object.entries(files).map(([name, content]) => [name, typeof content === 'number' ? Math.floor(content) : content])));
  const long = new Date('2019-03-04');
  for (const name of ['Users/anna/Downloads/archive 2019.zip', 'Users/anna/Videos/Wedding.mkv', 'Virtual machines/debian.vhdx']) fs.utimesSync(path.join(disk, name), long, long);
  const wine = await confinedWine(t);
  fs.symlinkSync(disk, path.join(wine.env.VORDA_WINEPREFIX, 'dosdevices/d:'));
  const server = await serve(t, [], { env: wine.env });
  await server.post('/api/scan', { path: 'D:\\', kind: 'drive', label: 'Data (D:)' });
  await until(async () => (await server.json('/api/jobs')).body[0].state === 'done', 'the scan');
  const browser = await chromium.launch({ executablePath: '/usr/bin/chromium', args: ['--no-sandbox', '--disable-gpu', '--no-proxy-server'] });
  t.after(() => browser.close());
  fs.mkdirSync(out, { recursive: true });
  for (const colorScheme of ['light', 'dark']) {
    const context = await browser.newContext({ viewport: { width: 1120, height: 700 }, colorScheme, locale: 'en-GB', reducedMotion: 'reduce' });
    // The files are sparse and larger than the real disk, so the disk's figures are replaced.
    const disks = { volumeSize: 119 * GiB, volumeFree: 14 * GiB, size: 119 * GiB, free: 14 * GiB };
    await context.route(/\/api\/(result|targets)/, async (route) => {
      const answer = await (await route.fetch()).text();
      await route.fulfill({ contentType: 'application/json', body: answer.replace(/"(volumeSize|volumeFree|size|free)":\d+/g, (_, name) => `"${name}":${disks[name]}`) });
    });
    for (const section of ['overview', 'explorer', 'advice', 'types', 'map', 'find', 'across', 'picker']) {
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
