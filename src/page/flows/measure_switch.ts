// The switch between the length of files, what they take on the disk, and what deleting them gives back.
import { t, text } from '../core/i18n';
import { MEASURES, type Measure } from '../core/measure';
import { chooseMeasure, knowsDisk, measure } from '../data/state';
import { el } from '../ui/dom';

// Null for a scan that knows lengths only, as over SSH.
export function measureSwitch(job: number): HTMLElement | null {
  if (!knowsDisk(job)) return null;
  const select = el('select', { class: 'input', 'aria-label': t('measure'), title: t('measure'), on: { change: () => chooseMeasure(select.value as Measure) } },
    MEASURES.map((one) => el('option', { value: one, selected: one === measure(job) }, text(`measure_${one}`))));
  return select;
}
