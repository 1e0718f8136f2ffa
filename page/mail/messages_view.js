// The view of messages: a folder's mail, the newest first.

import { ask, Problem } from '../common/api.js';
import { el, mayTakeFocus, newId, refill } from '../common/dom.js';
import { choice, formField } from '../common/form_field.js';
import { announce } from '../common/notices.js';
import { problemText } from '../common/problem_words.js';
import { parts, t } from '../common/words.js';
import { folderOptions } from '../editor/action_row.js';
import { draftIds, draftOf } from '../editor/drafts.js';
import { openEditor } from '../editor/editor.js';
import { applicationPanel } from './application.js';
import { MessageRow, showSaved } from './message_row.js';

/** How many messages are asked for at a time. */
const batch = 50;

class MessagesView {
  /** @type {string | null} that of the last answer */
  #cursor = null;
  #running = new AbortController();
  /** That of the request that is under way. @type {AbortSignal | null} */
  #loading = null;

  /** @param {HTMLElement} container */
  constructor(container) {
    this.folder = formField(t('messages.folder'), choice(folderOptions(), 'INBOX'));
    this.count = el('p', { class: 'hint' });
    this.list = el('ol', { class: 'messages-list' });
    this.complaint = el('div', { role: 'alert' });
    this.moreButton = el(
      'button',
      { type: 'button', class: 'more-messages', hidden: true },
      t('messages.more'),
    );
    this.moreButton.addEventListener('click', () => this.#showMore());
    this.folder.input.addEventListener('change', () => this.#showFolder());
    refill(
      container,
      el('p', { class: 'lead' }, t('messages.intro')),
      this.#unfinished(),
      el('div', { class: 'messages-head' }, this.folder.element, this.#application()),
      this.applicationPlace,
      this.count,
      this.list,
      this.complaint,
      this.moreButton,
    );
    this.#showFolder();
  }

  /** The button that opens and closes the panel for applying rules. */
  #application() {
    const id = newId();
    this.applicationPlace = el('div', { id });
    const button = el(
      'button',
      { type: 'button', 'aria-expanded': 'false', 'aria-controls': id },
      t('messages.apply_all'),
    );
    button.addEventListener('click', () => {
      const isOpen = button.getAttribute('aria-expanded') === 'true';
      button.setAttribute('aria-expanded', String(!isOpen));
      const folder = this.folder.input.value;
      const onMoved = () => this.#followMail();
      refill(this.applicationPlace, !isOpen && applicationPanel({ folder, onMoved }));
    });
    return button;
  }

  /** Rules that the user began from messages, and did not save. */
  #unfinished() {
    const ids = draftIds().filter((id) => id.startsWith('message '));
    return ids.map((id) => {
      const place = el('div', { class: 'draft-note' });
      const name = el('bdi', {}, draftOf(id)?.name ?? '');
      const open = () => {
        const editor = openEditor({
          draft: id,
          onClose: (saved) => {
            if (saved !== null) return showSaved(place, saved, this.folder.input.value);
            place.remove();
            this.folder.input.focus();
          },
        });
        refill(place, editor.element);
        editor.focus();
      };
      refill(
        place,
        el('p', {}, parts('messages.draft', { name })),
        el('button', { type: 'button', onclick: open }, t('messages.draft_open')),
      );
      return place;
    });
  }

  /** The messages as they lie now, unless the user makes a rule from one of those shown. */
  #followMail() {
    if (!this.list.querySelector('form')) this.#showFolder();
  }

  async #showFolder() {
    this.leave();
    this.#running = new AbortController();
    this.#cursor = null;
    refill(this.list);
    refill(this.count, t('app.loading'));
    await this.#load();
  }

  async #showMore() {
    const { signal } = this.#running;
    const before = this.list.children.length;
    await this.#load();
    const added = this.list.children.length - before;
    if (signal.aborted || added === 0) return;
    announce(t('messages.shown_more', { count: added }));
    if (mayTakeFocus(this.moreButton)) this.list.children[before].querySelector('button')?.focus();
  }

  async #load() {
    const { signal } = this.#running;
    if (this.#loading === signal) return;
    this.#loading = signal;
    const folder = this.folder.input.value;
    const query = new URLSearchParams({ folder, count: String(batch) });
    if (this.#cursor !== null) query.set('cursor', this.#cursor);
    refill(this.complaint);
    try {
      const answer = await ask('GET', `/messages?${query}`, { signal });
      signal.throwIfAborted();
      this.#show(answer);
    } catch (error) {
      if (!signal.aborted) this.#complain(error);
    } finally {
      if (this.#loading === signal) this.#loading = null;
    }
  }

  /** @param {{total: number, messages: import('../common/types.js').Message[], cursor: string | null}} answer */
  #show({ total, messages, cursor }) {
    const folder = this.folder.input.value;
    this.#cursor = cursor;
    this.moreButton.hidden = cursor === null;
    refill(this.count, total === 0 ? t('messages.empty') : t('messages.count', { count: total }));
    this.list.append(...messages.map((message) => new MessageRow(message, folder).element));
  }

  /** @param {unknown} error */
  #complain(error) {
    if (!(error instanceof Problem)) throw error;
    const again = el('button', { type: 'button', onclick: () => this.#load() }, t('app.try_again'));
    if (this.list.children.length === 0) refill(this.count);
    refill(this.complaint, el('p', { class: 'mistake' }, problemText(error)), again);
  }

  /** Asks nothing more. */
  leave() {
    this.#running.abort();
  }
}

/**
 * Shows a folder's messages: why they are there, and rules from them.
 * @param {HTMLElement} container
 * @returns {() => void} ends it
 */
export function showMessages(container) {
  const view = new MessagesView(container);
  return () => view.leave();
}
