// The name that a rule gives itself.

import assert from 'node:assert/strict';
import { before, describe, it } from 'node:test';
import { automaticName } from '../../../page/sentences/automatic_name.js';
import { filter, test, useLanguage } from './page_words.mjs';

const rule = (tests, actions) => filter(1, '', { tests, actions });
const subject = test('string', 'subject', 'contains', 'quarterly');
const reports = { method: 'move', target: 'Reports' };

describe('automaticName', () => {
  before(() => useLanguage('en'));

  const cases = [
    [[subject], [reports], 'Subject contains quarterly → Reports'],
    [[{ ...subject, negative: true }], [reports], 'Subject does not contain quarterly → Reports'],
    [[subject], [{ method: 'move', target: '' }], 'Subject contains quarterly'],
    [[subject], [], 'Subject contains quarterly'],
    [[subject], [{ method: 'delete' }], 'Subject contains quarterly → Trash'],
    [[subject], [{ method: 'copy', target: 'INBOX' }], 'Subject contains quarterly → Inbox'],
    [[subject, subject, subject], [reports], 'Subject contains quarterly (+2) → Reports'],
    [[test('size', 'size', 'greater', '500')], [reports], 'Size is larger than 500 KB → Reports'],
    [[test('string', 'X-Spam', 'is', 'yes')], [reports], 'X-Spam is yes → Reports'],
    [[{ ...subject, value: '' }, subject], [reports], 'Subject contains quarterly → Reports'],
    [[{ ...subject, value: ' ' }], [reports], ''],
  ];
  for (const [tests, actions, name] of cases)
    it(`is ${JSON.stringify(name)}`, () => assert.equal(automaticName(rule(tests, actions)), name));

  it('shortens a long value, by characters and not within one', () => {
    const value = '🦊'.repeat(41);
    const name = automaticName(rule([{ ...subject, value }], [reports]));
    assert.equal(name, `Subject contains ${'🦊'.repeat(39)}… → Reports`);
    const just = automaticName(rule([{ ...subject, value: 'x'.repeat(40) }], [reports]));
    assert.equal(just, `Subject contains ${'x'.repeat(40)} → Reports`);
  });

  it('is in the user’s language', async () => {
    await useLanguage('de');
    assert.equal(automaticName(rule([subject], [reports])), 'Betreff enthält quarterly → Reports');
    await useLanguage('en');
  });
});
