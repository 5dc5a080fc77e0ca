// Repeats a request while there is something to wait for: at a steady rate while the page is visible,
// slowly while it is hidden, and with growing pauses while the server can't be reached.
import { state } from './state';

const POLL_MS = 400;
const HIDDEN_POLL_MS = 5000;
const MAX_WAIT_MS = 10_000;
const MAX_DOUBLINGS = 5;

const interval = (): number => (document.hidden ? HIDDEN_POLL_MS : POLL_MS);

export const pollPause = (): Promise<void> => new Promise((resolve) => setTimeout(resolve, interval()));

export class Poller {
  #timer = 0;
  #failures = 0; // rounds in a row in which the server could not be reached
  #busy = false;
  #again = false;
  readonly #ask: () => Promise<boolean>;

  // `ask` makes the request and deals with its failure; it returns whether to go on.
  constructor(ask: () => Promise<boolean>) {
    this.#ask = ask;
    document.addEventListener('visibilitychange', () => {
      if (!document.hidden && this.#timer !== 0) void this.poll();
    });
  }

  // Asks now. During a request, asks once more as soon as that has ended.
  async poll(): Promise<void> {
    clearTimeout(this.#timer);
    this.#timer = 0;
    this.#again = this.#busy;
    if (this.#busy) return;
    this.#busy = true;
    let goOn: boolean;
    do {
      this.#again = false;
      goOn = await this.#ask();
    } while (this.#again);
    this.#busy = false;
    this.#failures = state.offline ? this.#failures + 1 : 0;
    if (!goOn || state.ended) return;
    const wait = Math.min(MAX_WAIT_MS, interval() * 2 ** Math.min(MAX_DOUBLINGS, this.#failures));
    this.#timer = window.setTimeout(() => void this.poll(), wait);
  }
}
