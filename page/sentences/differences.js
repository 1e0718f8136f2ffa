// What differs between two lists of filters, in sentences.

import { language, t } from '../common/words.js';
import { actionText, testText } from './sentence.js';

/** @typedef {import('../common/types.js').Filter} Filter */

/**
 * @param {string[]} texts
 * @param {'conjunction' | 'disjunction'} type
 */
const listed = (texts, type) => new Intl.ListFormat(language, { type }).format(texts);

/** @param {Filter} filter */
const testsText = ({ relation, tests }) =>
  listed(tests.map(testText), relation === 'anyof' ? 'disjunction' : 'conjunction');

/** @param {Filter} filter */
const actionsText = ({ actions }) => listed(actions.map(actionText), 'conjunction');

/**
 * The numbers of the longest row of filters that stand in the same order in both lists: the others
 * have moved.
 * @param {number[]} places those in the other list
 * @returns {Set<number>} indices of `places`
 */
function longestRise(places) {
  /** @type {{length: number, previous: number}[]} */
  const ends = [];
  places.forEach((place, at) => {
    const end = { length: 1, previous: -1 };
    for (let i = 0; i < at; i += 1)
      if (places[i] < place && ends[i].length >= end.length)
        Object.assign(end, { length: ends[i].length + 1, previous: i });
    ends.push(end);
  });
  const most = Math.max(0, ...ends.map((end) => end.length));
  /** @type {Set<number>} */
  const rise = new Set();
  let at = ends.findIndex((end) => end.length === most);
  for (; at >= 0; at = ends[at].previous) rise.add(at);
  return rise;
}

/**
 * The filters of both lists that changed their order, by their numbers.
 * @param {Filter[]} before
 * @param {Filter[]} after
 */
function movedFilters(before, after) {
  const placesBefore = new Map(before.map((filter, at) => [filter.id, at]));
  const common = after.filter((filter) => placesBefore.has(filter.id));
  const rise = longestRise(common.map((filter) => Number(placesBefore.get(filter.id))));
  return new Set(common.filter((_, at) => !rise.has(at)).map((filter) => filter.id));
}

/**
 * @param {Filter} before
 * @param {Filter} after
 */
function changesOf(before, after) {
  const name = after.name;
  const sentences = [];
  if (before.name !== name) sentences.push(t('difference.renamed', { name, before: before.name }));
  if (before.enabled !== after.enabled)
    sentences.push(t(after.enabled ? 'difference.enabled' : 'difference.disabled', { name }));
  const [tests, testsBefore] = [testsText(after), testsText(before)];
  if (tests !== testsBefore)
    sentences.push(t('difference.tests', { name, now: tests, before: testsBefore }));
  const [actions, actionsBefore] = [actionsText(after), actionsText(before)];
  if (actions !== actionsBefore)
    sentences.push(t('difference.actions', { name, now: actions, before: actionsBefore }));
  return sentences;
}

/** @param {Filter} filter */
const summary = (filter) => ({
  name: filter.name,
  tests: testsText(filter),
  actions: actionsText(filter),
});

/**
 * What became of the filters, a sentence for each change, in the user's language: what was removed
 * first, then the present filters in their order.
 * @param {Filter[]} before
 * @param {Filter[]} after
 * @returns {string[]}
 */
export function differences(before, after) {
  const olds = new Map(before.map((filter, at) => [filter.id, { filter, place: at + 1 }]));
  const present = new Set(after.map((filter) => filter.id));
  const moved = movedFilters(before, after);
  const sentences = before
    .filter((filter) => !present.has(filter.id))
    .map((filter) => t('difference.removed', summary(filter)));
  after.forEach((filter, at) => {
    const old = olds.get(filter.id);
    if (!old) {
      sentences.push(t('difference.added', { ...summary(filter), place: at + 1 }));
      return;
    }
    if (moved.has(filter.id))
      sentences.push(t('difference.moved', { name: filter.name, from: old.place, to: at + 1 }));
    sentences.push(...changesOf(old.filter, filter));
  });
  return sentences;
}

/**
 * Whether two filters are the same to a user, wherever they stand.
 * @param {Filter} one
 * @param {Filter} other
 */
export const areSame = (one, other) =>
  one.name === other.name &&
  one.enabled === other.enabled &&
  one.relation === other.relation &&
  testsText(one) === testsText(other) &&
  actionsText(one) === actionsText(other);
