// Numbers for the keys of texts. A key costs its length wherever a text is used and once more in the
// dictionary, so the built page has numbers instead: t('acBusy') becomes t(17) there.

const COMPOSED = /_/; // keys put together while the page runs: the types of core/i18n.ts allow no others there
const LITERAL = /'(\w+)'/g;
const USED = /\b(?:t|parts)\('(\w+)'/g;
const WORD = /\w+/g;

function counted(text, pattern) {
  const counts = new Map();
  for (const [whole, word = whole] of text.matchAll(pattern)) counts.set(word, (counts.get(word) ?? 0) + 1);
  return (word) => counts.get(word) ?? 0;
}

// A key has a number only if each literal that spells it is surely the key. Either all of them are given to t() or
// parts(); or the key has a capital inside and is nothing else in the sources, such as the name of a property. No word
// of the program or of the browser that the page spells out is like that. All literals of the key are replaced, so
// what compares them agrees.
export function numberedKeys(keys, sources) {
  const all = sources.join('\n');
  const [literals, used, words] = [counted(all, LITERAL), counted(all, USED), counted(all, WORD)];
  const isKey = (key) => literals(key) === used(key) || (/[A-Z]/.test(key) && literals(key) === words(key));
  // From 1, since 0 would be no key.
  const numbers = new Map(keys.filter((key) => !COMPOSED.test(key) && isKey(key)).map((key, i) => [key, i + 1]));
  return {
    keys: [...numbers.keys()],
    named: keys.filter((key) => !numbers.has(key)),
    replaced: (source) => source.replace(LITERAL, (literal, word) => String(numbers.get(word) ?? literal)),
  };
}

// Throws if a script still has a literal of a key that has a number: its text would not be found.
export function checkNumbered(keys, script) {
  const literals = new Set(Array.from(script.matchAll(/(["'`])(\w+)\1/g), ([, , word]) => word));
  const left = keys.filter((key) => literals.has(key));
  if (left.length > 0) throw new Error(`keys of texts that have a number are spelled out: ${left.join(', ')}`);
}
