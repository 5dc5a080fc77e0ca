// The frame around the sections: navigation, scans in the header, the details pane, banners.
import { shown } from '../core/paths';
import { LANGS, failure, isLang, language, size, t } from '../core/i18n';
import type { Job } from '../core/answers';
import type { PlainKey } from '../lang/shape';
import { openAbout } from './about';
import { detailsPane } from './details';
import { openDialog } from './dialog';
import { button, el, field, icon, iconButton, inert, setAttribute, setText } from './dom';
import { elevateButton, quitProgram, updateElevateButtons } from './elevate';
import { cancelScan, forgetScan, isRunning, nameOf, poll, progressText, stateText, viewJob } from './jobs';
import { goTo, type Screen } from './screen';
import { listen, SECTIONS, state, type Change, type Section } from './state';
import { chooseLanguage, chooseTheme, theme } from './theme';
import { toast, toastPlaces } from './toast';
import { advice } from '../screens/advice';
import { across } from '../screens/across';
import { explorer } from '../screens/explorer';
import { find } from '../screens/find';
import { map } from '../screens/map';
import { overview } from '../screens/overview';
import { picker } from '../screens/picker';
import { types } from '../screens/types';

const TITLES: Record<Section, PlainKey> = {
  overview: 'secOverview', explorer: 'secExplorer', advice: 'secAdvice', types: 'secTypes',
  map: 'secMap', find: 'secFind', across: 'secAcross', picker: 'secPicker',
};
const MAKERS: Record<Section, () => Screen> = { overview, explorer, advice, types, map, find, across, picker };
// In the bar of narrow screens; the others are under "more".
const FIRST: readonly Section[] = ['overview', 'explorer', 'advice', 'picker'];

export const isSection = (text: string): text is Section => (SECTIONS as readonly string[]).includes(text);

const sectionLink = (section: Section): HTMLAnchorElement =>
  el('a', { href: `#${section}`, title: t(TITLES[section]) }, icon(section), el('span', { class: 'word' }, t(TITLES[section])));

function languageSelect(): HTMLSelectElement {
  const select = el('select', { class: 'input' },
    Object.entries(LANGS).map(([code, name]) => el('option', { value: code, lang: code, selected: code === language() }, name)));
  select.addEventListener('change', () => {
    if (isLang(select.value)) chooseLanguage(select.value);
  });
  return select;
}

function themeSelect(): HTMLSelectElement {
  const select = el('select', { class: 'input' },
    el('option', { value: 'light', selected: theme() === 'light' }, t('themeLight')),
    el('option', { value: 'dark', selected: theme() === 'dark' }, t('themeDark')));
  select.addEventListener('change', () => chooseTheme(select.value === 'dark' ? 'dark' : 'light'));
  return select;
}

function askQuit(): void {
  const stay = button(t('cancel'), () => dialog.close());
  const dialog = openDialog({
    title: t('quit'), small: true, body: el('p', {}, t('quitAsk')), first: stay,
    ends: [stay, button(t('quit'), () => {
      dialog.close();
      void quitProgram();
    }, { class: 'first', icon: 'quit' })],
  });
}

// As the style sheet has it: in rem, so that large text counts as well.
const isNarrow = (): boolean => innerWidth < 37.5 * parseFloat(getComputedStyle(document.documentElement).fontSize);

// Settings, and on narrow screens the sections that have no place in the bar.
function openMore(): void {
  const close = button(t('close'), () => dialog.close());
  const links = SECTIONS.filter((section) => !FIRST.includes(section)).map((section) => {
    const link = sectionLink(section);
    link.addEventListener('click', () => dialog.close());
    return el('li', {}, link);
  });
  const dialog = openDialog({
    title: t('more'), small: true, ends: close,
    body: [
      isNarrow() ? el('ul', { class: 'more-list' }, links) : null,
      field(t('language'), languageSelect()),
      field(t('theme'), themeSelect()),
      el('div', { class: 'actions' },
        button(t('about'), () => {
          dialog.close();
          openAbout();
        }, { icon: 'info' }),
        state.hello.canQuit ? button(t('quit'), () => {
          dialog.close();
          askQuit();
        }, { icon: 'quit' }) : null),
    ],
  });
  // The chosen language shows at once, in a dialog made anew.
  dialog.element.querySelector('select')?.addEventListener('change', () => {
    dialog.close();
    queueMicrotask(openMore);
  });
}

