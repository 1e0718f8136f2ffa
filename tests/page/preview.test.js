// While users type a rule, they see what it would catch of their mail.
import assert from 'node:assert/strict';
import { assertShownWell, pageTest } from './browser.js';
import { comeBack, condition, fillCondition, typeRule, value } from './editor_page.js';
import { counted, mail } from './example_mail.js';
import { holdAnswers } from './held_answers.js';
import { beginWith, button, replaceRules, ruleOf } from './rules_page.js';

const has = (pattern) => (message) => message.lines.some((line) => pattern.test(line));
const about = (word) => has(new RegExp(`^subject:.*${word}`, 'i'));

const catches = (count) => `It catches ${count} of ${mail.length} messages in Inbox.`;
const preview = (page) => page.getByRole('region', { name: 'What the rule would catch' });
const assertCatches = (page, count) => preview(page).getByText(catches(count)).waitFor();

const bosses = ruleOf('Bosses', 'please hurry', 'Archive');

pageTest('the preview can be used by everyone', async (page) => {
  await beginWith(page, [bosses]);
  await typeRule(page, 'report', 'Reports');
  await assertCatches(page, counted(about('report')));
  await assertShownWell(page);
});

pageTest('the preview counts the messages that a rule catches', async (page) => {
  await beginWith(page, []);
  await typeRule(page, 'quarterly', 'Reports');
  await assertCatches(page, counted(about('quarterly')));
  const conditions = [
    [['Size', 'is larger than', '30'], counted(({ size }) => size > 30 * 1024)],
    [['Sender', 'contains', '@example.org'], counted(has(/^from:.*@example\.org/i))],
    [['Subject', 'contains', 'no such word'], 0],
  ];
  for (const [typed, count] of conditions) {
    await fillCondition(page, 1, typed);
    await assertCatches(page, count);
  }
});

pageTest('the preview says what would change, and which rules come before', async (page) => {
  await beginWith(page, [bosses]);
  await typeRule(page, 'report', 'Reports');
  const caught = counted(about('report'));
  const taken = counted(about('please hurry'));
  assert.ok(taken === 1 && caught > taken);
  await preview(page).getByText('1 is taken before by rule 1, Bosses.').waitFor();
  await preview(page).getByText('taken by rule 1, Bosses', { exact: true }).waitFor();
  const changed = new RegExp(`^${caught - taken} messages? would go elsewhere`);
  await preview(page).getByText(changed).waitFor();
  await page.getByLabel('When it is tried').selectOption({ label: 'First, before “Bosses”' });
  await preview(page).getByText('taken').first().waitFor({ state: 'detached' });
  await preview(page)
    .getByText(new RegExp(`^${caught} messages would go elsewhere`))
    .waitFor();
});

pageTest('the preview follows the rules when another program changes them', async (page) => {
  await beginWith(page, [bosses]);
  await typeRule(page, 'report', 'Reports');
  await preview(page).getByText('1 is taken before by rule 1, Bosses.').waitFor();
  await replaceRules(page, []);
  await comeBack(page);
  await preview(page).getByText('taken').first().waitFor({ state: 'detached' });
  await assertCatches(page, counted(about('report')));
});

pageTest('the number is said to those who hear the page', async (page) => {
  await beginWith(page, []);
  await typeRule(page, 'report', 'Reports');
  const said = page.getByRole('status').filter({ hasText: catches(counted(about('report'))) });
  await said.waitFor();
});

pageTest('an answer to what is typed no longer is never shown', async (page) => {
  await beginWith(page, []);
  const answers = await holdAnswers(page, '**/api/v1/preview', (at) => at === 0);
  const first = page.waitForRequest('**/api/v1/preview');
  await typeRule(page, 'report', 'Reports');
  const dropped = page.waitForEvent('requestfailed');
  const request = await first;
  await value(condition(page, 1)).fill('quarterly');
  await assertCatches(page, counted(about('quarterly')));
  assert.equal(await dropped, request);
  await answers.letGo();
  await assertCatches(page, counted(about('quarterly')));
});

pageTest(
  'a preview that fails says so, and can be tried again',
  async (page) => {
    await beginWith(page, []);
    await page.route('**/api/v1/preview', (route) => route.fulfill({ status: 503 }));
    await typeRule(page, 'report', 'Reports');
    await preview(page).getByText('The server is busy.').waitFor();
    await page.unroute('**/api/v1/preview');
    await button(page, 'Try again').click();
    await assertCatches(page, counted(about('report')));
  },
  { mayServerFail: true },
);
