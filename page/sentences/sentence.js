// Rules as sentences in the user's language.

import { el } from '../common/dom.js';
import { day, has, language, number, parts, t } from '../common/words.js';

/**
 * @typedef {import('../common/dom.js').Child} Child
 * @typedef {import('../common/types.js').Test} Test
 * @typedef {import('../common/types.js').Action} Action
 * @typedef {import('../common/types.js').Filter} Filter
 * @typedef {(text: string, kind: 'value' | 'folder') => Child} Show what a rule's own words become
 */

/** @type {Show} */
const asNode = (text, kind) => el('bdi', { class: kind }, text);

/** @type {Show} */
const asText = (text) => t('sentence.quoted', { text });

/**
 * A size that is given in KB, with the largest unit that makes it a whole number.
 * @param {string} kilobytes
 */
export function sizeText(kilobytes) {
  if (!/^\d{1,9}$/.test(kilobytes)) return kilobytes;
  let count = Number(kilobytes);
  const units = ['KB', 'MB', 'GB'];
  while (units.length > 1 && count !== 0 && count % 1024 === 0) {
    count /= 1024;
    units.shift();
  }
  return `${number(count)} ${units[0]}`;
}

/**
 * The folder's name as it is shown.
 * @param {string} folder
 */
export const folderText = (folder) => (folder === 'INBOX' ? t('sentence.inbox') : folder);

/** @param {Test} test */
function valueText({ type, value }) {
  if (type === 'size') return sizeText(value);
  return type === 'date' ? day(value) : value;
}

/**
 * What a test is about.
 * @param {Pick<Test, 'type' | 'field'>} test
 * @returns {string}
 */
export function fieldText({ type, field }) {
  const key = `sentence.field.${field.toLowerCase()}`;
  const isPlainText = type === 'string' && has(`sentence.address.${field.toLowerCase()}`);
  if (isPlainText) return t('sentence.text_of', { name: field });
  return has(key) ? t(key) : t('sentence.header', { name: field });
}

/**
 * @param {Test} test
 * @param {Show} show
 * @returns {Child[]}
 */
function testParts(test, show) {
  const field = test.field.toLowerCase();
  const none = `sentence.no_field.${field}`;
  const isOfAddress = test.type === 'address';
  const special = `sentence.${test.type}_${field}_${test.comparator}`;
  const plain = `sentence.${test.type}_${test.comparator}`;
  const key = has(special) ? special : plain;
  const isNone = isOfAddress && test.negative && key === plain && has(none);
  const values = {
    field: isNone ? t(none) : fieldText(test),
    value: show(valueText(test), 'value'),
  };
  const said = parts(test.negative && !isNone ? `${key}_not` : key, values);
  return test.match_case ? [...said, ' ', t('sentence.capitals')] : said;
}

/**
 * @param {Action} action
 * @param {Show} show
 * @returns {Child[]}
 */
const actionParts = ({ method, target }, show) =>
  parts(`sentence.${method}`, { folder: show(folderText(target ?? ''), 'folder') });

/**
 * The pieces as a list in the user's language: "a, b and c".
 * @param {Child[][]} pieces
 * @param {'conjunction' | 'disjunction'} type
 * @returns {Child[]}
 */
function listed(pieces, type) {
  const places = pieces.map((_, at) => String(at));
  return new Intl.ListFormat(language, { type })
    .formatToParts(places)
    .flatMap((part) => (part.type === 'element' ? pieces[Number(part.value)] : [part.value]));
}

/**
 * @param {Filter} filter
 * @param {Show} show
 * @returns {Child[]}
 */
function filterParts({ relation, tests, actions }, show) {
  const said = listed(
    actions.map((action) => actionParts(action, show)),
    'conjunction',
  );
  if (tests.length === 0) return between('sentence.never', { actions: said });
  const type = relation === 'anyof' ? 'disjunction' : 'conjunction';
  const conditions = listed(
    tests.map((test) => testParts(test, show)),
    type,
  );
  return between('sentence.when', { tests: conditions, actions: said });
}

/**
 * The words with several pieces in place of each "{name}".
 * @param {string} key
 * @param {Record<string, Child[]>} lists
 * @returns {Child[]}
 */
function between(key, lists) {
  const names = Object.keys(lists);
  const marks = Object.fromEntries(names.map((name) => [name, { name }]));
  return parts(key, marks).flatMap((part) =>
    typeof part === 'string' ? [part] : lists[/** @type {any} */ (part).name],
  );
}

/**
 * A test as a clause: "the subject contains quarterly", its value emphasised.
 * @param {Test} test
 */
export const testSentence = (test) => testParts(test, asNode);

/**
 * An action as a clause: "move it to Reports".
 * @param {Action} action
 */
export const actionSentence = (action) => actionParts(action, asNode);

/**
 * A rule as a sentence: "When the subject contains quarterly, move it to Reports."
 * @param {Filter} filter
 */
export const sentence = (filter) => filterParts(filter, asNode);

/**
 * The same as a text, with quotes.
 * @param {Filter} filter
 * @returns {string}
 */
export const sentenceText = (filter) => filterParts(filter, asText).join('');

/**
 * @param {Test} test
 * @returns {string}
 */
export const testText = (test) => testParts(test, asText).join('');

/**
 * @param {Action} action
 * @returns {string}
 */
export const actionText = (action) => actionParts(action, asText).join('');
