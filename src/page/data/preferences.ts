// What the user chose in this browser: language and appearance.
import { isLang, preferredLanguage, setLanguage, type Lang } from '../core/i18n';
import { changed } from './state';

const LANG_STORED = 'vorda-lang';
const THEME_STORED = 'vorda-theme';
export type Theme = 'light' | 'dark';

function read(key: string): string | null {
  try {
    return localStorage.getItem(key);
  } catch {
    return null;
  }
}

function write(key: string, value: string): void {
  try {
    localStorage.setItem(key, value);
  } catch {
    // Without storage the choice is lost on reload.
  }
}

export function chooseLanguage(lang: Lang): void {
  write(LANG_STORED, lang);
  applyLanguage(lang);
  changed('language');
}

function applyLanguage(lang: Lang): void {
  setLanguage(lang);
  document.documentElement.lang = lang;
}

export const theme = (): Theme => (document.documentElement.dataset['theme'] === 'dark' ? 'dark' : 'light');

export function chooseTheme(wanted: Theme): void {
  write(THEME_STORED, wanted);
  document.documentElement.dataset['theme'] = wanted;
}

export function applyStoredChoices(): void {
  const lang = read(LANG_STORED);
  applyLanguage(isLang(lang) ? lang : preferredLanguage(navigator.languages));
  const stored = read(THEME_STORED);
  const dark = matchMedia('(prefers-color-scheme: dark)');
  const apply = (): void => {
    const chosen = read(THEME_STORED);
    document.documentElement.dataset['theme'] = chosen === 'light' || chosen === 'dark' ? chosen : dark.matches ? 'dark' : 'light';
  };
  apply();
  if (stored !== 'light' && stored !== 'dark') dark.addEventListener('change', apply);
}
