// The way out, unless a proxy signs users in and out.

import { currentUser, Problem, signOut } from '../common/api.js';
import { el, newId } from '../common/dom.js';
import { complain } from '../common/notices.js';
import { problemText } from '../common/problem_words.js';
import { t } from '../common/words.js';
import { draftIds, dropAllDrafts } from '../editor/drafts.js';

/** It stands in the tab's memory once the page has learnt that a proxy signs users in. */
const proxyKey = 'quarrow.proxySignsIn';

/** @returns {boolean} whether this page can't sign anybody out */
export const isSignedInByProxy = () => sessionStorage.getItem(proxyKey) !== null;

/**
 * Ends the session. Throws a Problem.
 * @param {boolean} everywhere
 * @returns {Promise<boolean>} false where a proxy keeps the user signed in
 */
async function isEnded(everywhere) {
  try {
    await signOut(everywhere);
  } catch (problem) {
    if (problem instanceof Problem && problem.status === 403) return false;
    throw problem;
  }
  return (await currentUser()) === null;
}

/**
 * Asks whether rules that are not saved may be dropped, in a dialog.
 * @param {number} count of them
 * @returns {Promise<boolean>}
 */
function askToDrop(count) {
  return new Promise((resolve) => {
    const titleId = newId();
    const choice = (/** @type {string} */ className, /** @type {boolean} */ isAgreed) => {
      const onclick = () => {
        resolve(isAgreed);
        dialog.close();
      };
      const words = isAgreed ? 'session.drop_and_sign_out' : 'session.stay';
      return el('button', { type: 'button', class: className, onclick }, t(words));
    };
    const dialog = el(
      'dialog',
      { 'aria-labelledby': titleId },
      el('h2', { id: titleId }, t('session.drop_title')),
      el('p', {}, t('session.drop_count', { count })),
      el('p', {}, t('session.drop_reason')),
      el('div', { class: 'buttons' }, choice('danger', true), choice('', false)),
    );
    dialog.addEventListener('close', () => {
      resolve(false);
      dialog.remove();
    });
    document.body.append(dialog);
    dialog.showModal();
  });
}

/**
 * A button that ends the session, and leaves nothing of the user's on the device; null where no session can be ended.
 * @param {boolean} everywhere ends the sessions of all devices
 * @returns {HTMLElement | null}
 */
export function signOutButton(everywhere) {
  if (isSignedInByProxy()) return null;
  const onclick = async () => {
    const count = draftIds().length;
    if (count > 0 && !(await askToDrop(count))) return;
    try {
      if (await isEnded(everywhere)) {
        dropAllDrafts();
        return location.reload();
      }
    } catch (problem) {
      return complain(problemText(problem), { label: t('app.try_again'), action: onclick });
    }
    sessionStorage.setItem(proxyKey, 'yes');
    for (const button of document.querySelectorAll('.sign-out')) button.remove();
    complain(t('session.not_here'));
  };
  const words = everywhere ? 'session.sign_out_everywhere' : 'session.sign_out';
  return el('button', { type: 'button', class: 'sign-out', onclick }, t(words));
}
