// What a file or a folder takes on the disk, and what else the program knows about a file.
import type { FileAnswer } from '../core/answers';
import { isFolder, type Entry } from '../core/entry';
import { date, phrase, size, t } from '../core/i18n';
import { shown } from '../core/paths';
import { api, query } from '../data/api';
import { jobById } from '../data/state';
import { el, fact, fill, wholePath } from '../ui/dom';

const LISTED = 30;
const FETCH_MS = 200;
const SHARED = 0.9; // less than this comes back: the rest is told

// The figures of the scan, as far as it has them.
export function ownSizes({ a, x, cl, ...entry }: Entry): HTMLElement[] {
  const shared = a !== undefined && x !== undefined && x < a * SHARED ? t(isFolder({ a, x, cl, ...entry }) ? 'dtShared' : 'dtSharedFile', { size: size(a - x) }) : '';
  return [
    ...(a === undefined ? [] : fact(t('measure_a'), size(a))),
    ...(x === undefined ? [] : fact(t('measure_x'), shared ? `${size(x)} (${shared})` : size(x))),
    ...(cl ? fact(t('cloud_only'), size(cl)) : []),
  ];
}

function factsOf({ names = [], allNames, streams = [], links, cloud, compressed, sparse, created, accessed }: FileAnswer): HTMLElement {
  const state = [cloud && cloud !== 'no' ? phrase('cloud_', cloud) : '', compressed && compressed !== 'no' ? phrase('packed_', compressed) : '', sparse ? t('dtSparse') : ''].filter(Boolean);
  return el('section', { class: 'stack' },
    el('dl', {},
      state.length > 0 ? fact(t('dtState'), state.join(', ')) : null,
      created ? fact(t('dtCreated'), date(created)) : null,
      accessed ? fact(t('dtAccessed'), date(accessed)) : null),
    (links ?? 1) > 1 ? el('div', { class: 'stack' }, el('h3', {}, t(allNames ? 'dtNames' : 'dtNamesSome', { n: links ?? names.length })),
      el('ul', { class: 'small' }, names.slice(0, LISTED).map((name) => el('li', {}, wholePath(name))))) : null,
    streams.length > 0 ? el('div', { class: 'stack' }, el('h3', {}, t('dtStreams')),
      el('ul', { class: 'small' }, streams.slice(0, LISTED).map((stream) => el('li', { class: 'line' }, el('bdi', {}, shown(stream.n.slice(0, 200))), el('span', { class: 'push' }, size(stream.s)))))) : null);
}

const pending = { timer: 0 };
const facts = new Map<string, FileAnswer | null>();

// Filled in once the program has answered; empty where it knows nothing more.
export function fileFacts(job: number, path: string): HTMLElement {
  const place = el('div', {});
  const key = `${job} ${path}`;
  const known = facts.get(key);
  clearTimeout(pending.timer);
  if (known !== undefined) {
    fill(place, known && factsOf(known));
    return place;
  }
  pending.timer = window.setTimeout(() => {
    if (!jobById(job)) return; // closed or made again meanwhile
    api<FileAnswer>(query('/api/file', { id: job, p: path })).then((answer) => {
      if (facts.size > LISTED) facts.clear();
      facts.set(key, answer.error ? null : answer);
      if (!answer.error) fill(place, factsOf(answer));
    }, () => {});
  }, FETCH_MS);
  return place;
}
