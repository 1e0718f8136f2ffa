// Applying rules to mail that is there: first what would happen, then the filing, and its undo.

import { ask, Problem } from '../common/api.js';
import { el, mayTakeFocus, newId, refill } from '../common/dom.js';
import { choice, formField } from '../common/form_field.js';
import { moment } from '../common/message_line.js';
import { announce } from '../common/notices.js';
import { problemText } from '../common/problem_words.js';
import { loadFolders, newKey, store, take } from '../common/store.js';
import { number, parts, t } from '../common/words.js';
import { folderOptions } from '../editor/action_row.js';
import { folderText } from '../sentences/sentence.js';

/**
 * @typedef {import('../common/types.js').Application} Application
 * @typedef {{folder: string, rule?: number, since?: number}} Wanted as the server takes it
 *
 * @typedef {object} ApplicationOptions
 * @property {string} [folder] the one that is chosen at first
 * @property {number} [rule] that is chosen at first; all without
 * @property {() => void} [onMoved] called when mail may lie elsewhere than before
 */

/** In milliseconds. */
const pollingPause = 500;
const pauseAfterFailure = 2000;

const runningStates = ['planning', 'filing', 'undoing'];

/** @param {Application} application */
const isRunning = ({ state }) => runningStates.includes(state);

/**
 * @param {Wanted | null} one
 * @param {Wanted | null} other
 */
const areSame = (one, other) => JSON.stringify(one) === JSON.stringify(other);

/**
 * Whether work came to its end in between; a short one may be over before it is first seen.
 * @param {Application} before
 * @param {Application} now
 */
const hasEndedSince = (before, now) =>
  !isRunning(now) &&
  (isRunning(before) || now.state !== before.state || now.started !== before.started);

/** Whether a rule does something with messages. @param {string} fate */
const isDone = (fate) => fate === 'move' || fate === 'copy';

/**
 * The choice of rules, by their numbers.
 * @returns {[string, string][]}
 */
const ruleOptions = () => [
  ['', t('application.all_rules')],
  ...store.rules.filters.map(
    ({ id, name }, at) =>
      /** @type {[string, string]} */ ([
        String(id),
        t('application.one_rule', { number: at + 1, name }),
      ]),
  ),
];

/** @param {Application} application */
const stateText = ({ state, done, total, reason }) =>
  t(`application.states.${state}`, { done, count: total, reason });

/** @param {Application['counts']} counts */
const countsTable = (counts) =>
  el(
    'table',
    { class: 'counts' },
    el('caption', { class: 'unseen' }, t('application.counts')),
    el(
      'thead',
      {},
      el(
        'tr',
        {},
        ['rule', 'fate', 'count'].map((column) =>
          el('th', { scope: 'col' }, t(`application.column_${column}`)),
        ),
      ),
    ),
    el(
      'tbody',
      {},
      counts.map(({ rule, fate, folder, count }) =>
        el(
          'tr',
          {},
          el('th', { scope: 'row' }, rule ? el('bdi', {}, rule) : t('application.no_rule')),
          el(
            'td',
            {},
            parts(`application.fates.${fate}`, { folder: el('bdi', {}, folderText(folder)) }),
          ),
          el('td', { class: 'number' }, number(count)),
        ),
      ),
    ),
  );

/** @param {Application} application */
function failureList({ failures, failure_examples: examples }) {
  if (failures === 0) return [];
  const items = examples.map((text) => el('li', {}, el('bdi', {}, text)));
  return [el('p', {}, t('application.failures', { count: failures })), el('ul', {}, items)];
}

class ApplicationPanel {
  /** What the shown plan is about; null when there is none of this panel. @type {Wanted | null} */
  #planned = null;
  /** @type {Application | null} */
  #shown = null;
  #timer = 0;
  /** How many requests there were: what an earlier one is answered does not count any more. */
  #requests = 0;
  /** What is asked for, until it is answered. */
  #asked = '';
  /** Whether it is complained that nobody knows how far it is. */
  #isLost = false;

