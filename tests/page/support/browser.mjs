// Debian's chromium on the page of the real program. Whatever a page writes to its console as an
// error, policy violations among it, fails the test that opened it.
import assert from 'node:assert/strict';
import { after } from 'node:test';
import { chromium } from 'playwright-core';
import { serve } from '../../system/support/server.mjs';
import { makeFiles, scratch, winPath } from '../../system/support/vorda.mjs';

let launched = null;
const browser = () => (launched ??= chromium.launch({ executablePath: '/usr/bin/chromium', args: ['--no-sandbox', '--disable-gpu', '--no-proxy-server'] }));
after(async () => (await launched)?.close());

// A tab in a profile of its own. `expected` are complaints that the test provokes.
export async function openTab(t, { expected = null, ...options } = {}) {
  const context = await (await browser()).newContext({ viewport: { width: 1280, height: 900 }, locale: 'en-GB', reducedMotion: 'reduce', ...options });
  const tab = await context.newPage();
  tab.setDefaultTimeout(20_000);
  const complaints = [];
  tab.on('pageerror', (error) => complaints.push(error.stack));
  tab.on('console', (message) => {
    // The server of a test ends before its tab does; a request cut off by that is no fault of the page.
    if (message.type() === 'error' && !/ERR_CONNECTION/.test(message.text()) && !expected?.test(message.text())) complaints.push(message.text());
  });
  t.after(async () => {
    await context.close();
    assert.deepEqual(complaints, []);
  });
  return tab;
}

// The program on a folder with these files, and a tab that shows the finished scan's overview.
export async function scanned(t, files, { args, ...options } = {}) {
  const folder = scratch(t);
  makeFiles(folder, files);
  const server = await serve(t, args, { env: { VORDA_XDG_DATA_HOME: scratch(t) } });
  const tab = await openTab(t, options);
  const root = winPath(folder);
  await tab.goto(`${server.base}/?scan=${encodeURIComponent(root)}`);
  await tab.getByRole('heading', { name: 'Overview' }).waitFor();
  return { folder, root, server, tab };
}

export const goTo = async (tab, section, title) => {
  await tab.locator(`.nav a[href="#${section}"]`).click();
  await tab.getByRole('heading', { level: 1, name: title }).waitFor();
};

// Opens the dialog for what is marked and waits for what the program says about it.
export async function openDialog(tab, button = 'Delete marked') {
  await tab.getByRole('button', { name: button }).click();
  const dialog = tab.getByRole('dialog', { name: 'Delete' });
  await dialog.getByText(/would go|None of this/).waitFor();
  return dialog;
}
