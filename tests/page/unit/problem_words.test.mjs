// What is said of a problem.

import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { Problem } from '../../../page/common/api.js';
import { problemText, waitText } from '../../../page/common/problem_words.js';
import { useLanguage } from './page_words.mjs';

const problemOf = (status, kind, detail = 'told by the server', retryAfter = null) =>
  new Problem(status, { type: `urn:quarrow:problem:${kind}`, detail }, retryAfter);

describe('problemText', () => {
  const cases = [
    [new Problem(0, { detail: 'TypeError' }), /could not be reached/],
    [new Problem(502, null), /could not be reached/],
    [problemOf(507, 'no-room'), /disk is full/],
    [problemOf(409, 'limit-reached'), /as many rules as you may have/],
    [problemOf(404, 'no-such-filter'), /rule is not there any more/],
    [problemOf(422, 'not-valid', 'no folder'), /can't be taken: no folder/],
    [problemOf(503, 'unusable-folder'), /mail folder can't be used.*Tell your mail provider/],
    [problemOf(503, 'no-sign-in'), /Nobody can sign in/],
    [problemOf(500, 'failure', 'no space'), /can't do this now.*no space/],
    [problemOf(599, 'unheard-of', 'odd'), /can't do this now.*odd/],
    [problemOf(418, 'unheard-of', 'a teapot'), /refused.*a teapot/],
    [problemOf(404, 'constructor'), /not there/],
    [new Error('no such function'), /unexpected.*no such function/],
  ];
  for (const [problem, text] of cases)
    it(`is ${text} for ${problem.status ?? 'another error'}`, async () => {
      await useLanguage('en');
      assert.match(problemText(problem), text);
    });

  it('names each mistake', async () => {
    await useLanguage('en');
    const errors = [{ detail: 'no name' }, { detail: 'no test' }];
    assert.match(problemText(new Problem(422, { errors, detail: 'x' })), /: no name; no test/);
  });

  it('says how long to wait', async () => {
    await useLanguage('en');
    assert.match(problemText(problemOf(503, 'busy', '', 2)), /busy.* Try again in 2 seconds\.$/);
  });

  it('speaks German', async () => {
    await useLanguage('de');
    assert.match(problemText(problemOf(507, 'no-room')), /Speicherplatz/);
  });
});

describe('waitText', () => {
  const cases = [
    [1, '1 second'],
    [59, '59 seconds'],
    [60, '1 minute'],
    [61, '2 minutes'],
  ];
  for (const [seconds, text] of cases)
    it(`is ${text} for ${seconds} s`, async () => {
      await useLanguage('en');
      assert.equal(waitText(seconds), text);
    });
});
