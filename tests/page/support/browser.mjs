// Runs the page of the real program in Debian's chromium, on Windows in Edge, or in the chromium whose
// debugging port VORDA_CHROMIUM names. Any error on the console, including policy
// violations, fails the test that opened the tab.
import assert from 'node:assert/strict';
import { after } from 'node:test';
import { isDeepStrictEqual } from 'node:util';
import { chromium } from 'playwright-core';
import { lastFirst } from '../../system/support/ends.mjs';
import { BROWSER_ARGUMENTS, home } from '../../system/support/home.mjs';
import { serve } from '../../system/support/server.mjs';
import { makeFiles, scratch, winPath } from '../../system/support/vorda.mjs';

export { settled } from './settled.mjs';
export const MiB = 2 ** 20;

let launched = null;
const place = home === 'windows' ? { channel: 'msedge' } : { executablePath: '/usr/bin/chromium' };
const attached = process.env.VORDA_CHROMIUM;
const browser = () => (launched ??= attached ? chromium.connectOverCDP(attached) : chromium.launch({ ...place, args: BROWSER_ARGUMENTS }));
after(async () => (await launched)?.close());

// A tab in a profile of its own; further tabs of the same user come from its context. `expected` matches
// the complaints that the test provokes. Requests to other servers than the first one are complaints too.
// Most tests have files with holes, so that they are large but take no space: what they look at are sizes,
// unless `measure` is what the page itself chooses (null) or another one.
export async function openTab(t, { expected = null, measure = 's', ...options } = {}) {
  const context = await (await browser()).newContext({ viewport: { width: 1280, height: 900 }, locale: 'en-GB', reducedMotion: 'reduce', ...options });
  context.setDefaultTimeout(20_000);
  if (measure) {
    await context.addInitScript((chosen) => {
      try {
        localStorage['vorda-measure'] ??= chosen;
      } catch {
        // Blank and foreign pages have no storage.
      }
    }, measure);
  }
  await context.addInitScript(() => addEventListener('securitypolicyviolation', (event) => console.error(`policy: ${event.violatedDirective}`)));
  const complaints = [];
  const complain = (text) => {
    if (!expected?.test(text)) complaints.push(text);
  };
  let home = null;
  context.on('weberror', (error) => complain(error.error().stack));
  context.on('console', (message) => {
    // A test's server may end before its tab; requests that fail because of that are not the page's fault.
    if (message.type() === 'error' && !/ERR_CONNECTION|ERR_EMPTY_RESPONSE/.test(message.text())) complain(message.text());
  });
  context.on('request', (request) => {
    const { origin, protocol } = new URL(request.url());
    home ??= origin;
    if (origin !== home && protocol !== 'data:') complain(`asked elsewhere: ${request.url()}`);
  });
  const tab = await context.newPage();
  lastFirst(t).after(async () => {
    await context.close();
    assert.deepEqual(complaints, []);
  });
  return tab;
}

// The bodies of all requests that the tab sends to a path from now on.
export function requestsOf(tab, path) {
  const bodies = [];
  tab.on('request', (request) => {
    if (new URL(request.url()).pathname === path) bodies.push(new URLSearchParams(request.postData() ?? ''));
  });
  return bodies;
}

// Has the program's answers to requests for a path changed on their way to the tab.
export const altered = (tab, path, alter) => tab.route(`**${path}`, async (route) => {
  const response = await route.fetch();
  await route.fulfill({ response, json: alter(await response.json()) });
});

// The program on a folder with these files, and a tab that shows the finished scan's overview.
export async function scanned(t, files, { args, ...options } = {}) {
  const folder = scratch(t);
  makeFiles(folder, files);
  const server = await serve(t, args, { env: { VORDA_XDG_DATA_HOME: scratch(t) } });
  const tab = await openTab(t, options);
  const root = winPath(folder);
  await openScan(tab, server.base, root);
  return { folder, root, server, tab };
}

// Opens the address that scans a path, and waits for its overview.
export async function openScan(tab, base, path) {
  await tab.goto(`${base}/?scan=${encodeURIComponent(path)}`);
  await tab.getByRole('heading', { name: 'Overview' }).waitFor();
}

export const goTo = async (tab, section, title) => {
  await tab.locator(`.nav a[href="#${section}"]`).click();
  await tab.getByRole('heading', { level: 1, name: title }).waitFor();
};

// Finds the files with a name, or with an extension.
export async function find(tab, wanted, said) {
  await goTo(tab, 'find', 'Find files');
  await tab.getByLabel(wanted.startsWith('.') ? 'Extensions' : 'Name').fill(wanted);
  await tab.keyboard.press('Enter');
  await says(tab.getByRole('main'), said);
}

// Opens the tree and returns it.
export const folders = async (tab) => {
  await goTo(tab, 'explorer', 'Folders');
  return tab.getByRole('treegrid');
};

// Opens the dialog for the marked items and waits for the dry run.
export async function openDialog(tab, button = 'Delete selected') {
  await tab.getByRole('button', { name: button }).click();
  const dialog = tab.getByRole('dialog', { name: 'Delete' });
  await dialog.getByText(/will be deleted,|None of this/).waitFor();
  return dialog;
}

// Moves what the open dialog shows into the bin.
export async function toBin(tab) {
  const dialog = tab.getByRole('dialog', { name: 'Delete' });
  await dialog.getByRole('button', { name: /^Move/ }).click();
  await dialog.getByRole('button', { name: 'Close' }).click();
}

// Waits until `read` gives what is wanted, and says what it gave instead if it never does: what a click or
// key changes may be drawn, or take the focus, a moment after Playwright is done with it.
export async function becomes(read, wanted, message) {
  for (const end = Date.now() + 20_000; ; await new Promise((resolve) => setTimeout(resolve, 20))) {
    const now = await read();
    if (isDeepStrictEqual(now, wanted)) return;
    if (Date.now() > end) assert.deepEqual(now, wanted, message);
  }
}

// Waits until the text is there.
export const says = (place, words) => place.getByText(words).first().waitFor();

export const row = (table, name) => table.getByRole('row').filter({ hasText: name });

// Marks a row with its box.
export const mark = (table, name) => row(table, name).locator('.mark-cell').click();

// The texts of the cells of all rows in the document.
export const rowsOf = (table) => table.locator('.trow[aria-rowindex]').evaluateAll((rows) => rows
  .sort((a, b) => a.ariaRowIndex - b.ariaRowIndex).map((one) => [...one.children].map((cell) => cell.innerText.trim())));

// The paths of the rows that a dialog shows in one of its tables.
export const pathsIn = (dialog, name) => dialog.getByRole('grid', { name }).locator('.trow[title]').evaluateAll((rows) => rows
  .sort((a, b) => a.ariaRowIndex - b.ariaRowIndex).map((one) => one.title));
export const GOING = 'What will be deleted';

// Scans a path typed into the picker and waits for its overview.
export async function scan(tab, target) {
  await goTo(tab, 'picker', 'What do you want to scan?');
  await tab.getByLabel('Path of a folder').fill(target);
  await tab.getByRole('button', { name: 'Scan folder' }).click();
  await tab.getByRole('heading', { name: 'Overview' }).waitFor();
}
