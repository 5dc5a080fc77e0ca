import { heading, el } from '../ui/dom'; import type { Screen } from '../ui/screen'; export const across = (): Screen => ({ root: el('div', {}, heading('across')) });
