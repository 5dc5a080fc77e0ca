// What the address asks for that opens the page.

export interface Opening {
  key: string; // '' if there is none
  scan: string; // the path to scan, or ''
  search: string; // the query without the key
  scanned: string; // the same without the path too
  fragment: string; // the section, without "#"
}

const IN_FRAGMENT = 'key=';

function decoded(text: string): string {
  try {
    return decodeURIComponent(text);
  } catch {
    return text; // a key with a percent sign of its own
  }
}

const queryText = (parts: string[]): string => (parts.some(Boolean) ? `?${parts.filter(Boolean).join('&')}` : '');

export function openingOf(search: string, hash: string): Opening {
  const fields = new URLSearchParams(search);
  // The program puts its key into the address as it is, and a second question mark before the path.
  const own = /^\?token=([^]*?)(?:[?&]scan=([^]*))?$/.exec(search);
  const scan = own ? decoded((own[2] ?? '').replaceAll('+', ' ')) : fields.get('scan') ?? '';
  const key = own ? decoded(own[1]!) : fields.get('token') ?? '';
  for (const name of ['token', 'scan']) fields.delete(name);
  const rest = own ? '' : fields.toString();
  const fragment = hash.slice(1);
  const inFragment = fragment.startsWith(IN_FRAGMENT);
  return {
    key: inFragment ? decoded(fragment.slice(IN_FRAGMENT.length)) : key, scan,
    search: queryText([scan && `scan=${encodeURIComponent(scan)}`, rest]), scanned: queryText([rest]),
    fragment: inFragment ? '' : fragment,
  };
}
