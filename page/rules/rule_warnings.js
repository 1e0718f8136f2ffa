// What is remarkable about a rule, in words of the user's language.

import { el } from '../common/dom.js';
import { store } from '../common/store.js';
import { has, language, t } from '../common/words.js';

/**
 * @typedef {import('../common/types.js').Filter} Filter
 * @typedef {import('../common/types.js').Warning} Warning
 */

/**
 * The names of rules as a list: “Lists” and “Bills”.
 * @param {number[]} ids
 */
function namesOf(ids) {
  const names = ids.map((id) => {
    const filter = store.rules.filters.find((each) => each.id === id);
    return t('sentence.quoted', { text: filter?.name ?? String(id) });
  });
  return new Intl.ListFormat(language).format(names);
}

/**
 * The missing folder that a warning is about; the warning names it.
 * @param {Filter} filter
 * @param {Warning} warning
 */
function folderOf(filter, { detail }) {
  const targets = filter.actions.map((action) => action.target ?? '');
  return targets
    .filter((target) => target !== '' && detail.includes(target))
    .sort((one, other) => other.length - one.length)[0];
}

/**
 * @param {Filter} filter
 * @param {Warning} warning
 * @returns {HTMLElement} a paragraph
 */
function warningElement(filter, warning) {
  const key = `rules.warning.${warning.kind}`;
  const names = warning.earlier ? namesOf(warning.earlier) : '';
  const folder = warning.kind === 'missing_folder' ? folderOf(filter, warning) : '';
  if (!has(key) || folder === undefined)
    return el('span', { lang: 'en', dir: 'ltr' }, warning.detail);
  return el('span', {}, t(key, { names, folder }));
}

/**
 * The warnings of a rule; null without any.
 * @param {Filter} filter
 * @returns {HTMLElement | null}
 */
export function warningList(filter) {
  const warnings = filter.warnings ?? [];
  if (warnings.length === 0) return null;
  const items = warnings.map((warning) =>
    warning.kind === 'missing_folder'
      ? el('li', { class: 'remark' }, warningElement(filter, warning))
      : el(
          'li',
          {},
          el('strong', { class: 'unseen' }, t('rules.warning.mark')),
          warningElement(filter, warning),
        ),
  );
  return el('ul', { class: 'warnings' }, items);
}
