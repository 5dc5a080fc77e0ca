import { en } from './en';
import type { Dictionary } from './shape';

export const pt: Dictionary = en;
