// The five things that people come for, by mouse and by keys alone, in few steps. A step is one click, or one
// key pressed on what has the focus, or a text typed and sent; moving the focus there is none, and how often
// that took is printed. What a dialog promises is what the log sums up to afterwards.
import assert from 'node:assert/strict';
import fs from 'node:fs';
import { describe, test } from 'node:test';
import { becomes, MiB, openScan, openTab, rowsOf, says, settled } from './support/browser.mjs';
import { machine } from './support/machine.mjs';
import { needs } from '../system/support/home.mjs';
import { freePort, serve } from '../system/support/server.mjs';
import { makeKey, relay, startSshd } from '../system/support/ssh.mjs';
import { makeFiles, ownWine, scratch, winPath } from '../system/support/vorda.mjs';

const DISK = {
  'Films/long.mkv': 900 * MiB, 'Films/short.mkv': 310 * MiB, 'Windows/Temp/setup.log': 700 * MiB, 'Windows/Temp/x.tmp': 300 * MiB,
  'Users/anna/AppData/Local/Temp/left.tmp': 500 * MiB, 'Photos/one.raw': 'p'.repeat(3 * MiB), 'Photos/copy/one.raw': 'p'.repeat(3 * MiB),
  'Old/copy/one.raw': 'p'.repeat(3 * MiB), ...Object.fromEntries(Array.from({ length: 60 }, (_, i) => [`Old/tape ${i}.wav`, (100 + i) * MiB])),
};
const CHANGED = Object.fromEntries(Object.keys(DISK).filter((name) => name.includes('tape')).map((name) => [name, '2018-05-04']));

// Counts the steps of a user who has a mouse, or who has none.
function user(t, tab, by) {
  const counted = { steps: 0, moves: 0 };
  const has = (target) => target.evaluate((one) => one === document.activeElement);
  const to = async (target) => {
    await target.waitFor();
    while (!await has(target)) {
      assert.ok(++counted.moves < 400, `Tab does not get to ${target}`);
      await tab.keyboard.press('Tab');
      await settled(tab);
    }
  };
  const act = {
    mouse: (target) => target.click(),
    keys: async (target) => {
      await to(target);
      await tab.keyboard.press('Enter');
    },
  }[by];
  t.after(() => t.diagnostic(`${counted.steps} steps${by === 'keys' ? `, ${counted.moves} moves of the focus` : ''}`));
  return {
    act: (target) => {
      ++counted.steps;
      return act(target);
    },
    type: async (target, text) => {
      ++counted.steps;
      await (by === 'mouse' ? target.click() : to(target));
      await tab.keyboard.type(text);
      await tab.keyboard.press('Enter');
    },
    atMost: (steps) => assert.ok(counted.steps <= steps, `${counted.steps} steps`),
  };
}

const sectionLink = (tab, name) => tab.locator(`.nav a[href="#${name}"]`);
const loggedBytes = async (server) => (await server.json('/api/log')).body.entries.reduce((sum, entry) => sum + entry.bytes, 0);

for (const by of ['mouse', 'keys']) {
  describe(`by ${by}`, needs('prefixes'), () => {
    const open = async (t) => {
      const all = await machine(t, { d: DISK, changed: CHANGED });
      return { ...all, ...user(t, all.tab, by) };
    };

    test('what is big', async (t) => {
      const { tab, act, atMost } = await open(t);
      await says(tab.getByRole('main'), 'Most of the space is in Old');
      await act(tab.getByRole('main').getByRole('button', { name: 'Old', exact: true }).first());
      await becomes(async () => (await rowsOf(tab.getByRole('treegrid'))).slice(0, 2).map(([, name]) => name), ['D:\\', 'Old']);
      atMost(1);
    });

    test('cleaning by advice', async (t) => {
      const { tab, server, d, act, atMost } = await open(t);
      await act(sectionLink(tab, 'advice'));
      await act(tab.getByRole('button', { name: 'Review and clean' }));
      await act(tab.getByRole('dialog').getByRole('button', { name: /^Delete 3 items \(1.46 GB\) permanently/ }));
      await says(tab.getByRole('dialog'), '3 items deleted, 1.46 GB freed.');
      atMost(3);
      assert.deepEqual([await loggedBytes(server), fs.readdirSync(`${d}/Windows/Temp`)], [1500 * MiB, []]);
    });

    test('duplicates', async (t) => {
      const { tab, server, trash, act, atMost } = await open(t);
      await act(sectionLink(tab, 'across'));
      await act(tab.getByRole('button', { name: 'Search for duplicates' }));
      await act(tab.getByRole('button', { name: 'Select the others' }));
      await act(tab.getByRole('button', { name: /^Compare and delete/ }));
      await says(tab.getByRole('dialog'), '2 items will be deleted, 6.00 MB');
      await act(tab.getByRole('dialog').getByRole('button', { name: /^Move 2 items/ }));
      await tab.getByRole('dialog').getByRole('button', { name: 'Close', exact: true }).waitFor();
      atMost(5);
      assert.deepEqual([await loggedBytes(server), fs.readdirSync(trash).length], [6 * MiB, 2]);
    });

    test('old large files', async (t) => {
      const { tab, act, atMost } = await open(t);
      await act(sectionLink(tab, 'advice'));
      await act(tab.getByRole('button', { name: 'Show all 60' }));
      await says(tab.getByRole('main'), '60 files found, 7.59 GB');
      atMost(3);
    });

    test('another host', needs('sshd'), async (t) => {
      const folder = scratch(t);
      makeFiles(`${folder}/data`, { 'home/film.mkv': 90 * MiB });
      const { env } = await relay(t, folder, (await ownWine(t)).env);
      const port = await freePort();
      makeKey(`${folder}/id`);
      await startSshd(t, folder, port, [`HostKey ${makeKey(`${folder}/host`)}`, `AuthorizedKeysFile ${folder}/id.pub`]);
      const server = await serve(t, [], { env });
      makeFiles(folder, { 'here/a': 'x' });
      const tab = await openTab(t);
      await openScan(tab, server.base, winPath(`${folder}/here`));
      const { act, type, atMost } = user(t, tab, by);
      await act(sectionLink(tab, 'picker'));
      await type(tab.getByLabel('Host and path'), `ssh://127.0.0.1:${port}${folder}/data`);
      await says(tab, '127.0.0.1');
      await says(tab.getByRole('main'), 'Most of the space is in home');
      atMost(2);
    });
  });
}
