// Which rows of a list are marked. Lives beside the rows, by key, so that it survives sorting,
// filtering and whatever the screen shows.

export class Selection {
  readonly keys = new Set<string>();
  private anchor = -1;

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

  // Where a range would begin: the row last gone to without extending.
  startAt(index: number): void {
    this.anchor = index;
  }

  // Marks everything from there to this row; keyAt gives null for what can't be marked.
  extendTo(index: number, keyAt: (index: number) => string | null): void {
    const from = this.anchor < 0 ? index : this.anchor;
    for (let i = Math.min(from, index); i <= Math.max(from, index); ++i) {
      const key = keyAt(i);
      if (key !== null) this.keys.add(key);
    }
    this.anchor = from;
  }

  addAll(keys: Iterable<string>): void {
    for (const key of keys) this.keys.add(key);
  }

  // Drops what is no longer there.
  keepOnly(alive: (key: string) => boolean): void {
    for (const key of [...this.keys]) {
      if (!alive(key)) this.keys.delete(key);
    }
  }
}
