// Answers that come late, between two clicks or in the middle of one: no click is lost, the focus
// stays with the user, and nothing shows what was asked before.
import assert from 'node:assert/strict';
import { pageTest, signIn, users } from './browser.js';
import {
  action,
  comeBack,
  fillCondition,
  folder,
  nameOfRule,
  save,
  sentenceInList,
  storedNames,
} from './editor_page.js';
import { holdAnswers } from './held_answers.js';
import { messagesIn, messageWith, putMessages } from './mailboxes.js';
import {
  assertFocused,
  beginWith,
  button,
  onOff,
  replaceRules,
  rule,
  ruleOf,
} from './rules_page.js';

const { alice } = users;
const twoRules = [ruleOf('Numbers', 'quarterly', 'Reports'), ruleOf('Cooking', 'recipe', 'Lists')];
const search = (page) => page.getByRole('searchbox');

/** Presses the mouse on an element, and lets it go once `meanwhile` is done. */
async function press(page, element, meanwhile) {
  await element.hover();
  await page.mouse.down();
  await meanwhile();
  await page.mouse.up();
}

async function open(page, view) {
  await page.getByRole('link', { name: view, exact: true }).click();
  await page.getByRole('heading', { name: view, exact: true }).waitFor();
}

/** Types a rule that is complete. */
async function typeRule(page, text) {
  await button(page, 'New rule').click();
  await fillCondition(page, 1, ['Subject', 'contains', text]);
  await folder(action(page, 1)).selectOption('Archive');
}

pageTest('a rule is saved though the preview comes in the middle of the click', async (page) => {
  await beginWith(page, []);
  const preview = await holdAnswers(page, '**/api/v1/preview');
  await typeRule(page, 'report');
  await preview.asked();
  await press(page, button(page, 'Save the rule'), preview.letGo);
  await sentenceInList(page, 'When the subject contains report, move it to Archive.').waitFor();
});

pageTest(
  'earlier rules are restored though sentences come in the middle of clicks',
  async (page) => {
    const long = 'a word of which the server says nothing '.repeat(6);
    await beginWith(page, twoRules);
    await replaceRules(page, [ruleOf('Long', `${long}one`, 'Reports')]);
    await replaceRules(page, [ruleOf('Long', `${long}two`, 'Reports')]);
    const states = await holdAnswers(page, /\/history\/\w+$/, (at) => at > 0);
    await comeBack(page);
    await open(page, 'History');
    await button(page, 'Show the rules of then').nth(1).click();
    await states.asked();
    await press(page, button(page, 'Restore…'), states.letGo);
    await button(page, 'Cancel').waitFor();
  },
);

pageTest(
  'a question stays open while the rules change, and says what is true then',
  async (page) => {
    await beginWith(page, twoRules);
    await replaceRules(page, [ruleOf('Numbers', 'quarterly', 'Reports')]);
    await page.reload();
    await open(page, 'History');
    await button(page, 'Show the rules of then').nth(1).click();
    await button(page, 'Restore…').click();
    const question = page.getByRole('group', { name: 'Put these rules in place' });
    await question.getByText(/Cooking.*added/).waitFor();
    await assertFocused(button(page, 'Restore these rules'));
    await replaceRules(page, [ruleOf('Third', 'third', 'Reports')]);
    const states = page.waitForResponse('**/api/v1/history');
    await comeBack(page);
    await states;
    await question.getByText(/Third.*removed/).waitFor();
    await assertFocused(button(page, 'Restore these rules'));
    await button(page, 'Restore these rules').click();
    await page.getByRole('status').filter({ hasText: 'in use again' }).waitFor();
    assert.deepEqual(await storedNames(page), ['Numbers', 'Cooking']);
  },
);

pageTest('the history of earlier rules is not shown when it comes last', async (page) => {
  await beginWith(page, twoRules);
  const history = await holdAnswers(page, '**/api/v1/history', (at) => at === 0);
  await open(page, 'History');
  await history.asked();
  await replaceRules(page, [ruleOf('Latest', 'latest', 'Reports')]);
  await comeBack(page);
  await page.getByText('“Latest” was added').waitFor();
  await history.letGo();
  assert.equal(await page.getByText('“Latest” was added').count(), 1);
});

