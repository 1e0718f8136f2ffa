// A user does all there is to do with a rule without a mouse, and always sees where they are.
import assert from 'node:assert/strict';
import { pageTest, quarrow, users } from './browser.js';
import { condition, field, storedNames } from './editor_page.js';
import { assertFocused, button, onOff, rule } from './rules_page.js';

const mostSteps = 80; // of the Tab key, from one end of the page to the other

/** What has the focus: whether it is seen, and whether something shows that it has the focus. */
const focusIn = (page) =>
  page.evaluate(() => {
    const element = document.activeElement;
    // a switch is drawn by what stands beside its input
    const isSwitch = element.getAttribute('role') === 'switch';
    const drawn = isSwitch ? element.nextElementSibling : element;
    const { outlineStyle, outlineWidth, boxShadow } = getComputedStyle(drawn);
    const isOutlined = (outlineStyle !== 'none' && outlineWidth !== '0px') || boxShadow !== 'none';
    const { width, height } = element.getBoundingClientRect();
    return {
      what: element.outerHTML.slice(0, 120),
      isSomewhere: element !== document.body && element.checkVisibility() && width * height > 0,
      isOutlined,
    };
  });

async function assertFocusIsSeen(page) {
  const { what, isSomewhere, isOutlined } = await focusIn(page);
  assert.ok(isSomewhere, `the focus is lost: ${what}`);
  assert.ok(isOutlined, `nothing shows the focus: ${what}`);
}

/** Goes on to an element with a key, seeing each step. */
async function goTo(page, locator, key = 'Tab') {
  for (let steps = 0; steps < mostSteps; steps += 1) {
    await page.keyboard.press(key);
    await assertFocusIsSeen(page);
    if (await locator.evaluate((element) => element === document.activeElement)) return;
  }
  assert.fail(`${mostSteps} times ${key} do not lead to ${locator}`);
}

/** Goes to an element, and presses a key there. */
async function use(page, locator, key = 'Enter') {
  await goTo(page, locator);
  await page.keyboard.press(key);
}

/** Waits until an element has the focus, and looks whether that is seen. */
async function comesTo(page, locator) {
  await assertFocused(locator);
  await assertFocusIsSeen(page);
}

async function makeRule(page, text) {
  await page.keyboard.press('Enter');
  await comesTo(page, field(condition(page, 1)));
  await page.keyboard.type('Subject');
  await goTo(page, page.getByLabel('What it is compared with'));
  await page.keyboard.type(text);
  await goTo(page, page.getByLabel('Folder', { exact: true }));
  await page.keyboard.type('Archive');
  await use(page, button(page, 'Save the rule'));
  await comesTo(page, button(page, `Edit: Subject contains ${text} → Archive`));
}

const first = 'Subject contains first → Archive';
const second = 'Subject contains second → Archive';

async function signInByKeys(page) {
  await page.goto('/');
  await comesTo(page, page.getByLabel('Mail address'));
  await page.keyboard.type(users.alice.user);
  await goTo(page, page.getByLabel('Password', { exact: true }));
  await page.keyboard.type(users.alice.password);
  await page.keyboard.press('Enter');
  await page.getByRole('heading', { name: 'Rules', exact: true }).waitFor();
}

pageTest('the whole life of rules goes by keys alone', async (page) => {
  await signInByKeys(page);
  await goTo(page, button(page, 'New rule'));
  await makeRule(page, 'second');
  await goTo(page, button(page, 'New rule'), 'Shift+Tab');
  await makeRule(page, 'first');

  await page.keyboard.press('Alt+ArrowUp');
  await page.getByRole('status').filter({ hasText: 'is now 1 of 2' }).waitFor();
  await comesTo(page, button(page, `Edit: ${first}`));
  assert.deepEqual(await storedNames(page), [first, second]);
  await use(page, button(page, `Move down: ${first}`), 'Space');
  await page.getByRole('status').filter({ hasText: 'is now 2 of 2' }).waitFor();
  await comesTo(page, button(page, `Move down: ${first}`));

  await goTo(page, onOff(page, first), 'Shift+Tab');
  await page.keyboard.press('Space');
  await page.getByRole('status').filter({ hasText: 'is off.' }).waitFor();
  await comesTo(page, onOff(page, first));

  await use(page, button(page, `Edit: ${first}`));
  await assertFocused(page.getByRole('heading', { name: `Change “${first}”` }));
  await goTo(page, page.getByLabel('Name of the rule'));
  await page.keyboard.press('Control+A');
  await page.keyboard.type('Changed');
  await page.keyboard.press('Enter');
  await comesTo(page, button(page, 'Edit: Changed'));

  await use(page, rule(page, 'Changed').locator('summary'));
  await use(page, button(page, 'Move to position…: Changed'));
  await comesTo(page, page.getByLabel('Position (1 to 2)'));
  await page.keyboard.type('1');
  await page.keyboard.press('Enter');
  await page.getByRole('status').filter({ hasText: 'is now 1 of 2' }).waitFor();
  await comesTo(page, rule(page, 'Changed').locator('summary'));

  await page.keyboard.press('Enter');
  await use(page, button(page, 'Remove: Changed'));
  await comesTo(page, button(page, `Edit: ${second}`));
  await use(page, button(page, 'Undo'));
  await comesTo(page, button(page, 'Edit: Changed'));
  assert.deepEqual(await storedNames(page), ['Changed', second]);

  await goTo(page, button(page, 'Sign out'), 'Shift+Tab');
  await page.keyboard.press('Enter');
  await button(page, 'Sign in').waitFor();
  await comesTo(page, page.getByLabel('Mail address'));
});

pageTest('questions and rows of the editor keep the focus', async (page) => {
  await signInByKeys(page);
  await use(page, button(page, 'New rule'));
  await use(page, button(page, 'Add a condition'));
  await comesTo(page, field(condition(page, 2)));
  await use(page, condition(page, 2).getByRole('button', { name: 'Remove this condition' }));
  await comesTo(page, field(condition(page, 1)));
  await goTo(page, page.getByLabel('What it is compared with'));
  await page.keyboard.type('two words');
  await page.keyboard.press('Enter');
  await comesTo(page, page.getByLabel('What it is compared with'));
  await use(page, button(page, 'Cancel'));
  await comesTo(page, button(page, 'Drop my changes'));
  await use(page, button(page, 'Go on editing'));
  await comesTo(page, button(page, 'Cancel'));
  await page.keyboard.press('Enter');
  await page.keyboard.press('Enter');
  await comesTo(page, button(page, 'New rule'));
});

pageTest('a conflict is settled by keys', async (page) => {
  const alice = users.alice.user;
  quarrow(
    'filter',
    'add',
    alice,
    '--name',
    'Now',
    '--if',
    'size over 9 KB',
    '--then',
    'move Archive',
  );
  await signInByKeys(page);
  await use(page, button(page, 'Edit: Now'));
  quarrow('filter', 'rename', alice, 'Now', 'Elsewhere');
  await goTo(page, page.getByLabel('Name of the rule'));
  await page.keyboard.press('Control+A');
  await page.keyboard.type('Here');
  await page.keyboard.press('Enter');
  await assertFocused(page.getByRole('heading', { name: 'The rules were changed meanwhile' }));
  await use(page, button(page, 'Save mine'));
  await comesTo(page, button(page, 'Edit: Here'));
});
