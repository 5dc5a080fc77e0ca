// What the frame of the page needs to know about a section.
import type { Change } from '../data/state';

export type Changes = ReadonlySet<Change>;

export interface Screen {
  root: HTMLElement;
  update?: (changes: Changes) => void;
  leave?: () => void;
  detailed?: boolean; // has the details pane beside it
  drawer?: boolean; // or, to have more room, as a drawer above it
}
