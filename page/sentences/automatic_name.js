// The name that a rule gets from what it does.

import { t } from '../common/words.js';
import { folderText } from './sentence.js';
import { shortTest } from './test_words.js';

/** In characters; a longer value says no more in a list. */
const longestValue = 40;

/** @param {string} text */
function shortened(text) {
  const characters = [...text];
  if (characters.length <= longestValue) return text;
  return `${characters.slice(0, longestValue - 1).join('')}…`;
}

/** @param {import('../common/types.js').Action | undefined} action */
function destination(action) {
  if (!action) return '';
  return action.method === 'delete' ? t('editor.trash') : folderText(action.target ?? '');
}

/**
 * Such as "Subject contains quarterly → Reports", of the first test that has a value and the first
 * action; empty while there is no such test.
 * @param {import('../common/types.js').Filter} filter
 * @returns {string}
 */
export function automaticName(filter) {
  const tests = filter.tests.filter((test) => test.value.trim() !== '');
  if (tests.length === 0) return '';
  const test = shortTest({ ...tests[0], value: shortened(tests[0].value) });
  const more = tests.length > 1 ? ` ${t('editor.and_more', { count: tests.length - 1 })}` : '';
  const target = destination(filter.actions[0]);
  return `${test}${more}${target === '' ? '' : ` → ${target}`}`;
}
