// The header: the scans, running progress, rights; and the banner above it.
import type { Job } from '../core/answers';
import { failure, size, t } from '../core/i18n';
import { hasFailed, isDrive, isHost, isRunning, nameOf, summary } from '../core/job';
import { shown } from '../core/paths';
import { cancelScan, forgetScan, poll, viewJob } from '../data/jobs';
import { goTo, isChoosing, state } from '../data/state';
import { elevateButton, mayElevate } from '../flows/elevate';
import { button, el, icon, iconButton, inert, setAttribute, setText } from '../ui/dom';

interface Part {
  root: HTMLElement;
  update: () => void;
}

interface Chip {
  root: HTMLElement;
  update: (job: Job) => void;
}

function makeChip(job: Job): Chip {
  const figure = el('span', { class: 'figure' });
  const view = el('button', { type: 'button', on: { click: () => {
    viewJob(job.id);
    if (isChoosing()) goTo('overview');
  } } }, icon(isHost(job) ? 'ssh' : isDrive(job) ? 'drive' : 'folder'), el('span', { class: 'name' }, inert(nameOf(job))), figure);
  const act = iconButton('stop', '', (event) => {
    if (act.dataset['does'] === 'stop') void cancelScan(job.id);
    // The second half of a double click was to stop the scan, which has ended meanwhile.
    else if (event.detail < 2) void forgetScan(job.id);
  });
  const root = el('li', { class: 'chip' }, view, act);
  const update = (now: Job): void => {
    const doc = state.results.get(now.id);
    const running = isRunning(now);
    setText(figure, hasFailed(now) ? t('stError') : running ? size(now.bytes) : size(doc?.meta.used ?? now.bytes));
    const name = nameOf(now);
    setAttribute(view, 'title', hasFailed(now) ? failure(now.error) : summary(now));
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

export function header(): Part {
  const list = el('ul', { class: 'line chips', 'aria-label': t('scansList') });
  const chips = new Map<number, Chip>();
  const machine = el('span', { class: 'small muted push machine' });
  const rights = el('span', {});
  const progress = el('div', { class: 'progress unknown slim', 'aria-hidden': 'true' }, el('span'));
  const root = el('header', { class: 'header' }, el('div', { class: 'bar' }, list, machine, rights), progress);
  const updateChips = (): void => {
    for (const [id, chip] of chips) {
      if (state.jobs.some((job) => job.id === id)) continue;
      const focused = chip.root.contains(document.activeElement);
      chip.root.remove();
      chips.delete(id);
      // The focus goes to a neighbour, or else to the heading.
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
  };
  const update = (): void => {
    updateChips();
    list.hidden = chips.size === 0;
    setText(machine, shown(state.targets?.machine ?? ''));
    progress.hidden = !state.jobs.some(isRunning);
    const missing = mayElevate();
    if (missing && !rights.firstChild) rights.append(elevateButton());
    else if (!missing) rights.replaceChildren();
  };
  update();
  return { root, update };
}

// Says that the server can't be reached, or has ended.
export function banner(): Part {
  const words = el('span', {});
  const again = button(t('retry'), () => void poll(), { icon: 'refresh' });
  const root = el('div', { class: 'banner', role: 'alert' }, icon('warning'), words, again);
  const update = (): void => {
    root.hidden = !state.offline;
    again.hidden = state.ended;
    setText(words, state.offline ? t(!state.ended ? 'offline' : state.finishing ? 'finishing' : 'ended') : '');
  };
  update();
  return { root, update };
}