  /** @param {ApplicationOptions} options */
  constructor({ folder = 'INBOX', rule, onMoved = () => {} }) {
    this.onMoved = onMoved;
    const title = newId();
    this.folder = formField(t('application.folder'), choice(folderOptions(), folder));
    this.rule = formField(t('application.rule'), choice(ruleOptions(), String(rule ?? '')));
    this.since = formField(t('application.since'), el('input', { type: 'date' }));
    this.heading = el('h2', { id: title, tabindex: -1 }, t('application.title'));
    this.complaint = el('p', { class: 'mistake', role: 'alert' });
    this.line = el('p', { class: 'application-state', tabindex: -1 });
    this.progress = el('progress', { 'aria-label': t('application.title'), hidden: true });
    this.progressText = el('p', { class: 'hint' });
    this.details = el('div');
    this.startButton = this.#button('start', 'main', () => this.#start());
    this.planButton = el('button', { type: 'submit' }, t('application.plan'));
    this.stopButton = this.#button('stop', '', () => this.#post('/application/stop'));
    this.undoButton = this.#button('undo', '', () => this.#post('/application/undo'));
    this.element = el(
      'section',
      { class: 'application', 'aria-labelledby': title },
      this.heading,
      el('p', { class: 'hint' }, t('application.intro')),
      this.#form(),
      this.complaint,
      this.line,
      this.progress,
      this.progressText,
      this.details,
      el('div', { class: 'buttons' }, this.startButton, this.stopButton, this.undoButton),
    );
    this.#look();
  }