pageTest('what is typed while a rule is saved is not lost', async (page) => {
  await beginWith(page, []);
  const saving = await holdAnswers(page, '**/api/v1/rules', (at) => at === 0);
  await typeRule(page, 'report');
  await nameOfRule(page).fill('First');
  await save(page);
  await saving.asked();
  await nameOfRule(page).fill('Second');
  await saving.letGo();
  await rule(page, 'First').waitFor();
  assert.equal(await nameOfRule(page).inputValue(), 'Second');
  await assertFocused(nameOfRule(page));
  await save(page);
  await button(page, 'Edit: Second').waitFor();
  assert.deepEqual(await storedNames(page), ['Second']);
});

pageTest('a save while another one is under way is done after it', async (page) => {
  await beginWith(page, twoRules);
  await button(page, 'Edit: Numbers').click();
  const saving = await holdAnswers(page, '**/api/v1/rules/*', (at) => at === 0);
  await nameOfRule(page).fill('First');
  await save(page);
  await saving.asked();
  await nameOfRule(page).fill('Second');
  await page.keyboard.press('Enter');
  await saving.letGo();
  await button(page, 'Edit: Second').waitFor();
  assert.deepEqual(await storedNames(page), ['Second', 'Cooking']);
});

pageTest('a rule is saved behind a switch that was not answered yet', async (page) => {
  await beginWith(page, twoRules);
  await button(page, 'Edit: Numbers').click();
  await nameOfRule(page).fill('Figures');
  const switching = await holdAnswers(page, '**/api/v1/rules/*', (at) => at === 0);
  await onOff(page, 'Cooking').click();
  await switching.asked();
  await save(page);
  await switching.letGo();
  await button(page, 'Edit: Figures').waitFor();
  assert.equal(await onOff(page, 'Cooking').isChecked(), false);
});

pageTest(
  'the focus stays where the user took it while a rule was saved or removed',
  async (page) => {
    await beginWith(page, twoRules);
    await button(page, 'Edit: Numbers').click();
    await nameOfRule(page).fill('Figures');
    const saving = await holdAnswers(page, '**/api/v1/rules/*');
    await save(page);
    await saving.asked();
    await search(page).fill('f');
    await saving.letGo();
    await rule(page, 'Figures').waitFor();
    await assertFocused(search(page));
    assert.equal(await search(page).inputValue(), 'f');
    await search(page).fill('');
    const removing = await holdAnswers(page, '**/api/v1/rules/*');
    await rule(page, 'Cooking').locator('summary').click();
    await button(page, 'Remove: Cooking').click();
    await removing.asked();
    await search(page).click();
    await removing.letGo();
    await rule(page, 'Cooking').waitFor({ state: 'detached' });
    await assertFocused(search(page));
  },
);

pageTest('a rule that was begun is gone on with though figures come meanwhile', async (page) => {
  await beginWith(page, twoRules);
  await typeRule(page, 'half');
  const figures = await holdAnswers(page, '**/api/v1/statistics*');
  await page.goto('/#rules');
  await page.reload();
  await figures.asked();
  const goOn = button(page, 'Go on with it');
  await goOn.focus();
  await figures.letGo();
  await assertFocused(goOn);
});

pageTest('more messages come once, and none of another folder', async (page) => {
  const many = Array.from({ length: 120 }, (_, at) => messageWith(`Subject: Number ${at + 1}`));
  putMessages(alice, 'Many', many);
  await signIn(page, alice);
  await open(page, 'Messages');
  const rows = page.locator('ol.messages-list > li');
  const folders = page.getByLabel('Folder', { exact: true });
  await folders.selectOption('Many');
  const more = button(page, 'Show more messages');
  await more.waitFor();
  const pieces = await holdAnswers(page, '**/api/v1/messages?*');
  await more.dblclick();
  await pieces.asked();
  await pieces.letGo();
  await rows.nth(50).waitFor();
  assert.equal(await rows.count(), 100);
  const last = await holdAnswers(page, '**/api/v1/messages?*', (at) => at === 0);
  await more.click();
  await last.asked();
  await folders.selectOption('Inbox');
  await page.getByText('42 messages', { exact: true }).waitFor();
  await last.letGo();
  assert.equal(await rows.count(), 42);
  assert.equal(await page.getByRole('alert').filter({ hasText: /\w/ }).count(), 0);
});

