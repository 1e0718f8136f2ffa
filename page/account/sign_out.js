// The way out, unless a proxy signs users in and out.

import { currentUser, Problem, signOut } from '../common/api.js';
import { el } from '../common/dom.js';
import { complain } from '../common/notices.js';
import { problemText } from '../common/problem_words.js';
import { t } from '../common/words.js';

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
 * A button that ends the session; null where no session can be ended.
 * @param {boolean} everywhere ends the sessions of all devices
 * @returns {HTMLElement | null}
 */
export function signOutButton(everywhere) {
  if (isSignedInByProxy()) return null;
  const onclick = async () => {
    try {
      if (await isEnded(everywhere)) return location.reload();
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
