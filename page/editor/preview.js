// What a rule would catch of the mail that is there, shown while it is typed.

import { ask, Problem } from '../common/api.js';
import { el, refill } from '../common/dom.js';
import { choice, formField } from '../common/form_field.js';
import { messageLine } from '../common/message_line.js';
import { announce } from '../common/notices.js';
import { problemText } from '../common/problem_words.js';
import { store } from '../common/store.js';
import { number, parts, t } from '../common/words.js';
import { folderText } from '../sentences/sentence.js';
import { folderOptions } from './action_row.js';

/**
 * @typedef {import('../common/types.js').Filter} Filter
 * @typedef {import('../common/types.js').Preview} Preview
 * @typedef {{filter: Filter, id?: number, before?: number}} Question as the server takes it
 */

/** In milliseconds: while keys follow each other faster, nothing is asked. */
const pause = 150;

/** In milliseconds: the result is said when the user has stopped typing. */
const pauseToSpeak = 1000;

/** More of them say no more. */
const mostExamples = 5;

/**
 * Where a message goes, in words.
 * @param {import('../common/types.js').Place} place
 * @returns {string}
 */
export const placeText = ({ kind, folders }) =>
  kind === 'folders' ? folders.map(folderText).join(', ') : t(`preview.places.${kind}`);

/**
 * A rule as the list shows it, as values for words.
 * @param {{id: number, name: string}} rule
 */
export const ruleValues = ({ id, name }) => ({
  number: store.rules.filters.findIndex((filter) => filter.id === id) + 1,
  name: el('bdi', {}, name),
});

/** @param {Preview['examples'][0]} example */
function fate(example) {
  if (example.taken_by) return parts('preview.taken_by', ruleValues(example.taken_by));
  const [before, after] = [placeText(example.now), placeText(example.then)];
  return parts(before === after ? 'preview.stays' : 'preview.goes', { before, after });
}

/** @param {Preview['examples'][0]} example */
const exampleItem = (example) =>
  el('li', {}, el('div', {}, messageLine(example.message)), el('p', {}, fate(example)));

/** @param {Preview} answer */
function countLine({ folder, total, examined, caught }) {
  const name = el('bdi', {}, folderText(folder));
  if (total === 0) return parts('preview.empty_folder', { folder: name });
  return parts(examined >= total ? 'preview.of_all' : 'preview.of_newest', {
    caught: el('strong', {}, number(caught)),
    count: examined,
    folder: name,
  });
}

/** @param {Preview} answer */
const facts = ({ changed, taken_earlier: earlier, failed }) => [
  changed > 0 && el('li', {}, t('preview.changed', { count: changed })),
  ...earlier.map((rule) =>
    el('li', {}, parts('preview.taken_earlier', { count: rule.count, ...ruleValues(rule) })),
  ),
  failed > 0 && el('li', {}, t('preview.failed', { count: failed })),
];

/** A panel that shows what it is asked about with `update`. */
export class PreviewPanel {
  /** @type {Question | null} */
  #question = null;
  #asked = '';
  #running = new AbortController();
  #timer = 0;
  #timerToSpeak = 0;
  #spoken = '';

  constructor() {
    this.folder = formField(t('preview.folder'), choice(folderOptions(), 'INBOX'));
    this.count = el('p', { class: 'preview-count' });
    this.facts = el('ul', { class: 'preview-facts' });
    this.messages = el('ul', { class: 'message-lines' });
    this.element = el(
      'section',
      { class: 'preview', 'aria-label': t('preview.title') },
      el('div', { class: 'preview-head' }, el('h4', {}, t('preview.title')), this.folder.element),
      this.count,
      this.facts,
      this.messages,
    );
    this.folder.input.addEventListener('change', () => this.#restart());
    this.#say(t('preview.incomplete'));
  }

  /**
   * Shows what a filter catches among the present rules, a moment later; null while it is not
   * complete.
   * @param {Question | null} question
   */
  update(question) {
    const asked = JSON.stringify([question, store.rules.revision]);
    if (asked === this.#asked) return;
    this.#asked = asked;
    this.#question = question;
    this.#restart();
  }

  /** Asks nothing more. */
  stop() {
    this.#running.abort();
    clearTimeout(this.#timer);
    clearTimeout(this.#timerToSpeak);
  }

  #restart() {
    this.stop();
    this.#running = new AbortController();
    if (!this.#question) this.#say(t('preview.incomplete'));
    else this.#timer = setTimeout(() => this.#run(this.#running.signal), pause);
  }

  /** @param {AbortSignal} signal */
  async #run(signal) {
    this.element.setAttribute('aria-busy', 'true');
    try {
      await this.#askAll(signal);
      this.#timerToSpeak = setTimeout(() => this.#speak(), pauseToSpeak);
    } catch (error) {
      if (!signal.aborted) this.#fail(error);
    }
    if (!signal.aborted) this.element.removeAttribute('aria-busy');
  }

  /** @param {AbortSignal} signal */
  async #askAll(signal) {
    /** @type {Preview['examples']} */
    const examples = [];
    for (let cursor; cursor !== null; ) {
      const body = { ...this.#question, folder: this.folder.input.value, cursor };
      /** @type {Preview} */
      const answer = await ask('POST', '/preview', { body, signal });
      signal.throwIfAborted();
      examples.push(...answer.examples);
      cursor = answer.cursor;
      const isGoingOn = cursor !== null;
      refill(this.count, countLine(answer), isGoingOn && ` ${t('preview.going_on')}`);
      refill(this.facts, facts(answer));
      refill(this.messages, examples.slice(0, mostExamples).map(exampleItem));
    }
  }

  /** @param {unknown} error */
  #fail(error) {
    if (error instanceof Problem && error.status === 422) {
      this.#say(t('preview.not_taken'));
      return;
    }
    const again = el(
      'button',
      { type: 'button', onclick: () => this.#restart() },
      t('app.try_again'),
    );
    this.#say(problemText(error), ' ', again);
  }

  /** @param {...import('../common/dom.js').Child} children */
  #say(...children) {
    refill(this.count, ...children);
    refill(this.facts);
    refill(this.messages);
  }

  #speak() {
    const text = this.count.textContent ?? '';
    if (text !== this.#spoken) announce(text);
    this.#spoken = text;
  }
}
