// The rules as texts, and as files that come and go.

import { isSignedInByProxy, signOutButton } from '../account/sign_out.js';
import { askForText } from '../common/api.js';
import { el, newId, refill } from '../common/dom.js';
import { announce, complain } from '../common/notices.js';
import { problemText } from '../common/problem_words.js';
import { changes, store } from '../common/store.js';
import { t } from '../common/words.js';
import { importForm } from './import_form.js';

/** @typedef {'json' | 'xml' | 'sieve'} Form */

/** @param {Form} form */
const textIn = (form) => askForText(`/export?form=${form}`);

/**
 * Has the browser store a text as a file.
 * @param {string} text
 * @param {string} name
 */
function download(text, name) {
  const address = URL.createObjectURL(new Blob([text]));
  const link = el('a', { href: address, download: name });
  link.click();
  URL.revokeObjectURL(address);
}

/** @param {Form} form */
function downloadButton(form) {
  const onclick = async () => {
    try {
      download(await textIn(form), `filters.${form}`);
    } catch (problem) {
      complain(problemText(problem), { label: t('app.try_again'), action: onclick });
    }
  };
  return el('button', { type: 'button', onclick }, t(`advanced.download_${form}`));
}

/**
 * A text of all rules, which is loaded when it is opened, and kept true.
 * @param {Form} form
 */
function textPart(form) {
  const titleId = newId();
  const text = el('pre', { tabindex: '0', role: 'region', 'aria-labelledby': titleId });
  const copy = async () => {
    await navigator.clipboard.writeText(text.textContent);
    announce(t('advanced.copied'));
  };
  let shownRevision = '';
  const draw = async () => {
    const { revision } = store.rules;
    if (!element.open || shownRevision === revision) return;
    shownRevision = revision;
    try {
      const newText = await textIn(form);
      if (shownRevision === revision) text.textContent = newText;
    } catch (problem) {
      if (shownRevision !== revision) return;
      shownRevision = '';
      complain(problemText(problem), { label: t('app.try_again'), action: draw });
    }
  };
  const element = el(
    'details',
    { class: 'text-part', ontoggle: () => draw() },
    el('summary', { id: titleId }, t(`advanced.text_${form}`)),
    navigator.clipboard &&
      el('p', {}, el('button', { type: 'button', onclick: copy }, t('advanced.copy'))),
    text,
  );
  return { element, draw };
}

/**
 * Shows what few users need.
 * @param {HTMLElement} container
 * @returns {() => void} ends it
 */
export function showAdvanced(container) {
  const texts = [textPart('sieve'), textPart('json')];
  /** @type {Form[]} */
  const forms = ['json', 'xml', 'sieve'];
  refill(
    container,
    el(
      'section',
      {},
      el('h2', {}, t('advanced.texts')),
      el('p', { class: 'hint' }, t('advanced.texts_hint')),
      texts.map(({ element }) => element),
    ),
    el(
      'section',
      {},
      el('h2', {}, t('advanced.export')),
      el('p', { class: 'hint' }, t('advanced.export_hint')),
      el('p', { class: 'buttons' }, forms.map(downloadButton)),
    ),
    el('section', {}, el('h2', {}, t('advanced.import')), importForm()),
    !isSignedInByProxy() &&
      el(
        'section',
        {},
        el('h2', {}, t('session.devices')),
        el('p', { class: 'hint' }, t('session.devices_hint')),
        el('p', {}, signOutButton(true)),
      ),
  );
  const draw = () => {
    for (const text of texts) text.draw();
  };
  changes.addEventListener('change', draw);
  return () => changes.removeEventListener('change', draw);
}
