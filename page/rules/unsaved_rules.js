// What the user began to edit, and has no row in the list: a new rule, or one that is gone.

import { savedFilter } from '../changes/saving.js';
import { el } from '../common/dom.js';
import { t } from '../common/words.js';
import { draftIds, draftOf } from '../editor/drafts.js';

/** @typedef {import('../common/types.js').Filter} Filter */

/** @param {string} id */
const isGone = (id) => /^-?\d+$/.test(id) && savedFilter(Number(id)) === null;

/**
 * A line for each of them, with a button to go on.
 * @param {(filter: Filter) => void} edit
 * @returns {HTMLElement[]}
 */
export const unsavedRules = (edit) =>
  draftIds()
    .filter((id) => id === 'new' || isGone(id))
    .map((id) => {
      const draft = /** @type {Filter} */ (draftOf(id));
      const isNew = id === 'new';
      const filter = isNew ? draft : { ...draft, id: Number(id) };
      return el(
        'p',
        {},
        `${isNew ? t('rules.begun') : t('rules.begun_gone', { name: draft.name })} `,
        el('button', { type: 'button', onclick: () => edit(filter) }, t('rules.continue')),
      );
    });
