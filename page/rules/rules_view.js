// The list of rules.

import { attempt } from '../changes/changing.js';
import { arrange, el, mayTakeFocus, newId, refill } from '../common/dom.js';
import { announce, offer } from '../common/notices.js';
import { currentPlace, openHere } from '../common/place.js';
import { change, changes, store } from '../common/store.js';
import { number, t } from '../common/words.js';
import { draftOf } from '../editor/drafts.js';
import { openEditor } from '../editor/editor.js';
import { applicationPanel } from '../mail/application.js';
import { sentenceText } from '../sentences/sentence.js';
import { ruleRow } from './rule_row.js';
import { unsavedRules } from './unsaved_rules.js';

/**
 * @typedef {import('../common/types.js').Filter} Filter
 * @typedef {import('./rule_row.js').RuleRow} RuleRow
 */

/** From this part of the room for the script on, the user is told. */
const nearlyFull = 0.9;

/** @returns {Filter} one that its user fills in */
const emptyFilter = () => ({ enabled: true, name: '', relation: 'allof', tests: [], actions: [] });

/** @param {number} id */
const indexOf = (id) => store.rules.filters.findIndex((filter) => filter.id === id);

/** @param {number} id */
const nameOf = (id) => store.rules.filters[indexOf(id)]?.name ?? '';

/**
 * A place in the list, as the server takes it.
 * @param {number} id that of the filter that goes there
 * @param {number} place from 0 on; the nearest where there is none
 */
function placeAt(id, place) {
  const others = store.rules.filters.filter((filter) => filter.id !== id);
  const to = Math.min(place, others.length);
  return to <= 0 ? { first: true } : { after: Number(others[to - 1].id) };
}

/**
 * What the server takes of a filter for one that is like it.
 * @param {Filter} filter
 */
const copyOf = ({ enabled, name, relation, tests, actions }) => ({
  enabled,
  name,
  relation,
  tests,
  actions,
});

/**
 * Adds a filter before the one that stood behind it, where that is there still.
 * @param {Filter} filter
 * @param {number | undefined} next
 * @returns {Promise<number>} its number
 */
async function add(filter, next) {
  const known = new Set(store.rules.filters.map(({ id }) => id));
  const place = next !== undefined && known.has(next) ? { before: next } : {};
  const answer = await change('POST', '/rules', { ...copyOf(filter), ...place });
  const added = answer.filters.find((/** @type {Filter} */ { id }) => !known.has(id));
  return Number(added?.id);
}

/** What is wrong with the stored rules, and how full the room for them is. */
function remarks() {
  const { remarks: sentences, script } = store.rules;
  const share = script.most_bytes > 0 ? script.bytes / script.most_bytes : 0;
  return [
    sentences.length > 0 &&
      el(
        'div',
        { class: 'remarks' },
        el('p', {}, el('strong', {}, t('rules.damaged'))),
        el(
          'ul',
          { lang: 'en' },
          sentences.map((text) => el('li', {}, text)),
        ),
      ),
    share >= nearlyFull &&
      el(
        'p',
        { class: 'remarks' },
        t('rules.nearly_full', { percent: number(Math.min(100, Math.floor(share * 100))) }),
      ),
  ];
}

/**
 * Whether a rule has all of these words in what is shown of it.
 * @param {Filter} filter
 * @param {string} searched
 */
function isFound(filter, searched) {
  const text = `${filter.name} ${sentenceText(filter)}`.toLocaleLowerCase();
  return searched
    .toLocaleLowerCase()
    .split(/\s+/)
    .every((word) => text.includes(word));
}

/**
 * The part of the page that applies the rules to mail that is there, behind a button.
 */
function applying() {
  const id = newId();
  const place = el('div', { id, class: 'applying', hidden: true });
  const toggle = el(
    'button',
    {
      type: 'button',
      class: 'quiet',
      'aria-expanded': 'false',
      'aria-controls': id,
      onclick: () => {
        place.hidden = !place.hidden;
        toggle.setAttribute('aria-expanded', String(!place.hidden));
        refill(place, !place.hidden && applicationPanel());
      },
    },
    t('rules.apply'),
  );
  return { toggle, place };
}

/**
 * Shows the list.
 * @param {HTMLElement} container
 * @returns {() => void} ends it
 */
