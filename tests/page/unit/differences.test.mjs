// What differs between two lists, in sentences.

import assert from 'node:assert/strict';
import { before, describe, it } from 'node:test';
import { areSame, differences } from '../../../page/sentences/differences.js';
import { filter, test, useLanguage } from './page_words.mjs';

const [a, b, c, d] = ['A', 'B', 'C', 'D'].map((name, at) => filter(at + 1, name));

describe('differences', () => {
  before(() => useLanguage('en'));

  it('are none between equal lists', () => {
    assert.deepEqual(differences([a, b], structuredClone([a, b])), []);
  });

  it('tell what was added, and where', () => {
    assert.deepEqual(differences([a], [b, a]), [
      '“B” was added at place 1: when the subject contains “b”, move it to “B”.',
    ]);
  });

  it('tell what was removed, with all that it did', () => {
    assert.deepEqual(differences([a, b], [b]), [
      '“A” was removed: when the subject contains “a”, move it to “A”.',
    ]);
  });

  const moves = [
    {
      name: 'one to the end',
      after: [b, c, d, a],
      moved: ['“A” was moved from place 1 to place 4.'],
    },
    {
      name: 'one to the front',
      after: [d, a, b, c],
      moved: ['“D” was moved from place 4 to place 1.'],
    },
    {
      name: 'one up among others',
      after: [a, c, b, d],
      count: 1,
    },
    { name: 'all turned round', after: [d, c, b, a], count: 3 },
  ];
  for (const { name, after, moved, count } of moves)
    it(`tell of a move only those that moved: ${name}`, () => {
      const sentences = differences([a, b, c, d], after);
      if (moved) assert.deepEqual(sentences, moved);
      assert.equal(sentences.length, count ?? 1);
    });

  it('take no filter for moved that made room', () => {
    assert.deepEqual(differences([a, b, c], [b, c]).length, 1);
    assert.deepEqual(differences([b, c], [a, b, c]).length, 1);
  });

  it('tell each change of a filter', () => {
    const tests = [...a.tests, test('size', 'size', 'greater', '2048')];
    const actions = [{ method: 'delete' }];
    const cases = [
      [{ name: 'New' }, '“A” is named “New” now.'],
      [{ enabled: false }, '“A” was switched off.'],
      [
        { tests },
        '“A” now looks whether the subject contains “a” and the message is larger than “2 MB”; ' +
          'before: whether the subject contains “a”.',
      ],
      [{ actions }, '“A” now does this: move it to the trash; before: move it to “A”.'],
    ];
    for (const [change, sentence] of cases)
      assert.deepEqual(differences([a], [{ ...a, ...change }]), [sentence]);
  });

  it('tell whether all or one of the tests must hold', () => {
    const two = { ...a, tests: [...a.tests, ...b.tests] };
    const sentences = differences([two], [{ ...two, relation: 'anyof' }]);
    assert.equal(sentences.length, 1);
    assert.match(sentences[0], /“a” or the subject/);
    assert.match(sentences[0], /“a” and the subject/);
  });

  it('are in the user’s language', async () => {
    await useLanguage('de');
    assert.deepEqual(differences([a], [{ ...a, enabled: false }]), ['„A“ wurde ausgeschaltet.']);
    await useLanguage('en');
  });
});

describe('areSame', () => {
  before(() => useLanguage('en'));

  it('looks at all that a user sees, not at numbers', () => {
    assert.ok(areSame(a, { ...a, id: 77 }));
    for (const change of [
      { name: 'x' },
      { enabled: false },
      { relation: 'anyof' },
      { tests: b.tests },
      { actions: b.actions },
      { tests: [{ ...a.tests[0], match_case: true }] },
      { tests: [{ ...a.tests[0], negative: true }] },
    ])
      assert.ok(!areSame(a, { ...a, ...change }), JSON.stringify(change));
  });
});
