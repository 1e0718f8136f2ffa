// The editor of one rule, in place in the list.

import { savedFilter, saveFilter } from '../changes/saving.js';
import { Problem } from '../common/api.js';
import { el, mayTakeFocus, newId, refill } from '../common/dom.js';
import { choice, fillChoice, formField } from '../common/form_field.js';
import { announce } from '../common/notices.js';
import { problemText } from '../common/problem_words.js';
import { changes, store } from '../common/store.js';
import { t, time } from '../common/words.js';
import { automaticName } from '../sentences/automatic_name.js';
import { areSame } from '../sentences/differences.js';
import { ActionRow } from './action_row.js';
import { dropDraft, keepDraft, readDraft } from './drafts.js';
import { beginWork, bodyOf, emptyCopy, emptyFilter } from './filter_work.js';
import { mistakesOf } from './mistakes.js';
import { PreviewPanel } from './preview.js';
import { RowList } from './row_list.js';
import { emptyTest, TestRow } from './test_row.js';

/**
 * @typedef {import('../common/types.js').Filter} Filter
 * @typedef {import('./drafts.js').Draft} Draft
 *
 * @typedef {object} EditorOptions
 * @property {Filter} [filter] with an id it is that one that is edited; without it is a new one
 * @property {string} [draft] the name of a new one's draft
 * @property {(saved: number | null, takesFocus: boolean) => void} onClose called with the number of
 *     the saved filter, or null when the editor was closed without, and whether the user's focus is
 *     still there
 */

const mostTests = 10;
const mostActions = 5;

/**
 * The places for a new rule, by the number of the rule that it is tried before.
 * @returns {[string, string][]}
 */
function placeOptions() {
  return [
    ['', t('editor.place_last')],
    ...store.rules.filters.map(
      ({ id, name }, at) =>
        /** @type {[string, string]} */ ([
          String(id),
          t(at === 0 ? 'editor.place_first' : 'editor.place_before', { number: at + 1, name }),
        ]),
    ),
  ];
}

/** @param {Filter['relation']} relation */
const relationField = (relation) =>
  formField(
    t('editor.relation'),
    choice(
      [
        ['allof', t('editor.allof')],
        ['anyof', t('editor.anyof')],
      ],
      relation,
    ),
    { isLabelSeen: false },
  );

/**
 * @param {string} name
 * @param {HTMLElement} hint
 */
function nameField(name, hint) {
  const input = el('input', { type: 'text', dir: 'auto', autocomplete: 'off' });
  input.value = name;
  return formField(t('editor.name'), input, { hint });
}

class Editor {
  /** @param {EditorOptions} options */
  constructor({ filter = emptyFilter(), draft = 'new', onClose }) {
    this.id = filter.id;
    this.key = filter.id ?? draft;
    this.onClose = onClose;
    const kept = readDraft(this.key);
    this.work = kept ?? beginWork(filter);
    this.isChanged = kept !== null;
    this.isSaveWanted = false;
    this.followStore = () => this.#followStore();
    const { filter: edited, before } = this.work;
    this.heading = el('h3', { id: newId(), tabindex: -1 });
    this.complaint = el('p', { class: 'mistake', role: 'alert' });
    this.relation = relationField(edited.relation);
    this.tests = this.#rowList(edited.tests, mostTests, 'test', TestRow, emptyTest);
    this.actions = this.#rowList(edited.actions, mostActions, 'action', ActionRow, emptyCopy);
    this.nameHint = el('p', { class: 'hint' });
    this.name = nameField(edited.name, this.nameHint);
    this.place = formField(t('editor.place'), choice(placeOptions(), before));
    this.preview = new PreviewPanel();
    this.saveButton = el('button', { type: 'submit', class: 'main' }, t('editor.save'));
    this.cancelButton = el('button', { type: 'button' }, t('editor.cancel'));
    this.dropQuestion = el('div', { class: 'drop-question', hidden: true });
    this.element = this.#build(filter.name, kept);
    this.#listen();
    this.#followStore();
  }

