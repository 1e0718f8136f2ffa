// The page's words without a browser.

import { readFile } from 'node:fs/promises';
import { useWords } from '../../../page/common/words.js';

/** A Storage that is forgotten when the process ends. */
export function memoryStorage() {
  const storage = Object.create({
    getItem: (key) => storage[key] ?? null,
    setItem: (key, value) => {
      storage[key] = String(value);
    },
    removeItem: (key) => delete storage[key],
  });
  return storage;
}

/**
 * Gives the page's modules the words of a language.
 * @param {'en' | 'de'} language
 */
export async function useLanguage(language) {
  const file = new URL(`../../../page/words/${language}.json`, import.meta.url);
  useWords(language, JSON.parse(await readFile(file, 'utf8')));
}

/** A test of a filter. */
export const test = (type, field, comparator, value, more = {}) => ({
  type,
  field,
  comparator,
  value,
  negative: false,
  match_case: false,
  ...more,
});

/** A filter that moves what has the word in its subject into the folder. */
export const filter = (id, name, more = {}) => ({
  id,
  enabled: true,
  name,
  relation: 'allof',
  tests: [test('string', 'subject', 'contains', name.toLowerCase())],
  actions: [{ method: 'move', target: name }],
  ...more,
});
