// One action of a rule in the editor, and the choice of a folder.

import { el } from '../common/dom.js';
import { choice, formField } from '../common/form_field.js';
import { store } from '../common/store.js';
import { t } from '../common/words.js';
import { folderText } from '../sentences/sentence.js';
import { removeButton } from './row_list.js';

/** @typedef {import('../common/types.js').Action} Action */

/** No folder can be called so: its levels would be empty. */
const newFolder = '/';

/**
 * The folder that is there with that name, in whatever capitals.
 * @param {string} name
 */
const existingFolder = (name) =>
  store.folders.find((folder) => folder.toLowerCase() === name.toLowerCase());

/**
 * The folders to choose from.
 * @returns {[string, string][]}
 */
export const folderOptions = () => store.folders.map((folder) => [folder, folderText(folder)]);

/** @param {string} target */
function optionOf(target) {
  if (target === '' || store.folders.includes(target)) return target;
  return newFolder;
}

/** A row of the editor; its `action` is what the user has chosen so far. */
export class ActionRow {
  /**
   * @param {Action} action the row works on it
   * @param {import('./row_list.js').RowHandlers} handlers
   */
  constructor(action, { onChange, onRemove }) {
    this.action = action;
    this.onChange = onChange;
    this.target = action.target ?? '';
    const unseen = { isLabelSeen: false };
    this.method = formField(
      t('editor.action'),
      choice(
        ['move', 'copy', 'delete'].map((method) => [method, t(`editor.methods.${method}`)]),
        action.method,
      ),
      unseen,
    );
    this.folder = formField(t('editor.folder'), this.#folderChoice(), unseen);
    this.hint = el('p', { class: 'hint' });
    this.name = formField(
      t('editor.folder_name'),
      el('input', { type: 'text', dir: 'auto', autocomplete: 'off', spellcheck: 'false' }),
      { isLabelSeen: false, hint: this.hint },
    );
    if (this.#isNew()) this.name.input.value = this.target;
    this.note = el('p', { class: 'hint' }, t('editor.delete_note'));
    this.legend = el('legend', { class: 'unseen' });
    this.removeButton = removeButton(t('editor.remove_action'), onRemove);
    this.element = el(
      'li',
      {},
      el(
        'fieldset',
        { class: 'action-row' },
        this.legend,
        this.method.element,
        el('div', { class: 'action-folder' }, this.folder.element, this.name.element, this.note),
        this.removeButton,
      ),
    );
    this.#listen();
    this.#show();
  }

  #folderChoice() {
    return choice(
      [['', t('editor.choose_folder')], ...folderOptions(), [newFolder, t('editor.new_folder')]],
      optionOf(this.target),
    );
  }

  #listen() {
    this.method.input.addEventListener('change', () => {
      this.action.method = this.method.input.value;
      this.#changed();
    });
    this.folder.input.addEventListener('change', () => this.#chooseFolder());
    this.name.input.addEventListener('input', () => {
      this.target = this.#typedFolder();
      this.#changed();
    });
  }

  #isNew() {
    return this.folder.input.value === newFolder;
  }

  #typedFolder() {
    const typed = this.name.input.value.trim();
    return existingFolder(typed) ?? typed;
  }

  #chooseFolder() {
    this.target = this.#isNew() ? this.#typedFolder() : this.folder.input.value;
    this.name.say('');
    this.#changed();
    if (this.#isNew()) this.name.input.focus();
  }

  #changed() {
    if (this.action.method === 'delete') delete this.action.target;
    else this.action.target = this.target;
    this.#show();
    this.onChange();
  }

  #show() {
    const isDelete = this.action.method === 'delete';
    this.folder.element.hidden = isDelete;
    this.name.element.hidden = isDelete || !this.#isNew();
    this.note.hidden = !isDelete;
    this.hint.textContent = this.#folderHint();
  }

  #folderHint() {
    if (this.target === '') return t('editor.folder_levels');
    const folder = existingFolder(this.target);
    if (folder) return t('editor.folder_is_there', { folder: folderText(folder) });
    return t('editor.folder_will_be_made', { folder: this.target });
  }

  /** @returns {Record<string, import('../common/form_field.js').FormField>} */
  get fields() {
    return { method: this.method, target: this.#isNew() ? this.name : this.folder };
  }

  /**
   * @param {number} place from 1 on
   * @param {boolean} isOnly
   */
  place(place, isOnly) {
    this.legend.textContent = t('editor.action_number', { number: place });
    this.removeButton.hidden = isOnly;
  }

  focus() {
    this.method.input.focus();
  }
}
