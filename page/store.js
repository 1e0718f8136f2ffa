// What the page knows of the user's rules, and the one way to change them.

import { ask, Problem } from './api.js';

/** @typedef {import('./types.js').Rules} Rules */

/**
 * @type {{
 *   user: string,
 *   rules: Rules,
 *   fields: import('./types.js').Field[],
 *   folders: string[],
 *   statistics: import('./types.js').Statistics | null,
 * }}
 */
export const store = {
  user: '',
  rules: { revision: '', script: { bytes: 0, most_bytes: 0 }, filters: [], remarks: [] },
  fields: [],
  folders: [],
  statistics: null,
};

/** Tells those who listen that the store has changed: an event "change". */
export const changes = new EventTarget();

const tell = () => changes.dispatchEvent(new Event('change'));

/** Loads all of it. Throws a Problem. */
export async function load() {
  const [rules, fields, folders] = await Promise.all([
    ask('GET', '/rules'),
    ask('GET', '/fields'),
    ask('GET', '/folders'),
  ]);
  Object.assign(store, { rules, fields: fields.fields, folders: folders.folders });
  tell();
  await loadStatistics();
}

/** The rules are shown without their figures when these can't be had. */
async function loadStatistics() {
  try {
    store.statistics = await ask('GET', '/statistics?days=30');
  } catch (error) {
    if (!(error instanceof Problem)) throw error;
    store.statistics = null;
  }
  tell();
}

/** Loads the rules, which somebody else may have changed. Throws a Problem. */
export async function reloadRules() {
  take(await ask('GET', '/rules'));
}

/**
 * The rules are these now.
 * @param {Rules} rules
 */
export function take(rules) {
  store.rules = rules;
  tell();
}

/**
 * Makes a change of the rules of `revision`; the same try is made again when the connection was
 * lost, since it may have been made or not. Throws a Problem: 412 when the rules have changed
 * meanwhile, with the present ones in its body.
 * @param {string} method
 * @param {string} path
 * @param {any} [body]
 * @param {string} [revision] that of the rules that the user sees, unless they saw other ones
 * @returns {Promise<any>} the answer: the rules, and `changes`
 */
export async function change(method, path, body, revision = store.rules.revision) {
  const details = { body, revision, key: crypto.randomUUID() };
  const answer = await ask(method, path, details).catch((problem) => {
    if (problem.status !== 0) throw problem;
    return ask(method, path, details);
  });
  take(answer);
  return answer;
}
