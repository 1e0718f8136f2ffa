// The rules were changed elsewhere while the user made a change: both are shown, and none is lost.

import { Problem } from '../common/api.js';
import { el, newId } from '../common/dom.js';
import { store, take } from '../common/store.js';
import { t } from '../common/words.js';
import { areSame, differences } from '../sentences/differences.js';
import { sentence } from '../sentences/sentence.js';

/**
 * @typedef {import('../common/types.js').Filter} Filter
 * @typedef {import('../common/dom.js').Child} Child
 * @typedef {{value: string, label: string, isMain?: boolean}} Choice
 */

/**
 * A dialog that is answered with one of the choices; null when it is closed without.
 * @param {Child[]} content
 * @param {Choice[]} choices
 * @returns {Promise<string | null>}
 */
function askUser(content, choices) {
  const title = newId();
  const dialog = el(
    'dialog',
    { class: 'conflict', 'aria-labelledby': title },
    el('h2', { id: title, tabindex: -1, autofocus: true }, t('conflict.title')),
    ...content,
    el(
      'div',
      { class: 'buttons' },
      choices.map(({ value, label, isMain }) =>
        el(
          'button',
          { type: 'button', class: isMain ? 'main' : false, onclick: () => dialog.close(value) },
          label,
        ),
      ),
    ),
  );
  document.body.append(dialog);
  return new Promise((resolve) => {
    dialog.addEventListener('close', () => {
      dialog.remove();
      resolve(dialog.returnValue || null);
    });
    dialog.showModal();
  });
}

/**
 * @param {Filter[]} known
 * @param {Filter[]} current
 */
function changesMeanwhile(known, current) {
  const sentences = differences(known, current);
  if (sentences.length === 0) return el('p', {}, t('conflict.no_difference'));
  return el(
    'div',
    {},
    el('p', {}, t('conflict.meanwhile')),
    el(
      'ul',
      {},
      sentences.map((text) => el('li', { dir: 'auto' }, text)),
    ),
  );
}

/** @param {unknown} problem */
export const isConflict = (problem) =>
  problem instanceof Problem && problem.status === 412 && Boolean(problem.body.current);

/**
 * Settles a change that was refused since the rules are not those that the user saw (status 412):
 * says what was changed meanwhile, and makes the change again on the present rules if the user
 * wants it. The store holds the present rules afterwards, unless the user closed the question.
 * Throws what `retry` throws.
 * @param {Problem} problem
 * @param {{what: string, retry: () => Promise<any>}} change in words, and how it is made again
 * @returns {Promise<any>} the answer of `retry`; null when the change was given up
 */
export async function resolveConflict(problem, { what, retry }) {
  const { current } = problem.body;
  const content = [
    changesMeanwhile(store.rules.filters, current.filters),
    el('p', { dir: 'auto' }, t('conflict.yours', { what })),
  ];
  const answer = await askUser(content, [
    { value: 'retry', label: t('conflict.retry'), isMain: true },
    { value: 'leave', label: t('conflict.leave') },
  ]);
  if (answer !== null) take(current);
  if (answer !== 'retry') return null;
  try {
    return await retry();
  } catch (error) {
    if (error instanceof Problem && isConflict(error))
      return resolveConflict(error, { what, retry });
    throw error;
  }
}

/**
 * @param {string} title
 * @param {Filter | undefined} filter
 */
const side = (title, filter) =>
  el(
    'section',
    {},
    el('h3', {}, title),
    filter
      ? [
          el('p', {}, el('bdi', { class: 'rule-name' }, filter.name)),
          el('p', {}, sentence(filter)),
          filter.enabled ? null : el('p', {}, t('conflict.disabled')),
        ]
      : el('p', {}, t('conflict.removed')),
  );

/**
 * Lets the user settle an edited filter that can't be saved as it is (status 412).
 * @param {Problem} problem
 * @param {{filter: Filter, id?: number, began: Filter | null}} edit the filter as the user wants it,
 *     its number unless it is new, and what they began from
 * @returns {Promise<'mine' | 'theirs' | 'both' | null>} null: neither, yet
 */
export async function settleEdit(problem, { filter, id, began }) {
  /** @type {Filter[]} */
  const current = problem.body.current.filters;
  const theirs = current.find((each) => each.id === id);
  if (theirs && areSame(theirs, filter)) return 'theirs';
  const isTouched = id !== undefined && !(theirs && began && areSame(theirs, began));
  const isRemoved = id !== undefined && !theirs;
  const other = isTouched ? 'conflict.keep_theirs' : 'conflict.drop_mine';
  /** @type {Choice[]} */
  const choices = [
    {
      value: 'mine',
      label: t(isRemoved ? 'conflict.add_again' : 'conflict.keep_mine'),
      isMain: true,
    },
    { value: 'theirs', label: t(isRemoved ? 'conflict.leave_removed' : other) },
  ];
  if (isTouched && theirs) choices.push({ value: 'both', label: t('conflict.keep_both') });
  const content = [
    changesMeanwhile(listSeen(id, began), current),
    isTouched
      ? el(
          'div',
          { class: 'sides' },
          side(t('conflict.side_mine'), filter),
          side(t('conflict.side_theirs'), theirs),
        )
      : el('p', { dir: 'auto' }, t('conflict.untouched', { name: filter.name })),
  ];
  return /** @type {any} */ (await askUser(content, choices));
}

/**
 * The list as the user saw it, with the filter as they began from it.
 * @param {number | undefined} id
 * @param {Filter | null} began
 * @returns {Filter[]}
 */
function listSeen(id, began) {
  const { filters } = store.rules;
  if (!began) return filters;
  if (!filters.some((filter) => filter.id === id)) return [...filters, began];
  return filters.map((filter) => (filter.id === id ? began : filter));
}
