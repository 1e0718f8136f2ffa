// What tests of rules share: rules as the server takes them, and where they stand on the page.
import assert from 'node:assert/strict';
import { beginSession, signIn, users } from './browser.js';

/** A rule about the subject. */
export const ruleOf = (name, value, target, more = {}) => ({
  enabled: true,
  name,
  relation: 'allof',
  tests: [
    {
      type: 'string',
      field: 'subject',
      comparator: 'contains',
      value,
      negative: false,
      match_case: false,
    },
  ],
  actions: [{ method: 'move', target }],
  ...more,
});

/** Puts rules in place of those that there are, as another program would. */
export async function replaceRules(page, filters) {
  const { request } = page.context();
  const { token } = await (await request.get('/api/v1/session')).json();
  const { revision } = await (await request.get('/api/v1/rules')).json();
  const headers = { 'If-Match': `"${revision}"`, 'X-Quarrow-Token': token };
  const response = await request.put('/api/v1/rules', { headers, data: { filters } });
  assert.ok(response.ok(), await response.text());
}

export const rulesOf = (page) => page.getByRole('list', { name: 'Rules' });
export const rule = (page, name) =>
  rulesOf(page)
    .locator('> li')
    .filter({ has: page.getByRole('heading', { name, exact: true }) });
export const button = (page, name) => page.getByRole('button', { name, exact: true });
export const onOff = (page, name) => page.getByRole('switch', { name: `On: ${name}`, exact: true });

/** Waits until an element has the focus. */
export const assertFocused = (locator) => locator.and(locator.page().locator(':focus')).waitFor();

/** Opens the page of a user, alice unless it is said, who has these rules and no others. */
export async function beginWith(page, rules, user = users.alice) {
  await beginSession(page, user);
  await replaceRules(page, rules);
  await signIn(page, user);
}
