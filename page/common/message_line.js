// A message in a list: its subject, its sender and when it came.

import { el } from './dom.js';
import { t, time } from './words.js';

/**
 * A moment as the user's language writes it.
 * @param {number} seconds since 1970
 * @returns {HTMLTimeElement}
 */
export const moment = (seconds) =>
  el('time', { datetime: new Date(seconds * 1000).toISOString() }, time(seconds));

/** @param {import('./types.js').Message} message */
export const subjectNode = ({ subject }) =>
  subject
    ? el('bdi', { class: 'subject' }, subject)
    : el('span', { class: 'subject none' }, t('messages.no_subject'));

/** @param {import('./types.js').Message} message */
export const senderLine = ({ from, received }) =>
  el(
    'p',
    { class: 'facts' },
    from ? el('bdi', {}, from) : t('messages.no_sender'),
    ' · ',
    moment(received),
  );

/** @param {import('./types.js').Message} message */
export const messageLine = (message) => [el('p', {}, subjectNode(message)), senderLine(message)];
