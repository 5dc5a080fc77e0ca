// What the colours of the map stand for, how much of what is shown has each, and a way to highlight one.
import { size, t, text } from '../../core/i18n';
import { AGES, COLOURS, OTHER, type Colouring } from '../../core/map_colours';
import type { Tile } from '../../core/map_layout';
import { shown } from '../../core/paths';
import { extensionOf, GROUPS } from '../../core/type_groups';
import { isFile, type Entry } from '../../core/entry';
import { el, fill, inert, setAttribute } from '../../ui/dom';

const MOST_EXTENSIONS = 4;

interface Share {
  bytes: number;
  extensions: Map<string, number>;
  name: string;
}

function labelOf(colour: number, colouring: Colouring, name = ''): string {
  if (colouring === 'type') return colour === OTHER ? t('mapOther') : text(`g_${GROUPS[colour]}`);
  if (colouring === 'age') return colour === OTHER ? t('mapAgeUnknown') : text(`age_${colour}`);
  return colour === OTHER ? t('mapOtherFolders') : shown(name.slice(0, 100));
}

export class Legend {
  readonly root = el('ul', { class: 'map-legend' });
  #pinned = -1;
  readonly #highlight: (colour: number) => void;

  // `highlight` is told the colour to highlight, or -1.
  constructor(highlight: (colour: number) => void) {
    this.#highlight = highlight;
    this.root.setAttribute('aria-label', t('mapLegend'));
  }

  show(tiles: readonly Tile<Entry>[], colours: readonly number[], colouring: Colouring): void {
    const shares = new Map<number, Share>();
    tiles.forEach((tile, index) => {
      if (tile.inside) return;
      const colour = colours[index]!;
      const share = shares.get(colour) ?? { bytes: 0, extensions: new Map(), name: '' };
      share.bytes += tile.size;
      if (!tile.rest && isFile(tile.item)) {
        const extension = extensionOf(tile.item.name);
        share.extensions.set(extension, (share.extensions.get(extension) ?? 0) + tile.size);
      }
      shares.set(colour, share);
    });
    if (colouring === 'folder') for (const tile of tiles) if (tile.level === 0 && !tile.joined && tile.branch >= 0 && tile.branch < COLOURS && !tile.rest) shares.get(tile.branch)!.name ||= tile.item.name;
    // All types and ages from the beginning: rows that come later would move the others.
    const last = colouring === 'age' ? AGES.length : COLOURS;
    const order = [...Array(last).keys(), OTHER].filter((colour) => colouring !== 'folder' || shares.has(colour));
    if (this.#pinned >= 0 && !shares.has(this.#pinned)) {
      this.#pinned = -1;
      this.#highlight(-1);
    }
    const focused = this.root.querySelector<HTMLElement>(':focus')?.dataset['colour'];
    fill(this.root, order.map((colour) => this.#row(colour, shares.get(colour), colouring)));
    this.root.querySelector<HTMLElement>(`[data-colour="${focused}"]`)?.focus();
  }

  #row(colour: number, share: Share | undefined, colouring: Colouring): HTMLElement {
    const largest = [...share?.extensions ?? []].filter(([name]) => name !== '').sort((a, b) => b[1] - a[1]).slice(0, MOST_EXTENSIONS).map(([name]) => name).join(' ');
    const point = (on: boolean) => (): void => this.#highlight(on ? colour : this.#pinned);
    const label = labelOf(colour, colouring, share?.name);
    const key = el('span', { class: 'key' });
    key.style.background = `var(--${colour === OTHER ? 'tile-other' : `${colouring === 'age' ? 'age' : 'tile'}-${colour + 1}`})`;
    const button = el('button', {
      type: 'button', 'data-colour': colour, 'aria-pressed': String(this.#pinned === colour), on: {
        pointerenter: point(true), pointerleave: point(false), focus: point(true), blur: point(false),
        click: () => {
          this.#pinned = this.#pinned === colour ? -1 : colour;
          this.root.querySelectorAll('button').forEach((one) => setAttribute(one, 'aria-pressed', String(one.dataset['colour'] === String(this.#pinned))));
          this.#highlight(this.#pinned);
        },
      },
    },
    key,
    el('span', { class: 'label' }, inert(label), colouring === 'type' && largest ? el('bdi', { class: 'small muted' }, ` ${shown(largest)}`) : null),
    el('span', { class: 'number' }, share ? size(share.bytes) : ''));
    return el('li', {}, button);
  }

  // Points at the colour of the tile under the pointer.
  point(colour: number): void {
    this.root.querySelectorAll('button').forEach((one) => one.classList.toggle('pointed', one.dataset['colour'] === String(colour)));
  }

  get highlighted(): number {
    return this.#pinned;
  }
}
