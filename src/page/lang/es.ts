import { en } from './en';
import type { Dictionary } from './shape';

export const es: Dictionary = en;
