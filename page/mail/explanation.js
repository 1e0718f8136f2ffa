// Why a message is where it is: which rule decides, and what each of its tests saw.

import { el } from '../common/dom.js';
import { moment } from '../common/message_line.js';
import { parts, t } from '../common/words.js';
import { placeText, ruleValues } from '../editor/preview.js';
import { testSentence } from '../sentences/sentence.js';
import { fieldWords } from '../sentences/test_words.js';

/**
 * @typedef {import('../common/types.js').Explanation} Explanation
 * @typedef {import('../common/types.js').ExplainedRule} ExplainedRule
 * @typedef {import('../common/types.js').ExplainedTest} ExplainedTest
 */

/** @param {Explanation} explanation */
function verdict({ decided_by: id, rules, place }) {
  const rule = rules.find((each) => each.id === id);
  const values = { place: el('strong', {}, placeText(place)) };
  return rule
    ? parts('explanation.decided', { ...values, ...ruleValues(rule) })
    : parts('explanation.no_rule', values);
}

/** @param {Explanation['deliveries'][0]} delivery */
const deliveryItem = ({ time, rule, place, other_rules: otherRules }) =>
  el(
    'li',
    {},
    parts('explanation.came', { time: moment(time) }),
    ' ',
    parts(rule === null ? 'explanation.came_without' : 'explanation.came_by', {
      rule: el('bdi', {}, rule ?? ''),
      place: el('bdi', {}, place),
    }),
    otherRules && ` ${t('explanation.other_rules')}`,
  );

/**
 * What the message has in a field that a test looked at.
 * @param {import('../common/types.js').Test} test
 * @param {ExplainedTest['values'][0]} seen
 */
function valueItem(test, { field, value, reason }) {
  const name = fieldWords({ type: test.type === 'address' ? 'address' : test.type, field });
  if (reason) return el('li', {}, t('explanation.value_unknown', { field: name, reason }));
  if (value === null) return el('li', {}, t('explanation.value_missing', { field: name }));
  const shown = el('bdi', { class: 'value' }, value);
  return el('li', {}, parts('explanation.value', { field: name, value: shown }));
}

/** @param {ExplainedTest} explained */
const testItem = ({ test, result, reason, values }) =>
  el(
    'li',
    { class: `result ${result}` },
    el(
      'p',
      {},
      testSentence(test),
      ': ',
      el('strong', {}, t(`explanation.test_results.${result}`)),
      reason !== '' && ` (${reason})`,
    ),
    el(
      'ul',
      {},
      values.map((value) => valueItem(test, value)),
    ),
  );

/**
 * @param {ExplainedRule} rule
 * @param {boolean} decides
 */
const ruleItem = (rule, decides) =>
  el(
    'li',
    {},
    el(
      'details',
      { open: decides },
      el(
        'summary',
        {},
        parts('explanation.rule', {
          ...ruleValues(rule),
          result: el('strong', {}, t(`explanation.results.${rule.result}`)),
        }),
      ),
      decides && el('p', {}, t('explanation.decides')),
      rule.reason !== '' && el('p', {}, rule.reason),
      el('ul', { class: 'tests' }, rule.tests.map(testItem)),
    ),
  );

/**
 * The explanation, in words; what does not decide is folded away.
 * @param {Explanation} explanation
 * @param {string} folder the one in which the message is
 * @returns {HTMLElement}
 */
export function explanationPanel(explanation, folder) {
  const { place, agrees, rules, deliveries, remarks, decided_by: id } = explanation;
  const isElsewhere = place.folders.length > 0 && !place.folders.includes(folder);
  const deciding = rules.filter((rule) => rule.id === id);
  const others = rules.filter((rule) => rule.id !== id);
  return el(
    'div',
    { class: 'explanation' },
    el('p', {}, verdict(explanation)),
    isElsewhere &&
      el(
        'p',
        {},
        t('explanation.elsewhere', {
          folder: placeText({ ...place, kind: 'folders', folders: [folder] }),
        }),
      ),
    !agrees && el('p', { class: 'warning' }, t('explanation.disagrees')),
    remarks.map((remark) => el('p', { class: 'hint', lang: 'en' }, remark)),
    deliveries.length > 0 && el('ul', { class: 'deliveries' }, deliveries.map(deliveryItem)),
    deciding.length > 0 &&
      el(
        'ol',
        { class: 'explained' },
        deciding.map((rule) => ruleItem(rule, true)),
      ),
    others.length > 0 &&
      el(
        'details',
        {},
        el('summary', {}, t(deciding.length > 0 ? 'explanation.other' : 'explanation.rules')),
        el(
          'ol',
          { class: 'explained' },
          others.map((rule) => ruleItem(rule, false)),
        ),
      ),
  );
}
