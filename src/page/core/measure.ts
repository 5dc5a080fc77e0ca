// What a size means: the length of files, what they take on the disk, or what comes back if they are deleted.
export interface Sized {
  s: number;
  a?: number; // bytes on disk
  x?: number; // bytes that come back if exactly this is deleted
  cl?: number; // bytes that lie only in the cloud
}

export const MEASURES = ['s', 'a', 'x'] as const;
export type Measure = (typeof MEASURES)[number];
export const isMeasure = (text: unknown): text is Measure => (MEASURES as readonly unknown[]).includes(text);

// Where a figure is not known, the length stands in for it.
export const valueOf = (item: Sized, measure: Measure): number => item[measure] ?? item.s;

// The three figures, as far as they are known.
export const figuresOf = ({ a, x, cl }: Partial<Sized>): Pick<Sized, 'a' | 'x' | 'cl'> =>
  ({ ...(a !== undefined && { a }), ...(x !== undefined && { x }), ...(cl !== undefined && { cl }) });
