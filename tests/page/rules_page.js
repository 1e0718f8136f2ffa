// What tests of rules share: rules as the server takes them, and where they stand on the page.
import { signIn, users } from './browser.js';

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
export const replaceRules = (page, filters) =>
  page.evaluate(
    async (body) => {
      const { token } = await (await fetch('/api/v1/session')).json();
      const { revision } = await (await fetch('/api/v1/rules')).json();
      const headers = {
        'Content-Type': 'application/json',
        'If-Match': `"${revision}"`,
        'X-Quarrow-Token': token,
      };
      const request = { method: 'PUT', headers, body: JSON.stringify(body) };
      const response = await fetch('/api/v1/rules', request);
      if (!response.ok) throw new Error(await response.text());
    },
    { filters },
  );

export const rulesOf = (page) => page.getByRole('list', { name: 'Rules' });
export const rule = (page, name) =>
  rulesOf(page)
    .locator('> li')
    .filter({ has: page.getByRole('heading', { name, exact: true }) });
export const button = (page, name) => page.getByRole('button', { name, exact: true });
export const onOff = (page, name) => page.getByRole('switch', { name: `On: ${name}`, exact: true });

/** Waits until an element has the focus. */
export const assertFocused = (locator) => locator.and(locator.page().locator(':focus')).waitFor();

/** Signs alice in, who has these rules and no others. */
export async function beginWith(page, rules) {
  await signIn(page, users.alice);
  await replaceRules(page, rules);
  await page.reload();
  await page.getByRole('heading', { name: 'Rules', exact: true }).waitFor();
}
