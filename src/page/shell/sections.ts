// The sections: titles, links, and which screen shows each.
import { t } from '../core/i18n';
import { SECTIONS, type Section } from '../data/state';
import type { Screen } from '../flows/screen';
import type { PlainKey } from '../lang/shape';
import { across } from '../screens/across/across';
import { advice } from '../screens/advice';
import { explorer } from '../screens/explorer/explorer';
import { find } from '../screens/find/find';
import { largest } from '../screens/largest';
import { map } from '../screens/map/map';
import { overview } from '../screens/overview';
import { picker } from '../screens/picker/picker';
import { types } from '../screens/types';
import { el, icon } from '../ui/dom';

const TITLES: Record<Section, PlainKey> = {
  overview: 'secOverview', explorer: 'secExplorer', advice: 'secAdvice', types: 'secTypes', largest: 'secLargest',
  map: 'secMap', find: 'secFind', across: 'secAcross', picker: 'secPicker',
};
const MAKERS: Record<Section, () => Screen> = { overview, explorer, advice, types, largest, map, find, across, picker };
// Shown in the bar of narrow screens; the others are under "more".
const FIRST: readonly Section[] = ['overview', 'explorer', 'advice', 'picker'];

export const isFirst = (section: Section): boolean => FIRST.includes(section);
export const laterSections = (): Section[] => SECTIONS.filter((section) => !isFirst(section));

export const titleOf = (section: Section): string => t(TITLES[section]);
export const makeScreen = (section: Section): Screen => MAKERS[section]();

export const sectionLink = (section: Section): HTMLAnchorElement =>
  el('a', { href: `#${section}`, title: titleOf(section) }, icon(section), el('span', { class: 'word' }, titleOf(section)));
