// The page's words in the user's language, from words/LANGUAGE.json.

/** @type {Record<string, string>} each language in its own words */
export const languages = { en: 'English', de: 'Deutsch' };

const chosenKey = 'quarrow.language';

/** @type {any} */
let words = {};

/** @type {string} such as "en" */
export let language = 'en';

/** The browser's variant of the language, such as "en-GB", for days and numbers. */
let variant = 'en';

/** The language that was chosen on this device, or else the first of the browser's that there is. */
function wantedLanguage() {
  const chosen = localStorage.getItem(chosenKey);
  const wanted = [chosen, ...navigator.languages].map((name) => (name ?? '').split('-')[0]);
  return wanted.find((name) => name in languages) ?? 'en';
}

/**
 * Has the page speak these words.
 * @param {string} name of their language
 * @param {any} newWords
 */
export function useWords(name, newWords) {
  language = name;
  const wanted = globalThis.navigator?.languages ?? [];
  variant = wanted.find((each) => each.split('-')[0] === name) ?? name;
  words = newWords;
}

/** Loads the words. Throws when the server does not give them. */
export async function loadWords() {
  const wanted = wantedLanguage();
  const response = await fetch(`words/${wanted}.json`, { cache: 'no-cache' });
  if (!response.ok) throw new Error(`words/${wanted}.json: ${response.status}`);
  const loaded = await response.json();
  if (wanted !== wantedLanguage()) return; // another one was chosen meanwhile
  useWords(wanted, loaded);
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
 * What the words have for a key, part of which may be a stranger's.
 * @param {string} key
 */
const entry = (key) =>
  key
    .split('.')
    .reduce((part, step) => (Object.hasOwn(Object(part), step) ? part[step] : undefined), words);

/**
 * Whether there is a text for the key.
 * @param {string} key
 */
export const has = (key) => typeof entry(key) === 'string';

/**
 * The words for a key such as "rules.title". Where they depend on a number, they are an object by
 * the language's plural forms ("one", "other"), and `values.count` is the number. A key without
 * words is a mistake of ours: it is shown itself.
 * @param {string} key
 * @param {Record<string, any>} values
 * @returns {string}
 */
function template(key, values) {
  const found = entry(key);
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
function shown(value) {
  if (typeof value === 'number') return number(value);
  return typeof value === 'object' && value !== null ? value : String(value ?? '');
}

/**
 * The same as a text.
 * @param {string} key
 * @param {Record<string, any>} [values] texts and numbers
 * @returns {string}
 */
export const t = (key, values = {}) => parts(key, values).join('');

/** @param {number} value */
export const number = (value) => new Intl.NumberFormat(variant).format(value);

/** @param {number} seconds since 1970 */
export const date = (seconds) =>
  new Intl.DateTimeFormat(variant, { dateStyle: 'medium' }).format(new Date(seconds * 1000));

/** @param {number} seconds since 1970 */
export const time = (seconds) =>
  new Intl.DateTimeFormat(variant, { dateStyle: 'medium', timeStyle: 'short' }).format(
    new Date(seconds * 1000),
  );

/**
 * A day that has no time; another text comes back as it is.
 * @param {string} value such as "2026-05-01"
 */
export function day(value) {
  const moment = new Date(`${value}T00:00:00Z`);
  if (Number.isNaN(moment.getTime())) return value;
  return new Intl.DateTimeFormat(variant, { dateStyle: 'long', timeZone: 'UTC' }).format(moment);
}
