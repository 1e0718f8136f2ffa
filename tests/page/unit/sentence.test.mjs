// Rules as sentences, in both languages.

import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { sentenceText, sizeText, testText } from '../../../page/sentences/sentence.js';
import { test as testOf, useLanguage } from './page_words.mjs';

const not = { negative: true };
const subject = testOf('string', 'subject', 'contains', 'quarterly');
const notBoss = testOf('address', 'from', 'is', 'boss@example.org', not);
const toReports = { method: 'move', target: 'Reports' };
const ruleOf = (tests, actions, relation = 'allof') => ({
  enabled: true,
  name: 'A rule',
  relation,
  tests,
  actions,
});

describe('sentenceText', () => {
  it('says conditions and what is done', async () => {
    await useLanguage('en');
    assert.equal(
      sentenceText(ruleOf([subject, notBoss], [toReports])),
      'When the subject contains “quarterly” and the message is not from “boss@example.org”, ' +
        'move it to “Reports”.',
    );
  });

  it('joins what suffices with "or", and actions with "and"', async () => {
    await useLanguage('en');
    const actions = [{ method: 'copy', target: 'INBOX' }, { method: 'delete' }];
    assert.equal(
      sentenceText(ruleOf([subject, notBoss], actions, 'anyof')),
      'When the subject contains “quarterly” or the message is not from “boss@example.org”, ' +
        'put a copy into “Inbox” and move it to the trash.',
    );
  });

  it('says that a rule without conditions never runs', async () => {
    await useLanguage('en');
    assert.match(sentenceText(ruleOf([], [toReports])), /^Never\b.*Reports/);
  });

  it('speaks German', async () => {
    await useLanguage('de');
    assert.equal(
      sentenceText(ruleOf([subject, notBoss], [toReports])),
      'Wenn der Betreff „quarterly“ enthält und die Nachricht nicht von „boss@example.org“ ist: ' +
        'nach „Reports“ verschieben.',
    );
  });

  it('takes braces in a value for what they are', async () => {
    await useLanguage('en');
    const odd = testOf('string', 'subject', 'is', '{value} {tests} $& {folder}');
    assert.ok(sentenceText(ruleOf([odd], [toReports])).includes('“{value} {tests} $& {folder}”'));
  });
});

describe('testText', () => {
  const cases = [
    [
      testOf('string', 'Subject', 'begin_with', 'Re:', not),
      'the subject does not begin with “Re:”',
    ],
    [testOf('string', 'X-Project', 'end_with', 'x'), 'the header “X-Project” ends with “x”'],
    [testOf('string', 'constructor', 'is', 'x'), 'the header “constructor” is “x”'],
    [testOf('string', 'from', 'contains', 'Bob'), 'the text of the header “from” contains “Bob”'],
    [testOf('address', 'to_cc', 'contains', '@x', not), 'no recipient contains “@x”'],
    [testOf('address', 'to_cc', 'is', 'a@x', not), 'the message is not addressed to “a@x”'],
    [
      testOf('string', 'subject', 'is', 'A', { match_case: true }),
      'the subject is “A” (capitals count)',
    ],
    [testOf('size', 'size', 'greater', '2048'), 'the message is larger than “2 MB”'],
    [
      testOf('date', 'zvx-received-date', 'before', '2026-05-01'),
      'the message came before “May 1, 2026”',
    ],
    [
      testOf('date', 'zvx-received-date', 'after', 'soon', not),
      'the message did not come after “soon”',
    ],
  ];
  for (const [test, text] of cases)
    it(`says "${text}"`, async () => {
      await useLanguage('en');
      assert.equal(testText(test), text);
    });

  for (const language of ['en', 'de'])
    it(`has words for each comparison in "${language}"`, async () => {
      await useLanguage(language);
      const comparators = {
        string: ['is', 'contains', 'begin_with', 'end_with'],
        address: ['is', 'contains'],
        size: ['greater', 'less'],
        date: ['is', 'before', 'after'],
      };
      for (const [type, names] of Object.entries(comparators))
        for (const name of names)
          for (const negative of [false, true]) {
            const text = testText(testOf(type, 'subject', name, '7', { negative }));
            assert.ok(!text.includes('sentence.'), text);
            assert.ok(text.includes('7'), text);
          }
    });
});

describe('sizeText', () => {
  const cases = [
    ['0', '0 KB'],
    ['1536', '1,536 KB'],
    ['1048576', '1 GB'],
    ['1073741824', '1073741824'],
    ['big', 'big'],
  ];
  for (const [size, text] of cases)
    it(`shows ${size} as ${text}`, async () => {
      await useLanguage('en');
      assert.equal(sizeText(size), text);
    });
});
