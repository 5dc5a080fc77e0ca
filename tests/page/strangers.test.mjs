// What other web pages can make a running program do: nothing. And what a path in the address may do.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import http from 'node:http';
import { after, test } from 'node:test';
import { becomes, goTo, MiB, openTab, requestsOf, says } from './support/browser.mjs';
import { listen } from '../system/support/ends.mjs';
import { has, needs } from '../system/support/home.mjs';
import { serve, until } from '../system/support/server.mjs';
import { makeFiles, ownWine, scratch } from '../system/support/vorda.mjs';

const here = { after };
const folder = scratch(here);
makeFiles(folder, { 'd/films/a.mkv': 80 * MiB, 'share/b.iso': 70 * MiB });
const wine = !has('prefixes') ? {} : await ownWine(here, { 'd:': `${folder}/d`, 'unc/nas/public': `${folder}/share` });
const SHARE = '\\\\nas\\public';

const jobsOf = async (server) => (await server.json('/api/jobs')).body.map((job) => job.path);

test('a path in the address on another machine is scanned once if the program was started with it, else on request', needs('prefixes'), async (t) => {
  const server = await serve(t, [SHARE], wine);
  const tab = await openTab(t);
  const sent = requestsOf(tab, '/api/scan');
  const open = (path) => tab.goto(`${server.base}/?scan=${encodeURIComponent(path)}`);
  await open(SHARE);
  await says(tab, 'There are 70.0 MB in \\\\nas\\public');
  const elsewhere = [SHARE, '//nas/public', '\\\\?\\UNC\\nas\\public', '\\\\?\\D:\\..\\UNC\\nas\\public', '\\\\wsl.localhost\\Debian', 'films'];
  for (const [label, path] of [...elsewhere.map((path) => ['Path of a folder', path]), ['Host and path', 'me@host:/var'], ['Host and path', 'ssh://me@host/var']]) {
    await open(path);
    await says(tab.getByRole('main'), /asks for a scan of .* scan it only if you know the place/);
    await becomes(() => tab.getByLabel(label).inputValue(), path);
    assert.deepEqual([sent.length, new URL(tab.url()).search], [1, ''], path);
  }
  await open(SHARE);
  await says(tab, /asks for a scan of/);
  await tab.getByRole('button', { name: 'Scan folder' }).click();
  await says(tab, 'There are 70.0 MB in \\\\nas\\public');
  await goTo(tab, 'picker', 'What do you want to scan?');
  assert.equal(await tab.getByText('asks for a scan of').count(), 0, 'it was answered');
  await open('D:\\');
  await says(tab, 'Most of the space is in films');
  assert.deepEqual(await jobsOf(server), [SHARE, 'D:\\']);
});

// A web server of somebody else, under a name of its own and under this machine's.
function stranger(t) {
  const server = http.createServer((request, response) => {
    const to = new URL(request.url, 'http://x').searchParams.get('to');
    response.setHeader('Content-Type', 'text/html').writeHead(to ? 302 : 200, to ? { Location: to } : {}).end('<!doctype html><title>free games</title><body></body>');
  });
  return listen(t, server);
}

// Each request that would read or change something, as method, path and body.
const WANTED = [
  ['GET', '/api/hello'], ['GET', '/api/targets'], ['GET', '/api/jobs'], ['GET', '/api/result?id=1'], ['GET', '/api/files?p=D%3A%5C'], ['GET', '/api/export?id=1&what=files'],
  ['GET', '/api/cancel?id=1'], ['GET', '/api/forget?id=1'], ['GET', '/api/reveal?p=D%3A%5C'], ['GET', '/api/elevate'], ['GET', '/api/quit'],
  ['POST', '/api/scan', 'path=D%3A%5Cfilms&kind=folder&label=x'], ['POST', '/api/delete', 'p=D%3A%5Cfilms%5Ca.mkv&job=1&permanent=1'], ['POST', '/api/emptybin', ''],
  ['POST', '/api/cleanup', 'what=tempfiles&job=1'], ['POST', '/api/findfiles', 'ids=1&exts=.mkv'], ['POST', '/api/dupsacross', 'ids=1'],
];

