// The start of the page.
import type { Hello, Targets } from './core/answers';
import { t } from './core/i18n';
import { api, onKeyNeeded, rememberedKey, useKey } from './ui/api';
import { el } from './ui/dom';
import { checkElevation } from './ui/elevate';
import { poll, startScan } from './ui/jobs';
import { askForKey } from './ui/key_dialog';
import { openAbout } from './ui/about';
import { isSection, startFrame } from './ui/shell';
import { changed, state, type Section } from './ui/state';
import { applyStoredChoices } from './ui/theme';
import { toastFailure } from './ui/toast';

const FIRST_LOOK_MS = 1500;
const MOST_WAIT_MS = 10_000;

const address = new URL(location.href);
const fragment = address.hash.slice(1);
const scanAtStart = { path: address.searchParams.get('scan') ?? '' };

// The key leaves the address at once, so that no history and no copied link carries it.
function takeKey(): void {
  const key = address.searchParams.get('token');
  if (key !== null) {
    address.searchParams.delete('token');
    history.replaceState(null, '', address.pathname + address.search + address.hash);
  }
  if (key) useKey(key);
  else state.TOKEN = rememberedKey();
}

function sectionAtStart(): Section {
  if (isSection(fragment) && (state.jobs.length > 0 || fragment === 'find' || fragment === 'across')) return fragment;
  return state.jobs.length > 0 ? 'overview' : 'picker';
}

async function start(): Promise<void> {
  state.hello = await api<Hello>('/api/hello', { withoutKey: true });
  changed('session');
  if (state.hello.auth && !state.TOKEN) {
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
  // A start after a new key was asked for goes on where the reader was.
  if (!state.started) state.section = sectionAtStart();
  state.started = true;
  changed('view', 'section', 'jobs');
  if (fragment === 'about') openAbout();
  if (scanAtStart.path) {
    const { path } = scanAtStart;
    scanAtStart.path = '';
    address.searchParams.delete('scan');
    history.replaceState(null, '', address.pathname + address.search + location.hash);
    state.section = 'picker';
    changed('section');
    await startScan(path, path.length <= 3 ? 'drive' : 'folder', path);
  }
}

async function run(wait = 1000): Promise<void> {
  try {
    await start();
  } catch (error) {
    toastFailure(error);
    // Nothing is known yet: what the page can do is ask again until someone answers.
    if (state.offline) setTimeout(() => void run(Math.min(MOST_WAIT_MS, wait * 2)), wait);
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
  // The first thing seen is the right one, unless it takes too long to know it.
  void Promise.race([run(), new Promise((resolve) => setTimeout(resolve, FIRST_LOOK_MS))]).then(startFrame);
}
