// One test of a rule in the editor: what is compared, how, and with what.

import { el } from '../common/dom.js';
import { choice, fillChoice, formField } from '../common/form_field.js';
import { store } from '../common/store.js';
import { t } from '../common/words.js';
import { comparatorWords, fieldWords } from '../sentences/test_words.js';
import { largestSize } from './mistakes.js';
import { removeButton } from './row_list.js';

/** @typedef {import('../common/types.js').Test} Test */

const otherHeader = 'other';

/** @returns {Test} */
export const emptyTest = () => ({
  type: 'address',
  field: 'from',
  comparator: 'contains',
  value: '',
  negative: false,
  match_case: false,
});

/** @param {Pick<Test, 'type' | 'field'>} test */
const fieldKey = (test) => `${test.type} ${test.field.toLowerCase()}`;

/**
 * The fields to choose from: those of the catalogue, that of the test, and any header.
 * @param {Test} test
 */
function fieldOptions(test) {
  const isKnown = store.fields.some((field) => fieldKey(field) === fieldKey(test));
  const fields = isKnown || test.field === '' ? store.fields : [...store.fields, test];
  /** @type {[string, string][]} */
  const options = fields.map((field) => [fieldKey(field), fieldWords(field)]);
  return [...options, /** @type {[string, string]} */ ([otherHeader, t('editor.other_header')])];
}

/**
 * A field's name as the catalogue spells it.
 * @param {string} key
 */
const catalogueName = (key) => store.fields.find((field) => fieldKey(field) === key)?.field;

/** In the order in which people need them. */
const comparators = {
  string: ['contains', 'is', 'begin_with', 'end_with'],
  address: ['contains', 'is'],
  size: ['greater', 'less'],
  date: ['is', 'before', 'after'],
};

/** @param {Pick<Test, 'comparator' | 'negative'>} test */
const comparatorKey = ({ comparator, negative }) => `${negative ? 'not ' : ''}${comparator}`;

/** @param {Test['type']} type */
const isText = (type) => type === 'string' || type === 'address';

/**
 * The comparisons to choose from. A size that is not larger is smaller: sizes and dates are negated
 * only where the rule does it already.
 * @param {Test} test
 * @returns {[string, string][]}
 */
function comparatorOptions(test) {
  const { type } = test;
  return comparators[type]
    .flatMap((comparator) => [
      { type, comparator, negative: false },
      { type, comparator, negative: true },
    ])
    .filter((each) => {
      const isOwn = test.negative && each.comparator === test.comparator;
      return !each.negative || isText(type) || isOwn;
    })
    .map((each) => [comparatorKey(each), comparatorWords(each)]);
}

/**
 * Whether the comparison can tell capitals.
 * @param {Test} test
 */
const tellsCapitals = ({ type, comparator }) =>
  isText(type) && (comparator === 'is' || comparator === 'contains');

/**
 * @param {Test['type']} type
 * @returns {Record<string, any>}
 */
function inputAttributes(type) {
  if (type === 'date') return { type: 'date', min: '1970-01-01', max: '9999-12-31' };
  if (type === 'size')
    return { type: 'number', min: 1, max: largestSize, step: 1, inputmode: 'numeric' };
  const inputmode = type === 'address' ? 'email' : 'text';
  return { type: 'text', inputmode, dir: 'auto', autocomplete: 'off', spellcheck: 'false' };
}

/**
 * A date as an input for dates takes it: stored ones may lack the signs between the numbers.
 * @param {string} value
 */
const isoDate = (value) => value.replace(/^(\d{4})(\d\d)(\d\d)$/, '$1-$2-$3');

/**
 * Types of one kind share a value.
 * @param {Test['type']} type
 */
const kindOf = (type) => (isText(type) ? 'text' : type);

/** A row of the editor; its `test` is what the user has typed so far. */
export class TestRow {
  /** @type {Record<string, string>} what was typed for each kind of test */
  #values = {};

