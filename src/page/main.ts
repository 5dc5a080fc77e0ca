// The start of the page: key, targets, scans, first section.
import { openingOf } from './core/address';
import { stepOf } from './core/steps';
import type { Hello, Targets } from './core/answers';
import { prepareFormats, t } from './core/i18n';
import { onOwnDrive } from './core/paths';
import { KIND } from './core/words';
import { api, onKeyNeeded, rememberedKey, useKey } from './data/api';
import { poll, startScan } from './data/jobs';
import { applyStoredChoices } from './data/preferences';
import { changed, isSearch, isSection, jobById, state } from './data/state';
import { goToStep, stepOfFragment } from './data/steps';
import { keepViews, scanAtStart } from './data/views';
import { openAbout } from './flows/about';
import { checkElevation } from './flows/elevate';
import { askForKey } from './flows/key_dialog';
import { ABOUT, startFrame } from './shell/frame';
import { el } from './ui/dom';
import { toastFailure } from './ui/toast';

const FIRST_PAINT_MS = 1500; // the longest wait for the first answers
const FIRST_WAIT_MS = 1000;
const MAX_WAIT_MS = 10_000;

const opening = openingOf(location.search, location.hash);
const waiting = { scan: opening.scan, startPath: '' }; // not scanned yet, and what may be scanned without asking

const replaceAddress = (search: string, fragment: string): void =>
  history.replaceState(history.state, '', location.pathname + search + (fragment && `#${fragment}`));

// Removes the key from the address, so that it is in no history entry and no copied link.
function takeKey(): void {
  if (!opening.key) {
    state.key = rememberedKey();
    return;
  }
  replaceAddress(opening.search, opening.fragment);
  useKey(opening.key);
}

// The program opens its page again with a new key, and the browser may take the tab that has it open.
function takeLaterKey(): void {
  const { key } = openingOf('', location.hash);
  if (!key) return;
  useKey(key);
  replaceAddress(opening.scanned, state.started ? state.section : '');
  location.reload();
}

// A reload comes back to the step it was at; a link names a section and may name a folder or a type.
function goToStart(): void {
  const step = stepOf(history.state);
  state.view = scanAtStart();
  state.section = state.jobs.length > 0 ? 'overview' : 'picker';
  const kept = step !== null && (step.scan === 0 || jobById(step.scan) !== undefined);
  const wanted = kept ? step : stepOfFragment(opening.fragment);
  if (isSection(wanted.section) && (state.jobs.length > 0 || isSearch(wanted.section))) goToStep(wanted, !kept);
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
    waiting.startPath ||= targets.startPath ?? '';
    changed('targets');
    checkElevation();
  });
  const polled = poll();
  prepareFormats(); // takes a while the first time, and the answers are on their way
  await Promise.all([asked, polled]);
  // After a new key was asked for, the section stays.
  if (!state.started) {
    keepViews();
    goToStart();
  }
  state.started = true;
  changed('view', 'section', 'jobs');
  if (opening.fragment === ABOUT) openAbout();
  if (waiting.scan) await scanAsked();
}

// Any web site can open this page with a path of its choice, and merely looking at a place on another machine
// sends the user's sign-in there. So such a place is only scanned at once if the program was started with it.
async function scanAsked(): Promise<void> {
  const path = waiting.scan;
  waiting.scan = '';
  replaceAddress(opening.scanned, location.hash.slice(1));
  state.section = 'picker';
  changed('section');
  if (path === waiting.startPath || onOwnDrive(path, state.targets?.drives ?? [])) {
    await startScan(path, path.length <= 3 ? KIND.drive : KIND.folder, path);
  } else {
    state.proposed = path;
    changed('targets');
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
  addEventListener('hashchange', takeLaterKey);
  onKeyNeeded.ask = (wrong) => askForKey(wrong, () => void run());
  // Shows the right section at once, unless the answers take too long.
  void Promise.race([run(), new Promise((resolve) => setTimeout(resolve, FIRST_PAINT_MS))]).then(startFrame);
}
