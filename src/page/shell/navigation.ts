// The navigation with its settings and the dialogs behind them.
import { LANGS, isLang, language, t } from '../core/i18n';
import { chooseLanguage, chooseTheme, theme, THEME } from '../data/preferences';
import { SECTIONS, state } from '../data/state';
import { openAbout } from '../flows/about';
import { quitProgram } from '../flows/elevate';
import { openDialog } from '../ui/dialog';
import { button, el, field, icon, select } from '../ui/dom';
import { openKeySheet } from './keys';
import { isFirst, laterSections, sectionLink } from './sections';

function languageSelect(): HTMLSelectElement {
  const made = select(Object.keys(LANGS).filter(isLang), language(), (lang) => LANGS[lang], chooseLanguage);
  for (const option of made.options) option.lang = option.value;
  return made;
}

const themeSelect = (): HTMLSelectElement =>
  select([THEME.light, THEME.dark], theme(), (one) => t(one === THEME.dark ? 'themeDark' : 'themeLight'), chooseTheme);

function askQuit(): void {
  const stay = button(t('cancel'), () => dialog.close());
  const dialog = openDialog({
    title: t('quit'), width: 'small', body: el('p', {}, t('quitAsk')), first: stay,
    ends: [stay, button(t('quit'), () => {
      dialog.close();
      void quitProgram();
    }, { class: 'first', icon: 'quit' })],
  });
}

// The same width in rem as in the style sheet.
const NARROW_REM = 37.5;
const isNarrow = (): boolean => innerWidth < NARROW_REM * parseFloat(getComputedStyle(document.documentElement).fontSize);

// Settings, and on narrow screens the sections that are not in the bar.
function openMore(): void {
  const close = button(t('close'), () => dialog.close());
  const links = laterSections().map((section) => {
    const link = sectionLink(section);
    link.addEventListener('click', () => dialog.close());
    return el('li', {}, link);
  });
  const dialog = openDialog({
    title: t('more'), width: 'small', ends: close,
    body: [
      isNarrow() ? el('ul', { class: 'more-list' }, links) : null,
      field(t('language'), languageSelect()),
      field(t('theme'), themeSelect()),
      el('div', { class: 'actions' },
        button(t('ksTitle'), () => {
          dialog.close();
          openKeySheet();
        }, { icon: 'keyboard', class: 'with-keys' }),
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
  // The dialog is opened again in the chosen language.
  dialog.element.querySelector('select')?.addEventListener('change', () => {
    dialog.close();
    queueMicrotask(openMore);
  });
}

const footButton = (name: string, label: string, action: () => void): HTMLElement =>
  el('button', { type: 'button', title: label, on: { click: action } }, icon(name), el('span', { class: 'word' }, label));

// `rebuild` builds the page again after a change of the appearance.
export function navigation(rebuild: () => void): HTMLElement {
  const other = theme() === THEME.dark ? THEME.light : THEME.dark;
  return el('nav', { class: 'nav', 'aria-label': t('sections') },
    el('div', { class: 'brand' }, icon('drive', 'logo'), el('span', { class: 'word' }, 'Vorda')),
    el('div', { class: 'links' }, el('ul', {},
      SECTIONS.map((section) => el('li', { class: isFirst(section) ? '' : 'second' }, sectionLink(section))))),
    el('ul', { class: 'foot' },
      el('li', { class: 'wide-only' }, field(t('language'), languageSelect())),
      el('li', { class: 'wide-only' }, footButton('theme', t(other === THEME.dark ? 'goDark' : 'goLight'), () => {
        chooseTheme(other);
        rebuild();
      })),
      el('li', { class: 'wide-only with-keys' }, footButton('keyboard', t('ksTitle'), openKeySheet)),
      el('li', { class: 'wide-only' }, footButton('info', t('about'), openAbout)),
      state.hello.canQuit ? el('li', { class: 'wide-only' }, footButton('quit', t('quit'), askQuit)) : null,
      el('li', { class: 'more-only' }, footButton('more', t('more'), openMore))));
}
