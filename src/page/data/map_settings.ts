// How the map looks, as chosen in this browser.
import { isColouring, type Colouring } from '../core/map_colours';
import { readChoice, writeChoice } from './stored';

const STORED = 'vorda-map';
export const LEAST_DEPTH = 1;
export const MOST_DEPTH = 12;

export interface MapSettings {
  colouring: Colouring;
  shaded: boolean;
  depth: number; // levels of folders that are divided
  share: number | null; // of the section's width that the map takes; null unless chosen
}

const clamp = <T>(value: unknown, least: number, most: number, otherwise: T): number | T =>
  (typeof value === 'number' && Number.isFinite(value) ? Math.min(most, Math.max(least, value)) : otherwise);

export const LEAST_SHARE = 0.4;
export const MOST_SHARE = 0.85;

function stored(): MapSettings {
  const { colouring, shaded, depth, share } = readChoice(STORED);
  return {
    colouring: isColouring(colouring) ? colouring : 'type', shaded: shaded !== false,
    depth: Math.round(clamp(depth, LEAST_DEPTH, MOST_DEPTH, 8)), share: clamp(share, LEAST_SHARE, MOST_SHARE, null),
  };
}

let kept: MapSettings | null = null;
export const mapSettings = (): MapSettings => (kept ??= stored());

export function changeMap(change: Partial<MapSettings>): MapSettings {
  kept = { ...mapSettings(), ...change };
  writeChoice(STORED, kept);
  return kept;
}
