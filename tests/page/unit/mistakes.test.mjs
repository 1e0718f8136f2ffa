// What can be told of a filter before the server refuses it.

import assert from 'node:assert/strict';
import { before, describe, it } from 'node:test';
import { has } from '../../../page/common/words.js';
import { mistakesOf } from '../../../page/editor/mistakes.js';
import { filter, test, useLanguage } from './page_words.mjs';

const withTest = (...parts) => filter(1, 'A', { tests: [test(...parts)] });
const withTarget = (target, method = 'move') => filter(1, 'A', { actions: [{ method, target }] });

const good = [
  withTest('string', 'subject', 'contains', 'quarterly'),
  withTest('string', 'X-Spam-Flag', 'is', ' '),
  withTest('address', 'from', 'contains', '@example'),
  withTest('address', 'from', 'is', 'bob@example.org'),
  withTest('size', 'size', 'greater', '0'),
  withTest('size', 'size', 'less', '2097151'),
  withTest('date', 'zvx-received-date', 'is', '2028-02-29'),
  withTarget('Work/Reports'),
  withTarget('Ünïcode ✓'),
  withTarget(undefined, 'delete'),
];

const bad = [
  [withTest('string', '', 'is', 'x'), '/tests/0/field', 'field_missing'],
  [withTest('string', 'body', 'is', 'x'), '/tests/0/field', 'field_no_header'],
  [withTest('string', 'X Spam', 'is', 'x'), '/tests/0/field', 'field_name'],
  [withTest('string', 'X-Späm', 'is', 'x'), '/tests/0/field', 'field_name'],
  [withTest('string', 'a:b', 'is', 'x'), '/tests/0/field', 'field_name'],
  [withTest('string', 'subject', 'is', ''), '/tests/0/value', 'string_missing'],
  [withTest('address', 'from', 'is', ''), '/tests/0/value', 'address_missing'],
  [withTest('size', 'size', 'less', ''), '/tests/0/value', 'size_missing'],
  [withTest('date', 'zvx-received-date', 'is', ''), '/tests/0/value', 'date_missing'],
  [withTest('string', 'subject', 'is', 'a "b"'), '/tests/0/value', 'value_quotes'],
  [withTest('string', 'subject', 'is', 'a\\b'), '/tests/0/value', 'value_quotes'],
  [withTest('string', 'subject', 'is', 'a\tb'), '/tests/0/value', 'control_character'],
  [withTest('address', 'from', 'is', 'Bob <b@x.org>'), '/tests/0/value', 'address_with_name'],
  [withTest('address', 'from', 'contains', 'Bob S'), '/tests/0/value', 'address_with_blank'],
  [withTest('address', 'from', 'is', '@example.org'), '/tests/0/value', 'address_not_whole'],
  [withTest('size', 'size', 'greater', '2097152'), '/tests/0/value', 'size'],
  [withTest('size', 'size', 'greater', '-1'), '/tests/0/value', 'size'],
  [withTest('size', 'size', 'greater', '1.5'), '/tests/0/value', 'size'],
  [withTest('size', 'size', 'less', '0'), '/tests/0/value', 'size'],
  [withTest('date', 'zvx-received-date', 'is', '2026-02-29'), '/tests/0/value', 'date'],
  [withTest('date', 'zvx-received-date', 'is', '1.5.2026'), '/tests/0/value', 'date'],
  [withTarget(''), '/actions/0/target', 'target_missing'],
  [withTarget('a"b'), '/actions/0/target', 'target_quotes'],
  [withTarget('a\u0007b'), '/actions/0/target', 'control_character'],
  [withTarget('Work//Reports'), '/actions/0/target', 'target_levels'],
  [withTarget('Work/ Reports'), '/actions/0/target', 'target_levels'],
  [withTarget('..', 'copy'), '/actions/0/target', 'target_levels'],
  [{ ...filter(1, 'A'), name: 'a\nb' }, '/name', 'control_character'],
];

describe('mistakesOf', () => {
  before(() => useLanguage('en'));

  for (const each of good)
    it(`finds none in ${JSON.stringify([each.tests, each.actions])}`, () =>
      assert.deepEqual(mistakesOf({ ...each, name: 'A' }), []));

  for (const [each, pointer, key] of bad)
    it(`finds ${key} in ${JSON.stringify([each.tests[0], each.actions[0]])}`, () => {
      const found = mistakesOf(each).map((mistake) => [mistake.pointer, mistake.key]);
      assert.deepEqual(found, [[pointer, key]]);
      assert.ok(has(`editor.mistakes.${key}`));
    });

  it('says what address to type instead', () => {
    const [mistake] = mistakesOf(withTest('address', 'from', 'is', 'Bob <bob@example.org>'));
    assert.equal(mistake.values.address, 'bob@example.org');
  });

  it('finds those of all tests, in their order', () => {
    const tests = [test('string', '', 'is', ''), test('size', 'size', 'less', 'x')];
    const pointers = mistakesOf(filter(1, 'A', { tests })).map(({ pointer }) => pointer);
    assert.deepEqual(pointers, ['/tests/0/field', '/tests/0/value', '/tests/1/value']);
  });
});
