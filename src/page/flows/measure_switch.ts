// The switch between the length of files, what they take on the disk, and what deleting them gives back.
import { t, text } from '../core/i18n';
import { MEASURES } from '../core/measure';
import { chooseMeasure, knowsDisk, measure } from '../data/state';
import { select } from '../ui/dom';

// Null for a scan that knows lengths only, as over SSH.
export function measureSwitch(job: number): HTMLElement | null {
  if (!knowsDisk(job)) return null;
  return select(MEASURES, measure(job), (one) => text(`measure_${one}`), chooseMeasure, { 'aria-label': t('measure'), title: t('measure') });
}
