// The place in the page as a step in the browser's history, and going to one.
import { owningJob } from '../core/paths';
import { fragmentOf, readFragment, type Step } from '../core/steps';
import { viewJob } from './jobs';
import { changed, isSearch, isSection, jobById, resultOnView, scanRoots, state, treeOf } from './state';

// The root of a scan needs no address of its own.
const folderOnMap = (): string => {
  const root = treeOf(state.view)?.root.path;
  return root === undefined || state.openFolder === root ? '' : state.openFolder;
};

// Nor does the largest type.
const typeOnView = (): string => (state.type === resultOnView()?.exts[0]?.e ? '' : state.type);

export function stepNow(): Step {
  const at = state.section === 'map' ? folderOnMap() : state.section === 'types' ? typeOnView() : '';
  return { section: state.section, scan: isSearch(state.section) || state.section === 'picker' ? 0 : state.view, at };
}

export const addressOf = (section: string, at: string): string => fragmentOf(section, at === treeOf(state.view)?.root.path ? '' : at);

// Makes the step that the browser is at lead to where the page is.
export const replaceStep = (): void => {
  const now = stepNow();
  history.replaceState(now, '', addressOf(now.section, now.at));
};

// Goes where a step or an address says. A scan that is no longer there is left out. A link to the map without a
// folder shows the one that was looked at last; a step without one is that of the whole scan.
export function goToStep({ section, scan, at }: Step, byLink = false): void {
  if (!isSection(section)) return;
  if (scan > 0 && jobById(scan)) viewJob(scan);
  else if (section === 'map' && at !== '') viewJob(owningJob(at, scanRoots()) || state.view);
  if (section === 'map' && (at !== '' || !byLink)) state.openFolder = at || treeOf(state.view)?.root.path || '';
  if (section === 'types' && (at !== '' || !byLink)) state.type = at;
  state.section = section;
  changed('section', 'step', 'types');
}

export const stepOfFragment = (fragment: string): Step => ({ ...readFragment(fragment), scan: 0 });

