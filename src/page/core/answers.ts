// The documents of the program's API, as the page reads them. Sizes are bytes; times are milliseconds
// since 1970, 0 if unknown.
import type { Sized } from './measure';
import type { FindingCode, JobState, RestKind } from './words';

export interface Hello {
  auth: boolean;
  server: boolean;
  canQuit: boolean;
}

export interface About {
  version: string;
  signed: boolean;
  log: string; // the diagnostic log, or empty
  crash?: { path: string; time: number };
}

export interface Drive {
  path: string;
  label: string;
  fs: string;
  type: 'fixed' | 'network' | 'removable';
  size: number;
  free: number;
  turbo: boolean;
  turboReason: string;
}

export interface Targets {
  drives: Drive[];
  wsl: { name: string; path: string }[];
  home: string;
  machine: string;
  elevated: boolean;
  version: string;
  vendor: string;
  website: string;
  logPath: string;
  startPath?: string; // what the program was started with; told once
}

export interface Job {
  id: number;
  path: string;
  kind: string;
  label: string;
  state: JobState;
  files: number;
  bytes: number;
  dirs: number;
  phase: number;
  seconds: number;
  status: string;
  current: string;
  error: string;
  method: string;
  noTurbo: string;
  partial?: string; // why a part of the target is missing
  gone?: boolean; // the scanned folder was deleted since
  // Only while it runs:
  elapsed?: number; // milliseconds
  top?: { n: string; s: number }[]; // the folders in the root, largest first, with what was found in them so far
}

// A folder of the pruned size tree; with `rest`, everything in a folder that is not listed itself.
export interface TreeNode extends Sized {
  n: string;
  f: number;
  i?: number;
  c?: TreeNode[];
  rk?: RestKind;
  rn?: number;
  rest?: boolean;
}

export interface Finding {
  code: FindingCode;
  level: 'good' | 'warning' | 'serious';
  bytes: number;
  n1: number;
  n2: number;
  target: string;
  paths: string[];
  pathBytes: number[];
  pathFiles: number[];
  pathGroup: number[];
  pathLock: string[];
  pathTimes?: number[]; // 0: not known, or a folder
  notes: string[];
}

export interface FileItem extends Sized {
  p: string;
  m: number;
}

export interface TypeItem extends Sized {
  e: string;
  c: number;
}

export interface TypesAnswer {
  types: TypeItem[];
  total: number;
}

export interface ResultDoc {
  meta: {
    path: string;
    method: string;
    host: string;
    kind: string;
    seconds: number;
    files: number;
    dirs: number;
    denied: number;
    skipped: number;
    used: number;
    volumeSize: number;
    volumeFree: number;
    volumeLabel: string;
    freed: number;
    binned: number;
    partial?: string;
  };
  tree: TreeNode | null;
  exts: TypeItem[];
  files: FileItem[];
  advice: Finding[];
  account?: AccountAnswer | null; // asked for beside the document; null if there is none
}

// Checks that an answer really is a result before anything relies on its parts.
export function isResult(answer: unknown): answer is ResultDoc {
  const doc = answer as Partial<ResultDoc> | null;
  return typeof doc?.meta?.path === 'string' && (doc.tree === null || typeof doc.tree?.n === 'string') &&
    [doc.exts, doc.files, doc.advice].every(Array.isArray);
}

export interface DirsAnswer {
  path: string;
  s?: number;
  f?: number;
  a?: number;
  x?: number;
  cl?: number;
  dirs: (Sized & { n: string; f: number; m?: number })[];
  total?: number;
  error?: string;
}

export interface FilesAnswer {
  path: string;
  files: (Sized & { n: string; m: number })[];
  total: number; // files in the folder, of which these are some
  dirs: number;
  error?: string;
}

export interface BrowseAnswer {
  path: string;
  parent: string;
  dirs: { n: string; p: string; hidden?: boolean; link?: boolean }[];
  error?: string;
}

export interface ExtAnswer {
  ext: string;
  folders: (Pick<Sized, 's' | 'a' | 'cl'> & { p: string; c: number })[];
  files: FileItem[];
  total: number;
}

// What a dry run measured of one path.
export interface DeleteItem {
  s: number;
  f: number; // files in it; 1 for a file
  m: number;
  dir?: boolean;
}