const footButton = (name: string, label: string, action: () => void): HTMLElement =>
  el('button', { type: 'button', title: label, on: { click: action } }, icon(name), el('span', { class: 'word' }, label));

function navigation(): HTMLElement {
  const other = theme() === 'dark' ? 'light' : 'dark';
  return el('nav', { class: 'nav', 'aria-label': t('sections') },
    el('div', { class: 'brand' }, icon('drive', 'logo'), el('span', { class: 'word' }, 'Vorda')),
    el('div', { class: 'links' }, el('ul', {},
      SECTIONS.map((section) => el('li', { class: FIRST.includes(section) ? '' : 'second' }, sectionLink(section))))),
    el('ul', { class: 'foot' },
      el('li', { class: 'wide-only' }, field(t('language'), languageSelect())),
      el('li', { class: 'wide-only' }, footButton('theme', t(other === 'dark' ? 'goDark' : 'goLight'), () => {
        chooseTheme(other);
        rebuild();
      })),
      el('li', { class: 'wide-only' }, footButton('info', t('about'), openAbout)),
      state.hello.canQuit ? el('li', { class: 'wide-only' }, footButton('quit', t('quit'), askQuit)) : null,
      el('li', { class: 'more-only' }, footButton('more', t('more'), openMore))));
}

// ---- the scans in the header ----

interface Chip {
  root: HTMLElement;
  update: (job: Job) => void;
}

function makeChip(job: Job): Chip {
  const figure = el('span', { class: 'figure' });
  const view = el('button', { type: 'button', on: { click: () => {
    viewJob(job.id);
    if (state.section === 'picker') goTo('overview');
  } } }, icon(job.kind === 'ssh' ? 'ssh' : job.kind === 'drive' ? 'drive' : 'folder'), el('span', { class: 'name' }, inert(nameOf(job))), figure);
  const act = iconButton('stop', '', () => void (act.dataset['does'] === 'stop' ? cancelScan(job.id) : forgetScan(job.id)));
  const root = el('li', { class: 'chip' }, view, act);
  const update = (now: Job): void => {
    const doc = state.results.get(now.id);
    const running = isRunning(now);
    setText(figure, now.state === 'error' ? t('stError') : running ? size(now.bytes) : size(doc?.meta.used ?? now.bytes));
    const name = nameOf(now);
    setAttribute(view, 'title', now.state === 'error' ? failure(now.error) : `${stateText(now)}: ${progressText(now)}`);
    setAttribute(view, 'aria-current', now.id === state.view);
    root.classList.toggle('current', now.id === state.view);
    setAttribute(act, 'aria-label', t(running ? 'scanStopNamed' : 'scanForgetNamed', { name }));
    setAttribute(act, 'title', t(running ? 'scanStop' : 'scanForget'));
    setAttribute(act.querySelector('use')!, 'href', running ? '#i-stop' : '#i-remove');
    act.dataset['does'] = running ? 'stop' : 'forget';
  };
  update(job);
  return { root, update };
}

