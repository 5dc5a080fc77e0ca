import { en } from './en';
import type { Dictionary } from './shape';

export const fr: Dictionary = en;
