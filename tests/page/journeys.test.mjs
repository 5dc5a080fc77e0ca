// A first scan from start to end, and the page inside a frame.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import http from 'node:http';
import { test } from 'node:test';
import { lastFirst } from '../system/support/ends.mjs';
import { becomes, goTo, openTab, requestsOf } from './support/browser.mjs';
import { serve } from '../system/support/server.mjs';
import { makeFiles, readCsv, scratch, winPath } from '../system/support/vorda.mjs';

const MiB = 2 ** 20;

test('a first scan in overview, export, tree and map', async (t) => {
  const folder = scratch(t);
  makeFiles(folder, { 'films/a.mkv': 300 * MiB, 'films/b.txt': 'b', 'small/c.txt': 'c', 'd.iso': 70 * MiB });
  const { base } = await serve(t);
  const tab = await openTab(t);
  await tab.goto(base);
  await tab.getByLabel('Path of a folder').fill(winPath(folder));
  await tab.getByRole('button', { name: 'Scan folder' }).click();
  await tab.getByRole('heading', { name: 'Overview' }).waitFor();
  assert.match(await tab.locator('.answer').innerText(), /Most of the space is in films: 300 MB, 81% of what was scanned\./);
  await becomes(() => new URL(tab.url()).hash, '#overview');

  const [download] = await Promise.all([tab.waitForEvent('download'), tab.getByRole('link', { name: 'Large files (CSV)' }).click()]);
  assert.deepEqual(readCsv(fs.readFileSync(await download.path())).rows.map((row) => row[1]), [String(300 * MiB), String(70 * MiB)]);

  await goTo(tab, 'explorer', 'Folders');
  const tree = tab.getByRole('treegrid');
  await tree.focus();
  for (const key of ['ArrowDown', 'ArrowRight', 'ArrowRight']) await tab.keyboard.press(key);
  await tab.getByRole('row', { name: 'a.mkv' }).waitFor();
  const active = () => tab.evaluate(() => document.getElementById(document.querySelector('[role=treegrid]').getAttribute('aria-activedescendant'))?.getAttribute('aria-level'));
  await becomes(active, '3');
  await tab.keyboard.press('ArrowLeft');
  await becomes(active, '2');
  await tab.keyboard.press('Enter');
  await becomes(() => tab.getByRole('row', { name: 'a.mkv' }).count(), 0, 'closed');
  await tab.keyboard.press('Control+m');
  await tab.getByRole('listbox', { name: /Size map of .*films/ }).waitFor();
  await tab.goBack();
  await tab.goBack();
  await tab.getByRole('heading', { name: 'Overview' }).waitFor();
});

test('inside a frame the page only says so', async (t) => {
  const { base } = await serve(t);
  const outer = http.createServer((_, response) => response.setHeader('Content-Type', 'text/html').end(`<iframe src="${base}/" width=600 height=300></iframe>`));
  await new Promise((resolve) => outer.listen(0, '127.0.0.1', resolve));
  lastFirst(t).after(() => outer.close());
  const tab = await openTab(t, { expected: /asked elsewhere/ });
  const asked = requestsOf(tab, '/api/hello');
  await tab.goto(`http://127.0.0.1:${outer.address().port}/`);
  await tab.frameLocator('iframe').getByText('Vorda does not run inside another page.').waitFor();
  assert.equal(asked.length, 0);
});