  /**
   * @param {Test} test the row works on it
   * @param {import('./row_list.js').RowHandlers} handlers
   */
  constructor(test, { onChange, onRemove }) {
    if (test.type === 'date') test.value = isoDate(test.value);
    this.test = test;
    this.onChange = onChange;
    const unseen = { isLabelSeen: false };
    this.field = formField(t('editor.field'), choice(fieldOptions(test), fieldKey(test)), unseen);
    this.header = formField(
      t('editor.header_name'),
      el('input', { ...inputAttributes('string'), placeholder: 'X-Spam-Flag' }),
      unseen,
    );
    const options = comparatorOptions(test);
    this.comparator = formField(
      t('editor.comparator'),
      choice(options, comparatorKey(test)),
      unseen,
    );
    this.value = formField(t('editor.value'), el('input'), unseen);
    this.unit = el('span', { class: 'unit' }, t('editor.kilobyte'));
    this.value.input.after(this.unit);
    this.capitals = el('input', { type: 'checkbox' });
    this.capitals.checked = test.match_case;
    this.legend = el('legend', { class: 'unseen' });
    this.removeButton = removeButton(t('editor.remove_test'), onRemove);
    this.element = this.#build();
    this.#fillValue();
    this.#listen();
    this.#show();
  }

  #build() {
    this.options = el(
      'details',
      { class: 'test-options', open: this.test.match_case },
      el('summary', {}, t('editor.options')),
      el('label', { class: 'check' }, this.capitals, ' ', t('editor.match_case')),
    );
    return el(
      'li',
      {},
      el(
        'fieldset',
        { class: 'test-row' },
        this.legend,
        el('div', { class: 'test-what' }, this.field.element, this.header.element),
        this.comparator.element,
        this.value.element,
        this.removeButton,
        this.options,
      ),
    );
  }

  #listen() {
    this.field.input.addEventListener('change', () => this.#chooseField());
    this.header.input.addEventListener('input', () => {
      this.test.field = this.#typedHeader();
      this.#changed();
    });
    this.comparator.input.addEventListener('change', () => {
      const key = this.comparator.input.value;
      this.test.negative = key.startsWith('not ');
      this.test.comparator = key.replace('not ', '');
      this.value.say('');
      this.#changed();
    });
    this.value.input.addEventListener('input', () => {
      const { value } = this.value.input;
      this.test.value = this.test.type === 'address' ? value.trim() : value;
      this.#changed();
    });
    this.capitals.addEventListener('change', () => this.#changed());
  }

  #typedHeader() {
    return this.header.input.value.trim().replace(/:$/, '');
  }

  #isOtherHeader() {
    return this.field.input.value === otherHeader;
  }

  #chooseField() {
    const key = this.field.input.value;
    const [type, name] = key.split(' ');
    this.#changeType(this.#isOtherHeader() ? 'string' : type);
    this.test.field = this.#isOtherHeader() ? this.#typedHeader() : (catalogueName(key) ?? name);
    this.#changed();
  }

  /** @param {any} type */
  #changeType(type) {
    const { test } = this;
    if (type === test.type) return;
    this.#values[kindOf(test.type)] = test.value;
    test.type = type;
    test.value = this.#values[kindOf(test.type)] ?? '';
    if (!comparators[test.type].includes(test.comparator))
      Object.assign(test, { comparator: comparators[test.type][0], negative: false });
    fillChoice(this.comparator.input, comparatorOptions(test), comparatorKey(test));
    this.#fillValue();
  }

  /** Makes the input one for the type, without losing the focus that it may have. */
  #fillValue() {
    const { input } = this.value;
    const attributes = inputAttributes(this.test.type);
    for (const name of ['min', 'max', 'step', 'inputmode', 'dir']) input.removeAttribute(name);
    for (const [name, value] of Object.entries(attributes)) input.setAttribute(name, value);
    input.value = this.test.value;
    this.value.say('');
  }

  #changed() {
    this.test.match_case = tellsCapitals(this.test) && this.capitals.checked;
    this.#show();
    this.onChange();
  }

  #show() {
    this.header.element.hidden = !this.#isOtherHeader();
    this.unit.hidden = this.test.type !== 'size';
    if (this.options) this.options.hidden = !tellsCapitals(this.test);
  }

  /** @returns {Record<string, import('../common/form_field.js').FormField>} */
  get fields() {
    const field = this.#isOtherHeader() ? this.header : this.field;
    return { type: this.field, field, comparator: this.comparator, value: this.value };
  }

  /**
   * @param {number} place from 1 on
   * @param {boolean} isOnly
   */
  place(place, isOnly) {
    this.legend.textContent = t('editor.test_number', { number: place });
    this.removeButton.hidden = isOnly;
  }

  focus() {
    this.field.input.focus();
  }
}
