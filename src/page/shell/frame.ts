// The frame around the sections: navigation, header, the section on view and its details pane.
import { t } from '../core/i18n';
import { sameStep, stepOf } from '../core/steps';
import { isSection, jobById, listen, state, type Change, type Section } from '../data/state';
import { addressOf, goToStep, replaceStep, stepNow, stepOfFragment } from '../data/steps';
import { openAbout } from '../flows/about';
import { detailsPane } from '../flows/details';
import { updateElevateButtons } from '../flows/elevate';
import type { Screen } from '../flows/screen';
import { el, setAttribute } from '../ui/dom';
import { toast, toastPlaces } from '../ui/toast';
import { banner, header } from './header';
import { navigation } from './navigation';
import { startKeys } from './keys';
import { makeScreen, titleOf } from './sections';

export const ABOUT = 'about'; // the fragment that opens the dialog about the program

interface Frame {
  screen: Screen;
  section: Section;
  content: HTMLElement;
  main: HTMLElement;
  nav: HTMLElement;
  quits: boolean;
  updates: (() => void)[];
}

let frame: Frame | null = null;

function showSection(focus: boolean): void {
  if (!frame) return;
  frame.screen.leave?.();
  frame.content.scrollTop = 0; // while little is in it, since this lays it out
  frame.section = state.section;
  const details = detailsPane(); // before the section, which may fill it right away
  frame.screen = makeScreen(state.section);
  frame.content.replaceChildren(frame.screen.root);
  frame.main.classList.toggle('detailed', frame.screen.detailed === true);
  frame.main.classList.toggle('drawer', frame.screen.drawer === true);
  frame.main.querySelectorAll('.details').forEach((pane) => pane.remove());
  if (frame.screen.detailed) frame.main.append(details);
  frame.nav.querySelectorAll('a').forEach((link) =>
    setAttribute(link, 'aria-current', link.getAttribute('href') === `#${state.section}` ? 'page' : null));
  mirrorStep(); // once the section has settled on its folder or type
  if (focus) frame.content.querySelector<HTMLElement>('h1')?.focus();
}

const mirrored = { once: false, returned: false };

const showTitle = (): void => {
  document.title = `${titleOf(state.section)} - Vorda`;
};

// Puts the place in the page into the address and the browser's history, so that Back, Forward, a reload and
// links lead to it.
function mirrorStep(): void {
  showTitle();
  if (!state.started) return;
  const now = stepNow();
  const first = !mirrored.once;
  mirrored.once = true;
  const before = stepOf(history.state);
  if (sameStep(before, now)) return;
  // The first place replaces the step that opened the page, and a link has made a step already. A step that can't be
  // shown as it is any more is replaced too: going back to it would add another one each time, and lead no further.
  const stale = before !== null && before.scan > 0 && !jobById(before.scan);
  if (first || before === null || stale || mirrored.returned) replaceStep();
  else history.pushState(now, '', addressOf(now.section, now.at));
}

function rebuild(): void {
  const head = header();
  const warning = banner();
  const content = el('div', { class: 'content' });
  const main = el('main', { class: 'main', id: 'content' }, content);
  const nav = navigation(rebuild);
  const app = document.getElementById('app')!;
  const skip = el('a', { class: 'skip', href: '#content', on: { click: (event) => {
    event.preventDefault();
    content.querySelector<HTMLElement>('h1')?.focus();
  } } }, t('skip'));
  // A control of the navigation keeps the focus.
  const focusable = 'a, button, select';
  const focused = frame ? [...frame.nav.querySelectorAll(focusable)].indexOf(document.activeElement as Element) : -1;
  frame?.screen.leave?.();
  head.root.prepend(warning.root);
  app.replaceChildren(skip, nav, head.root, main);
  document.body.append(...toastPlaces());
  frame = { screen: { root: content }, section: state.section, content, main, nav, quits: state.hello.canQuit, updates: [head.update, warning.update] };
  showSection(false);
  if (focused >= 0) nav.querySelectorAll<HTMLElement>(focusable)[focused]?.focus();
}

function onChange(changes: ReadonlySet<Change>): void {
  if (!frame) return;
  if (changes.has('language') || changes.has('session')) {
    if (changes.has('language') || frame.quits !== state.hello.canQuit) rebuild();
    updateElevateButtons();
  }
  if (changes.has('offline') && !state.offline) toast(t('back'));
  for (const update of frame.updates) update();
  if (frame.section !== state.section) showSection(true);
  else frame.screen.update?.(changes);
  mirrorStep();
  mirrored.returned = false;
}

// Back, Forward, and addresses that were typed or are links.
function onHistory(): void {
  const step = stepOf(history.state);
  const wanted = location.hash.slice(1);
  if (step) {
    mirrored.returned = true;
    goToStep(step);
  } else if (wanted === ABOUT) {
    openAbout();
    replaceStep();
  } else if (isSection(stepOfFragment(wanted).section)) {
    goToStep(stepOfFragment(wanted), true);
  }
}

export function startFrame(): void {
  rebuild();
  listen(onChange);
  addEventListener('popstate', onHistory);
  startKeys();
}
