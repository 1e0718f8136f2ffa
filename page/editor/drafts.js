// Filters that are being edited, kept on this device until they are saved or dropped.

import { store } from '../common/store.js';

/**
 * @typedef {import('../common/types.js').Filter} Filter
 *
 * @typedef {object} Draft
 * @property {Filter} filter as the user left it
 * @property {boolean} isNamed whether they typed the name
 * @property {string} before the number of the filter that a new one is tried before; '' for last
 * @property {Filter | null} began the saved filter that it began from
 * @property {string} revision of the rules that it began from
 * @property {boolean} mayBeSaved whether it was sent, and no answer came
 * @property {number} time in seconds since 1970
 */

/** What the keys of all drafts of the user begin with. */
const front = () => `quarrow.draft.${store.user}.`;

/** @param {string | number} id */
const keyOf = (id) => `${front()}${id}`;

/**
 * @param {string | number} id of a filter, or another name for a new one
 * @returns {Draft | null}
 */
export function readDraft(id) {
  try {
    const draft = JSON.parse(localStorage.getItem(keyOf(id)) ?? 'null');
    return Array.isArray(draft?.filter?.tests) && Array.isArray(draft.filter.actions)
      ? draft
      : null;
  } catch (error) {
    if (error instanceof SyntaxError) return null;
    throw error;
  }
}

/**
 * The unsaved form of a filter; null when it has none.
 * @param {string | number} id that of the filter, or 'new'
 * @returns {Filter | null}
 */
export const draftOf = (id) => readDraft(id)?.filter ?? null;

/**
 * False when the device has no room for it.
 * @param {string | number} id
 * @param {Draft} draft
 * @returns {boolean}
 */
export function keepDraft(id, draft) {
  try {
    localStorage.setItem(keyOf(id), JSON.stringify(draft));
    return true;
  } catch (error) {
    if (error instanceof DOMException) return false;
    throw error;
  }
}

/** @param {string | number} id */
export const dropDraft = (id) => localStorage.removeItem(keyOf(id));

/** The keys of all drafts of the user. */
const draftKeys = () => Object.keys(localStorage).filter((key) => key.startsWith(front()));

/** Nothing that the user typed is left on this device. */
export const dropAllDrafts = () => {
  for (const key of draftKeys()) localStorage.removeItem(key);
};

/**
 * The numbers and names of all drafts.
 * @returns {string[]}
 */
export const draftIds = () =>
  draftKeys()
    .map((key) => key.slice(front().length))
    .filter((id) => readDraft(id) !== null)
    .sort();
