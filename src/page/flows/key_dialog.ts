// Asks for the key of an agent or a server. The key is kept in session storage only.
import { t } from '../core/i18n';
import { useKey } from '../data/api';
import { state } from '../data/state';
import { openDialog } from '../ui/dialog';
import { button, el, field, onEnter, setText } from '../ui/dom';

// Where the key comes from: a program that may be ended here serves this machine only, and gave its key to
// the page that it opened itself.
export const keyText = (): string => t(state.hello.canQuit ? 'keyTextLocked' : 'keyText');

const asking = { open: false };

export function askForKey(wrong: boolean, then: () => void): void {
  if (asking.open) return;
  asking.open = true;
  const input = el('input', { type: 'password', class: 'input', autocomplete: 'off', spellcheck: 'false' });
  const problem = el('p', { class: 'wrong', role: 'alert' }, wrong ? t('keyWrong') : '');
  const enter = (): void => {
    const key = input.value.trim();
    if (!key) {
      setText(problem, t('keyMissing'));
      input.focus();
      return;
    }
    useKey(key);
    input.value = '';
    dialog.close();
    then();
  };
  onEnter(input, enter);
  const dialog = openDialog({
    title: t('keyTitle'), width: 'small', first: input,
    body: [el('p', {}, keyText()), field(t('keyLabel'), input, { hint: t('keyHint') }), problem],
    ends: [button(t('cancel'), () => dialog.close()), button(t('keyGo'), enter, { class: 'first', icon: 'key' })],
    onClose: () => {
      asking.open = false;
    },
  });
}
