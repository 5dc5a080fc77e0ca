// What the tree lists: a folder, a file, or what stands for several of them.
import type { Sized } from './measure';
import { REST, type RestKind } from './words';

// Folders and files, then what stands for several of them or for children not there yet. "more": files that
// are in the folder now and were not fetched; "gone": what the scan counted and a whole listing does not have.
export type EntryKind = 'folder' | 'file' | RestKind | 'more' | 'gone' | 'loading' | 'failed';

export interface Entry extends Sized {
  kind: EntryKind;
  path: string; // entries that are neither folder nor file: the folder's path, NUL, and the kind
  name: string;
  f: number;
  n: number; // kinds "smaller" and "more": number of folders or files
  m: number; // time of last change, 0 if it is not known
}

export const isFolder = (item: Entry): boolean => item.kind === 'folder';
export const isFile = (item: Entry): boolean => item.kind === 'file';
// Whether the entry has a path of its own.
export const isItem = (item: Entry): boolean => isFolder(item) || isFile(item);
export const isLoading = (item: Entry): boolean => item.kind === 'loading';
export const isFailed = (item: Entry): boolean => item.kind === 'failed';
export const isMore = (item: Entry): boolean => item.kind === 'more';
// Whether the entry stands for the rest of its folder.
export const isRest = (item: Entry): boolean => item.kind === REST.smaller || item.kind === REST.loose || item.kind === 'more' || item.kind === 'gone';
