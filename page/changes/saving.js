// Saving an edited filter, whatever became of the rules meanwhile.

import { Problem } from '../common/api.js';
import { change, store, take } from '../common/store.js';
import { areSame } from '../sentences/differences.js';
import { isConflict, settleEdit } from './conflict.js';

/**
 * @typedef {import('../common/types.js').Filter} Filter
 *
 * @typedef {object} Edit
 * @property {number} [id] that of the filter which is replaced; none for a new one
 * @property {Filter} filter as it is to be saved
 * @property {number} [before] the filter that a new one is tried before
 * @property {Filter | null} began the filter as it was when the user began
 * @property {() => string} revision of the rules that the user sees when the turn comes
 */

/**
 * @param {number | undefined} id
 * @returns {Filter | null} as it is saved
 */
export const savedFilter = (id) => store.rules.filters.find((filter) => filter.id === id) ?? null;

/** @param {number | undefined} id */
function filterBehind(id) {
  const at = store.rules.filters.findIndex((filter) => filter.id === id);
  return store.rules.filters[at + 1]?.id;
}

/**
 * The edit as the user settled it, on the present rules; null when theirs is dropped.
 * @param {Edit} edit
 * @param {'mine' | 'theirs' | 'both'} answer
 * @param {import('../common/types.js').Rules} current
 * @returns {Edit | null}
 */
function settled(edit, answer, current) {
  take(current);
  if (answer === 'theirs') return null;
  const revision = () => current.revision;
  const began = savedFilter(edit.id);
  if (answer === 'both')
    return { ...edit, id: undefined, before: filterBehind(edit.id), began: null, revision };
  const before = savedFilter(edit.before) ? edit.before : undefined;
  return { ...edit, id: began ? edit.id : undefined, before, began, revision };
}

/**
 * Sends it. What is sent once more after a save without an answer may be among the known ones.
 * @param {Edit} edit
 * @returns {Promise<number | null>} the saved filter's number
 */
async function send({ id, filter, before, revision }) {
  if (id !== undefined) {
    await change('PUT', `/rules/${id}`, filter, revision);
    return id;
  }
  const known = new Set(store.rules.filters.map((each) => each.id));
  /** @type {{filters: Filter[]}} */
  const { filters } = await change('POST', '/rules', { ...filter, before }, revision);
  const added = filters.filter(({ id: number }) => !known.has(number));
  const alike = filters.filter((each) => areSame(each, filter));
  return (added.at(-1) ?? alike.at(-1))?.id ?? null;
}

/**
 * Saves the filter; where the rules were changed meanwhile, the user says what shall be. Throws a
 * Problem for what else is refused.
 * @param {Edit} edit
 * @returns {Promise<{saved: number | null} | null>} the saved filter's number, or null for one that
 *     the user gave up; null when they want to go on editing
 */
export async function saveFilter(edit) {
  try {
    return { saved: await send(edit) };
  } catch (error) {
    if (!(error instanceof Problem && isConflict(error))) throw error;
    const answer = await settleEdit(error, edit);
    if (answer === null) return null;
    const next = settled(edit, answer, error.body.current);
    return next ? saveFilter(next) : { saved: null };
  }
}
