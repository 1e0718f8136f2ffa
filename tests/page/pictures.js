// Draws the pictures of docs/web.md into the folder PAGE_PICTURES; scripts/draw-page runs it.
import { join } from 'node:path';
import { looks, pageTest, signIn, users } from './browser.js';

const desk = { colorScheme: 'light', viewport: { width: 900, height: 560 } };

const ruleOf = (id, name, test, action) => ({
  id,
  enabled: true,
  name,
  relation: 'allof',
  tests: [{ negative: false, match_case: false, ...test }],
  actions: [action],
});
const rules = [
  ruleOf(
    1,
    'Gardeners',
    { type: 'string', field: 'list-id', comparator: 'contains', value: 'gardeners' },
    { method: 'move', target: 'Lists/Gardeners' },
  ),
  ruleOf(
    2,
    'Reports',
    { type: 'string', field: 'subject', comparator: 'contains', value: 'quarterly' },
    { method: 'move', target: 'Work/Reports' },
  ),
  ruleOf(
    3,
    'Offers',
    { type: 'string', field: 'subject', comparator: 'end_with', value: '(this week only)' },
    { method: 'delete' },
  ),
  ruleOf(
    4,
    'Colleagues',
    { type: 'address', field: 'from', comparator: 'contains', value: '@example.org' },
    { method: 'copy', target: 'Work/Colleagues' },
  ),
];

const button = (page, name) => page.getByRole('button', { name, exact: true });

const draw = (shown, name) =>
  shown.screenshot({
    path: join(process.env.PAGE_PICTURES, `${name}.png`),
    animations: 'disabled',
  });

const picture = (name, body, look = desk) =>
  pageTest(name, async (page) => draw((await body(page)) ?? page, name), { look });

async function open(page, view) {
  await page.getByRole('link', { name: view, exact: true }).click();
  await page.getByRole('heading', { name: view, exact: true }).waitFor();
}

async function openRules(page) {
  await signIn(page, users.alice);
  await page.getByRole('heading', { name: 'Colleagues' }).waitFor();
}

picture('sign-in', async (page) => {
  await page.goto('/');
  await page.getByLabel('Mail address').fill(users.alice.user);
});

pageTest('the rules are there', async (page) => {
  await signIn(page, users.alice);
  await open(page, 'Advanced');
  const file = { name: 'rules.json', mimeType: 'application/json' };
  const buffer = Buffer.from(JSON.stringify(rules));
  await page.getByLabel('File').setInputFiles({ ...file, buffer });
  await button(page, 'Show what would be done').click();
  await button(page, 'Take these rules over').click();
  await page.getByRole('status').filter({ hasText: 'were taken over' }).waitFor();
});

// The folders that the filing makes stay when it is undone.
pageTest(
  'applying',
  async (page) => {
    await openRules(page);
    await button(page, 'Apply to mail that is there…').click();
    await button(page, 'Show what would happen').click();
    await button(page, 'File them now').waitFor();
    await draw(page.locator('.application'), 'applying');
    await button(page, 'File them now').click();
    await button(page, 'Undo the filing').click();
    await button(page, 'Undo the filing').waitFor({ state: 'hidden' });
  },
  { look: desk },
);

picture('rules', openRules);
picture('dark', openRules, { ...desk, colorScheme: 'dark' });
picture('narrow', openRules, looks.narrow);

picture('editor', async (page) => {
  await openRules(page);
  await button(page, 'Edit: Reports').click();
  await page.getByText(/^It catches \d/).waitFor();
  return page.locator('.rule', { has: page.locator('.editor') });
});

picture('why', async (page) => {
  await openRules(page);
  await open(page, 'Messages');
  await button(page, 'Why is it here?').first().click();
  await page.getByText('It decides: the first rule that matches does.').waitFor();
  return page.locator('.message').first();
});
