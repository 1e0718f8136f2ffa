// The work on a filter: as it begins, and as it is sent.

import { savedFilter } from '../changes/saving.js';
import { store } from '../common/store.js';
import { automaticName } from '../sentences/automatic_name.js';
import { emptyTest } from './test_row.js';

/**
 * @typedef {import('../common/types.js').Filter} Filter
 * @typedef {import('./drafts.js').Draft} Draft
 */

/** @returns {import('../common/types.js').Action} */
const emptyMove = () => ({ method: 'move', target: '' });

/** @returns {Filter} */
export const emptyFilter = () => ({
  enabled: true,
  name: '',
  relation: 'allof',
  tests: [],
  actions: [],
});

/** @returns {import('../common/types.js').Action} */
export const emptyCopy = () => ({ method: 'copy', target: '' });

/**
 * What the server takes of a filter.
 * @param {Filter} filter
 * @returns {Filter}
 */
export function bodyOf({ enabled, name, relation, tests, actions }) {
  return structuredClone({ enabled, name, relation, tests, actions });
}

/**
 * The work on a filter as it begins.
 * @param {Filter} filter
 * @returns {Draft}
 */
export function beginWork(filter) {
  const work = bodyOf(filter);
  if (work.tests.length === 0) work.tests.push(emptyTest());
  if (work.actions.length === 0) work.actions.push(emptyMove());
  return {
    filter: work,
    isNamed: work.name !== '' && work.name !== automaticName(work),
    before: '',
    began: structuredClone(savedFilter(filter.id)),
    revision: store.rules.revision,
    mayBeSaved: false,
    time: 0,
  };
}
