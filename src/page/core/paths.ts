// Paths and names as text. Names come from disks and are hostile input.
import { KIND, NETWORK, type TargetKind } from './words';

// Removes trailing separators; "C:\" becomes "C:" and "/" becomes empty. For comparisons only.
export const trimEnd = (path: string): string => path.replace(/[\\/]+$/, '');

export const sameTarget = (a: string, b: string): boolean => trimEnd(a).toLowerCase() === trimEnd(b).toLowerCase();

const separatorOf = (path: string): string => (path.startsWith('/') ? '/' : '\\');

export function joinPath(folder: string, name: string): string {
  return /[\\/]$/.test(folder) ? folder + name : folder + separatorOf(folder) + name;
}

const lastSeparator = (path: string): number => Math.max(path.lastIndexOf('\\'), path.startsWith('/') || !path.includes('\\') ? path.lastIndexOf('/') : -1);

export function baseName(path: string): string {
  const bare = trimEnd(path);
  const at = lastSeparator(bare);
  return bare.slice(at + 1) || path;
}

// The folder that contains a path: "C:\" for "C:\x", "" if there is none.
export function parentOf(path: string): string {
  const bare = trimEnd(path);
  const at = lastSeparator(bare);
  if (at < 0 || /^[\\/]{0,2}$/.test(bare.slice(0, at)) && at > 0) return '';
  const parent = bare.slice(0, at);
  return parent === '' || /^[A-Za-z]:$/.test(parent) ? bare.slice(0, at + 1) : parent;
}

// True for the root itself and everything below it, but not for a sibling with a longer name.
function isWithin(root: string, path: string): boolean {
  const outer = trimEnd(root).toLowerCase();
  const inner = path.toLowerCase();
  if (!inner.startsWith(outer || '/')) return false; // the root of a host has nothing of a share
  return inner.length === outer.length || /[\\/]/.test(inner[outer.length]!) || trimEnd(inner) === outer;
}

export const liesBelow = (root: string, path: string): boolean => isWithin(root, path) && !sameTarget(root, path);

// The scan a path belongs to: the one with the longest root that contains it. 0 if there is none.
export function owningJob(path: string, roots: Iterable<{ id: number; root: string }>): number {
  let best = 0;
  let length = -1;
  for (const { id, root } of roots) {
    if (isWithin(root, path) && trimEnd(root).length > length) {
      best = id;
      length = trimEnd(root).length;
    }
  }
  return best;
}

// Drops every path that lies below another one; keeps the order.
export function topmost(paths: Iterable<string>): string[] {
  const all = [...new Set(paths)];
  const folded = new Set(all.map((path) => trimEnd(path).toLowerCase()));
  return all.filter((path) => {
    for (let up = parentOf(path); up !== ''; up = parentOf(up)) {
      if (folded.has(trimEnd(up).toLowerCase())) return false;
    }
    return true;
  });
}

const LONGEST_FILE_NAME = 80;

// A text as part of the name of a downloaded file.
export const fileNameOf = (text: string): string =>
  shorten(shown(text).replace(/[\\/:*?"<>|\s]+/g, '-'), LONGEST_FILE_NAME).replace(/^[-.]+|[-.]+$/g, '');

// Lone surrogates become U+FFFD: they can't be encoded.
export const wellFormed = (text: string): string => text.replace(/[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/g, '\ufffd');

const LONGEST_SHOWN = 260;

// Makes a name safe to display: control characters, direction marks and lone surrogates are replaced
// by visible signs, so that they can't affect the text around them.
export function shown(text: string): string {
  let safe = text.replace(/[\u0000-\u001f\u007f-\u009f]/g, (c) => {
    const code = c.charCodeAt(0);
    return code < 0x20 ? String.fromCharCode(0x2400 + code) : code === 0x7f ? '\u2421' : '\ufffd';
  });
  safe = safe.replace(/[\u061c\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff]/g,
    (c) => `[U+${c.charCodeAt(0).toString(16).toUpperCase().padStart(4, '0')}]`);
  return wellFormed(safe);
}

// Splits a path for display: the layout may truncate the head, but not the tail, which is the file name.
// Both are shortened here if they are too long for any line.
export function displayParts(path: string): { head: string; tail: string } {
  const text = shown(path);
  const at = lastSeparator(trimEnd(text));
  let head = text.slice(0, at < 0 ? 0 : at);
  let tail = text.slice(at < 0 ? 0 : at);
  if (tail.length > LONGEST_SHOWN) tail = shorten(tail, LONGEST_SHOWN);
  if (head.length > 2 * LONGEST_SHOWN) head = shorten(head, 2 * LONGEST_SHOWN);
  return { head, tail };
}

// Shortens in the middle to at most `most` characters without splitting a surrogate pair.
export function shorten(text: string, most: number): string {
  if (text.length <= most) return text;
  const keep = Math.max(1, most - 1);
  let front = Math.ceil(keep / 2);
  let back = text.length - (keep - front);
  if (/[\ud800-\udbff]/.test(text[front - 1] ?? '')) --front;
  if (/[\udc00-\udfff]/.test(text[back] ?? '')) ++back;
  return `${text.slice(0, front)}…${text.slice(back)}`;
}

// Whether a path lies on a drive of this machine: it names one of its letters, and that is no network drive.
// Anything doubtful does not.
export function onOwnDrive(path: string, drives: readonly { path: string; type: string }[]): boolean {
  // Windows leaves ".." alone behind "\\?\", or goes up past the drive.
  const literal = path.startsWith('\\\\?\\') && !path.includes('..') ? path.slice(4) : path;
  if (!/^[a-z]:(?:[\\/]|$)/i.test(literal)) return false;
  return drives.some((drive) => drive.type !== NETWORK && trimEnd(drive.path).toLowerCase() === literal.slice(0, 2).toLowerCase());
}

// Guesses the kind of a typed target for the request; the program decides.
export function kindOf(target: string): TargetKind {
  const text = target.toLowerCase();
  if (text.startsWith('ssh://')) return KIND.ssh;
  if (text[1] !== ':' && text.includes('@') && !text.includes('\\')) return KIND.ssh;
  if (text.startsWith('\\\\wsl.localhost\\') || text.startsWith('\\\\wsl$\\')) return KIND.wsl;
  if (text.startsWith('\\\\')) return KIND.unc;
  return text[1] === ':' && text.length < 4 ? KIND.drive : KIND.folder;
}
