// Building elements. Text is only ever set as text, since names in the program's answers are hostile
// input.
import { displayParts, shorten, shown } from '../core/paths';
import { t } from '../core/i18n';
import { KEYS } from './keys';

export type Child = Node | string | number | null | undefined | false | readonly Child[];

type Handlers = { [K in keyof HTMLElementEventMap]?: (event: HTMLElementEventMap[K]) => void };

export type Attribute = string | number | boolean | null | undefined;

export interface Props {
  class?: string;
  on?: Handlers;
  [attribute: string]: Attribute | Handlers;
}

export function append(parent: Node, ...children: Child[]): void {
  for (const child of children) {
    if (child === null || child === undefined || child === false) continue;
    if (child instanceof Node) parent.appendChild(child);
    else if (typeof child === 'object') append(parent, ...child);
    else parent.appendChild(document.createTextNode(String(child)));
  }
}

// Creates an element with attributes (true: present; false, null, undefined: absent), handlers and
// children.
export function el<K extends keyof HTMLElementTagNameMap>(tag: K, props: Props = {}, ...children: Child[]): HTMLElementTagNameMap[K] {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(props)) {
    if (typeof value === 'object' && value !== null) {
      for (const [type, handler] of Object.entries(value)) element.addEventListener(type, handler as EventListener);
    } else if (value !== false && value !== null && value !== undefined) {
      element.setAttribute(name, value === true ? '' : String(value));
    }
  }
  append(element, ...children);
  return element;
}

export function fill(element: Element, ...children: Child[]): void {
  element.replaceChildren();
  append(element, ...children);
}

// Sets text only if it differs, to avoid needless announcements and layout.
export function setText(element: Element, text: string): void {
  const { firstChild } = element;
  // Changing a text node costs less than replacing it.
  if (firstChild instanceof Text && firstChild === element.lastChild) {
    if (firstChild.data !== text) firstChild.data = text;
  } else if (element.textContent !== text) {
    element.textContent = text;
  }
}

export function setAttribute(element: Element, name: string, value: string | number | boolean | null): void {
  const wanted = value === false || value === null ? null : value === true ? 'true' : String(value);
  if (element.getAttribute(name) === wanted) return;
  if (wanted === null) element.removeAttribute(name);
  else element.setAttribute(name, wanted);
}

const SVG = 'http://www.w3.org/2000/svg';

export function icon(name: string, className = ''): SVGSVGElement {
  const svg = document.createElementNS(SVG, 'svg');
  svg.setAttribute('class', className ? `icon ${className}` : 'icon');
  svg.setAttribute('aria-hidden', 'true');
  const use = document.createElementNS(SVG, 'use');
  use.setAttribute('href', `#i-${name}`);
  svg.append(use);
  return svg;
}

export function setIcon(svg: SVGSVGElement, name: string): void {
  const use = svg.firstElementChild;
  if (use) setAttribute(use, 'href', `#i-${name}`);
}

export interface ButtonOptions {
  icon?: string;
  class?: string;
  label?: string; // accessible name, if the text is not enough
  disabled?: boolean;
  [attribute: string]: Attribute;
}

export function button(content: string, action: (event: MouseEvent) => void, options: ButtonOptions = {}): HTMLButtonElement {
  const { icon: iconName, class: className, label, ...attributes } = options;
  const made: HTMLButtonElement = el('button', { type: 'button', class: `button ${className ?? ''}`.trim(), 'aria-label': label, title: label && !content ? label : null, ...attributes, on: { click: (event) => {
    if (made.getAttribute('aria-disabled') !== 'true') action(event);
  } } },
    iconName ? icon(iconName) : null, content);
  return made;
}

// Disables a button without taking the focus away from it.
export const rest = (made: HTMLButtonElement, yes: boolean): void => setAttribute(made, 'aria-disabled', yes);

// A button with an icon only; its label is the accessible name and the tooltip.
export const iconButton = (iconName: string, label: string, action: (event: MouseEvent) => void, options: ButtonOptions = {}): HTMLButtonElement =>
  button('', action, { icon: iconName, label, class: `plain bare ${options.class ?? ''}`, ...Object.fromEntries(Object.entries(options).filter(([key]) => key !== 'class')) });

const MOST_INLINE = 520;

// A name or path as isolated text, at most a few lines long.
export const inert = (text: string): HTMLElement => el('bdi', {}, shorten(shown(text), MOST_INLINE));

// A path on one line, truncated before its file name if there is not enough room.
export function cutPath(path: string): HTMLElement {
  const { head, tail } = displayParts(path);
  // Screen readers get it in one piece; two parts would be read with a pause between them.
  return el('bdi', { class: 'cut' }, el('span', { class: 'heard' }, shown(path.slice(0, 4000))),
    el('span', { class: 'head', 'aria-hidden': 'true' }, head), el('span', { class: 'tail', 'aria-hidden': 'true' }, tail));
}

export const wholePath = (path: string): HTMLElement => el('bdi', { class: 'path' }, shown(path));

export function meter(share: number, className = ''): HTMLElement {
  const bar = el('span', { class: 'moves' });
  bar.style.width = `${Math.max(0, Math.min(1, share)) * 100}%`;
  return el('span', { class: `meter ${className}`.trim(), 'aria-hidden': 'true' }, bar);
}

let fields = 0;

// A form control with its label and hint.
export function field(label: string, control: HTMLElement, options: { hint?: string; class?: string; after?: Child } = {}): HTMLElement {
  const id = `f${++fields}`;
  control.id = id;
  const hint = options.hint ? el('span', { class: 'hint', id: `${id}h` }, options.hint) : null;
  if (hint) control.setAttribute('aria-describedby', hint.id);
  return el('div', { class: `field ${options.class ?? ''}`.trim() }, el('label', { for: id }, label), hint, control, options.after);
}

export function choice(type: 'checkbox' | 'radio', label: Child, options: Props & { hint?: string }): HTMLElement {
  const { hint, ...props } = options;
  return el('label', { class: 'choice' }, el('input', { type, ...props }), el('span', {}, label, hint ? el('span', { class: 'hint' }, el('br'), hint) : null));
}

// A select of these values, with a text for each.
export function select<V extends string>(values: readonly V[], chosen: V, words: (value: V) => string, choose: (value: V) => void, props: Props = {}): HTMLSelectElement {
  const made = el('select', { class: 'input', ...props, on: { change: () => choose(made.value as V) } },
    values.map((value) => el('option', { value, selected: value === chosen }, words(value))));
  return made;
}

// Enter in a text field does the same as the button beside it.
export function onEnter(input: HTMLInputElement, action: () => void): void {
  input.addEventListener('keydown', (event) => {
    if (event.key !== KEYS.enter) return;
    event.preventDefault();
    action();
  });
}

// A button that looks like a link.
export const linkButton = (content: Child, action: () => void, props: Props = {}): HTMLButtonElement =>
  el('button', { type: 'button', class: 'link', ...props, on: { click: action } }, content);

export const panel = (...content: Child[]): HTMLElement => el('section', { class: 'panel stack' }, content);

// A line of a list of facts.
export const fact = (label: string, ...value: Child[]): HTMLElement[] => [el('dt', {}, label), el('dd', {}, value)];

export const heading = (text: string): HTMLHeadingElement => el('h1', { tabindex: '-1' }, text);

export const loading = (): HTMLElement => el('p', { class: 'muted', role: 'status' }, `${t('loading')}…`);
