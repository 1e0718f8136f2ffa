// What is taken from a stranger's message for a rule.

import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import {
  addressOf,
  blockingFilter,
  isBlocking,
  listOf,
  subjectOf,
  suggestions,
} from '../../../page/mail/suggestions.js';

describe('addressOf', () => {
  const found = [
    ['bob@example.org', 'bob@example.org'],
    ['  bob@example.org ', 'bob@example.org'],
    ['Bob <bob@example.org>', 'bob@example.org'],
    ['"Smith, Bob" <bob@example.org>', 'bob@example.org'],
    ['"Bob <boss@example.org>" <bob@example.org>', 'bob@example.org'],
    ['"Bob \\" <boss@example.org>" <bob@example.org>', 'bob@example.org'],
    ['Bob (at <work@example.org>) <bob@example.org>', 'bob@example.org'],
    ['bob@example.org (Bob (the other))', 'bob@example.org'],
    ['boss@example.org <bob@example.org>', 'bob@example.org'],
    ['Bob < bob@example.org >', 'bob@example.org'],
    ["o'brien+lists@mail.example.org", "o'brien+lists@mail.example.org"],
    ['Jürgen <jürgen@bücher.example>', 'jürgen@bücher.example'],
  ];
  for (const [from, address] of found)
    it(`finds it in ${from}`, () => assert.equal(addressOf(from), address));

  const uncertain = [
    null,
    '',
    'Bob',
    'Bob <bob>',
    'Bob <bob@>',
    '<@example.org>',
    'Bob <boss@example.org> <bob@example.org>',
    'boss@example.org, bob@example.org',
    'Boss <boss@example.org>, Bob <bob@example.org>',
    '"Bob <bob@example.org>',
    'Bob <bob@example.org',
    'Bob (<bob@example.org>',
    '"a b"@example.org',
    'bob@example.org bob@example.org',
    'bob@@example.org',
    'undisclosed: ;',
    '\u202Egro.elpmaxe@bob.example.net',
  ];
  for (const from of uncertain)
    it(`finds none for certain in ${from}`, () => assert.equal(addressOf(from), null));
});

describe('listOf', () => {
  const cases = [
    ['Dev list <dev.lists.example.org>', '<dev.lists.example.org>'],
    ['<dev.lists.example.org>', '<dev.lists.example.org>'],
    ['"The <best> list" <dev.lists.example.org>', '<dev.lists.example.org>'],
    ['dev.lists.example.org', 'dev.lists.example.org'],
    ['a "list"', null],
    ['\u202Egro.elpmaxe.tsil', null],
    ['', null],
    [null, null],
  ];
  for (const [list, value] of cases)
    it(`of ${list} is ${value}`, () => assert.equal(listOf(list), value));
});

describe('subjectOf', () => {
  const cases = [
    ['Quarterly report', 'Quarterly report'],
    ['Re: AW: Fwd: Quarterly report', 'Quarterly report'],
    ['Re[2]: Quarterly report', 'Quarterly report'],
    ['Regarding: money', 'Regarding: money'],
    ['The "quarterly report" is there', 'quarterly report'],
    ['a\\longer piece', 'longer piece'],
    ['one\ttwo three', 'two three'],
    ['turned \u202Efdp.exe', 'fdp.exe'],
    ['Re:', null],
    ['""', null],
    ['', null],
    [null, null],
  ];
  for (const [subject, value] of cases)
    it(`of ${JSON.stringify(subject)} is ${value}`, () => assert.equal(subjectOf(subject), value));
});

describe('suggestions', () => {
  it('are one for each part that a message has', () => {
    const message = {
      from: 'Bob <bob@example.org>',
      list: '<dev.example.org>',
      subject: 'Re: Report',
    };
    const brief = suggestions(message).map(
      ({ kind, test: { type, field, comparator, value } }) =>
        `${kind}: ${type} ${field} ${comparator} ${value}`,
    );
    assert.deepEqual(brief, [
      'sender: address from is bob@example.org',
      'list: string list-id contains <dev.example.org>',
      'subject: string subject contains Report',
    ]);
    assert.deepEqual(suggestions({ from: null, list: null, subject: null }), []);
  });
});

describe('isBlocking', () => {
  const filter = blockingFilter('Bob@example.org', 'Blocked');

  it('knows the filter that blocks an address, in whatever capitals', () => {
    assert.ok(isBlocking(filter, 'bob@EXAMPLE.org'));
  });

  it('takes no other filter for it', () => {
    const [test] = filter.tests;
    for (const other of [
      { enabled: false },
      { actions: [{ method: 'move', target: 'Bob' }] },
      { tests: [] },
      { tests: [test, { ...test, field: 'to' }] },
      { tests: [{ ...test, negative: true }] },
      { tests: [{ ...test, comparator: 'contains' }] },
    ])
      assert.ok(!isBlocking({ ...filter, ...other }, 'bob@example.org'), JSON.stringify(other));
    assert.ok(!isBlocking(filter, 'rob@example.org'));
  });
});
