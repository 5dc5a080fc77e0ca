// The marked rows of a list. Kept by key and apart from the rows, so that it survives sorting,
// filtering and redrawing.

export class Selection {
  readonly keys = new Set<string>();
  anchor = -1; // the row where a range starts, or -1

  clear(): void {
    this.keys.clear();
    this.anchor = -1;
  }

  has(key: string): boolean {
    return this.keys.has(key);
  }

  // Marks or unmarks one row.
  toggle(index: number, key: string): void {
    if (!this.keys.delete(key)) this.keys.add(key);
    this.anchor = index;
  }

  // The next range starts here: the row last moved to without extending.
  startAt(index: number): void {
    this.anchor = index;
  }

  // Marks everything from the start of the range to this row; keyAt returns null for rows that can't be
  // marked.
  extendTo(index: number, keyAt: (index: number) => string | null): void {
    const from = this.anchor < 0 ? index : this.anchor;
    for (let i = Math.min(from, index); i <= Math.max(from, index); ++i) {
      const key = keyAt(i);
      if (key !== null) this.keys.add(key);
    }
    this.anchor = from;
  }

  // Unmarks what no longer exists.
  keepOnly(alive: (key: string) => boolean): void {
    for (const key of [...this.keys]) {
      if (!alive(key)) this.keys.delete(key);
    }
  }
}
