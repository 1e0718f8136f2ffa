// Users read, switch, move, copy, remove and find their rules.
import assert from 'node:assert/strict';
import { assertAccessible, assertShownWell, pageTest } from './browser.js';
import { storedNames } from './editor_page.js';
import { beginWith, button, onOff, replaceRules, rule, ruleOf, rulesOf } from './rules_page.js';

const threeRules = [
  ruleOf('Numbers', 'quarterly', 'Reports'),
  ruleOf('Cooking', 'recipe', 'Lists'),
  ruleOf('Bills', 'invoice', 'Invoices'),
];

const begin = (page, rules = threeRules) => beginWith(page, rules);

/** Waits until the rules stand in this order on the page. */
async function assertOrder(page, names) {
  const places = names.map((name, at) =>
    rulesOf(page)
      .locator(`> li:nth-child(${at + 1})`)
      .getByRole('heading', { name, exact: true }),
  );
  for (const place of places) await place.waitFor();
  assert.equal(await rulesOf(page).locator('> li').count(), names.length);
}

/** Waits until the rules stand in this order, on the page and on the server. */
async function assertStored(page, names) {
  await assertOrder(page, names);
  assert.deepEqual(await storedNames(page), names);
}

const assertFocused = (page, name) =>
  page.waitForFunction(
    (label) => document.activeElement?.getAttribute('aria-label') === label,
    name,
  );

async function choose(page, name, action) {
  await rule(page, name).locator('summary').click();
  await button(page, `${action}: ${name}`).click();
}

pageTest('rules can be used by everyone', async (page) => {
  await begin(page);
  await rule(page, 'Bills').waitFor();
  await assertShownWell(page);
});

pageTest('a user without rules is asked to make one', async (page) => {
  await begin(page, []);
  await button(page, 'New rule').waitFor();
  await assertShownWell(page);
});

pageTest('a rule is a sentence, and markup in it is text', async (page) => {
  await begin(page, [ruleOf('<b>Bold</b>', '<img src=x>', 'A & B')]);
  const text = 'When the subject contains <img src=x>, move it to A & B.';
  await rulesOf(page).getByText(text).waitFor();
  await page.getByRole('heading', { name: '<b>Bold</b>' }).waitFor();
});

pageTest('a rule that never runs says so, and names the rules before it', async (page) => {
  await begin(page, [...threeRules, ruleOf('Late', 'quarterly report', 'Late')]);
  await rule(page, 'Late').getByText('never gets a message').waitFor();
  await rule(page, 'Late').getByText('“Numbers”').waitFor();
});

pageTest('a rule is switched off, and stays so', async (page) => {
  await begin(page);
  await onOff(page, 'Cooking').focus();
  await page.keyboard.press('Space');
  await page.getByRole('status').filter({ hasText: '“Cooking” is off.' }).waitFor();
  await page.reload();
  await onOff(page, 'Cooking').waitFor();
  assert.equal(await onOff(page, 'Cooking').isChecked(), false);
});

pageTest('keys move a rule as often as they are pressed, and keep the focus', async (page) => {
  await begin(page);
  await button(page, 'Edit: Numbers').focus();
  await page.keyboard.press('Alt+ArrowDown');
  await page.keyboard.press('Alt+ArrowDown');
  await assertOrder(page, ['Cooking', 'Bills', 'Numbers']);
  await assertFocused(page, 'Edit: Numbers');
  await page.keyboard.press('Alt+ArrowUp');
  await assertStored(page, ['Cooking', 'Numbers', 'Bills']);
});

pageTest('buttons move a rule', async (page) => {
  await begin(page);
  await button(page, 'Move down: Numbers').click();
  await assertOrder(page, ['Cooking', 'Numbers', 'Bills']);
  await button(page, 'Move up: Bills').click();
  await assertStored(page, ['Cooking', 'Bills', 'Numbers']);
});

