// Compares the contents once more before anything is deleted: what is still equal to a copy that stays
// goes on to the deletion dialog.
import type { VerifyAnswer } from '../core/answers';
import { messageOf } from '../core/failure';
import { t } from '../core/i18n';
import { verified } from '../core/plan';
import type { Selection } from '../core/selection';
import { stopRun, wholeRun } from '../data/runs';
import { openDeletion } from './deletion';
import { openDialog, type Dialog } from '../ui/dialog';
import { button, el, fill } from '../ui/dom';
import { failureNotice } from '../ui/notices';
import { toast } from '../ui/toast';

// What may be a group of equal files.
export interface Copies {
  files: readonly { p: string }[];
}

const PATH = '/api/verifydups';

interface Verification {
  dialog: Dialog;
  open: boolean;
  reading: boolean;
  showPercent: (percent: number) => void;
}

function openVerification(fallback: () => HTMLElement | null): Verification {
  const done = el('span');
  const bar = el('div', { class: 'progress', role: 'progressbar', 'aria-label': t('acVerifying') }, done);
  const stay = button(t('cancel'), () => verification.dialog.close());
  const dialog = openDialog({
    title: t('acVerify'), width: 'small', body: [el('p', { role: 'status' }, `${t('acVerifying')}…`), bar], ends: stay, first: stay, fallback,
    onClose: () => {
      verification.open = false;
      if (verification.reading) void stopRun(PATH);
    },
  });
  const verification: Verification = {
    dialog, open: true, reading: true,
    showPercent: (percent) => {
      done.style.width = `${percent}%`;
      bar.setAttribute('aria-valuenow', String(percent));
    },
  };
  return verification;
}

export async function verifyAndDelete(groups: readonly Copies[], marks: Selection, fallback: () => HTMLElement | null, permanent = false): Promise<void> {
  const chosen = new Set(marks.keys);
  const paths = groups.filter((group) => group.files.some((file) => chosen.has(file.p))).flatMap((group) => group.files.map((file) => file.p));
  const verification = openVerification(fallback);
  const { dialog } = verification;
  try {
    const answer = await wholeRun<VerifyAnswer>(PATH, { p: paths, seen: '1' }, (progress) => verification.showPercent(progress.percent ?? 0));
    verification.reading = false;
    if (!verification.open) return;
    const sure = verified(chosen, Array.isArray(answer.files) ? answer.files : [], answer.duplicates ?? []);
    dialog.close();
    if (sure.size === 0) {
      toast(t('acVerifyNone'));
      return;
    }
    openDeletion(sure.keys(), { fallback, permanent, proofs: sure, after: (gone) => marks.keepOnly((path) => !gone(path)) });
    // Said in the dialog, which covers everything else.
    if (sure.size < chosen.size) toast(t('acVerifyLess', { n: chosen.size - sure.size }));
  } catch (error) {
    verification.reading = false;
    fill(dialog.body, failureNotice(messageOf(error), null, paths.join('\n')));
  }
}
