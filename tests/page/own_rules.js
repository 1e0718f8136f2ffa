// Rules that tests put in place of the user's.

/** A rule that moves what has `value` in its subject; `more` replaces parts of it. */
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

/**
 * Puts rules in place of those that there are, as another program would: the page of the user who is
 * signed in learns of it when it asks again.
 */
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