// Runs in the strange page. Resolves, when all attempts have ended, to what it could read.
async function attack({ base, wanted }) {
  const read = [];
  const over = (element) => new Promise((resolve) => {
    element.onload = element.onloadeddata = element.onerror = resolve;
  });
  const added = (tag, props) => {
    const element = Object.assign(document.createElement(tag), props);
    const ended = over(element);
    document.body.append(element);
    return ended;
  };
  const fetched = async (path, options) => {
    try {
      const answer = await fetch(base + path, options);
      const text = await answer.text();
      if (answer.type !== 'opaque' && answer.status !== 403 && text) read.push(`${path}: ${text.slice(0, 80)}`);
    } catch {
      // Refused by the browser.
    }
  };
  const posted = (method, path, body, enctype) => {
    const name = `f${Math.random()}`;
    const frame = Object.assign(document.createElement('iframe'), { name });
    const form = Object.assign(document.createElement('form'), { method, action: base + path, target: name, enctype });
    for (const [field, value] of new URLSearchParams(body)) form.append(Object.assign(document.createElement('input'), { name: field, value }));
    document.body.append(frame, form);
    const ended = over(frame);
    form.submit();
    return ended;
  };
  const socket = (path) => new Promise((resolve) => {
    const made = new WebSocket(base.replace('http', 'ws') + path);
    made.onopen = () => read.push(`socket ${path}`);
    made.onclose = resolve;
  });
  const events = (path) => new Promise((resolve) => {
    const made = new EventSource(base + path);
    made.onerror = () => resolve(made.close());
  });
  const attempts = [];
  for (const [method, path, body] of wanted) {
    const form = { method, body: method === 'POST' ? body : undefined, headers: method === 'POST' ? { 'Content-Type': 'application/x-www-form-urlencoded' } : {} };
    attempts.push(fetched(path, form), fetched(path, { ...form, mode: 'no-cors', credentials: 'include' }));
    attempts.push(posted(method, path, body, 'application/x-www-form-urlencoded'), posted(method, path, body, 'text/plain'));
    if (method === 'POST') {
      navigator.sendBeacon(base + path, new URLSearchParams(body));
      continue;
    }
    const url = { src: base + path };
    attempts.push(added('img', url), added('script', url), added('iframe', url), added('video', url), added('embed', url), socket(path), events(path));
    for (const rel of ['stylesheet', 'prefetch', 'icon']) void added('link', { rel, href: base + path });
    void added('object', { data: base + path });
  }
  void added('script', { type: 'speculationrules', text: JSON.stringify({ prerender: [{ source: 'list', urls: wanted.map(([, path]) => base + path) }] }) });
  await Promise.all(attempts);
  for (const frame of document.querySelectorAll('iframe')) {
    try {
      const text = frame.contentWindow.document.body.innerText;
      if (text !== '{"error":"foreignOrigin"}') read.push(`frame: ${text.slice(0, 80)}`);
    } catch {
      // Another origin.
    }
  }
  return read;
}

// A program that has scanned a drive, and a tab. `changed` resolves to what is not as it was then.
async function victim(t, options) {
  const server = await serve(t, [], wine);
  await server.scan('D:\\', { kind: 'drive', label: 'D:' });
  const port = await stranger(t);
  const tab = await openTab(t, options);
  const answers = []; // to requests that the program's own page did not make
  tab.context().on('response', (response) => {
    const url = new URL(response.url());
    const own = !response.request().isNavigationRequest() && response.frame().url().startsWith(server.base);
    if (url.pathname.startsWith('/api/') && !own) answers.push({ what: `${response.request().method()} ${url.pathname}`, status: response.status(), ahead: 'sec-purpose' in response.request().headers() });
  });
  const untouched = async (where) => assert.deepEqual(
    [await jobsOf(server), (await server.json('/api/findfiles')).body, fs.existsSync(`${folder}/d/films/a.mkv`), server.child.exitCode], [['D:\\'], { running: false }, true, null], where);
  return { server, port, tab, answers, untouched };
}

