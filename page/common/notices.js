// What the page says beside its views: to ears, as complaints, and as offers.

import { el } from './dom.js';
import { t } from './words.js';

/** @typedef {{label: string, action: () => void}} Choice a button of a notice */

/** @type {HTMLElement | null} where the focus was before it came into a notice */
let placeBefore = null;

const place = (/** @type {string} */ id) =>
  /** @type {HTMLElement} */ (document.getElementById(id));

document.addEventListener('focusin', ({ target }) => {
  if (target instanceof HTMLElement && !place('notices').contains(target)) placeBefore = target;
});

/**
 * Says something to those who hear the page.
 * @param {string} text
 */
export function announce(text) {
  const line = el('p', {}, text);
  place('announcements').replaceChildren(line);
}

/**
 * Shows a notice with buttons. Closing it gives the focus back.
 * @param {string} kind
 * @param {string} text
 * @param {Choice} [choice]
 * @returns {() => void} closes it
 */
function notice(kind, text, choice) {
  const close = () => {
    const hadFocus = element.contains(document.activeElement);
    element.remove();
    if (hadFocus) (placeBefore?.isConnected ? placeBefore : place('main'))?.focus();
  };
  const take = () => {
    close();
    choice?.action();
  };
  const element = el(
    'div',
    { class: `notice ${kind}`, role: kind === 'bad' ? 'alert' : 'group' },
    el('p', {}, text),
    choice && el('button', { type: 'button', class: 'choice', onclick: take }, choice.label),
    el(
      'button',
      { type: 'button', class: 'quiet icon', 'aria-label': t('app.close'), onclick: close },
      '×',
    ),
  );
  const same = [...place('notices').children].filter(
    (other) => other.querySelector('p')?.textContent === text,
  );
  for (const other of same) other.remove();
  place('notices').setAttribute('aria-label', t('app.notices'));
  place('notices').append(element);
  return close;
}

/**
 * Says what went wrong, until the user closes it.
 * @param {string} text
 * @param {Choice} [choice] such as to try it again
 * @returns {() => void} closes it
 */
export const complain = (text, choice) => notice('bad', text, choice);

/** @type {() => void} */
let closeOffer = () => {};

/**
 * Says what was done, with a button such as "Undo". A later offer takes its place.
 * @param {string} text
 * @param {string} label
 * @param {() => void} action
 * @returns {() => void} closes it
 */
export function offer(text, label, action) {
  closeOffer();
  announce(text);
  closeOffer = notice('good', text, { label, action });
  return closeOffer;
}
