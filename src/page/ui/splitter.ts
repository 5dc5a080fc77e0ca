// The handle between two areas, moved by pointer or arrow keys. The share of the first area is kept.
import { el, setAttribute } from './dom';

const STEP = 0.02;

export interface SplitterOptions {
  label: string;
  least: number; // bounds of the first area's share
  most: number;
  share: number;
  onMove: (share: number) => void;
  onKeep: (share: number) => void; // once it rests
}

export function splitter(area: HTMLElement, options: SplitterOptions): HTMLElement {
  const { least, most } = options;
  let share = Math.min(most, Math.max(least, options.share));
  const handle = el('div', { class: 'splitter', role: 'separator', tabindex: '0', 'aria-orientation': 'vertical', 'aria-label': options.label });
  const show = (wanted: number): void => {
    share = Math.min(most, Math.max(least, wanted));
    setAttribute(handle, 'aria-valuenow', Math.round(share * 100));
    options.onMove(share);
  };
  setAttribute(handle, 'aria-valuemin', Math.round(least * 100));
  setAttribute(handle, 'aria-valuemax', Math.round(most * 100));
  show(share);
  handle.addEventListener('pointerdown', (event) => {
    handle.setPointerCapture(event.pointerId);
    event.preventDefault();
    handle.focus();
  });
  handle.addEventListener('pointermove', (event) => {
    if (!handle.hasPointerCapture(event.pointerId)) return;
    const box = area.getBoundingClientRect();
    show((event.clientX - box.left) / box.width);
  });
  handle.addEventListener('pointerup', () => options.onKeep(share));
  handle.addEventListener('keydown', (event) => {
    const steps: Record<string, number> = { ArrowLeft: -STEP, ArrowRight: STEP, Home: -1, End: 1 };
    const step = steps[event.key];
    if (step === undefined) return;
    event.preventDefault();
    show(share + step);
    options.onKeep(share);
  });
  return handle;
}
