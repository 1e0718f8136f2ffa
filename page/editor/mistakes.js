// What the server would refuse in a filter, found while the user can mend it.

/**
 * @typedef {import('../common/types.js').Test} Test
 * @typedef {import('../common/types.js').Action} Action
 *
 * @typedef {object} Mistake
 * @property {string} pointer its place in the filter (RFC 6901), such as "/tests/0/value"
 * @property {string} key of the words in "editor.mistakes"
 * @property {Record<string, any>} [values] for the words
 */

/** In KiB; the interpreter of scripts counts a message's bytes in 31 bits. */
export const largestSize = 2097151;

/** Whole addresses, as far as a text tells. */
const wholeAddress = /^[^\s@<>"(),:;\\]+@[^\s@<>"(),:;\\]+$/;

// biome-ignore lint/suspicious/noControlCharactersInRegex: those are what is refused
const controlCharacter = /[\u0000-\u001f\u007f-\u009f]/;

/** @param {string} text */
const needsEscapes = (text) => /["\\]/.test(text);

/** @param {Test} test */
function fieldMistake({ type, field }) {
  if (type !== 'string') return '';
  if (field === '') return 'field_missing';
  if (/^(body|size)$/i.test(field)) return 'field_no_header';
  return /^[!-9;-~]+$/.test(field) && !needsEscapes(field) ? '' : 'field_name';
}

/**
 * Whether it is the address alone that is looked at, without the name beside it.
 * @param {Test} test
 */
function addressMistake({ comparator, value }) {
  const inside = value.match(/<([^<>]*)>/)?.[1].trim() ?? '';
  if (/[ <>]/.test(value))
    return wholeAddress.test(inside) ? 'address_with_name' : 'address_with_blank';
  return comparator === 'is' && !wholeAddress.test(value) ? 'address_not_whole' : '';
}

/** @param {Test} test */
function sizeMistake({ comparator, value }) {
  if (!/^\d{1,7}$/.test(value) || Number(value) > largestSize) return 'size';
  return comparator === 'less' && Number(value) === 0 ? 'size' : '';
}

/** @param {Test} test */
function dateMistake({ value }) {
  const moment = new Date(`${value}T00:00:00Z`);
  const isDate = /^\d{4}-\d\d-\d\d$/.test(value) && !Number.isNaN(moment.getTime());
  return isDate && moment.toISOString().startsWith(value) ? '' : 'date';
}

const valueMistakes = {
  string: () => '',
  address: addressMistake,
  size: sizeMistake,
  date: dateMistake,
};

/** @param {Test} test */
function valueMistake(test) {
  if (test.value === '') return `${test.type}_missing`;
  if (needsEscapes(test.value)) return 'value_quotes';
  if (controlCharacter.test(test.value)) return 'control_character';
  return valueMistakes[test.type](test);
}

/** @param {Action} action */
function targetMistake({ method, target = '' }) {
  if (method === 'delete') return '';
  if (target === '') return 'target_missing';
  if (needsEscapes(target)) return 'target_quotes';
  if (controlCharacter.test(target)) return 'control_character';
  const isWrong = (/** @type {string} */ level) =>
    level.trim() !== level || /^\.{0,2}$/.test(level);
  return target.split('/').some(isWrong) ? 'target_levels' : '';
}

/**
 * The mistakes, in the order of the fields; none where the server is likely to take the filter.
 * @param {import('../common/types.js').Filter} filter
 * @returns {Mistake[]}
 */
export function mistakesOf(filter) {
  /** @type {Mistake[]} */
  const mistakes = [];
  /** @type {(pointer: string, key: string, values?: Record<string, any>) => void} */
  const note = (pointer, key, values) => {
    if (key !== '') mistakes.push({ pointer, key, values });
  };
  filter.tests.forEach((test, at) => {
    note(`/tests/${at}/field`, fieldMistake(test));
    const address = test.value.match(/<([^<>]*)>/)?.[1].trim();
    note(`/tests/${at}/value`, valueMistake(test), { address });
  });
  filter.actions.forEach((action, at) => {
    note(`/actions/${at}/target`, targetMistake(action));
  });
  note('/name', controlCharacter.test(filter.name) ? 'control_character' : '');
  return mistakes;
}
