// Names of keys, as keyboard events report them.
export const KEYS = { enter: 'Enter', space: ' ', backspace: 'Backspace', delete: 'Delete' } as const;
