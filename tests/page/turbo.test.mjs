// The page on a real NTFS volume that turbo has read: bytes on disk, what comes back, the account that adds up.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { becomes, folders, goTo, openTab, row, rowsOf, says } from './support/browser.mjs';
import { needs } from '../system/support/home.mjs';
import { lastFirst } from '../system/support/ends.mjs';
import { makeNtfsImage, mount } from '../system/support/ntfs_image.mjs';
import { serve } from '../system/support/server.mjs';
import { ownWine, scratch } from '../system/support/vorda.mjs';

test('a volume that turbo has read', needs('prefixes', 'ntfsImage'), async (t) => {
  const folder = scratch(t);
  const [image, mounted] = [`${folder}/volume.img`, `${folder}/mounted`];
  await makeNtfsImage(image, mounted);
  lastFirst(t).after(await mount(image, mounted, 'ro'));
  const server = await serve(t, [], await ownWine(t, { 't:': mounted, 't::': image }));
  assert.equal((await server.scan('T:\\', { kind: 'drive', label: 'T:\\' })).method, 'mft');
  const tab = await openTab(t, { measure: null });
  await tab.goto(`${server.base}/#overview`);
  await says(tab, 'What the used space consists of');
  const account = await tab.locator('section.panel', { has: tab.locator('.account-rows') }).innerText();
  assert.match(account, /17\.0 MB used[^]*Further streams of files\s+32\.0 KB[^]*Not explained\s+0 B/);
  await goTo(tab, 'types', 'Types');
  await becomes(async () => (await rowsOf(tab.getByRole('grid', { name: 'Types' }))).find(([type]) => type === '.iso')?.slice(0, 2), ['.iso', '28.0 KB']);
  const table = await folders(tab);
  const shown = async (...names) => (await rowsOf(table)).filter(([, name]) => names.includes(name)).map(([, name, figure]) => [name, figure]);
  await becomes(() => shown('T:\\', 'links', 'Users'), [['T:\\', '17.0 MB'], ['links', '28.0 KB'], ['Users', '4.00 KB']]);
  await row(table, 'three.txt').click();
  await says(tab.getByRole('complementary'), 'links\\other\\two.dat');
  await tab.getByLabel('What sizes mean').selectOption('Size');
  await becomes(() => shown('links', 'Users'), [['Users', '3.00 GB'], ['links', '4.88 KB']]);
  await tab.reload();
  await becomes(() => tab.getByLabel('What sizes mean').inputValue(), 's');
});