const panel = (page) => page.getByRole('region', { name: 'Apply rules to mail that is there' });

async function openPanel(page) {
  await open(page, 'Messages');
  await button(page, 'Apply rules to mail that is there').click();
  await panel(page).waitFor();
}

pageTest('a plan is made once, and is of no use once its folder is not chosen', async (page) => {
  putMessages(alice, 'Planned', [messageWith('Subject: quarterly')]);
  await beginWith(page, twoRules);
  const first = await holdAnswers(page, '**/api/v1/application', (at) => at === 0);
  await openPanel(page);
  await first.asked();
  const folders = panel(page).getByLabel('Mail in the folder');
  await folders.selectOption('Planned');
  await button(panel(page), 'Show what would happen').dblclick();
  await panel(page)
    .getByText('Planning')
    .or(panel(page).getByText('Nothing is moved yet.'))
    .waitFor();
  await first.letGo();
  await button(panel(page), 'File them now').waitFor();
  assert.equal(await panel(page).getByText('are being applied already').count(), 0);
  const plan = await holdAnswers(page, '**/api/v1/application/plan');
  await button(panel(page), 'Show what would happen').click();
  await plan.asked();
  await folders.selectOption('Inbox');
  await plan.letGo();
  await panel(page).getByRole('progressbar').waitFor({ state: 'hidden' });
  assert.equal(await button(panel(page), 'File them now').isVisible(), false);
  assert.equal(messagesIn(alice, 'Planned').length, 1);
});

const scriptOf = (subject) =>
  `require ["fileinto"];\nif header :contains "subject" "${subject}" {\n  fileinto "Taken";\n}\n`;

async function chooseFile(page, text) {
  const file = { name: 'rules.sieve', mimeType: 'text/plain', buffer: Buffer.from(text) };
  await page.getByLabel('File').setInputFiles(file);
}

pageTest('what a file would do is not shown once another one is chosen', async (page) => {
  await beginWith(page, []);
  await open(page, 'Advanced');
  await chooseFile(page, scriptOf('first'));
  const report = await holdAnswers(page, '**/api/v1/import?*', (at) => at === 0);
  const look = button(page, 'Show what would be done');
  await look.click();
  await report.asked();
  await chooseFile(page, scriptOf('second'));
  await look.click();
  await page.getByRole('heading', { name: 'What would be done' }).waitFor();
  await report.letGo();
  await button(page, 'Take these rules over').dblclick();
  await page.getByRole('status').filter({ hasText: 'were taken over' }).waitFor();
  assert.equal(await page.getByRole('dialog').count(), 0);
  await open(page, 'Rules');
  await sentenceInList(page, 'When the subject contains second, move it to Taken.').waitFor();
});

pageTest('a text of rules that comes last is not that of earlier rules', async (page) => {
  await beginWith(page, twoRules);
  await open(page, 'Advanced');
  const text = await holdAnswers(page, '**/api/v1/export?*', (at) => at === 0);
  await page.getByText('The script (Sieve)').click();
  await text.asked();
  await replaceRules(page, [ruleOf('Latest', 'latest', 'Reports')]);
  await comeBack(page);
  await page.getByRole('region').getByText('"latest"').waitFor();
  await text.letGo();
  await page.getByRole('region').getByText('"latest"').waitFor();
});

pageTest('a password is sent once, however often it is confirmed', async (page) => {
  await page.goto('/');
  await page.getByLabel('Mail address').fill(alice.user);
  await page.getByLabel('Password', { exact: true }).fill(alice.password);
  const answers = await holdAnswers(page, '**/api/v1/session');
  await page.keyboard.press('Enter');
  await answers.asked();
  await page.keyboard.press('Enter');
  await answers.letGo();
  await page.getByRole('heading', { name: 'Rules', exact: true }).waitFor();
  assert.equal(answers.count('POST'), 1);
});
