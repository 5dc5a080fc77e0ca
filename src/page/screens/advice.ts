import { heading, el } from '../ui/dom'; import type { Screen } from '../ui/screen'; export const advice = (): Screen => ({ root: el('div', {}, heading('advice')) });