export function showRules(container) {
  /** @type {Map<number, RuleRow>} */
  const rows = new Map();
  let searched = '';

  const notes = el('div', { class: 'notes' });
  const newPlace = el('section', { class: 'new-rule', 'aria-label': t('rules.new'), hidden: true });
  const list = el('ol', { class: 'rules-list', role: 'list', 'aria-label': t('app.rules') });
  const newButton = el(
    'button',
    { type: 'button', class: 'main', onclick: () => editNew() },
    t('rules.new'),
  );
  const continued = el('div', { class: 'continue' });
  const empty = el(
    'div',
    { class: 'empty' },
    el('h2', {}, t('rules.empty')),
    el('p', {}, t('rules.empty_hint')),
    el('button', { type: 'button', class: 'main', onclick: () => editNew() }, t('rules.new')),
  );
  const searchId = newId();
  const found = el('p', { class: 'found', role: 'status' });
  const search = () => {
    searched = searchInput.value.trim();
    draw();
  };
  const searchInput = el('input', {
    id: searchId,
    type: 'search',
    placeholder: t('rules.search'),
    oninput: search,
  });
  const apply = applying();
  const toolbar = el(
    'div',
    { class: 'toolbar' },
    newButton,
    apply.toggle,
    el(
      'div',
      { class: 'search', role: 'search' },
      el('label', { for: searchId, class: 'unseen' }, t('rules.search')),
      searchInput,
    ),
  );
  const order = el('p', { class: 'hint order' }, t('rules.order'));
  refill(container, notes, toolbar, apply.place, continued, newPlace, order, found, list, empty);

  const newRuleButton = () => (empty.hidden ? newButton : empty.querySelector('button'));

  /** @param {number} id */
  const focusRule = (id) => {
    const row = rows.get(id);
    if (!row) return newRuleButton().focus();
    if (row.element.hidden) {
      searchInput.value = '';
      search();
    }
    row.element.scrollIntoView({ block: 'nearest' });
    row.focus();
  };

  /** @type {import('./rule_row.js').RuleCommands} */
  const commands = {
    move: (id, place) => moveTo(id, () => placeAt(id, place)),
    step: (id, by) => moveTo(id, () => placeAt(id, indexOf(id) + by)),
    drop: (id, before) => {
      const row = [...rows].find(([, { element }]) => element === before);
      moveTo(id, () => (row ? { before: row[0] } : { last: true }));
    },
    edit: (id) => editRule(id),
    turn: (id, enabled) => {
      const what = t(enabled ? 'rules.turning_on' : 'rules.turning_off', { name: nameOf(id) });
      attempt(
        what,
        () => change('PATCH', `/rules/${id}`, { enabled }),
        () => announce(t(enabled ? 'rules.turned_on' : 'rules.turned_off', { name: nameOf(id) })),
      ).finally(draw);
    },
    duplicate: (id) => {
      const filter = store.rules.filters[indexOf(id)];
      const name = t('rules.copy_of', { name: filter.name });
      const next = store.rules.filters[indexOf(id) + 1]?.id;
      const place = document.activeElement;
      attempt(
        t('rules.duplicating', { name: filter.name }),
        () => add({ ...filter, name }, next),
        (added) => {
          announce(t('rules.duplicated', { name: filter.name, copy: name }));
          if (mayTakeFocus(place)) focusRule(added);
        },
      );
    },
    remove: (id) => removeRule(id),
  };

  /**
   * @param {number} id
   * @param {() => object} place as the server takes it
   */
  const moveTo = (id, place) => {
    const name = nameOf(id);
    attempt(
      t('rules.moving', { name }),
      () => change('POST', `/rules/${id}/move`, place),
      () => {
        const total = store.rules.filters.length;
        announce(t('rules.moved', { name, place: indexOf(id) + 1, count: total }));
        rows.get(id)?.element.scrollIntoView({ block: 'nearest' });
      },
    );
  };

  /** @param {number} id */
  const removeRule = (id) => {
    const at = indexOf(id);
    const filter = store.rules.filters[at];
    const { name } = filter;
    const next = store.rules.filters[at + 1]?.id;
    const isSeen = (/** @type {Filter} */ other) => !rows.get(Number(other.id))?.element.hidden;
    const neighbour =
      store.rules.filters.slice(at + 1).find(isSeen) ??
      store.rules.filters.slice(0, at).reverse().find(isSeen);
    const place = document.activeElement;
    attempt(
      t('rules.removing', { name }),
      () => change('DELETE', `/rules/${id}`),
      () => {
        const then = store.rules;
        if (mayTakeFocus(place)) focusRule(Number(neighbour?.id));
        offer(t('rules.removed', { name }), t('app.undo'), () => takeBack(filter, next, then));
      },
    );
  };

  /**
   * @param {Filter} filter
   * @param {number | undefined} next
   * @param {import('../common/types.js').Rules} then
   */
  const takeBack = (filter, next, then) => {
    const { name } = filter;
    const place = document.activeElement;
    attempt(
      t('rules.putting_back', { name }),
      () => putBack(filter, next, then),
      (back) => {
        announce(t('rules.put_back', { name }));
        if (mayTakeFocus(place)) focusRule(back);
      },
    );
  };

  /**
   * Takes the removal back as long as nothing else was changed; else adds the rule again.
   * @param {Filter} filter
   * @param {number | undefined} next that stood behind it
   * @param {import('../common/types.js').Rules} then the rules after the removal
   */
  const putBack = async (filter, next, then) => {
    if (store.rules !== then) return add(filter, next);
    await change('POST', '/history/undo');
    return Number(filter.id);
  };

  /** @param {number} id */
  const editRule = (id) => {
    const row = rows.get(id);
    const filter = store.rules.filters[indexOf(id)];
    if (!row || !filter || row.element.classList.contains('edited')) return;
    const editor = openEditor({
      filter,
      onClose: (_saved, takesFocus) => {
        row.hold(null);
        row.element.classList.remove('edited');
        openHere('');
        draw();
        if (takesFocus) focusRule(id);
      },
    });
    row.element.classList.add('edited');
    row.hold(editor.element);
    openHere(id);
    draw();
    editor.focus();
  };

  const editNew = () => editApart(draftOf('new') ?? emptyFilter());

  /**
   * Edits a filter that has no row in the list: a new one, or one that is gone.
   * @param {Filter} filter
   */
  const editApart = (filter) => {
    if (!newPlace.hidden) return;
    const editor = openEditor({
      filter,
      onClose: (saved, takesFocus) => {
        newPlace.replaceChildren();
        newPlace.hidden = true;
        openHere('');
        draw();
        if (!takesFocus) return;
        if (saved === null) newRuleButton().focus();
        else focusRule(saved);
      },
    });
    newPlace.hidden = false;
    newPlace.append(el('h2', { class: 'unseen' }, t('rules.new')), editor.element);
    openHere('new');
    draw();
    editor.focus();
  };

  const draw = () => {
    const { filters } = store.rules;
    const isMovable = searched === '';
    const shown = filters.filter((filter) => searched === '' || isFound(filter, searched));
    filters.forEach((filter, place) => {
      const id = Number(filter.id);
      const row = rows.get(id) ?? ruleRow(id, commands);
      rows.set(id, row);
      row.update(filter, place, isMovable);
      const isEdited = row.element.classList.contains('edited');
      row.element.hidden = !isEdited && !shown.includes(filter);
    });
    drawList();
    const isEmpty = filters.length === 0;
    for (const part of [toolbar, order]) part.hidden = isEmpty;
    empty.hidden = !isEmpty || !newPlace.hidden;
    found.textContent = isMovable
      ? ''
      : `${t('rules.found', { count: shown.length, total: filters.length })} ${t('rules.no_moving')}`;
    refill(notes, remarks());
    drawContinued();
  };

  let shownUnsaved = '';
  const drawContinued = () => {
    const unsaved = newPlace.hidden ? unsavedRules(editApart) : [];
    const words = unsaved.map(({ textContent }) => textContent).join();
    if (words === shownUnsaved) return; // the user may be about to use them
    shownUnsaved = words;
    refill(continued, unsaved);
  };

  /** Those that are gone stay only while they are edited: what was typed is not lost. */
  const drawList = () => {
    const elements = store.rules.filters.map(({ id }) => rows.get(Number(id))?.element);
    for (const [id, { element }] of rows) {
      if (elements.includes(element)) continue;
      if (element.classList.contains('edited')) elements.push(element);
      else rows.delete(id);
    }
    arrange(list, /** @type {HTMLElement[]} */ (elements));
  };

  const closeMenus = (/** @type {{target: any}} */ { target }) => {
    for (const menu of list.querySelectorAll('details.more[open]'))
      if (!menu.contains(target)) menu.open = false;
  };

  changes.addEventListener('change', draw);
  document.addEventListener('pointerdown', closeMenus);
  draw();
  const { item } = currentPlace();
  if (item === 'new') editNew();
  else if (item !== '') editRule(Number(item));
  return () => {
    changes.removeEventListener('change', draw);
    document.removeEventListener('pointerdown', closeMenus);
  };
}
