// A menu at a place in the window: one column of commands, worked by pointer or by keys. It closes when
// anything else is clicked, scrolled or focused.
import { el, icon, setAttribute } from './dom';
import { KEYS } from './keys';

export interface MenuItem {
  label: string;
  act: () => void;
  icon?: string;
  keys?: string; // the shortcut that does the same
  danger?: boolean;
  checked?: boolean; // a choice that is on or off
  stays?: boolean; // the menu stays open
}

export interface MenuPlace {
  x: number;
  y: number;
  from: HTMLElement; // takes the focus back
}

const MARGIN = 8;
let close: ((giveFocus: boolean) => void) | null = null;

const itemsOf = (menu: HTMLElement): HTMLElement[] => [...menu.querySelectorAll<HTMLElement>('[role^=menuitem]')];

function move(menu: HTMLElement, event: KeyboardEvent): boolean {
  const items = itemsOf(menu);
  const at = items.indexOf(document.activeElement as HTMLElement);
  const targets: Record<string, number> = { ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: -1 };
  let next = targets[event.key];
  if (next === undefined && event.key.length === 1 && event.key !== KEYS.space) {
    // Typing goes to the next command that begins so.
    const after = [...items.slice(at + 1), ...items.slice(0, at + 1)];
    const found = after.find((item) => (item.querySelector('.label')?.textContent ?? '').toLowerCase().startsWith(event.key.toLowerCase()));
    next = found ? items.indexOf(found) : undefined;
  }
  if (next === undefined) return false;
  items[(next + items.length) % items.length]?.focus();
  return true;
}

function itemOf(item: MenuItem, done: () => void): HTMLElement {
  const choice = item.checked !== undefined;
  const made: HTMLElement = el('button', {
    type: 'button', role: choice ? 'menuitemcheckbox' : 'menuitem', tabindex: '-1', class: item.danger ? 'danger' : '', 'aria-checked': choice ? String(item.checked) : null,
    on: {
      pointerenter: () => made.focus(),
      click: () => {
        if (choice) setAttribute(made, 'aria-checked', made.getAttribute('aria-checked') === 'true' ? 'false' : 'true');
        if (!item.stays) done();
        item.act();
      },
    },
  }, choice ? icon('check') : item.icon ? icon(item.icon) : el('span', { class: 'icon' }), el('span', { class: 'label' }, item.label), item.keys ? el('kbd', {}, item.keys) : null);
  return made;
}

// `items` in groups, with a line between them.
export function openMenu(groups: readonly (readonly MenuItem[])[], label: string, place: MenuPlace): void {
  close?.(false);
  const menu = el('div', { class: 'menu', role: 'menu', 'aria-label': label });
  const end = (giveFocus: boolean): void => {
    if (close !== end) return;
    close = null;
    document.removeEventListener('pointerdown', outside, true);
    for (const type of ['scroll', 'resize', 'blur']) window.removeEventListener(type, away, type === 'scroll');
    menu.remove();
    if (giveFocus) place.from.focus();
  };
  const outside = (event: Event): void => {
    if (!menu.contains(event.target as Node)) end(false);
  };
  const away = (event: Event): void => {
    if (event.target === window || event.target === document || !menu.contains(event.target as Node)) end(false);
  };
  groups.filter((group) => group.length > 0).forEach((group, at) => {
    if (at > 0) menu.append(el('div', { role: 'separator' }));
    for (const item of group) menu.append(itemOf(item, () => end(true)));
  });
  menu.addEventListener('keydown', (event) => {
    if (event.key === 'Escape' || event.key === 'Tab') end(true);
    else if (!move(menu, event)) return;
    event.preventDefault();
    event.stopPropagation();
  });
  menu.addEventListener('focusout', (event) => {
    if (event.relatedTarget instanceof Node && !menu.contains(event.relatedTarget)) end(false);
  });
  menu.addEventListener('contextmenu', (event) => event.preventDefault());
  // A modal dialog covers everything that is not inside it.
  (place.from.closest('dialog') ?? document.body).append(menu);
  const { offsetWidth: width, offsetHeight: height } = menu;
  menu.style.left = `${Math.max(MARGIN, Math.min(place.x, innerWidth - width - MARGIN))}px`;
  menu.style.top = `${Math.max(MARGIN, Math.min(place.y, innerHeight - height - MARGIN))}px`;
  close = end;
  document.addEventListener('pointerdown', outside, true);
  window.addEventListener('scroll', away, true);
  for (const type of ['resize', 'blur']) window.addEventListener(type, away);
  itemsOf(menu)[0]?.focus({ preventScroll: true });
}

// Where a menu opens for an element.
export function placeBelow(element: HTMLElement, from = element): MenuPlace {
  const box = element.getBoundingClientRect();
  return { x: box.left, y: box.bottom + 2, from };
}