  /**
   * @param {string} what
   * @param {string} className
   * @param {() => void} onclick
   */
  #button(what, className, onclick) {
    return el(
      'button',
      { type: 'button', class: className, hidden: true, onclick },
      t(`application.${what}`),
    );
  }

  #form() {
    const form = el(
      'form',
      { class: 'application-form' },
      this.folder.element,
      this.rule.element,
      this.since.element,
      this.planButton,
    );
    form.addEventListener('submit', (/** @type {Event} */ event) => {
      event.preventDefault();
      this.#plan();
    });
    form.addEventListener('change', () => this.#forgetPlan());
    return form;
  }

  /** What it says is not what would happen any more. */
  #forgetPlan() {
    this.#planned = null;
    if (this.#shown?.state === 'planned') this.#show(this.#shown);
  }

  /** @returns {Wanted} */
  #wanted() {
    /** @type {Wanted} */
    const wanted = { folder: this.folder.input.value };
    if (this.rule.input.value !== '') wanted.rule = Number(this.rule.input.value);
    const since = new Date(`${this.since.input.value}T00:00`).getTime();
    if (!Number.isNaN(since)) wanted.since = Math.floor(since / 1000);
    return wanted;
  }

  #plan() {
    const wanted = this.#wanted();
    const isPlanning = this.#shown !== null && isRunning(this.#shown);
    if (isPlanning && areSame(wanted, this.#planned)) return Promise.resolve();
    return this.#post('/application/plan', { body: wanted }, wanted);
  }

  #start() {
    const details = {
      body: this.#planned,
      revision: this.#shown?.revision,
      key: newKey(),
    };
    return this.#post('/application', details);
  }

  /**
   * Asks for work once, however often its button is pressed, and shows how it goes.
   * @param {string} path
   * @param {import('../common/api.js').Details} [details]
   * @param {Wanted | null} [planned] what the shown plan is about from now on
   */
  async #post(path, details = {}, planned = null) {
    const asked = JSON.stringify([path, details.body]);
    if (this.#asked === asked) return;
    this.#asked = asked;
    const request = this.#nextRequest();
    clearTimeout(this.#timer);
    refill(this.complaint);
    this.#isLost = false;
    try {
      const application = await ask('POST', path, details);
      if (request !== this.#requests) return;
      this.#planned = areSame(planned, this.#wanted()) ? planned : null;
      this.#show(application);
      announce(this.line.textContent ?? '');
    } catch (error) {
      if (request === this.#requests) this.#fail(error);
    } finally {
      if (this.#asked === asked) this.#asked = '';
    }
  }

  #nextRequest() {
    this.#requests += 1;
    return this.#requests;
  }

  /** @param {unknown} error */
  #fail(error) {
    if (!(error instanceof Problem)) throw error;
    const { application, current } = error.body;
    if (error.status === 409 && application) {
      this.#planned = null;
      this.#show(application);
      refill(this.complaint, t('application.runs'));
    } else if (error.status === 412) {
      this.#forgetPlan();
      if (current) take(current);
      refill(this.complaint, t('application.rules_changed'));
      if (mayTakeFocus(this.element)) this.planButton.focus();
    } else {
      refill(this.complaint, problemText(error));
      if (this.#shown && isRunning(this.#shown)) this.#lookLater(pauseAfterFailure);
    }
  }

  /** Asks how far it is; goes on while something runs and the panel is on the page. */
  async #look() {
    const request = this.#nextRequest();
    try {
      const application = await ask('GET', '/application');
      if (request !== this.#requests) return;
      if (this.#isLost) refill(this.complaint); // others are left to be read
      this.#isLost = false;
      this.#show(application);
    } catch (error) {
      if (!(error instanceof Problem)) throw error;
      if (request !== this.#requests) return;
      this.#isLost = true;
      refill(this.complaint, problemText(error));
      if (this.#shown) this.#lookLater(pauseAfterFailure);
    }
  }

  /** @param {number} pause */
  #lookLater(pause) {
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => this.element.isConnected && this.#look(), pause);
  }

  /** @param {Application} application */
  #show(application) {
    const hasEnded = this.#shown !== null && hasEndedSince(this.#shown, application);
    this.#shown = application;
    const { state } = application;
    const isOldPlan = state === 'planned' && this.#planned === null;
    const isNothing = state === 'none' || isOldPlan;
    const isMoving = application.counts.some(({ fate }) => isDone(fate));
    refill(this.line, !isNothing && stateText(application));
    this.#showProgress(application);
    refill(this.details, !isNothing && this.#detailsOf(application, isMoving));
    this.#showButton(this.startButton, state === 'planned' && !isOldPlan && isMoving);
    this.#showButton(this.stopButton, state === 'planning' || state === 'filing');
    this.#showButton(this.undoButton, application.undoable && !isRunning(application));
    if (isRunning(application)) this.#lookLater(pollingPause);
    if (hasEnded) this.#end(state);
  }

  /** @param {Application['state']} state */
  #end(state) {
    refill(this.complaint);
    announce(this.line.textContent ?? '');
    if (state === 'planned') return;
    this.onMoved();
    loadFolders().catch((error) => refill(this.complaint, problemText(error)));
  }

  /** @param {Application} application */
  #showProgress(application) {
    const { done, total } = application;
    this.progress.hidden = !isRunning(application);
    this.progress.max = Math.max(total, 1);
    this.progress.value = done;
    const text = t('application.progress', { done, count: total });
    refill(this.progressText, isRunning(application) && total > 0 && text);
  }

  /**
   * @param {Application} application
   * @param {boolean} isMoving
   */
  #detailsOf(application, isMoving) {
    const { state, folder, rule, started, counts } = application;
    return [
      folder !== '' &&
        el(
          'p',
          { class: 'hint' },
          parts('application.about', {
            folder: el('bdi', {}, folderText(folder)),
            rule: rule === null ? t('application.about_all') : el('bdi', {}, rule),
            time: moment(started),
          }),
        ),
      state === 'planned' && !isMoving && el('p', {}, t('application.nothing_moves')),
      counts.length > 0 && countsTable(counts),
      ...failureList(application),
    ];
  }

  /**
   * Where the focus is on a button that goes, it comes to the state's line.
   * @param {HTMLButtonElement} button
   * @param {boolean} isShown
   */
  #showButton(button, isShown) {
    const losesFocus = !isShown && document.activeElement === button;
    button.hidden = !isShown;
    if (losesFocus) this.line.focus();
  }
}

/**
 * A panel for applying rules to mail that is there. What runs already, or ran last, is shown.
 * @param {ApplicationOptions} [options]
 * @returns {HTMLElement}
 */
export const applicationPanel = (options = {}) => new ApplicationPanel(options).element;
