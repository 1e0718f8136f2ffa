// What went wrong, in words of the user's language.

import { Problem } from './api.js';
import { has, t } from './words.js';

/**
 * The time that the server asks to wait.
 * @param {number} seconds
 */
export function waitText(seconds) {
  const minutes = Math.ceil(seconds / 60);
  return seconds < 60
    ? t('problem.seconds', { count: seconds })
    : t('problem.minutes', { count: minutes });
}

/**
 * What the server says itself, in English: the mistakes one by one where it names them.
 * @param {Problem} problem
 */
const detailOf = (problem) =>
  problem.errors.length > 0
    ? problem.errors.map((error) => error.detail).join('; ')
    : (problem.body.detail ?? '');

/**
 * The key of the words for a problem: by its kind, else by its status.
 * @param {Problem} problem
 */
function keyOf({ status, kind }) {
  const byKind = `problem.${kind.replaceAll('-', '_')}`;
  if (kind !== '' && has(byKind)) return byKind;
  const byStatus = `problem.status_${status}`;
  if (has(byStatus)) return byStatus;
  return status >= 500 ? 'problem.failure' : 'problem.refused';
}

/**
 * A problem as sentences that say what to do. Another error is a mistake of the page.
 * @param {unknown} problem
 * @returns {string}
 */
export function problemText(problem) {
  if (!(problem instanceof Problem)) {
    const detail = problem instanceof Error ? problem.message : String(problem);
    return t('problem.unexpected', { detail });
  }
  const text = t(keyOf(problem), { detail: detailOf(problem) });
  const { retryAfter } = problem;
  return retryAfter === null
    ? text
    : `${text} ${t('problem.wait', { time: waitText(retryAfter) })}`;
}
