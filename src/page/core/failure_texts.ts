// Which text explains which failure word.
import type { Key } from '../lang/shape';

const ERRORS: Record<string, Key> = {
  noSuchDir: 'eNoSuchDir', nopath: 'eNoSuchDir', notabsolute: 'eNoSuchDir', scanFailed: 'eScanFailed', noMemory: 'eNoMemory', cancelled: 'eCancelled',
  sshTarget: 'eSshTarget', sshMissing: 'eSshMissing', sshEmpty: 'eSshEmpty', sshPipe: 'eSshPipe', sshDenied: 'eSshDenied',
  'sshFailed:1': 'eSshFailed1', sshTooLarge: 'eSshTooLarge',
  mftDenied: 'eMftDenied',
  mftOpenFailed: 'eMftGeneric', mftBoot: 'eMftGeneric', mftNotNtfs: 'eMftGeneric', mftLayout: 'eMftGeneric',
  mftUnreadable: 'eMftGeneric', mftCorrupt: 'eMftGeneric', mftNoData: 'eMftGeneric', mftRecordCount: 'eMftGeneric',
  mftMemory: 'eMftGeneric',
  unreadable: 'eUnreadable', elevateDenied: 'eElevateDenied', elevateRefused: 'eElevateRefused', quitRefused: 'eQuitRefused',
  updateOffline: 'eUpdateOffline', updateAnswer: 'eUpdateAnswer', needFilter: 'fiNotYet',
  noJob: 'eNoJob', notAllowed: 'eNotAllowed', programRefused: 'eProgramRefused', missing: 'r_missing', toolong: 'r_toolong', ambiguous: 'r_ambiguous', emptyFailed: 'eEmptyFailed', logUnreadable: 'eLogUnreadable', noPreview: 'eNoPreview', notScanned: 'eNotScanned',
  foreignOrigin: 'eForeignOrigin', tooManyKeys: 'eTooManyKeys', tooManyFields: 'eTooManyFields', searchFailed: 'eInternalError', internalError: 'eInternalError', '': 'eScanFailed',
  // Phrases of the program for requests this page does not normally make.
  'onbekend eindpunt': 'eUnknownRequest', 'onjuiste of ontbrekende sleutel': 'keyWrong',
  'geen pad opgegeven': 'eNoSuchDir', 'opdracht onbekend': 'eNoJob', 'nog niet klaar': 'eNotReady',
  'niets opgegeven': 'delNothing',
  incomplete: 'eIncomplete', aborted: 'delAborted', offline: 'eOffline',
};

// Words that are followed by a colon and a code.
const WITH_CODE = new Map<string, Key>([['failed', 'delFailed'], ['sshFailed', 'eSshFailed']]);

export interface Wording {
  key: Key | null; // null: no text, show the word itself
  code?: string; // the number that came with the word
}

export function wordingOf(word: string): Wording {
  if (Object.hasOwn(ERRORS, word)) return { key: ERRORS[word]! };
  const colon = word.indexOf(':');
  const key = colon > 0 ? WITH_CODE.get(word.slice(0, colon)) : undefined;
  return key ? { key, code: word.slice(colon + 1) } : { key: null };
}