  /**
   * @template Item
   * @param {Item[]} items
   * @param {number} most
   * @param {string} what
   * @param {new (item: Item, handlers: import('./row_list.js').RowHandlers) =>
   *     import('./row_list.js').Row} Row
   * @param {() => Item} make
   */
  #rowList(items, most, what, Row, make) {
    return new RowList({
      items,
      most,
      make,
      add: t(`editor.add_${what}`),
      row: (item, handlers) => new Row(item, handlers),
      onChange: () => this.#changed(),
    });
  }

  /**
   * @param {string} name
   * @param {Draft | null} kept
   */
  #build(name, kept) {
    refill(
      this.heading,
      this.id === undefined ? t('editor.title_new') : t('editor.title', { name }),
    );
    return el(
      'form',
      { class: 'editor', novalidate: true, 'aria-labelledby': this.heading.id },
      this.heading,
      kept &&
        el('p', { class: 'draft-note' }, t('editor.draft_is_back', { time: time(kept.time) })),
      el(
        'fieldset',
        { class: 'editor-part' },
        el('legend', {}, t('editor.when')),
        this.relation.element,
        this.tests.element,
      ),
      el(
        'fieldset',
        { class: 'editor-part' },
        el('legend', {}, t('editor.then')),
        this.actions.element,
      ),
      this.name.element,
      this.id === undefined && this.place.element,
      this.preview.element,
      this.complaint,
      el('div', { class: 'buttons' }, this.saveButton, this.cancelButton),
      this.dropQuestion,
    );
  }

  #listen() {
    this.element.addEventListener('submit', (/** @type {Event} */ event) => {
      event.preventDefault();
      this.#save();
    });
    this.cancelButton.addEventListener('click', () =>
      this.isChanged ? this.#askToDrop() : this.#close(null),
    );
    this.relation.input.addEventListener('change', () => {
      this.work.filter.relation = this.relation.input.value;
      this.#changed();
    });
    this.name.input.addEventListener('input', () => {
      this.work.filter.name = this.name.input.value.trim();
      this.work.isNamed = this.work.filter.name !== '';
      this.#changed();
    });
    this.place.input.addEventListener('change', () => {
      this.work.before = this.place.input.value;
      this.#changed();
    });
    changes.addEventListener('change', this.followStore);
  }

  /**
   * The user sees what the store has: their work is about these rules from now on, unless it is
   * their very filter that somebody else changed, or they have it already from a save without an
   * answer: the server knows that one by the rules that it was about.
   */
  #followStore() {
    fillChoice(this.place.input, placeOptions(), this.work.before);
    this.work.before = this.place.input.value;
    const saved = savedFilter(this.id);
    const { began, mayBeSaved } = this.work;
    const isUntouched = this.id === undefined || (saved && began && areSame(saved, began));
    if (isUntouched && !mayBeSaved) this.work.revision = store.rules.revision;
    this.#show();
  }

  #changed() {
    this.isChanged = true;
    refill(this.complaint, this.#keep() ? '' : t('editor.not_kept'));
    this.#show();
  }

  /** Keeps the work on this device; false where there is no room. */
  #keep() {
    const seconds = Math.floor(Date.now() / 1000);
    return keepDraft(this.key, { ...this.work, time: seconds });
  }

  #show() {
    this.relation.element.hidden = this.work.filter.tests.length < 2;
    this.place.element.hidden = store.rules.filters.length === 0;
    this.#showName();
    this.#showPreview();
  }

  #showName() {
    const { work, name } = this;
    if (!work.isNamed) {
      work.filter.name = automaticName(work.filter);
      if (document.activeElement !== name.input) name.input.value = work.filter.name;
    }
    this.nameHint.textContent = t(work.isNamed ? 'editor.name_typed' : 'editor.name_automatic');
  }

  #showPreview() {
    const filter = bodyOf(this.work.filter);
    const isComplete = mistakesOf(filter).length === 0;
    const question = {
      filter: { ...filter, enabled: true },
      id: savedFilter(this.id)?.id,
      before: this.#before(),
    };
    this.preview.update(isComplete ? question : null);
  }

  /** The number of the filter that a new one is tried before. */
  #before() {
    const isNew = this.id === undefined && this.work.before !== '';
    return isNew ? Number(this.work.before) : undefined;
  }

  /**
   * The field of a pointer such as "/tests/0/value"; null where the editor has none.
   * @param {string} pointer
   * @returns {import('../common/form_field.js').FormField | null}
   */
  #fieldAt(pointer) {
    const [part, at, step] = pointer.split('/').slice(1);
    if (part === 'name') return this.name;
    if (part === 'relation') return this.relation;
    const rows = { tests: this.tests.rows, actions: this.actions.rows }[part];
    const fields = rows?.[Number(at)]?.fields;
    return fields?.[step] ?? fields?.value ?? fields?.target ?? null;
  }

  /**
   * Shows the mistakes, each at its field, and brings the user to the first one.
   * @param {{pointer: string, text: string}[]} mistakes
   */
  #showMistakes(mistakes) {
    const placed = mistakes.map((mistake) => ({
      ...mistake,
      field: this.#fieldAt(mistake.pointer),
    }));
    for (const { field, text } of placed) field?.say(text);
    const others = placed.filter(({ field }) => !field);
    refill(this.complaint, others.map(({ text }) => text).join(' '));
    placed.find(({ field }) => field)?.field?.input.focus();
  }

  /**
   * A mistake that only the server finds, in the user's words where they are known.
   * @param {string} pointer
   * @param {string} detail in English
   */
  #serversMistake(pointer, detail) {
    const [, part, at, step] = pointer.split('/');
    const folder =
      part === 'actions' && step === 'target' ? this.actions.options.items[Number(at)] : null;
    if (folder?.target?.includes('.')) return t('editor.mistakes.target_dot');
    if (folder?.target?.startsWith('~')) return t('editor.mistakes.target_tilde');
    return t('editor.mistakes.refused', { detail });
  }

  /** @param {Problem} problem */
  #showProblem(problem) {
    const mistakes = problem.errors.map(({ pointer = '', detail }) => ({
      pointer,
      text: this.#serversMistake(pointer, detail),
    }));
    if (mistakes.length > 0) this.#showMistakes(mistakes);
    else refill(this.complaint, problemText(problem));
  }

  /** Saves, once a save that is under way is done. */
  async #save() {
    this.isSaveWanted = this.saveButton.hasAttribute('aria-disabled');
    if (this.isSaveWanted) return;
    const filter = bodyOf(this.work.filter);
    const mistakes = mistakesOf(filter).map(({ pointer, key, values }) => ({
      pointer,
      text: t(`editor.mistakes.${key}`, values),
    }));
    this.#showMistakes(mistakes);
    if (mistakes.length > 0) return;
    this.saveButton.setAttribute('aria-disabled', 'true');
    const isSaved = await this.#send(filter).finally(() =>
      this.saveButton.removeAttribute('aria-disabled'),
    );
    if (isSaved && this.isSaveWanted) await this.#save();
  }

  /**
   * @param {Filter} filter
   * @returns {Promise<boolean>} whether it is saved, and the user has changed it since
   */
  async #send(filter) {
    try {
      const result = await saveFilter({
        id: this.id,
        filter,
        before: this.#before(),
        began: this.work.began,
        revision: () => this.work.revision,
      });
      if (!result) return false;
      const { saved } = result;
      if (saved !== null) announce(t('editor.saved', { name: filter.name }));
      const isChangedSince = JSON.stringify(bodyOf(this.work.filter)) !== JSON.stringify(filter);
      const goesOn = saved !== null && isChangedSince;
      if (goesOn) this.#goOn(saved);
      else this.#close(saved);
      return goesOn;
    } catch (error) {
      if (!(error instanceof Problem)) throw error;
      this.work.mayBeSaved ||= error.mayBeDone;
      this.#keep();
      this.#showProblem(error);
      return false;
    }
  }

  /**
   * What the user typed while it was saved is on top of that.
   * @param {number} saved
   */
  #goOn(saved) {
    dropDraft(this.key);
    this.id = saved;
    this.key = saved;
    this.place.element.remove();
    const began = structuredClone(savedFilter(saved));
    const { revision } = store.rules;
    Object.assign(this.work, { before: '', began, revision, mayBeSaved: false });
    refill(this.heading, t('editor.title', { name: began?.name ?? '' }));
    this.#changed();
  }

  #askToDrop() {
    const stay = () => {
      this.dropQuestion.hidden = true;
      this.cancelButton.focus();
    };
    const drop = el(
      'button',
      { type: 'button', class: 'danger', onclick: () => this.#close(null) },
      t('editor.drop'),
    );
    refill(
      this.dropQuestion,
      el('p', {}, t('editor.drop_question')),
      el(
        'div',
        { class: 'buttons' },
        drop,
        el('button', { type: 'button', onclick: stay }, t('editor.go_on')),
      ),
    );
    this.dropQuestion.hidden = false;
    drop.focus();
  }

  /** @param {number | null} saved */
  #close(saved) {
    dropDraft(this.key);
    this.preview.stop();
    changes.removeEventListener('change', this.followStore);
    this.onClose(saved, mayTakeFocus(this.element));
  }

  focus() {
    if (this.id === undefined) this.tests.rows[0].focus();
    else this.heading.focus();
  }
}

/**
 * Opens an editor. What is typed is kept on this device until it is saved or dropped.
 * @param {EditorOptions} options
 * @returns {{element: HTMLElement, focus: () => void}}
 */
export function openEditor(options) {
  const editor = new Editor(options);
  return { element: editor.element, focus: () => editor.focus() };
}
