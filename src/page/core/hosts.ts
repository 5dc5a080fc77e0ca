// Linux hosts that were scanned before: what this browser remembers of them. Never a password.
import { kindOf } from './paths';
import { KIND } from './words';

export interface Host {
  path: string; // as it was typed
  name: string; // given by the user; '' for none
  scanned: number; // milliseconds since 1970
  free: number; // bytes on its disk then; 0 if unknown
}

const MOST = 30;

// Reads what was stored; anything may have been written there.
export function hostsOf(stored: string | null): Host[] {
  try {
    const list: unknown = JSON.parse(stored ?? '[]');
    return (Array.isArray(list) ? list as (Partial<Host> | null)[] : []).flatMap((one) => {
      if (typeof one?.path !== 'string' || kindOf(one.path) !== KIND.ssh) return [];
      const number = (value: unknown): number => (typeof value === 'number' && value > 0 && Number.isFinite(value) ? value : 0);
      return [{ path: one.path, name: typeof one.name === 'string' ? one.name : '', scanned: number(one.scanned), free: number(one.free) }];
    }).slice(0, MOST);
  } catch {
    return [];
  }
}

// The list with one host changed or added, newest scan first.
export const withHost = (hosts: readonly Host[], host: Host): Host[] =>
  [host, ...hosts.filter((one) => one.path !== host.path)].sort((a, b) => b.scanned - a.scanned).slice(0, MOST);

// "user@host:/path" and "ssh://user@host:port/path" as host and folder.
export function hostAndFolder(path: string): string {
  const bare = path.replace(/^ssh:\/\//i, '');
  const at = bare.slice(bare.indexOf('@') + 1);
  const slash = at.indexOf('/');
  const host = (slash < 0 ? at : at.slice(0, slash)).replace(/:\d*$/, '');
  return slash < 0 ? host : `${host} ${at.slice(slash)}`;
}