function header(): { root: HTMLElement; update: () => void } {
  const list = el('ul', { class: 'line chips', 'aria-label': t('scansList') });
  const chips = new Map<number, Chip>();
  const machine = el('span', { class: 'small muted push machine' });
  const rights = el('span', {});
  const progress = el('div', { class: 'progress unknown slim', 'aria-hidden': 'true' }, el('span'));
  const root = el('header', { class: 'header' }, el('div', { class: 'bar' }, list, machine, rights), progress);
  const update = (): void => {
    for (const [id, chip] of chips) {
      if (state.jobs.some((job) => job.id === id)) continue;
      const focused = chip.root.contains(document.activeElement);
      chip.root.remove();
      chips.delete(id);
      // Its neighbour takes the focus, or else what the page goes on with.
      if (focused) (list.querySelector('button') ?? document.querySelector<HTMLElement>('main h1'))?.focus();
    }
    for (const job of state.jobs) {
      let chip = chips.get(job.id);
      if (!chip) {
        chip = makeChip(job);
        chips.set(job.id, chip);
        list.append(chip.root);
      }
      chip.update(job);
    }
    list.hidden = chips.size === 0;
    setText(machine, shown(state.targets?.machine ?? ''));
    progress.hidden = !state.jobs.some(isRunning);
    const wanted = state.targets && !state.targets.elevated;
    if (wanted && !rights.firstChild) rights.append(elevateButton());
    else if (!wanted) rights.replaceChildren();
  };
  update();
  return { root, update };
}

function banner(): { root: HTMLElement; update: () => void } {
  const words = el('span', {});
  const again = button(t('retry'), () => void poll(), { icon: 'refresh' });
  const root = el('div', { class: 'banner', role: 'alert' }, icon('warning'), words, again);
  const update = (): void => {
    root.hidden = !state.offline;
    again.hidden = state.ended;
    setText(words, state.offline ? t(state.ended ? 'ended' : 'offline') : '');
  };
  update();
  return { root, update };
}

// ---- the page as a whole ----

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
  frame.section = state.section;
  mirrorSection(); // first, because the map keeps its folder with its own step
  const details = detailsPane(); // before the section, which may fill it at once
  frame.screen = MAKERS[state.section]();
  frame.content.replaceChildren(frame.screen.root);
  frame.content.scrollTop = 0;
  frame.main.classList.toggle('detailed', frame.screen.detailed === true);
  frame.main.querySelectorAll('.details').forEach((pane) => pane.remove());
  if (frame.screen.detailed) frame.main.append(details);
  frame.nav.querySelectorAll('a').forEach((link) =>
    setAttribute(link, 'aria-current', link.getAttribute('href') === `#${state.section}` ? 'page' : null));
  if (focus) frame.content.querySelector<HTMLElement>('h1')?.focus();
}

const mirrored = { once: false };

const showTitle = (): void => {
  document.title = `${t(TITLES[state.section])} - Vorda`;
};

// The section in the address, so that Back and links work.
function mirrorSection(): void {
  showTitle();
  const wanted = `#${state.section}`;
  // The section that the page opens with is no step of its own.
  if (!state.started || location.hash === wanted || location.hash === '#about') return;
  if (mirrored.once) history.pushState(null, '', wanted);
  else history.replaceState(null, '', wanted);
  mirrored.once = true;
}

export function rebuild(): void {
  const head = header();
  const warning = banner();
  const content = el('div', { class: 'content' });
  const main = el('main', { class: 'main', id: 'content' }, content);
  const nav = navigation();
  const app = document.getElementById('app')!;
  const skip = el('a', { class: 'skip', href: '#content', on: { click: (event) => {
    event.preventDefault();
    content.querySelector<HTMLElement>('h1')?.focus();
  } } }, t('skip'));
  // What is pressed in the navigation keeps the focus, under its new name.
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
}

function onHash(): void {
  const wanted = location.hash.slice(1);
  if (wanted === 'about') {
    openAbout();
    history.replaceState(null, '', `#${state.section}`);
  } else if (isSection(wanted) && wanted !== state.section) {
    goTo(wanted);
  }
}

export function startFrame(): void {
  rebuild();
  listen(onChange);
  addEventListener('hashchange', onHash);
  addEventListener('popstate', onHash);
}