export interface DeleteAnswer {
  deleted: number;
  bytes: number;
  freed?: number;
  binned?: number;
  error: string;
  dryRun: boolean;
  refused: { p: string; why: string }[];
  wouldDelete: string[];
  noBin?: string[];
  seen?: string[]; // for each path of wouldDelete, what the program saw of it; sent back as it is
  items?: DeleteItem[]; // for each path of wouldDelete
  stayed?: { p: string; why: string }[]; // what is still there, or what inside it is the reason
  partial?: { p: string; bytes: number }[]; // folders of which only a part went
  logged?: boolean; // false if the log could not be written
  x?: number; // of a dry run: bytes that come back
  xs?: number; // 1: maybe less
  shared?: number; // bytes that do not come back, because they have other names elsewhere
  freeBefore?: number; // free bytes of the drive
  freeAfter?: number;
}

export interface CleanupAnswer {
  ok: boolean;
  deleted: number;
  skipped: number;
  folders: number;
  bytes: number;
  logged?: boolean;
}

// What emptying would find in the folders of an advice; `why` says that one is left alone.
export interface CleanableAnswer {
  folders: { p: string; s?: number; f?: number; entries?: number; why?: string }[];
}

export interface BinsAnswer {
  bytes: number;
  items: number;
  bins: { p: string; bytes: number; items: number }[];
}

export interface LogEntry {
  kind: string;
  at?: string; // "YYYY-MM-DD hh:mm:ss"
  p?: string;
  bytes?: number;
  partly?: boolean;
  interrupted?: boolean;
  left?: number;
  paths?: number;
  deleted?: number;
  skipped?: number;
}

export interface LogAnswer {
  entries: LogEntry[];
  more: boolean;
}

export interface Hit extends FileItem {
  job: number;
  lock?: string;
}

interface RunOptions {
  ids?: number[] | string;
  exts?: string;
  names?: string;
  min?: number;
  max?: number;
  after?: number;
  before?: number;
  in?: string;
  sort?: string;
  ssh_skipped?: { id: number; label: string }[];
  failed?: { id: number; label: string; error: string }[];
}

// Fields that the answers of all background runs share.
export interface Running {
  running: boolean;
  started?: boolean;
  percent?: number;
  seen?: number;
  phase?: string;
  cancelled?: boolean;
  error?: string;
}

export interface FindAnswer extends Running {
  scans?: number;
  scans_done?: number;
  found?: number;
  files?: Hit[];
  shown?: number;
  count?: number;
  bytes?: number;
  capped?: boolean;
  opts?: RunOptions;
}

export interface Copy {
  p: string;
  m: number;
  job: number;
  names?: string[];
  lock?: string;
}

export interface CopyGroup {
  s: number;
  c: number;
  waste: number;
  files: Copy[];
}

export interface AcrossAnswer extends Running {
  total?: number;
  read?: number;
  groups?: CopyGroup[];
  shown?: number;
  count?: number;
  waste?: number;
  capped?: boolean;
  emptied?: boolean; // all groups that there were have gone
  skipped?: { cloud?: number; unreadable?: number; changed?: number };
  opts?: RunOptions;
}

export interface VerifiedFile {
  p: string;
  size?: number;
  h?: string;
  seen?: string;
  error?: string;
}

export interface VerifyAnswer extends Running {
  files?: VerifiedFile[] | number; // their number while the run is under way
  duplicates?: number[][];
  lock?: string[];
}

export interface UpdateAnswer {
  ok: boolean;
  current: string;
  latest: string;
  newer: boolean;
  url: string;
  error?: string;
}

export interface AccountRow {
  code: string;
  bytes?: number;
  exact?: boolean;
  info?: boolean; // is told only, and no part of the sum
  told?: boolean; // false: Windows does not report it
  count?: number;
  p?: string; // the folder where it is
  parts?: { n: string; bytes: number }[];
}

export interface AccountAnswer {
  used?: number;
  source?: string;
  unexplained?: number;
  rows: AccountRow[];
}

// One file in full. What is not known is left out.
export interface FileAnswer extends Partial<Sized> {
  p: string;
  m?: number;
  created?: number;
  accessed?: number;
  links?: number;
  names?: string[];
  allNames?: boolean;
  streams?: { n: string; s: number }[];
  cloud?: string;
  compressed?: string;
  sparse?: boolean;
  error?: string;
}
