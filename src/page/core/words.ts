// Words of the program's API that the page compares or sends. Each is spelled here and nowhere else.

export const JOB_STATE = { scanning: 'scanning', cancelled: 'cancelled', done: 'done', error: 'error' } as const;
export type JobState = (typeof JOB_STATE)[keyof typeof JOB_STATE];

// What is scanned.
export const KIND = { drive: 'drive', folder: 'folder', wsl: 'wsl', unc: 'unc', ssh: 'ssh' } as const;
export type TargetKind = (typeof KIND)[keyof typeof KIND];

// Type of a drive whose files are on another machine.
export const NETWORK = 'network';

// How it was scanned. The program may add methods.
export const METHOD = { walk: 'walk', ssh: 'ssh' } as const;

// Why turbo is off: the program lacks administrator rights.
export const NO_RIGHTS = 'noadmin';

// The failures of turbo begin with this; one is again a lack of rights.
export const FILE_TABLE = 'mft';
export const DENIED_TABLE = 'mftDenied';

// What a folder of the pruned tree contains besides the folders listed.
export const REST = { smaller: 'smaller', loose: 'loose' } as const;
export type RestKind = (typeof REST)[keyof typeof REST];

// Findings with an action of their own; there are others.
export const FINDING = {
  recycleBin: 'recyclebin', tempFiles: 'tempfiles', updates: 'updates', duplicates: 'duplicates', oldFiles: 'oldfiles', denied: 'denied',
} as const;
export type FindingCode = (typeof FINDING)[keyof typeof FINDING] | (string & {});
export const UNIMPORTANT = 'good'; // level of a finding that is for information only

// Types that are no extension.
export const TYPE = { none: '(none)', other: '(other)' } as const;

// Why a path was refused: it no longer exists.
export const MISSING = 'missing';
// It is too long for the recycle bin, but may be deleted permanently.
export const TOO_LONG = 'toolong';
// It is not what the user saw.
export const CHANGED = 'changed';

// Failure words. The page itself reports the first four.
export const FAILURE = {
  offline: 'offline', key: 'key', busy: 'busy', unexpected: 'unexpected', scanFailed: 'scanFailed',
} as const;
