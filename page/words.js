// The page's words in the user's language, from words/LANGUAGE.json.

/** @type {Record<string, string>} each language in its own words */
export const languages = { en: 'English', de: 'Deutsch' };

const chosenKey = 'quarrow.language';

/** @type {any} */
let words = {};

/** @type {string} such as "en" */
export let language = 'en';

/** The language that was chosen on this device, or else the first of the browser's that there is. */
function wantedLanguage() {
  const chosen = localStorage.getItem(chosenKey);
  const wanted = [chosen, ...navigator.languages].map((name) => (name ?? '').split('-')[0]);
  return wanted.find((name) => name in languages) ?? 'en';
}

/** Loads the words. Throws when the server does not give them. */
export async function loadWords() {
  language = wantedLanguage();
  const response = await fetch(`words/${language}.json`);
  if (!response.ok) throw new Error(`words/${language}.json: ${response.status}`);
  words = await response.json();
  document.documentElement.lang = language;
}

/**
 * Shows the page in another language from now on.
 * @param {string} name
 */
export async function chooseLanguage(name) {
  localStorage.setItem(chosenKey, name);
  await loadWords();
}

/**
 * The words for a key such as "rules.title". Where they depend on a number, they are an object by
 * the language's plural forms ("one", "other"), and `values.count` is the number. A key without
 * words is a mistake of ours: it is shown itself.
 * @param {string} key
 * @param {Record<string, any>} values
 * @returns {string}
 */
function template(key, values) {
  const found = key.split('.').reduce((part, step) => part?.[step], words);
  if (typeof found === 'string') return found;
  const form = new Intl.PluralRules(language).select(Number(values.count));
  return found?.[form] ?? found?.other ?? key;
}

/**
 * The words with values in place of "{name}". A value may be a node.
 * @param {string} key
 * @param {Record<string, any>} [values]
 * @returns {(string | Node)[]}
 */
export function parts(key, values = {}) {
  return template(key, values)
    .split(/\{(\w+)\}/)
    .map((piece, at) => (at % 2 === 0 ? piece : shown(values[piece])))
    .filter((piece) => piece !== '');
}

/** @param {any} value */
const shown = (value) =>
  typeof value === 'number' ? number(value) : value instanceof Node ? value : String(value ?? '');

/**
 * The same as a text.
 * @param {string} key
 * @param {Record<string, any>} [values] texts and numbers
 * @returns {string}
 */
export const t = (key, values = {}) => parts(key, values).join('');

/** @param {number} value */
export const number = (value) => new Intl.NumberFormat(language).format(value);

/** @param {number} seconds since 1970 */
export const date = (seconds) =>
  new Intl.DateTimeFormat(language, { dateStyle: 'medium' }).format(new Date(seconds * 1000));

/** @param {number} seconds since 1970 */
export const time = (seconds) =>
  new Intl.DateTimeFormat(language, { dateStyle: 'medium', timeStyle: 'short' }).format(
    new Date(seconds * 1000),
  );
