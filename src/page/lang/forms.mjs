// Plural forms as the built page holds them: a list of one, other and, where it does not follow from these, many.

// French, Spanish and Portuguese say "1 million of files": the form for millions of a text that counts.
export const ofMillions = (other, french) => other.replace(/\{n\} (?=(.))/, (_, next) => (french && /[aeiouyéèêh]/i.test(next) ? '{n} d’' : '{n} de '));

// The list for a text; 0 says that the form for millions is the other one.
export const listed = (text, french) => {
  if (typeof text === 'string') return text;
  const { one, other, many = ofMillions(other, french) } = text;
  return many === ofMillions(other, french) ? [one, other] : [one, other, many === other ? 0 : many];
};

// And back.
export const formsOf = (text, french) => (typeof text === 'string' ? text
  : { one: text[0], other: text[1], many: text[2] === 0 ? text[1] : text[2] ?? ofMillions(text[1], french) });
