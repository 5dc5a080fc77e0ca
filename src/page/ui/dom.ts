// Making elements. Text is only ever set as text: what the program reports is hostile input.
import { displayParts, shorten, shown } from '../core/paths';
import { t } from '../core/i18n';

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

// An element with attributes (true: present, false, null and undefined: absent), handlers and children.
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

// Sets text only when it differs, so that nothing is announced or laid out anew for no change.
export function setText(element: Element, text: string): void {
  if (element.textContent !== text) element.textContent = text;
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
  label?: string; // its accessible name where the text says less
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

// A button with nothing to do for now keeps the focus, if it has it, and does nothing.
export const rest = (made: HTMLButtonElement, yes: boolean): void => setAttribute(made, 'aria-disabled', yes);

// A button that is only a picture; its name is heard and shown as a tip.
export const iconButton = (iconName: string, label: string, action: (event: MouseEvent) => void, options: ButtonOptions = {}): HTMLButtonElement =>
  button('', action, { icon: iconName, label, class: `plain bare ${options.class ?? ''}`, ...Object.fromEntries(Object.entries(options).filter(([key]) => key !== 'class')) });

const MOST_INLINE = 520;

// A name or path as inert text, no longer than a few lines.
export const inert = (text: string): HTMLElement => el('bdi', {}, shorten(shown(text), MOST_INLINE));

// A path on one line, cut in front of its file name where there is no room.
export function cutPath(path: string): HTMLElement {
  const { head, tail } = displayParts(path);
  // Heard as a whole: two parts side by side would be read with a gap between them.
  return el('bdi', { class: 'cut' }, el('span', { class: 'heard' }, shown(path.slice(0, 4000))),
    el('span', { class: 'head', 'aria-hidden': 'true' }, head), el('span', { class: 'tail', 'aria-hidden': 'true' }, tail));
}

export const wholePath = (path: string): HTMLElement => el('bdi', { class: 'path' }, shown(path));

export function meter(share: number, className = ''): HTMLElement {
  const bar = el('span', { class: 'moves' });
  bar.style.width = `${Math.max(0, Math.min(1, share)) * 100}%`;
  return el('span', { class: `meter ${className}`.trim(), 'aria-hidden': 'true' }, bar);
}

// A field with its label; the label names the control.
let fields = 0;
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

export const heading = (text: string): HTMLHeadingElement => el('h1', { tabindex: '-1' }, text);

export const loading = (): HTMLElement => el('p', { class: 'muted', role: 'status' }, `${t('loading')}…`);
