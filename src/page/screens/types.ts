import { heading, el } from '../ui/dom'; import type { Screen } from '../ui/screen'; export const types = (): Screen => ({ root: el('div', {}, heading('types')) });
export const typeName = (e: string): string => e;
