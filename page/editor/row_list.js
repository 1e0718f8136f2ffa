// A list of alike rows in the editor, to which the user adds and from which they remove.

import { el } from '../common/dom.js';

/**
 * @typedef {object} Row
 * @property {HTMLElement} element
 * @property {Record<string, import('../common/form_field.js').FormField>} fields by the last step of a pointer
 * @property {(place: number, isOnly: boolean) => void} place from 1 on; the only one stays
 * @property {() => void} focus
 *
 * @typedef {{onChange: () => void, onRemove: () => void}} RowHandlers
 */

/** @template Item */
export class RowList {
  /** @type {Row[]} */
  rows = [];

  /**
   * @param {object} options
   * @param {Item[]} options.items the list works on them; at least one
   * @param {number} options.most
   * @param {string} options.add the words of the button
   * @param {() => Item} options.make
   * @param {(item: Item, handlers: RowHandlers) => Row} options.row
   * @param {() => void} options.onChange
   */
  constructor(options) {
    this.options = options;
    this.list = el('ol', { class: 'editor-rows' });
    this.button = el('button', { type: 'button', class: 'add' }, options.add);
    this.button.addEventListener('click', () => this.#add());
    this.element = el('div', {}, this.list, this.button);
    for (const item of options.items) this.#append(item);
    this.#number();
  }

  /** @param {Item} item */
  #append(item) {
    const { onChange } = this.options;
    /** @type {Row} */
    const row = this.options.row(item, { onChange, onRemove: () => this.#remove(row) });
    this.rows.push(row);
    this.list.append(row.element);
    return row;
  }

  #add() {
    const item = this.options.make();
    this.options.items.push(item);
    const row = this.#append(item);
    this.#number();
    row.focus();
    this.options.onChange();
  }

  /** The focus goes to the row that takes the place of the removed one. @param {Row} row */
  #remove(row) {
    const at = this.rows.indexOf(row);
    this.rows.splice(at, 1);
    this.options.items.splice(at, 1);
    row.element.remove();
    this.#number();
    this.rows[Math.min(at, this.rows.length - 1)].focus();
    this.options.onChange();
  }

  #number() {
    const { length } = this.rows;
    this.rows.forEach((row, at) => {
      row.place(at + 1, length === 1);
    });
    this.button.hidden = length >= this.options.most;
  }
}

/**
 * The button that removes a row.
 * @param {string} words
 * @param {() => void} onRemove
 * @returns {HTMLButtonElement}
 */
export const removeButton = (words, onRemove) =>
  el(
    'button',
    {
      type: 'button',
      class: 'quiet icon remove',
      'aria-label': words,
      title: words,
      onclick: onRemove,
    },
    '×',
  );
