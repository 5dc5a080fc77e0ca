import { heading, el } from '../ui/dom'; import type { Screen } from '../ui/screen'; export const find = (): Screen => ({ root: el('div', {}, heading('find')) });
