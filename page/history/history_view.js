// The states that the rules had, and ways back to them.

import { attempt } from '../changes/changing.js';
import { ask, Problem } from '../common/api.js';
import { el, newId, refill } from '../common/dom.js';
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
 * Says a state's change in the user's language as soon as it is seen; in the server's words where
 * that is impossible.
 * @param {HTMLElement} place
 * @param {State} state
 * @param {State | undefined} before the state before it
 */
function sayWhenSeen(place, state, before) {
  const say = async () => {
    try {
      const [old, filters] = await Promise.all([
        before ? filtersOf(before.revision) : null,
        filtersOf(state.revision),
      ]);
      if (old) return refill(place, sentenceList(differences(old, filters), language));
    } catch (problem) {
      if (!(problem instanceof Problem)) throw problem;
    }
    refill(place, sentenceList(state.changes, 'en'));
  };
  const eye = new IntersectionObserver(
    (entries) => {
      if (!entries.some(({ isIntersecting }) => isIntersecting)) return;
      eye.disconnect();
      say();
    },
    { rootMargin: '100%' },
  );
  eye.observe(place);
}

/**
 * One state: its change, and, when it is opened, its rules and the way back to them.
 * @param {State} state
 * @param {State | undefined} before the state before it
 * @param {boolean} isPresent
 * @param {boolean} isOpen
 */
function stateItem(state, before, isPresent, isOpen) {
  const contentId = newId();
  const words = el('div', { class: 'change' });
  sayWhenSeen(words, state, before);
  const content = el('div', { id: contentId, class: 'state-content', hidden: true });
  const toggle = el('button', { type: 'button', 'aria-controls': contentId });
  const show = (/** @type {boolean} */ opened) => {
    content.hidden = !opened;
    toggle.setAttribute('aria-expanded', String(opened));
    toggle.textContent = t(opened ? 'history.hide' : 'history.show');
  };

  const open = async () => {
    show(true);
    refill(content, el('p', { role: 'status' }, t('app.loading')));
    try {
      const filters = await filtersOf(state.revision);
      refill(content, el('h3', {}, t('history.rules_then')), ruleList(filters));
      if (!isPresent) content.append(restoring(state, filters));
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
  if (isOpen) open();

  const when = state.time === null ? t('history.unknown_time') : time(state.time);
  return el(
    'li',
    { class: 'state' },
    el('h2', {}, when, isPresent && [' ', el('span', { class: 'mark' }, t('history.present'))]),
    el(
      'p',
      { class: 'facts' },
      [t(`history.how.${state.how}`), state.who].filter((text) => text !== '').join(' · '),
    ),
    words,
    el('p', {}, toggle),
    content,
  );
}

/**
 * The way back to a state, in two steps: what it would change, and the change.
 * @param {State} state
 * @param {Filter[]} filters
 */
function restoring(state, filters) {
  const element = el('div', { class: 'restoring' });
  const rest = (/** @type {boolean} */ takesFocus) => {
    const button = el('button', { type: 'button', onclick: question }, t('history.restore'));
    refill(element, el('p', {}, button));
    if (takesFocus) button.focus();
  };
  const restore = () =>
    attempt(
      t('history.restoring'),
      () => change('POST', '/history/restore', { revision: state.revision }),
      () => announce(t('history.restored')),
    );
  const question = () => {
    const titleId = newId();
    const sure = el(
      'button',
      { type: 'button', class: 'main', onclick: restore },
      t('history.restore_now'),
    );
    refill(
      element,
      el(
        'div',
        { class: 'question', role: 'group', 'aria-labelledby': titleId },
        el('p', { id: titleId }, el('strong', {}, t('history.restore_sure'))),
        sentenceList(differences(store.rules.filters, filters), language),
        el('p', { class: 'buttons' }, [
          sure,
          el('button', { type: 'button', onclick: () => rest(true) }, t('app.cancel')),
        ]),
      ),
    );
    sure.focus();
  };
  rest(false);
  return element;
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
  const draw = async () => {
    if (shownRevision === store.rules.revision) return;
    shownRevision = store.rules.revision;
    try {
      const answer = await ask('GET', '/history');
      /** @type {State[]} */
      const states = answer.states;
      const opened = states.findIndex(({ revision }) => revision === currentPlace().item);
      const hadFocus = list.contains(document.activeElement);
      refill(
        list,
        states.map((state, at) => stateItem(state, states[at + 1], at === 0, at === opened)),
      );
      refill(
        remarks,
        answer.remarks.map((/** @type {string} */ text) => el('p', { class: 'remarks' }, text)),
      );
      status.textContent = states.length === 0 ? t('history.empty') : '';
      if (hadFocus) list.querySelector('button')?.focus();
    } catch (problem) {
      shownRevision = '';
      status.textContent = '';
      complain(problemText(problem), { label: t('app.try_again'), action: draw });
    }
  };
  changes.addEventListener('change', draw);
  draw();
  return () => changes.removeEventListener('change', draw);
}
