import { heading, el } from '../ui/dom'; import type { Screen } from '../ui/screen'; export const map = (): Screen => ({ root: el('div', {}, heading('map')) });
