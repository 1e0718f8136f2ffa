// Changes that the user makes with one click, and what becomes of those that fail.

import { Problem } from '../common/api.js';
import { complain } from '../common/notices.js';
import { problemText } from '../common/problem_words.js';
import { t } from '../common/words.js';
import { resolveConflict } from './conflict.js';

/**
 * Whether the same may be done a little later.
 * @param {Problem} problem
 */
const mayPass = ({ status }) => status === 0 || status === 429 || status >= 500;

/**
 * Makes a change. Where the rules were changed elsewhere meanwhile, the user says what they want;
 * what else goes wrong is said, with another try.
 * @template Answer
 * @param {string} what the change in words
 * @param {() => Promise<Answer>} work
 * @param {(answer: Answer) => void} [onDone]
 * @returns {Promise<void>}
 */
export async function attempt(what, work, onDone) {
  const again = () => attempt(what, work, onDone);
  /** @type {Answer} */
  let answer;
  try {
    answer = await work();
  } catch (problem) {
    if (!(problem instanceof Problem)) throw problem;
    if (problem.status === 412) {
      resolveConflict(problem, { what, retry: again });
      return;
    }
    const choice = { label: t('app.try_again'), action: again };
    complain(`${what}: ${problemText(problem)}`, mayPass(problem) ? choice : undefined);
    return;
  }
  onDone?.(answer);
}
