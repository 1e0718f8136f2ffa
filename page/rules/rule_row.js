// One rule of the list: its sentence, its switch, its buttons, and its editor when it is open.

import { el, newId, put, refill } from '../common/dom.js';
import { store } from '../common/store.js';
import { t } from '../common/words.js';
import { draftOf } from '../editor/drafts.js';
import { sentence } from '../sentences/sentence.js';
import { makeDraggable } from './rule_dragging.js';
import { warningList } from './rule_warnings.js';

/**
 * @typedef {import('../common/types.js').Filter} Filter
 *
 * @typedef {object} RuleCommands what the buttons of a row do; a place counts from 0
 * @property {(id: number, place: number) => void} move
 * @property {(id: number, by: number) => void} step
 * @property {(id: number, before: HTMLElement | null) => void} drop
 * @property {(id: number) => void} edit
 * @property {(id: number, enabled: boolean) => void} turn
 * @property {(id: number) => void} duplicate
 * @property {(id: number) => void} remove
 *
 * @typedef {object} RuleRow
 * @property {HTMLElement} element
 * @property {(filter: Filter, place: number, isMovable: boolean) => void} update
 * @property {(editor: HTMLElement | null) => void} hold shows an editor in place of the rule
 * @property {() => void} focus
 */

/**
 * What the rule caught; nothing where that is not counted.
 * @param {Filter} filter
 */
function caughtText({ id, enabled }) {
  const { statistics } = store;
  if (!statistics?.counted) return '';
  const figures = statistics.rules.find((rule) => rule.id === id);
  if (!figures) return '';
  const { days } = statistics;
  if (figures.caught > 0) return t('rules.caught', { count: figures.caught, days });
  return enabled ? t('rules.never_caught', { days }) : '';
}

/**
 * @param {Filter} filter
 * @param {boolean} isEdited
 */
function facts(filter, isEdited) {
  const texts = [
    caughtText(filter),
    filter.enabled ? '' : t('rules.is_off'),
    !isEdited && draftOf(Number(filter.id)) ? t('rules.unsaved') : '',
  ].filter((text) => text !== '');
  return texts.length > 0 && el('p', { class: 'facts' }, texts.join(' · '));
}

/**
 * A button whose label names the rule.
 * @param {string} words the key of its words
 * @param {() => void} onclick
 * @param {string} [look]
 */
const button = (words, onclick, look = '') =>
  el('button', { type: 'button', class: look, 'data-words': words, onclick }, t(words));

/**
 * The form that asks for another place.
 * @param {(place: number) => void} onMove
 * @param {() => void} onClose
 */
function placeForm(onMove, onClose) {
  const id = newId();
  const input = el('input', { id, type: 'number', min: 1, required: true, inputmode: 'numeric' });
  const submit = (/** @type {Event} */ event) => {
    event.preventDefault();
    onClose();
    onMove(Number(input.value) - 1);
  };
  const onEscape = (/** @type {KeyboardEvent} */ event) => event.key === 'Escape' && onClose();
  const label = el('label', { for: id });
  const element = el(
    'form',
    { class: 'place-form', hidden: true, onsubmit: submit, onkeydown: onEscape },
    label,
    input,
    el('button', { type: 'submit', class: 'main' }, t('rules.move')),
    el('button', { type: 'button', onclick: onClose }, t('app.cancel')),
  );
  const open = (/** @type {number} */ place) => {
    const most = store.rules.filters.length;
    label.textContent = t('rules.position_of', { count: most });
    Object.assign(input, { max: most, value: place + 1 });
    element.hidden = false;
    input.select();
  };
  return { element, open };
}

/**
 * @param {number} id
 * @param {RuleCommands} commands
 * @returns {RuleRow}
 */
