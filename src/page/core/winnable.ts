// How much acting on findings would free. Findings overlap: an old file may lie in the downloads folder,
// and be a possible duplicate as well.
import type { Finding } from './answers';
import { parentOf, topmost, trimEnd } from './paths';
import { FINDING, UNIMPORTANT } from './words';

const folded = (path: string): string => trimEnd(path).toLowerCase();

const sum = (numbers: Iterable<number>): number => [...numbers].reduce((total, one) => total + one, 0);

interface Copies {
  size: number;
  paths: string[];
}

function copiesOf(finding: Finding): Copies[] {
  const groups = new Map<number, Copies>();
  finding.paths.forEach((path, i) => {
    const number = finding.pathGroup[i] ?? 0;
    const group = groups.get(number) ?? { size: finding.pathBytes[i] ?? 0, paths: [] };
    group.paths.push(folded(path));
    groups.set(number, group);
  });
  return [...groups.values()];
}

// One copy of each stays, and those that go with another place are counted there.
const copiesFree = ({ size, paths }: Copies, goes: (path: string) => boolean): number =>
  size * Math.max(0, paths.length - 1 - paths.filter(goes).length);

export function winnable(findings: readonly Finding[]): number {
  const worth = findings.filter((finding) => finding.level !== UNIMPORTANT);
  const places = new Map<string, number>();
  for (const { code, paths, pathBytes, target, bytes } of worth) {
    if (code === FINDING.duplicates) continue;
    if (paths.length === 0 && target) places.set(folded(target), bytes);
    paths.forEach((path, i) => places.set(folded(path), pathBytes[i] ?? 0));
  }
  const whole = new Set(topmost(places.keys()).map(folded));
  const goes = (path: string): boolean => {
    for (let at = path; at !== ''; at = parentOf(at)) if (whole.has(folded(at))) return true;
    return false;
  };
  const copies = worth.filter((finding) => finding.code === FINDING.duplicates).flatMap(copiesOf);
  // Findings list their largest places only. What the others hold may again be the same files, so of the
  // findings about files only the largest such rest counts.
  const restOf = (finding: Finding): number => {
    if (finding.paths.length === 0 && finding.target) return 0;
    const listed = finding.code === FINDING.duplicates ? sum(copiesOf(finding).map((one) => copiesFree(one, () => false))) : sum(finding.pathBytes);
    return Math.max(0, finding.bytes - listed);
  };
  const ofFiles: readonly string[] = [FINDING.duplicates, FINDING.oldFiles];
  const rests = worth.filter((finding) => !ofFiles.includes(finding.code)).map(restOf);
  const fileRests = worth.filter((finding) => ofFiles.includes(finding.code)).map(restOf);
  return sum([...whole].map((path) => places.get(path) ?? 0)) + sum(copies.map((one) => copiesFree(one, goes))) + sum(rests) + Math.max(0, ...fileRests);
}

// Findings whose places are emptied as a whole, never deleted one by one: nothing in them is missed.
export const EMPTIED: readonly string[] = [FINDING.tempFiles, FINDING.updates, FINDING.recycleBin];

// What is safe to clean, and what else could go once somebody has looked through it: together every byte once.
export function gains(findings: readonly Finding[]): { safe: number; look: number } {
  const safe = winnable(findings.filter(({ code }) => EMPTIED.includes(code)));
  return { safe, look: Math.max(0, winnable(findings) - safe) };
}

// What acting on a finding is worth.
export type Gain = 'safe' | 'look' | 'none';
export const gainOf = ({ code, level }: Finding): Gain => (EMPTIED.includes(code) ? 'safe' : level === UNIMPORTANT ? 'none' : 'look');
