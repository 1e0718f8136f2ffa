// Words with values, and the two languages beside each other.

import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { describe, it } from 'node:test';
import { day, has, number, parts, t, useWords } from '../../../page/common/words.js';

const wordsOf = async (language) =>
  JSON.parse(await readFile(new URL(`../../../page/words/${language}.json`, import.meta.url)));

describe('t', () => {
  it('puts values in their places, numbers as the language writes them', () => {
    useWords('de', { a: { b: '{count} von {name}' } });
    assert.equal(t('a.b', { count: 1234.5, name: 'x' }), '1.234,5 von x');
  });

  it('chooses the plural form', () => {
    useWords('en', { found: { one: 'one rule', other: '{count} rules' } });
    assert.deepEqual(
      [0, 1, 2].map((count) => t('found', { count })),
      ['0 rules', 'one rule', '2 rules'],
    );
  });

  it('shows a key that has no words', () => {
    useWords('en', { a: { b: 'x' } });
    assert.equal(t('a.c'), 'a.c');
    assert.equal(t('a.b.length'), 'a.b.length');
    assert.equal(t('toString'), 'toString');
  });
});

describe('has', () => {
  it('knows texts alone', () => {
    useWords('en', { a: { b: 'x' } });
    assert.deepEqual(
      ['a.b', 'a', 'a.c', 'constructor.name'].map((key) => has(key)),
      [true, false, false, false],
    );
  });
});

describe('parts', () => {
  it('keeps an object as it is', () => {
    useWords('en', { a: 'from {from} on' });
    const node = {};
    assert.deepEqual(parts('a', { from: node }), ['from ', node, ' on']);
  });
});

describe('day', () => {
  it('is that day wherever the reader is', () => {
    useWords('en', {});
    assert.equal(day('2026-01-01'), 'January 1, 2026');
  });

  it('is written as where the browser comes from', (context) => {
    const languages = { value: ['fr-CH', 'en-GB', 'en-US'], configurable: true };
    const browser = { value: Object.create({}, { languages }), configurable: true };
    const before = Object.getOwnPropertyDescriptor(globalThis, 'navigator');
    Object.defineProperty(globalThis, 'navigator', browser);
    context.after(() =>
      before
        ? Object.defineProperty(globalThis, 'navigator', before)
        : Reflect.deleteProperty(globalThis, 'navigator'),
    );
    useWords('en', {});
    assert.equal(day('2026-01-31'), '31 January 2026');
  });

  it('leaves a text that is no day', () => assert.equal(day('2026-13-01'), '2026-13-01'));
});

describe('number', () => {
  it('has the language’s marks', () => {
    useWords('de', {});
    assert.equal(number(12345), '12.345');
  });
});

describe('the languages', () => {
  const texts = (words, front = '') =>
    Object.entries(words).flatMap(([key, value]) =>
      typeof value === 'string' ? [[front + key, value]] : texts(value, `${front}${key}.`),
    );
  const places = (text) => [...text.matchAll(/\{\w+\}/g)].map(String).sort();

  it('have the same keys, and the same values in them', async () => {
    const english = new Map(texts(await wordsOf('en')));
    const german = new Map(texts(await wordsOf('de')));
    assert.deepEqual([...german.keys()].sort(), [...english.keys()].sort());
    for (const [key, text] of english) assert.deepEqual(places(german.get(key)), places(text), key);
  });
});
