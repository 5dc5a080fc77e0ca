// The largest files of a scan, and the way to all others.
import type { Job, ResultDoc } from '../core/answers';
import { size, t } from '../core/i18n';
import { isRemote } from '../core/job';
import { sumOf } from '../core/units';
import { columnsButton } from '../flows/columns_menu';
import { detailsButton } from '../flows/details';
import { fileTable } from '../flows/file_table';
import { findLarge } from '../flows/find_form';
import { scanMarksBar, type MarksBar } from '../flows/marks';
import { measureSwitch } from '../flows/measure_switch';
import { resultScreen, type ResultScreen } from '../flows/result_screen';
import type { Screen } from '../flows/screen';
import { button, el } from '../ui/dom';

function make(job: Job, doc: ResultDoc): ResultScreen {
  const bar: MarksBar = scanMarksBar(() => list.table.root);
  const list = fileTable(job, 'largest', t('secLargest'), () => bar);
  const none = el('p', { class: 'muted', hidden: true }, t('laNone'));
  const show = ({ files }: ResultDoc): void => {
    list.show(files);
    none.hidden = files.length > 0;
    list.table.root.hidden = files.length === 0;
  };
  show(doc);
  const smallest = doc.files.at(-1)?.s ?? 0;
  return {
    keeps: true,
    top: [
      el('span', { class: 'small muted' }, doc.files.length > 0 ? t('laShown', { n: doc.files.length, size: size(sumOf(doc.files, (file) => file.s)) }) : ''),
      el('div', { class: 'line push' }, measureSwitch(job.id), columnsButton(() => list.table),
        isRemote(job) ? null : button(t('laMore'), () => findLarge(smallest), { icon: 'find' }), detailsButton()),
    ],
    content: [bar.root, none, list.table.root],
    leave: () => list.table.leave(),
    update: (changes, now) => {
      if (changes.has('results') || changes.has('measure')) show(now);
      if (changes.has('selection')) {
        bar.update();
        list.table.refresh();
      }
    },
  };
}

export const largest = (): Screen => resultScreen('secLargest', make, { fills: true, detailed: true });
