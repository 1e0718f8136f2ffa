// Unsaved filters on the user's device.

import assert from 'node:assert/strict';
import { beforeEach, describe, it } from 'node:test';
import { store } from '../../../page/common/store.js';
import { draftIds, draftOf, dropDraft, keepDraft, readDraft } from '../../../page/editor/drafts.js';
import { filter, memoryStorage } from './page_words.mjs';

const draft = (id) => ({
  filter: filter(id, 'Draft'),
  isNamed: true,
  before: '',
  began: null,
  revision: '0123456789ab',
  mayBeSaved: false,
  time: 1,
});

describe('drafts', () => {
  beforeEach(() => {
    globalThis.localStorage = memoryStorage();
    store.user = 'alice@example.org';
  });

  it('come back as they were kept', () => {
    assert.ok(keepDraft(3, draft(3)));
    assert.deepEqual(readDraft(3), draft(3));
    assert.deepEqual(draftOf('3'), filter(3, 'Draft'));
    dropDraft(3);
    assert.equal(draftOf(3), null);
  });

  it('are each user’s own', () => {
    keepDraft('new', draft());
    store.user = 'bob@example.org';
    assert.equal(draftOf('new'), null);
    assert.deepEqual(draftIds(), []);
  });

  it('are listed, without what is damaged or of others', () => {
    keepDraft('new', draft());
    keepDraft('message m1', draft());
    keepDraft('message m2', draft());
    localStorage.setItem('quarrow.draft.alice@example.org.7', '{"filter":');
    localStorage.setItem('quarrow.draft.alice@example.org.8', '{"filter": {}}');
    localStorage.setItem('quarrow.language', 'de');
    assert.deepEqual(draftIds(), ['message m1', 'message m2', 'new']);
    assert.equal(readDraft(7), null);
    assert.equal(readDraft(8), null);
  });

  it('say when the device has no room', () => {
    Object.getPrototypeOf(localStorage).setItem = () => {
      throw new DOMException('full', 'QuotaExceededError');
    };
    assert.equal(keepDraft(3, draft(3)), false);
  });
});
