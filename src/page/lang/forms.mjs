// The dictionaries as the built page holds them: their texts in the order of the English keys, in one string
// that is taken apart when its language is chosen. A text that counts has the forms one, other and,
// where it does not follow from these, many.

export const BETWEEN_TEXTS = '~';
const BETWEEN_FORMS = '|';

// French, Spanish and Portuguese say "1 million of files": the form for millions of a text that counts.
const ofMillions = (other, french) => other.replace(/\{n\} (?=(.))/, (_, next) => (french && /[aeiouyéèêh]/i.test(next) ? '{n} d’' : '{n} de '));

// An empty form for millions says that it is the other one.
function formsIn(text, french) {
  if (typeof text === 'string') return [text];
  const { one, other, many = ofMillions(other, french) } = text;
  return many === ofMillions(other, french) ? [one, other] : [one, other, many === other ? '' : many];
}

export function packed(texts, french) {
  const forms = texts.map((text) => formsIn(text, french));
  const wrong = forms.flat().find((form) => form.includes(BETWEEN_TEXTS) || form.includes(BETWEEN_FORMS));
  if (wrong !== undefined) throw new Error(`a text has ${BETWEEN_TEXTS} or ${BETWEEN_FORMS} in it: ${wrong}`);
  return forms.map((list) => list.join(BETWEEN_FORMS)).join(BETWEEN_TEXTS);
}

// The keys of all texts: the numbers and then the names, an order that objects keep.
export const numbersAnd = (count, names) => [...Array.from({ length: count }, (_, i) => i + 1), ...names.split(BETWEEN_TEXTS)];

// And back, as a dictionary with these keys.
export const unpacked = (keys, text, french) => Object.fromEntries(text.split(BETWEEN_TEXTS).map((forms, i) => {
  const [one, other, many] = forms.split(BETWEEN_FORMS);
  return [keys[i], other === undefined ? one : { one, other, many: many === '' ? other : many ?? ofMillions(other, french) }];
}));
