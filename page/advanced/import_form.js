// Taking rules over from a file: first what it would do, then the taking over.

import { attempt } from '../changes/changing.js';
import { ask, Problem } from '../common/api.js';
import { el, mayTakeFocus, newId, oneAtATime, refill } from '../common/dom.js';
import { announce } from '../common/notices.js';
import { problemText } from '../common/problem_words.js';
import { change, store } from '../common/store.js';
import { t } from '../common/words.js';

/**
 * @typedef {object} ReportLine
 * @property {'removes' | 'keeps' | 'moves' | 'adds' | 'loses'} change
 * @property {string} name
 * @property {number | null} line
 * @property {string} what
 */

const formats = ['json', 'xml', 'sieve', 'webmail', 'procmail', 'maildrop'];

/** The order of the report: what matters most is first. */
const kinds = /** @type {ReportLine['change'][]} */ ([
  'loses',
  'removes',
  'adds',
  'moves',
  'keeps',
]);

/**
 * The file's text; null when it is no UTF-8.
 * @param {File} file
 */
async function textOf(file) {
  try {
    return new TextDecoder('utf-8', { fatal: true }).decode(await file.arrayBuffer());
  } catch (error) {
    if (error instanceof TypeError) return null;
    throw error;
  }
}

/**
 * @param {ReportLine[]} report
 * @param {ReportLine['change']} kind
 */
function reportPart(report, kind) {
  const lines = report.filter((line) => line.change === kind);
  if (lines.length === 0) return null;
  const items = lines.map(({ name, line, what }) =>
    el(
      'li',
      {},
      el('strong', {}, el('bdi', {}, name)),
      line === null ? null : ` (${t('advanced.line', { line })})`,
      ' ',
      el('span', { lang: 'en', dir: 'auto' }, what),
    ),
  );
  return [
    el('h4', {}, t(`advanced.report.${kind}`, { count: lines.length })),
    el('ul', { class: `report ${kind}` }, items),
  ];
}

/**
 * @param {string} label
 * @param {any} input
 */
function labelled(label, input) {
  const id = newId();
  input.id = id;
  return el('div', { class: 'field' }, el('label', { for: id }, label), input);
}

/** @returns {HTMLElement} */
export function importForm() {
  const file = el('input', { type: 'file' });
  const format = el(
    'select',
    {},
    el('option', { value: '' }, t('advanced.format_guess')),
    formats.map((name) => el('option', { value: name }, t(`advanced.format.${name}`))),
  );
  const modeName = newId();
  const mode = (/** @type {string} */ value, /** @type {boolean} */ checked) =>
    el('p', {}, [
      el(
        'label',
        { class: 'choice' },
        el('input', { type: 'radio', name: modeName, value, checked }),
        ' ',
        t(`advanced.mode.${value}`),
      ),
    ]);
  const mistake = el('p', { class: 'mistake', role: 'alert' });
  const outcome = el('div', { class: 'outcome' });

  /** @param {any} input where to mend it @param {string} text */
  const refuse = (text, input) => {
    mistake.textContent = text;
    if (mayTakeFocus(form)) input.focus();
  };

  let wanted = {};
  /** A report, shown or on its way, is not about what is chosen any more. */
  const forgetReport = () => {
    wanted = {};
    mistake.textContent = '';
    refill(outcome);
  };

  const look = async (/** @type {Event} */ event) => {
    event.preventDefault();
    forgetReport();
    const mine = wanted;
    const chosen = file.files[0];
    if (!chosen) return refuse(t('advanced.no_file'), file);
    const text = await textOf(chosen);
    if (text === null) return refuse(t('advanced.not_utf8'), file);
    const checked = /** @type {HTMLInputElement} */ (form.querySelector('input:checked'));
    const query = new URLSearchParams({ mode: checked.value });
    if (format.value !== '') query.set('from', format.value);
    try {
      const body = { text };
      const answer = await ask('POST', `/import?${query}&dry_run=true`, { body });
      if (mine === wanted) showReport(answer.report, query, text);
    } catch (problem) {
      if (mine !== wanted) return;
      const isFormat = problem instanceof Problem && problem.errors[0]?.parameter === 'from';
      if (isFormat) refuse(t('advanced.no_format'), format);
      else refuse(problemText(problem), file);
    }
  };

  /**
   * @param {ReportLine[]} report
   * @param {URLSearchParams} query
   * @param {string} text
   */
  const showReport = (report, query, text) => {
    const { revision } = store.rules;
    const hasLosses = report.some((line) => line.change === 'loses');
    const hasGains = report.some((line) => line.change !== 'loses' && line.change !== 'keeps');
    const takeOver = () =>
      attempt(
        t('advanced.taking_over'),
        () => change('POST', `/import?${query}&accept_loss=${hasLosses}`, { text }, () => revision),
        () => {
          announce(t('advanced.taken_over'));
          if (!title.isConnected) return;
          const takesFocus = mayTakeFocus(outcome);
          refill(outcome);
          file.value = '';
          if (takesFocus) file.focus();
        },
      );
    const take = el(
      'button',
      { type: 'button', class: 'main', onclick: () => oneAtATime(take, takeOver) },
      t(hasLosses ? 'advanced.take_over_lossy' : 'advanced.take_over'),
    );
    const title = el('h3', { tabindex: '-1' }, t('advanced.report.title'));
    refill(
      outcome,
      title,
      report.length === 0 && el('p', {}, t('advanced.report.nothing')),
      kinds.flatMap((kind) => reportPart(report, kind)),
      hasGains &&
        el(
          'p',
          { class: 'buttons' },
          take,
          el('button', { type: 'button', onclick: dropReport }, t('app.cancel')),
        ),
    );
    if (mayTakeFocus(form)) title.focus();
  };
  const dropReport = () => {
    refill(outcome);
    file.focus();
  };

  const form = el(
    'form',
    { class: 'import', novalidate: true, onsubmit: look, onchange: forgetReport },
    mistake,
    labelled(t('advanced.file'), file),
    labelled(t('advanced.format_label'), format),
    el(
      'fieldset',
      {},
      el('legend', {}, t('advanced.mode.label')),
      mode('append', true),
      mode('replace', false),
    ),
    el('p', {}, el('button', { type: 'submit' }, t('advanced.look'))),
  );
  return el('div', {}, el('p', { class: 'hint' }, t('advanced.import_hint')), form, outcome);
}