pageTest('a rule moves to a position', async (page) => {
  await begin(page);
  await choose(page, 'Bills', 'Move to position…');
  await page.getByLabel('Position (1 to 3)').fill('1');
  await page.keyboard.press('Enter');
  await assertStored(page, ['Bills', 'Numbers', 'Cooking']);
});

pageTest('the mouse drags a rule', async (page) => {
  await begin(page);
  const handle = await rule(page, 'Numbers').getByTitle('Drag to move').boundingBox();
  const target = await rule(page, 'Cooking').boundingBox();
  await page.mouse.move(handle.x + 8, handle.y + 8);
  await page.mouse.down();
  await page.mouse.move(handle.x + 8, target.y + target.height - 4, { steps: 4 });
  await page.mouse.up();
  await assertStored(page, ['Cooking', 'Numbers', 'Bills']);
});

pageTest('a rule that is removed comes back by "Undo"', async (page) => {
  await begin(page);
  await choose(page, 'Cooking', 'Remove');
  await assertOrder(page, ['Numbers', 'Bills']);
  await assertFocused(page, 'Edit: Bills');
  await button(page, 'Undo').click();
  await assertStored(page, ['Numbers', 'Cooking', 'Bills']);
});

pageTest('"Undo" takes nothing back but the removal', async (page) => {
  await begin(page);
  await choose(page, 'Cooking', 'Remove');
  await assertOrder(page, ['Numbers', 'Bills']);
  await button(page, 'Move down: Numbers').click();
  await assertOrder(page, ['Bills', 'Numbers']);
  await button(page, 'Undo').click();
  await assertStored(page, ['Cooking', 'Bills', 'Numbers']);
});

pageTest('a copy stands behind its rule', async (page) => {
  await begin(page);
  await choose(page, 'Numbers', 'Duplicate');
  await assertFocused(page, 'Edit: Copy of Numbers');
  await assertStored(page, ['Numbers', 'Copy of Numbers', 'Cooking', 'Bills']);
});

pageTest('a search shows what it finds, and moves nothing', async (page) => {
  await begin(page);
  await page.getByRole('searchbox').fill('RECIPE');
  await page.getByText('1 of 3 rules.').waitFor();
  await rule(page, 'Numbers').waitFor({ state: 'hidden' });
  await button(page, 'Edit: Cooking').focus();
  await page.keyboard.press('Alt+ArrowUp');
  await page.getByRole('searchbox').fill('');
  await rule(page, 'Numbers').waitFor();
  await assertStored(page, ['Numbers', 'Cooking', 'Bills']);
});

pageTest('what another tab changes is seen when the user comes back', async (page) => {
  await begin(page);
  await replaceRules(page, [ruleOf('Another', 'x', 'X')]);
  await page.evaluate(() => dispatchEvent(new Event('focus')));
  await assertOrder(page, ['Another']);
});

pageTest('a change on top of another one is asked about first', async (page) => {
  await begin(page);
  await replaceRules(page, [ruleOf('Another', 'x', 'X'), ruleOf('Bills', 'y', 'Y')]);
  await button(page, 'Move up: Bills').click();
  await page.getByRole('dialog').getByText('“Another” was added').waitFor();
  await assertAccessible(page);
});

pageTest(
  'a change that is refused for now leaves all as it is, and can be tried again',
  async (page) => {
    await begin(page);
    let isBusy = true;
    await page.route('**/api/v1/rules/*/move', (route) =>
      isBusy ? route.fulfill({ status: 429, headers: { 'Retry-After': '2' } }) : route.continue(),
    );
    await button(page, 'Move down: Numbers').click();
    await page.getByRole('alert').filter({ hasText: 'in 2 seconds' }).waitFor();
    await assertAccessible(page);
    await assertOrder(page, ['Numbers', 'Cooking', 'Bills']);
    isBusy = false;
    await button(page, 'Try again').click();
    await assertStored(page, ['Cooking', 'Numbers', 'Bills']);
  },
);
