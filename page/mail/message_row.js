// A message of a folder, and what the user can do with it.

import { attempt } from '../changes/changing.js';
import { savedFilter } from '../changes/saving.js';
import { ask, Problem } from '../common/api.js';
import { el, newId, refill } from '../common/dom.js';
import { senderLine, subjectNode } from '../common/message_line.js';
import { announce, offer } from '../common/notices.js';
import { problemText } from '../common/problem_words.js';
import { change, store } from '../common/store.js';
import { parts, t } from '../common/words.js';
import { openEditor } from '../editor/editor.js';
import { applicationPanel } from './application.js';
import { explanationPanel } from './explanation.js';
import { addressOf, blockingFilter, filterFrom, isBlocking, suggestions } from './suggestions.js';

/** @typedef {import('../common/types.js').Message} Message */

/**
 * Says that a rule is saved, and offers it for the mail that is there. The focus goes there.
 * @param {HTMLElement} place what it is shown in
 * @param {number} id
 * @param {string} folder
 */
export function showSaved(place, id, folder) {
  const name = savedFilter(id)?.name ?? '';
  const line = el('p', { class: 'saved', tabindex: -1 }, t('messages.saved', { name }));
  refill(place, line, applicationPanel({ folder, rule: id }));
  line.focus();
}

/** @param {string} address */
function block(address) {
  const filter = blockingFilter(address, t('messages.block_name', { address }));
  attempt(
    t('messages.block_what', { address }),
    () => change('POST', '/rules', { ...filter, before: store.rules.filters[0]?.id }),
    ({ filters }) =>
      offer(t('messages.block_done', { address }), t('app.undo'), () =>
        attempt(
          t('messages.unblock_what', { address }),
          () => change('DELETE', `/rules/${filters[0].id}`),
          () => announce(t('messages.block_undone', { address })),
        ),
      ),
  );
}

export class MessageRow {
  /** The button whose panel is open. @type {HTMLButtonElement | null} */
  #opener = null;

  /**
   * @param {Message} message
   * @param {string} folder
   */
  constructor(message, folder) {
    this.message = message;
    this.folder = folder;
    this.title = newId();
    this.panel = el('div', { id: newId(), class: 'message-panel', hidden: true });
    this.element = el(
      'li',
      { class: message.seen ? 'message' : 'message unread', 'aria-labelledby': this.title },
      el(
        'h2',
        { id: this.title },
        subjectNode(message),
        !message.seen && el('span', { class: 'unseen' }, ` (${t('messages.unread')})`),
      ),
      senderLine(message),
      el(
        'div',
        { class: 'buttons' },
        this.#button('why', () => this.#explain()),
        this.#button('make', () => this.#suggest()),
        this.#button('block', () => this.#askToBlock()),
      ),
      this.panel,
    );
  }

  /**
   * A button that opens a panel, and closes it.
   * @param {string} what
   * @param {() => void} fill
   */
  #button(what, fill) {
    const button = el(
      'button',
      {
        type: 'button',
        'aria-expanded': 'false',
        'aria-controls': this.panel.id,
        'aria-describedby': this.title,
      },
      t(`messages.${what}`),
    );
    button.addEventListener('click', () => {
      if (this.#opener === button) return this.#close();
      this.#close();
      this.#opener = button;
      button.setAttribute('aria-expanded', 'true');
      this.panel.hidden = false;
      fill();
    });
    return button;
  }

  #close() {
    this.#opener?.setAttribute('aria-expanded', 'false');
    this.#opener = null;
    this.panel.hidden = true;
    refill(this.panel);
  }

  /** Closes the panel; the focus goes to the button that opened it. */
  #leave() {
    const opener = this.#opener;
    this.#close();
    opener?.focus();
  }

  async #explain() {
    refill(this.panel, el('p', { role: 'status' }, t('explanation.loading')));
    const opener = this.#opener;
    const path = `/messages/${encodeURIComponent(this.message.id)}/explanation`;
    const content = await ask('GET', `${path}?${new URLSearchParams({ folder: this.folder })}`)
      .then((explanation) => explanationPanel(explanation, this.folder))
      .catch((error) => this.#noExplanation(error));
    if (this.#opener === opener && opener) refill(this.panel, content);
  }

  /** @param {unknown} error */
  #noExplanation(error) {
    if (!(error instanceof Problem)) throw error;
    const text = error.status === 404 ? t('explanation.gone') : problemText(error);
    return el('p', { class: 'mistake', role: 'alert' }, text);
  }

  #suggest() {
    const found = suggestions(this.message);
    if (found.length === 0) {
      refill(this.panel, el('p', {}, t('messages.make_nothing')));
      return;
    }
    refill(
      this.panel,
      el('p', {}, t('messages.make_question')),
      el(
        'ul',
        { class: 'suggestions' },
        found.map(({ kind, test }) =>
          el(
            'li',
            {},
            el(
              'button',
              { type: 'button', class: 'long', onclick: () => this.#edit(kind, test) },
              el('span', {}, parts(`messages.make_${kind}`, { value: el('bdi', {}, test.value) })),
            ),
          ),
        ),
      ),
    );
  }

  /**
   * @param {string} kind
   * @param {import('../common/types.js').Test} test
   */
  #edit(kind, test) {
    const editor = openEditor({
      filter: filterFrom(test),
      draft: `message ${this.message.id} ${kind}`,
      onClose: (saved) => {
        if (!editor.element.isConnected) return; // the panel shows something else by now
        if (saved === null) this.#leave();
        else showSaved(this.panel, saved, this.folder);
      },
    });
    refill(this.panel, editor.element);
    editor.focus();
  }

  #askToBlock() {
    const address = addressOf(this.message.from);
    if (address === null) {
      refill(this.panel, el('p', {}, t('messages.block_impossible')));
      return;
    }
    const blocking = store.rules.filters.find((filter) => isBlocking(filter, address));
    if (blocking) {
      const { name } = blocking;
      refill(this.panel, el('p', {}, t('messages.block_already', { address, name })));
      return;
    }
    const confirm = () => {
      this.#leave();
      block(address);
    };
    refill(
      this.panel,
      el(
        'p',
        {},
        parts('messages.block_question', { address: el('bdi', { class: 'value' }, address) }),
      ),
      el(
        'div',
        { class: 'buttons' },
        el(
          'button',
          { type: 'button', class: 'danger long', onclick: confirm },
          el('span', {}, t('messages.block_do', { address })),
        ),
        el('button', { type: 'button', onclick: () => this.#leave() }, t('app.cancel')),
      ),
    );
  }
}
