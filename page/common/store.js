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

/** Loads all of it; the figures come when they come. Throws a Problem. */
export async function load() {
  const [rules, fields, folders] = await Promise.all([
    ask('GET', '/rules'),
    ask('GET', '/fields'),
    ask('GET', '/folders'),
  ]);
  Object.assign(store, { rules, fields: fields.fields, folders: folders.folders });
  tell();
  void loadStatistics();
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

/**
 * The rules are these now.
 * @param {Rules} answer that of the server, which may say more
 */
export function take({ revision, script, filters, remarks }) {
  const rules = { revision, script, filters, remarks };
  if (JSON.stringify(rules) === JSON.stringify(store.rules)) return;
  store.rules = rules;
  tell();
}

/** What asks for the rules, or changes them: one after the other, so that the last answer counts. */
let queue = Promise.resolve();

/**
 * @template Answer
 * @param {() => Promise<Answer>} work
 * @returns {Promise<Answer>}
 */
function inTurn(work) {
  const done = queue.then(work);
  queue = done.then(
    () => {},
    () => {},
  );
  return done;
}

/** Loads the names of the folders, of which there may be new ones. Throws a Problem. */
export async function loadFolders() {
  store.folders = (await ask('GET', '/folders')).folders;
}

/**
 * Loads the rules, which somebody else may have changed. Throws a Problem.
 * @returns {Promise<void>}
 */
export const reloadRules = () => inTurn(async () => take(await ask('GET', '/rules')));

/** A key for a change; crypto.randomUUID() is not there on pages without TLS. */
export const newKey = () => crypto.getRandomValues(new Uint32Array(4)).join('-');

/**
 * Makes a change of the rules of `revision`; the same try is made again when no answer came, since
 * it may have been made or not. Throws a Problem: 412 when the rules have changed meanwhile, with
 * the present ones in its body.
 * @param {string} method
 * @param {string} path
 * @param {any} [body] or a function that makes it of the rules as they are when the turn comes
 * @param {() => string} [revision] that of the rules that the user sees then, unless they saw other
 *     ones
 * @returns {Promise<any>} the answer: the rules, and `changes`
 */
export function change(method, path, body, revision) {
  return inTurn(async () => {
    const details = {
      body: typeof body === 'function' ? body() : body,
      revision: revision?.() ?? store.rules.revision,
      key: newKey(),
    };
    const answer = await ask(method, path, details).catch((problem) => {
      if (!problem.mayBeDone) throw problem;
      return ask(method, path, details);
    });
    take(answer);
    return answer;
  });
}
