// Which copy of a group of equal files is kept.
import type { Copy, CopyGroup } from './answers';
import { baseName, parentOf, trimEnd } from './paths';
import { byText } from './tree_order';

export const KEEP_RULES = ['newest', 'oldest', 'shortest', 'first'] as const;
export type KeepRule = (typeof KEEP_RULES)[number];

// Places where things lie for the moment.
const PASSING = /[\\/](desktop|downloads|te?mp)[\\/]/i;
// "x (1).jpg", and "x - Copy.jpg" or "Copy of x.jpg" as Windows names them in the languages of the page.
const COPY_NAME = /\(\d+\)(\.[^.]*)?$|(^|[\s_(-])(copy|kopie|copie|copia|cópia)(?=$|[\s_.()-])/i;

// Whether the path of a copy says that another one is the original.
export const looksLikeCopy = (path: string): boolean => PASSING.test(path) || COPY_NAME.test(baseName(path));

// The place of the first preferred folder that holds the path.
function preference(path: string, folders: readonly string[]): number {
  const at = folders.findIndex((folder) => {
    const root = trimEnd(folder).toLowerCase();
    for (let up = parentOf(path); up !== ''; up = parentOf(up)) if (trimEnd(up).toLowerCase() === root) return true;
    return false;
  });
  return at < 0 ? folders.length : at;
}

// The folders of a text such as "D:\Photos; E:\Archive".
export const foldersOf = (text: string): string[] => text.split(';').map((one) => one.trim()).filter(Boolean);

const BETTER: Record<KeepRule, (a: Copy, b: Copy) => number> = {
  newest: (a, b) => b.m - a.m,
  oldest: (a, b) => (a.m || Number.MAX_VALUE) - (b.m || Number.MAX_VALUE),
  shortest: (a, b) => a.p.length - b.p.length,
  first: () => 0,
};

// The copy of a group that is kept. What can't be deleted anyway comes first, then the preferred folders, then
// what does not look like a copy, then the rule; ties go by path.
export function keeper(group: CopyGroup, rule: KeepRule, folders: readonly string[] = []): Copy {
  const rank = ({ p, lock }: Copy): number[] => [lock ? 0 : 1, preference(p, folders), looksLikeCopy(p) ? 1 : 0];
  const ranked = group.files.map((file) => ({ file, ranks: rank(file), path: file.p.toLowerCase() }));
  ranked.sort((a, b) => {
    const at = a.ranks.findIndex((one, i) => one !== b.ranks[i]);
    if (at >= 0) return a.ranks[at]! - b.ranks[at]!;
    return BETTER[rule](a.file, b.file) || byText(a.path, b.path);
  });
  return ranked[0]!.file;
}
