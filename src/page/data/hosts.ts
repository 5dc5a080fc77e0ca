// Remembers the hosts that were scanned over ssh, in this browser.
import type { Job } from '../core/answers';
import { hostAndFolder, hostsOf, withHost, type Host } from '../core/hosts';
import { isHost, isRunning } from '../core/job';
import { changed, listen, state } from './state';
import { read, writeChoice } from './stored';

const STORED = 'vorda-hosts';

export const hosts = (): Host[] => hostsOf(read(STORED));

function store(list: Host[]): void {
  writeChoice(STORED, list);
  changed('jobs'); // the picker lists them again and keeps what is typed in it
}

const known = (path: string): Host | undefined => hosts().find((one) => one.path === path);

export const renameHost = (path: string, name: string): void => store(withHost(hosts(), { path, scanned: 0, free: 0, ...known(path), name }));
export const forgetHost = (path: string): void => store(hosts().filter((one) => one.path !== path));

// What a host's scan is called: as the user named it, or by host and folder.
export const labelOf = (job: Job): string => (isHost(job) && (job.label === '' || job.label === job.path) ? known(job.path)?.name || hostAndFolder(job.path) : job.label);

const running = new Set<number>();

listen((changes) => {
  if (!changes.has('results') && !changes.has('jobs')) return;
  for (const job of state.jobs) {
    if (isHost(job) && isRunning(job)) running.add(job.id);
    const doc = state.results.get(job.id);
    // A scan that was there before the page says nothing about now.
    if (!doc || !running.delete(job.id)) continue;
    store(withHost(hosts(), { path: job.path, name: known(job.path)?.name ?? '', scanned: Date.now(), free: doc.meta.volumeFree }));
  }
});
