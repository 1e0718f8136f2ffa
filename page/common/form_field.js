// An input with its label and the place where a mistake is shown.

import { el, newId } from './dom.js';

/**
 * @typedef {object} FormField
 * @property {HTMLElement} element
 * @property {any} input
 * @property {(mistake: string) => void} say shows a mistake, or none for ''
 */

/**
 * @param {string} label
 * @param {any} input an input or a select
 * @param {{isLabelSeen?: boolean, hint?: HTMLElement, className?: string}} [options]
 * @returns {FormField}
 */
export function formField(label, input, { isLabelSeen = true, hint, className = '' } = {}) {
  const mistake = el('p', { class: 'mistake', id: newId(), hidden: true });
  if (!input.id) input.id = newId();
  input.classList.add('form-input');
  if (hint && !hint.id) hint.id = newId();
  const describe = () => {
    const ids = [mistake.hidden ? null : mistake.id, hint?.id].filter(Boolean);
    if (ids.length > 0) input.setAttribute('aria-describedby', ids.join(' '));
    else input.removeAttribute('aria-describedby');
  };
  /** @param {string} text */
  const say = (text) => {
    mistake.textContent = text;
    mistake.hidden = text === '';
    if (text === '') input.removeAttribute('aria-invalid');
    else input.setAttribute('aria-invalid', 'true');
    describe();
  };
  describe();
  const name = el('label', { for: input.id, class: isLabelSeen ? false : 'unseen' }, label);
  const element = el(
    'div',
    { class: `form-field ${className}`.trim() },
    name,
    input,
    mistake,
    hint,
  );
  input.addEventListener('input', () => say(''));
  return { element, input, say };
}

/**
 * A choice among texts.
 * @param {[string, string][]} options values and words
 * @param {string} chosen
 * @param {Record<string, any>} [attributes]
 * @returns {HTMLSelectElement}
 */
export function choice(options, chosen, attributes = {}) {
  const select = el('select', attributes);
  fillChoice(select, options, chosen);
  return select;
}

/**
 * Gives a select other options.
 * @param {HTMLSelectElement} select
 * @param {[string, string][]} options values and words
 * @param {string} chosen the first option where there is no such value
 */
export function fillChoice(select, options, chosen) {
  select.replaceChildren(...options.map(([value, words]) => new Option(words, value)));
  if (options.some(([value]) => value === chosen)) select.value = chosen;
}
