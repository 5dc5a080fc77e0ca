// The areas of the map as pixels, with a soft light on them. Writing each pixel here is quicker than having the
// browser draw thousands of small rectangles.

// In pixels of the screen; right and bottom are the first ones that do not belong to it.
export interface Box {
  left: number;
  top: number;
  right: number;
  bottom: number;
}

// Red, green and blue, 0 to 255.
type Rgb = readonly [number, number, number];

// One colour from the place with most light to the one with least, as it is and where it is hatched.
export interface Shades {
  plain: Uint32Array;
  hatched: Uint32Array;
}

const WHITE: Rgb = [255, 255, 255];
const BLACK: Rgb = [0, 0, 0];
// The place with most light, in parts of a tile's width and height.
const LIGHT = { x: 0.35, y: 0.3 };
const STEPS = 160; // from there to the farthest corner, by the square of the distance
const STEP = ((1 - LIGHT.x) ** 2 + (1 - LIGHT.y) ** 2) / STEPS;
const SMALLEST_SHADED = 5;
const HATCHING = 8; // pixels from one line to the next, at the default size
const HATCHED = 0.3; // the part of ink in them

// Colours of style sheets, such as "#59baff".
const rgbOf = (colour: string): Rgb => [1, 3, 5].map((at) => parseInt(colour.slice(at, at + 2), 16)) as unknown as Rgb;
const mix = (a: Rgb, b: Rgb, share: number): Rgb => [0, 1, 2].map((i) => a[i]! + (b[i]! - a[i]!) * share) as unknown as Rgb;
// As the canvas has it in memory, on little-endian machines.
const wordOf = ([r, g, b]: Rgb): number => ((255 << 24) | (Math.round(b) << 16) | (Math.round(g) << 8) | Math.round(r)) >>> 0;

// A colour in the light, which falls from 0 to 1 by the square of the distance: equal steps, so none is seen.
function lit(colour: Rgb, fallen: number): Rgb {
  const share = 0.2 - 0.34 * fallen;
  return share > 0 ? mix(colour, WHITE, share) : mix(colour, BLACK, -share);
}

export interface Shading {
  shaded: boolean;
  faded: number; // the part that the colour of the lines has
  ink: string;
  line: string;
}

const known = new Map<string, Shades>(); // one takes as long as some hundred tiles

export function shadesOf(colour: string, look: Shading): Shades {
  const key = `${colour} ${look.shaded} ${look.faded} ${look.ink} ${look.line}`;
  let shades = known.get(key);
  if (!shades) {
    known.set(key, shades = { plain: new Uint32Array(STEPS + 2), hatched: new Uint32Array(STEPS + 2) });
    const [flat, ink, line] = [rgbOf(colour), rgbOf(look.ink), rgbOf(look.line)];
    for (let i = 0; i < STEPS + 2; ++i) {
      const one = look.shaded ? lit(flat, i / STEPS) : flat;
      shades.plain[i] = wordOf(mix(one, line, look.faded));
      shades.hatched[i] = wordOf(mix(mix(one, ink, HATCHED), line, look.faded));
    }
  }
  return shades;
}

const falls = new Map<number, Uint8Array>();

// How far the light has fallen, in steps, at each place of a line that has most light at this part of its length;
// the same everywhere for 0. Many tiles have the same width or height.
function falling(length: number, lightest: number): Uint8Array {
  const key = length + lightest;
  let line = falls.get(key);
  if (!line) {
    line = new Uint8Array(Math.max(0, length)).map((_, at) => (lightest ? Math.round(((at + 0.5) / length - lightest) ** 2 / STEP) : STEPS / 6));
    if (falls.size > 999) falls.clear();
    falls.set(key, line);
  }
  return line;
}

export class MapPixels {
  image = new ImageData(1, 1);
  #buffer = new ArrayBuffer(0);
  #words = new Uint32Array(0);
  #ratio = 1;
  #line = 0;

  // Makes all of it one line. Memory that has the size already is used again: new memory takes longer than drawing.
  start(width: number, height: number, ratio: number, colour: string): void {
    const bytes = 4 * width * height;
    if (this.#buffer.byteLength < bytes) this.#buffer = new ArrayBuffer(bytes);
    this.image = new ImageData(new Uint8ClampedArray(this.#buffer, 0, bytes), width, height);
    this.#words = new Uint32Array(this.#buffer, 0, width * height);
    this.#ratio = ratio;
    this.#line = wordOf(rgbOf(colour));
    this.#words.fill(this.#line);
  }

  // A line, or a part of one.
  clear({ left, top, right, bottom }: Box): void {
    const { width } = this.image;
    for (let y = top; y < bottom; ++y) for (let x = left; x < right; ++x) this.#words[y * width + x] = this.#line;
  }

  // hatched: with lines from the lower left to the upper right.
  shade({ left, top, right, bottom }: Box, { plain, hatched }: Shades, hatch: boolean): void {
    const { width } = this.image;
    const words = this.#words;
    const [w, h] = [right - left, bottom - top];
    const soft = w >= SMALLEST_SHADED && h >= SMALLEST_SHADED;
    const across = falling(w, soft ? LIGHT.x : 0);
    const along = falling(h, soft ? LIGHT.y : 0);
    const first = top * width + left;
    let y = 0;
    // Four lines at a time take two thirds of the time that they take one by one.
    for (; y + 3 < h; y += 4) {
      const [a, b, c, d] = [along[y]!, along[y + 1]!, along[y + 2]!, along[y + 3]!];
      const row = first + y * width;
      for (let x = 0; x < w; ++x) {
        const fallen = across[x]!;
        words[row + x] = plain[fallen + a]!;
        words[row + width + x] = plain[fallen + b]!;
        words[row + 2 * width + x] = plain[fallen + c]!;
        words[row + 3 * width + x] = plain[fallen + d]!;
      }
    }
    for (; y < h; ++y) for (let x = 0; x < w; ++x) words[first + y * width + x] = plain[across[x]! + along[y]!]!;
    if (!hatch) return;
    const apart = Math.round(HATCHING * this.#ratio);
    for (y = 0; y < h; ++y) {
      const start = apart - 1 - ((left + top + y) % apart);
      for (let line = 0; line < this.#ratio; ++line) {
        for (let x = (start + line) % apart; x < w; x += apart) words[first + y * width + x] = hatched[across[x]! + along[y]!]!;
      }
    }
  }
}
