// What a scan's state, kind and method mean, and how it is described.
import type { Drive, Job } from './answers';
import { failure, known, phrase, seconds, size, t, text } from './i18n';
import { sameTarget } from './paths';
import { DENIED_TABLE, FILE_TABLE, JOB_STATE, KIND, METHOD } from './words';

export const isDone = (job: Job): boolean => job.state === JOB_STATE.done;
export const hasFailed = (job: Job): boolean => job.state === JOB_STATE.error;
export const isStopping = (job: Job): boolean => job.state === JOB_STATE.cancelled;
export const isScanning = (job: Job): boolean => job.state === JOB_STATE.scanning;
export const isRunning = (job: Job): boolean => isScanning(job) || isStopping(job);

export const isDrive = (job: Job): boolean => job.kind === KIND.drive;
export const isHost = (job: Job): boolean => job.kind === KIND.ssh;
// Whether the files are on another machine: they can't be changed or searched.
export const isRemote = (job: Job | undefined): boolean => job !== undefined && (isHost(job) || job.method === METHOD.ssh);

// Why turbo was not used: what the program could tell beforehand, or how its attempt failed.
export function turboReason(word: string): string {
  if (word === DENIED_TABLE) return t('t_noadmin');
  if (known(`t_${word}`)) return text(`t_${word}`);
  return word.startsWith(FILE_TABLE) ? t('t_mft') : failure(word);
}

export const nameOf = (job: Job): string => job.label || job.path;

export const progressText = (job: Job): string => t('progressLine', { files: t('nFiles', { n: job.files }), size: size(job.bytes) });

// What of a scanned drive is read, by its used space; null where that is not known.
export function shareRead(job: Job, drives: readonly Drive[]): number | null {
  const drive = isDrive(job) ? drives.find((one) => sameTarget(one.path, job.path)) : undefined;
  return drive && drive.size > drive.free ? Math.min(0.99, job.bytes / (drive.size - drive.free)) : null;
}

// "12.0 s, 350 MB/s"
export const paceText = ({ elapsed = 0, bytes }: Job): string =>
  (elapsed < 1000 ? '' : `${seconds(Math.floor(elapsed / 1000))}, ${t('perSecond', { size: size(bytes * 1000 / elapsed) })}`);

const stateText = (job: Job): string => {
  switch (job.state) {
    case JOB_STATE.scanning: return t('stScanning');
    case JOB_STATE.cancelled: return t('stCancelled');
    case JOB_STATE.error: return t('stError');
    default: return t(job.partial ? 'stPartial' : 'stDone');
  }
};

export const failureText = (job: Job): string => `${stateText(job)}: ${failure(job.error)}`;
export const summary = (job: Job): string => `${stateText(job)}: ${progressText(job)}`;

// The step a running scan is at.
export const statusText = (job: Job): string =>
  isStopping(job) ? stateText(job) : job.status ? phrase('s_', job.status) : t('stScanning');
