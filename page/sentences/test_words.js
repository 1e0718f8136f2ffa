// Short words for the parts of a test, as the editor offers them.

import { has, t } from '../common/words.js';
import { sizeText } from './sentence.js';

/** @typedef {import('../common/types.js').Test} Test */

/**
 * A field's name, such as "Subject"; a header that has no words is called as it is.
 * @param {Pick<Test, 'type' | 'field'>} test
 * @returns {string}
 */
export function fieldWords({ type, field }) {
  const name = field.toLowerCase();
  const isText = type === 'string' && has(`sentence.address.${name}`);
  if (isText) return t('editor.text_of', { field });
  return has(`editor.fields.${name}`) ? t(`editor.fields.${name}`) : field;
}

/**
 * Such as "does not contain".
 * @param {Pick<Test, 'type' | 'comparator' | 'negative'>} test
 * @returns {string}
 */
export function comparatorWords({ type, comparator, negative }) {
  const kind = type === 'size' || type === 'date' ? type : 'text';
  return t(`editor.comparators.${kind}.${negative ? 'not_' : ''}${comparator}`);
}

/**
 * Such as "Subject contains quarterly", without the sentence's articles and quotes.
 * @param {Test} test
 * @returns {string}
 */
export function shortTest(test) {
  const value = test.type === 'size' ? sizeText(test.value) : test.value;
  return `${fieldWords(test)} ${comparatorWords(test)} ${value}`;
}
