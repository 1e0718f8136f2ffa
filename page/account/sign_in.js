// Signing in: as the page's only content, or over it when a session has ended.

import { Problem, signIn } from '../common/api.js';
import { el, newId } from '../common/dom.js';
import { problemText, waitText } from '../common/problem_words.js';
import { t } from '../common/words.js';

/**
 * What a refusal means here.
 * @param {unknown} problem
 */
function refusalText(problem) {
  const { status, retryAfter } =
    problem instanceof Problem ? problem : { status: 0, retryAfter: null };
  if (status === 401) return t('session.wrong');
  if (status === 403) return t('session.by_proxy');
  if (status === 504) return t('problem.no_sign_in'); // whoever checks passwords did not answer
  if (status === 429 && retryAfter) return t('session.throttled', { time: waitText(retryAfter) });
  return problemText(problem);
}

/**
 * @param {string} label
 * @param {Record<string, any>} attributes
 */
function field(label, attributes) {
  const id = newId();
  const input = el('input', { id, class: 'wide', ...attributes });
  return { input, row: el('p', { class: 'field' }, el('label', { for: id }, label), input) };
}

/**
 * The form, which says what is wrong at its top and puts the focus where it can be mended.
 * @param {string} user who signs in again; empty where anybody may
 * @param {() => void} onDone
 * @returns {HTMLFormElement}
 */
function signInForm(user, onDone) {
  const mistakeId = newId();
  const name = field(t('session.user'), {
    type: 'email',
    name: 'username',
    value: user,
    readonly: user !== '',
    autocomplete: 'username',
    autocapitalize: 'none',
    spellcheck: 'false',
    'aria-describedby': mistakeId,
  });
  const password = field(t('session.password'), {
    type: 'password',
    name: 'password',
    autocomplete: 'current-password',
    'aria-describedby': mistakeId,
  });
  const mistake = el('p', { id: mistakeId, class: 'mistake', role: 'alert' });
  const button = el('button', { type: 'submit', class: 'main' }, t('session.sign_in'));

  /**
   * @param {string} text
   * @param {HTMLInputElement} input where to mend it
   */
  const refuse = (text, input) => {
    mistake.textContent = text;
    for (const each of [name.input, password.input])
      each.setAttribute('aria-invalid', String(each === input));
    input.focus();
  };

  const show = (/** @type {{target: HTMLInputElement}} */ { target }) => {
    password.input.type = target.checked ? 'text' : 'password';
  };

  const submit = async (/** @type {Event} */ event) => {
    event.preventDefault();
    if (button.hasAttribute('aria-disabled')) return;
    mistake.textContent = '';
    if (name.input.value.trim() === '') return refuse(t('session.no_user'), name.input);
    if (password.input.value === '') return refuse(t('session.no_password'), password.input);
    button.setAttribute('aria-disabled', 'true');
    button.textContent = t('session.signing_in');
    try {
      await signIn(name.input.value.trim(), password.input.value);
      onDone();
    } catch (problem) {
      refuse(refusalText(problem), password.input);
      password.input.select();
    } finally {
      button.removeAttribute('aria-disabled');
      button.textContent = t('session.sign_in');
    }
  };

  return el(
    'form',
    { class: 'sign-in', novalidate: true, onsubmit: submit },
    mistake,
    name.row,
    password.row,
    el(
      'p',
      {},
      el('label', { class: 'choice' }, el('input', { type: 'checkbox', onchange: show }), ' ', [
        t('session.show'),
      ]),
    ),
    el('p', {}, button),
  );
}

/**
 * Fills the container with the form until somebody has signed in.
 * @param {HTMLElement} container
 * @returns {Promise<void>}
 */
export function showSignIn(container) {
  return new Promise((resolve) => {
    const form = signInForm('', resolve);
    container.replaceChildren(
      el('h1', {}, t('session.title')),
      el('p', { class: 'lead' }, t('session.intro')),
      form,
    );
    form.querySelector('input')?.focus();
  });
}

/**
 * Has the user sign in again, in a dialog over the page. Rejects when they close it.
 * @param {string} user
 * @returns {Promise<void>}
 */
function askAgain(user) {
  return new Promise((resolve, reject) => {
    const titleId = newId();
    const form = signInForm(user, () => {
      resolve();
      dialog.close();
    });
    const dialog = el(
      'dialog',
      { 'aria-labelledby': titleId },
      el('h2', { id: titleId }, t('session.ended')),
      el('p', {}, t('session.ended_intro')),
      form,
    );
    dialog.addEventListener('close', () => {
      reject(new Problem(401, null));
      dialog.remove();
    });
    document.body.append(dialog);
    dialog.showModal();
    /** @type {HTMLElement} */ (form.querySelector('input[type=password]')).focus();
  });
}

/** @type {Promise<void> | null} */
let asking = null;

/**
 * The same, once for all requests that wait for it.
 * @param {string} user
 * @returns {Promise<void>}
 */
export function signInAgain(user) {
  asking ??= askAgain(user).finally(() => {
    asking = null;
  });
  return asking;
}
