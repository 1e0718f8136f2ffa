// The states that the rules had, and ways back to them.

import { attempt } from '../changes/changing.js';
import { ask, Problem } from '../common/api.js';
import { arrange, el, newId, oneAtATime, refill } from '../common/dom.js';
import { announce, complain } from '../common/notices.js';
import { currentPlace, openHere } from '../common/place.js';
import { problemText } from '../common/problem_words.js';
import { change, changes, store } from '../common/store.js';
import { language, t, time } from '../common/words.js';
import { differences } from '../sentences/differences.js';
import { sentence } from '../sentences/sentence.js';

/**
 * @typedef {import('../common/types.js').Filter} Filter
 * @typedef {import('../common/types.js').State} State
 */

/** @type {Map<string, Promise<Filter[]>>} the filters of states, which never change */
const loaded = new Map();

/**
 * The filters of a state. Throws a Problem.
 * @param {string} revision
 * @returns {Promise<Filter[]>}
 */
function filtersOf(revision) {
  const known = loaded.get(revision);
  if (known) return known;
  const asked = ask('GET', `/history/${revision}`).then((state) => state.filters);
  loaded.set(revision, asked);
  asked.catch(() => loaded.delete(revision));
  return asked;
}

/**
 * @param {string[]} sentences
 * @param {string} spoken the language that they are in
 */
const sentenceList = (sentences, spoken) =>
  sentences.length === 0
    ? el('p', { class: 'hint' }, t('history.no_changes'))
    : el(
        'ul',
        { class: 'changes', lang: spoken },
        sentences.map((text) => el('li', { dir: 'auto' }, text)),
      );

/**
 * Rules as they were.
 * @param {Filter[]} filters
 */
const ruleList = (filters) =>
  filters.length === 0
    ? el('p', { class: 'hint' }, t('history.no_rules'))
    : el(
        'ol',
        { class: 'rules-then' },
        filters.map((filter) =>
          el(
            'li',
            { class: filter.enabled ? '' : 'off' },
            el('strong', {}, el('bdi', {}, filter.name)),
            ' ',
            filter.enabled ? null : `(${t('rules.is_off')}) `,
            el('span', { class: 'sentence' }, sentence(filter)),
          ),
        ),
      );

/**
 * One state: its change, and, when it is opened, its rules and the way back to them.
 * @param {State} state
 * @param {State | undefined} before the state before it
 * @param {boolean} isPresent
 */
function stateItem(state, before, isPresent) {
  const contentId = newId();
  const isFirst = before === undefined && state.changes.length === 0;
  const words = el('div', {}, !isFirst && sentenceList(state.changes, 'en'));
  const content = el('div', { id: contentId, class: 'state-content', hidden: true });
  const toggle = el('button', { type: 'button', 'aria-controls': contentId });
  /** @type {ReturnType<typeof restoring> | null} */
  let wayBack = null;
  let isFilled = false;
  const show = (/** @type {boolean} */ opened) => {
    content.hidden = !opened;
    toggle.setAttribute('aria-expanded', String(opened));
    toggle.textContent = t(opened ? 'history.hide' : 'history.show');
  };

  const tell = async () => {
    if (!before) return;
    const [old, filters] = [await filtersOf(before.revision), await filtersOf(state.revision)];
    refill(words, sentenceList(differences(old, filters), language));
  };

  const fill = async () => {
    if (isFilled) return;
    refill(content, el('p', { role: 'status' }, t('app.loading')));
    const filters = await filtersOf(state.revision);
    if (isFilled) return; // it was opened twice
    isFilled = true;
    wayBack = isPresent ? null : restoring(state, filters);
    const title = el('h3', {}, t('history.rules_then'));
    refill(content, title, ruleList(filters), wayBack?.element);
  };

  const open = async () => {
    show(true);
    try {
      await fill();
      await tell();
    } catch (problem) {
      show(false);
      complain(problemText(problem), { label: t('app.try_again'), action: open });
    }
  };
  toggle.addEventListener('click', () => {
    openHere(content.hidden ? state.revision : '');
    if (content.hidden) open();
    else show(false);
  });
  show(false);

  const when = state.time === null ? t('history.unknown_time') : time(state.time);
  const how = isFirst && state.how === 'found' ? 'history.first' : `history.how.${state.how}`;
  const element = el(
    'li',
    { class: 'state' },
    el('h2', {}, when, isPresent && [' ', el('span', { class: 'mark' }, t('history.present'))]),
    el('p', { class: 'facts' }, [t(how), state.who].filter((text) => text !== '').join(' · ')),
    words,
    el('p', {}, toggle),
    content,
  );
  return { element, open, tell, followRules: () => wayBack?.followRules() };
}

/** @typedef {ReturnType<typeof stateItem>} StateItem */