export function ruleRow(id, commands) {
  let place = 0;
  let isMovable = true;
  let seen = '';
  const move = (/** @type {number} */ to) => isMovable && commands.move(id, to);
  const step = (/** @type {number} */ by) => {
    if (isMovable && store.rules.filters[place + by]) commands.step(id, by);
  };

  const number = el('span', { class: 'number' });
  const words = el('div', { class: 'rule-words' });
  const toggle = el('input', {
    type: 'checkbox',
    role: 'switch',
    'data-words': 'rules.on',
    onchange: () => commands.turn(id, toggle.checked),
  });
  const edit = button('rules.edit', () => commands.edit(id));
  const up = button('rules.up', () => step(-1), 'icon up');
  const down = button('rules.down', () => step(1), 'icon down');
  const form = placeForm(move, () => {
    form.element.hidden = true;
    summary.focus();
  });
  const choose = (/** @type {() => void} */ action) => () => {
    more.open = false;
    action();
  };
  const position = button(
    'rules.position',
    choose(() => isMovable && form.open(place)),
  );
  const summary = el('summary', { 'data-words': 'rules.more' }, t('rules.more'));
  const more = el(
    'details',
    { class: 'more' },
    summary,
    el(
      'div',
      { class: 'menu' },
      position,
      button(
        'rules.duplicate',
        choose(() => commands.duplicate(id)),
      ),
      button(
        'rules.remove',
        choose(() => commands.remove(id)),
        'danger',
      ),
    ),
  );
  more.addEventListener('focusout', (/** @type {FocusEvent} */ { relatedTarget }) => {
    // not where nothing gets the focus: some browsers give none to a button that is clicked
    if (relatedTarget && !more.contains(relatedTarget)) more.open = false;
  });
  more.addEventListener('keydown', (/** @type {KeyboardEvent} */ { key }) => {
    if (key !== 'Escape') return;
    more.open = false;
    summary.focus();
  });

  const handle = el('span', { class: 'handle', 'aria-hidden': 'true', title: t('rules.drag') });
  const body = el(
    'div',
    { class: 'rule-body' },
    el('div', { class: 'rule-place' }, handle, number),
    words,
    el('label', { class: 'switch' }, toggle, el('span', { 'aria-hidden': 'true' })),
    el('div', { class: 'rule-buttons' }, edit, up, down, more),
  );
  const editorPlace = el('div', { class: 'rule-editor', hidden: true });
  const element = el('li', { class: 'rule', id: `rule-${id}` }, body, form.element, editorPlace);
  const title = el('h2', { class: 'unseen' });

  body.addEventListener('keydown', (/** @type {KeyboardEvent} */ event) => {
    const by = { ArrowUp: -1, ArrowDown: 1 }[event.key];
    if (!event.altKey || by === undefined) return;
    event.preventDefault();
    step(by);
  });
  makeDraggable(handle, element, (before) => commands.drop(id, before));

  /** @param {Filter} filter */
  const draw = (filter) => {
    title.textContent = filter.name;
    refill(
      words,
      el('h2', {}, el('bdi', {}, filter.name)),
      el('p', { class: 'sentence' }, sentence(filter)),
      facts(filter, !editorPlace.hidden),
      warningList(filter),
    );
    for (const labelled of body.querySelectorAll('[data-words]'))
      labelled.setAttribute(
        'aria-label',
        t('rules.of_rule', { what: t(labelled.dataset.words), name: filter.name }),
      );
  };

  /** @type {RuleRow['update']} */
  const update = (filter, newPlace, canMove) => {
    place = newPlace;
    isMovable = canMove;
    number.textContent = String(place + 1);
    toggle.checked = filter.enabled;
    element.classList.toggle('off', !filter.enabled);
    const last = store.rules.filters.length - 1;
    up.setAttribute('aria-disabled', String(!canMove || place === 0));
    down.setAttribute('aria-disabled', String(!canMove || place === last));
    position.setAttribute('aria-disabled', String(!canMove));
    handle.hidden = !canMove;
    const { statistics, rules } = store;
    const names = rules.filters.map((each) => each.name);
    const now = JSON.stringify([filter, statistics, names, draftOf(id), editorPlace.hidden]);
    if (now !== seen) draw(filter);
    seen = now;
  };

  /** @type {RuleRow['hold']} */
  const hold = (editor) => {
    body.hidden = editor !== null;
    editorPlace.hidden = editor === null;
    editorPlace.replaceChildren();
    put(editorPlace, editor && title, editor);
  };

  return { element, update, hold, focus: () => edit.focus() };
}