// Every one of them was tried, and each time refused.
function allRefused(answers, wanted, where) {
  const tried = new Set(answers.map((one) => one.what));
  assert.deepEqual(wanted.map(([method, path]) => `${method} ${path.split('?')[0]}`).filter((one) => !tried.has(one)), [], where);
  assert.deepEqual(answers.filter((one) => one.status !== 403), [], where);
}

test('requests from other pages, of any kind, read and change nothing', needs('prefixes'), async (t) => {
  const { server, port, tab, answers, untouched } = await victim(t, { expected: /asked elsewhere|Failed to load|WebSocket|EventSource|blocked by CORS|MIME|ERR_/ });
  for (const host of ['evil.test', '127.0.0.1', 'localhost']) {
    await tab.goto(`http://${host}:${port}/`);
    answers.length = 0;
    assert.deepEqual(await tab.evaluate(attack, { base: server.base, wanted: WANTED }), [], host);
    if (host === 'evil.test') await until(() => answers.some((one) => one.ahead && one.what.endsWith('/api/quit')), 'a request ahead of time');
    allRefused(answers, WANTED, host);
    await untouched(host);
  }
});

test('a name that leads to this machine does not make a page its own', needs('prefixes'), async (t) => {
  const { server, tab, answers, untouched } = await victim(t, { bypassCSP: true, expected: /Failed to load|WebSocket|EventSource|MIME|ERR_/ });
  const base = `http://rebound.test:${server.port}`;
  await tab.goto(base);
  await says(tab, 'Vorda refused a request that seemed to come from another page.');
  answers.length = 0;
  assert.deepEqual(await tab.evaluate(attack, { base, wanted: WANTED }), []);
  allRefused(answers, WANTED);
  await untouched();
});

test('tabs sent here by another page, or by a redirect of an address that the user typed', needs('prefixes'), async (t) => {
  const { server, port, tab, answers, untouched } = await victim(t, { expected: /asked elsewhere|Failed to load/ });
  const strange = `http://evil.test:${port}/`;
  const actions = WANTED.filter(([method, path]) => method === 'GET' && /cancel|forget|reveal|elevate|quit/.test(path));
  assert.equal(actions.length, 5);
  for (const [, path] of actions) {
    await tab.goto(`${strange}?to=${encodeURIComponent(server.base + path)}`);
    await tab.goto(strange);
    await Promise.all([tab.waitForURL(server.base + path), tab.evaluate((to) => { location.href = to; }, server.base + path)]);
  }
  for (const [, path, body] of WANTED.filter(([method]) => method === 'POST')) {
    await tab.goto(strange);
    await Promise.all([tab.waitForURL(server.base + path), tab.evaluate(({ to, fields }) => {
      const form = Object.assign(document.createElement('form'), { method: 'POST', action: to });
      for (const [name, value] of fields) form.append(Object.assign(document.createElement('input'), { name, value }));
      document.body.append(form);
      form.submit();
    }, { to: server.base + path, fields: [...new URLSearchParams(body)] })]);
  }
  allRefused(answers, [...actions, ...WANTED.filter(([method]) => method === 'POST')]);
  await tab.goto(strange);
  const [popup] = await Promise.all([tab.waitForEvent('popup'), tab.evaluate((to) => void window.open(to), `${server.base}/?scan=${encodeURIComponent(SHARE)}`)]);
  await says(popup, /asks for a scan of .*nas/);
  await untouched();
});

test('inside a frame the page only says so', async (t) => {
  const { base } = await serve(t);
  const outer = http.createServer((_, response) => response.setHeader('Content-Type', 'text/html').end(`<iframe src="${base}/" width=600 height=300></iframe>`));
  const tab = await openTab(t, { expected: /asked elsewhere/ });
  const asked = requestsOf(tab, '/api/hello');
  await tab.goto(`http://127.0.0.1:${await listen(t, outer)}/`);
  await tab.frameLocator('iframe').getByText('Vorda does not run inside another page.').waitFor();
  assert.equal(asked.length, 0);
});