/**
 * The items of the states, the first of which is the present one: those that are shown already,
 * where they say the same still, since the user may be about to use them.
 * @param {State[]} states
 * @param {Map<string, StateItem>} shown
 * @returns {Map<string, StateItem>}
 */
function itemsOf(states, shown) {
  const items = new Map();
  for (const [at, state] of states.entries()) {
    const before = states[at + 1];
    let key = JSON.stringify([state, before?.revision, at === 0]);
    while (items.has(key)) key += ' and again';
    items.set(key, shown.get(key) ?? stateItem(state, before, at === 0));
  }
  return items;
}

/**
 * Says in the user's language what the server says in English, one state after the other.
 * @param {StateItem[]} items
 */
async function tellAll(items) {
  for (const { element, tell } of items) {
    if (!element.isConnected) return;
    try {
      await tell();
    } catch (problem) {
      if (!(problem instanceof Problem)) throw problem;
      return; // the server's words stay
    }
  }
}

/**
 * The way back to a state, in two steps: what it would change, and the change.
 * @param {State} state
 * @param {Filter[]} filters
 * @returns {{element: HTMLElement, followRules: () => void}} the latter once the rules are others
 */
function restoring(state, filters) {
  const element = el('div', { class: 'restoring' });
  const whatChanges = el('div');
  const followRules = () =>
    refill(whatChanges, sentenceList(differences(store.rules.filters, filters), language));
  const rest = (/** @type {boolean} */ takesFocus) => {
    const button = el('button', { type: 'button', onclick: question }, t('history.restore'));
    refill(element, el('p', {}, button));
    if (takesFocus) button.focus();
  };
  const restore = () =>
    attempt(
      t('history.restoring'),
      () => change('POST', '/history/restore', { revision: state.revision }),
      () => {
        announce(t('history.restored'));
        rest(element.contains(document.activeElement));
      },
    );
  const question = () => {
    const titleId = newId();
    followRules();
    const sure = el(
      'button',
      { type: 'button', class: 'main', onclick: () => oneAtATime(sure, restore) },
      t('history.restore_now'),
    );
    refill(
      element,
      el(
        'div',
        { class: 'question', role: 'group', 'aria-labelledby': titleId },
        el('p', { id: titleId }, el('strong', {}, t('history.restore_sure'))),
        whatChanges,
        el('p', { class: 'buttons' }, [
          sure,
          el('button', { type: 'button', onclick: () => rest(true) }, t('app.cancel')),
        ]),
      ),
    );
    sure.focus();
  };
  rest(false);
  return { element, followRules };
}

/**
 * Shows the states.
 * @param {HTMLElement} container
 * @returns {() => void} ends it
 */
export function showHistory(container) {
  const list = el('ol', { class: 'states', role: 'list' });
  const remarks = el('div', { lang: 'en' });
  const status = el('p', { role: 'status' }, t('app.loading'));
  const step = (/** @type {'undo' | 'redo'} */ way) =>
    attempt(
      t(`history.${way}`),
      () => change('POST', `/history/${way}`),
      () => announce(t(`history.${way}_done`)),
    );
  refill(
    container,
    el('p', { class: 'hint' }, t('history.hint')),
    el(
      'p',
      { class: 'toolbar' },
      el('button', { type: 'button', onclick: () => step('undo') }, t('history.undo')),
      el('button', { type: 'button', onclick: () => step('redo') }, t('history.redo')),
    ),
    remarks,
    status,
    list,
  );

  let shownRevision = '';
  /** @type {Map<string, StateItem>} */
  let shown = new Map();
  const draw = async () => {
    const { revision } = store.rules;
    if (shownRevision === revision) return;
    shownRevision = revision;
    for (const item of shown.values()) item.followRules();
    try {
      const answer = await ask('GET', '/history');
      if (shownRevision !== revision) return; // the rules are others again
      /** @type {State[]} */
      const states = answer.states;
      const opened = states.findIndex((state) => state.revision === currentPlace().item);
      const hadFocus = list.contains(document.activeElement);
      shown = itemsOf(states, shown);
      const items = [...shown.values()];
      arrange(
        list,
        items.map(({ element }) => element),
      );
      items[opened]?.open();
      refill(
        remarks,
        answer.remarks.map((/** @type {string} */ text) => el('p', { class: 'remarks' }, text)),
      );
      status.textContent = states.length === 0 ? t('history.empty') : '';
      if (hadFocus && !list.contains(document.activeElement)) list.querySelector('button')?.focus();
      await tellAll(items);
    } catch (problem) {
      if (shownRevision !== revision) return;
      shownRevision = '';
      status.textContent = '';
      complain(problemText(problem), { label: t('app.try_again'), action: draw });
    }
  };
  changes.addEventListener('change', draw);
  draw();
  return () => changes.removeEventListener('change', draw);
}
