// A failed request: the program's word for it and the text that can be shown.
import { t } from './i18n';
import { FAILURE } from './words';

export class Failure extends Error {
  constructor(readonly word: string, message: string, readonly status = 0) {
    super(message);
  }
}

export const messageOf = (error: unknown): string => (error instanceof Failure ? error.message : t('unexpected'));
export const wordOf = (error: unknown): string => (error instanceof Failure ? error.word : FAILURE.unexpected);
