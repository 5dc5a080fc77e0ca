// The start of the page: key, targets, scans, first section.
import type { Hello, Targets } from './core/answers';
import { t } from './core/i18n';
import { KIND } from './core/words';
import { api, onKeyNeeded, rememberedKey, useKey } from './data/api';
import { poll, startScan } from './data/jobs';
import { applyStoredChoices } from './data/preferences';
import { changed, isSearch, isSection, state, type Section } from './data/state';
import { openAbout } from './flows/about';
import { checkElevation } from './flows/elevate';
import { askForKey } from './flows/key_dialog';
import { ABOUT, startFrame } from './shell/frame';
import { el } from './ui/dom';
import { toastFailure } from './ui/toast';

const FIRST_PAINT_MS = 1500; // the longest wait for the first answers
const FIRST_WAIT_MS = 1000;
const MAX_WAIT_MS = 10_000;

const address = new URL(location.href);
const fragment = address.hash.slice(1);
const scanAtStart = { path: address.searchParams.get('scan') ?? '' };

// Removes the key from the address, so that it is in no history entry and no copied link.
function takeKey(): void {
  const key = address.searchParams.get('token');
  if (key !== null) {
    address.searchParams.delete('token');
    history.replaceState(null, '', address.pathname + address.search + address.hash);
  }
  if (key) useKey(key);
  else state.key = rememberedKey();
}

function sectionAtStart(): Section {
  if (isSection(fragment) && (state.jobs.length > 0 || isSearch(fragment))) return fragment;
  return state.jobs.length > 0 ? 'overview' : 'picker';
}

async function start(): Promise<void> {
  state.hello = await api<Hello>('/api/hello', { withoutKey: true });
  changed('session');
  if (state.hello.auth && !state.key) {
    askForKey(false, () => void run());
    return;
  }
  const asked = api<Targets>('/api/targets').then((targets) => {
    state.targets = targets;
    changed('targets');
    checkElevation();
  });
  await Promise.all([asked, poll()]);
  const last = state.jobs[state.jobs.length - 1];
  if (last && !state.started) state.view = last.id;
  // After a new key was asked for, the section stays.
  if (!state.started) state.section = sectionAtStart();
  state.started = true;
  changed('view', 'section', 'jobs');
  if (fragment === ABOUT) openAbout();
  if (scanAtStart.path) {
    const { path } = scanAtStart;
    scanAtStart.path = '';
    address.searchParams.delete('scan');
    history.replaceState(null, '', address.pathname + address.search + location.hash);
    state.section = 'picker';
    changed('section');
    await startScan(path, path.length <= 3 ? KIND.drive : KIND.folder, path);
  }
}

async function run(wait = FIRST_WAIT_MS): Promise<void> {
  try {
    await start();
  } catch (error) {
    toastFailure(error);
    // Without any answer there is nothing to show, so the start is repeated.
    if (state.offline) setTimeout(() => void run(Math.min(MAX_WAIT_MS, wait * 2)), wait);
  }
}

if (window.top !== window.self) {
  applyStoredChoices();
  document.getElementById('app')!.replaceWith(el('div', { class: 'framed' },
    el('p', {}, t('framed')), el('a', { href: location.origin, target: '_blank', rel: 'noopener' }, t('framedLink'))));
} else {
  applyStoredChoices();
  takeKey();
  onKeyNeeded.ask = (wrong) => askForKey(wrong, () => void run());
  // Shows the right section at once, unless the answers take too long.
  void Promise.race([run(), new Promise((resolve) => setTimeout(resolve, FIRST_PAINT_MS))]).then(startFrame);
}
