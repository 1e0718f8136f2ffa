// Users go back to earlier rules, and take rules over from files.
import assert from 'node:assert/strict';
import {
  assertAccessible,
  assertShownWell,
  beginSession,
  pageTest,
  signIn,
  users,
} from './browser.js';
import { beginWith, button, replaceRules, ruleOf } from './rules_page.js';

const script = (subject, folder) =>
  `require ["fileinto"];\nif header :contains "subject" "${subject}" {\n  fileinto "${folder}";\n}\n`;

async function open(page, view) {
  await page.getByRole('link', { name: view, exact: true }).click();
  await page.getByRole('heading', { name: view, exact: true }).waitFor();
}

async function lookAt(page, text, mode) {
  await open(page, 'Advanced');
  const file = { name: 'rules.sieve', mimeType: 'text/plain', buffer: Buffer.from(text) };
  await page.getByLabel('File').setInputFiles(file);
  await page.getByLabel(mode).check();
  await button(page, 'Show what would be done').click();
  await page.getByRole('heading', { name: 'What would be done' }).waitFor();
}

async function takeOver(page, text) {
  await lookAt(page, text, 'are replaced by the new ones');
  await button(page, 'Take these rules over').click();
  await page.getByRole('status').filter({ hasText: 'were taken over' }).waitFor();
}

/** Alice had one rule, and has another one now. */
async function beginAfter(page, earlier, present) {
  await beginSession(page, users.alice);
  await replaceRules(page, [earlier]);
  await beginWith(page, [present]);
}

/** Waits until the list of rules is this one rule. */
async function assertOnlyRule(page, text) {
  await open(page, 'Rules');
  await page.getByRole('list', { name: 'Rules' }).getByText(text).waitFor();
  assert.equal(await page.getByRole('switch').count(), 1);
}

pageTest('history and files can be used by everyone', async (page) => {
  await signIn(page, users.alice);
  await takeOver(page, script('one', 'One'));
  await assertShownWell(page);
  await page.getByText('The script (Sieve)').click();
  await page.getByText('fileinto "One"').waitFor();
  await assertShownWell(page);
  await open(page, 'History');
  await button(page, 'Show the rules of then').first().click();
  await page.getByRole('heading', { name: 'The rules of then' }).waitFor();
  await assertShownWell(page);
});

pageTest('changes are told in the words of the page', async (page) => {
  await signIn(page, users.alice);
  await takeOver(page, script('told', 'Told'));
  await open(page, 'History');
  await page.getByText('now looks whether the subject contains “told”').waitFor();
  await page.getByRole('combobox', { name: 'Language' }).selectOption('Deutsch');
  await page.getByText('prüft jetzt, ob der Betreff „told“ enthält').waitFor();
});

pageTest('rules of a file are shown before they are taken over', async (page) => {
  await signIn(page, users.alice);
  await takeOver(page, script('old', 'Old'));
  await lookAt(page, script('new', 'New'), 'are replaced by the new ones');
  await page.getByRole('heading', { name: '1 rule is removed' }).waitFor();
  await page.getByRole('heading', { name: '1 rule is added' }).waitFor();
  await assertAccessible(page);
  await assertOnlyRule(page, 'move it to Old');
});

pageTest('a change is undone, and made again', async (page) => {
  await beginAfter(page, ruleOf('One', 'one', 'First'), ruleOf('One', 'one', 'Second'));
  await open(page, 'History');
  await button(page, 'Undo the last change').click();
  await page.getByRole('status').filter({ hasText: 'was undone' }).waitFor();
  await assertOnlyRule(page, 'move it to First');
  await open(page, 'History');
  await button(page, 'Redo').click();
  await page.getByRole('status').filter({ hasText: 'made again' }).waitFor();
  await assertOnlyRule(page, 'move it to Second');
});

pageTest('earlier rules are restored in two steps', async (page) => {
  await beginAfter(page, ruleOf('One', 'one', 'Before'), ruleOf('One', 'one', 'After'));
  await open(page, 'History');
  await button(page, 'Show the rules of then').nth(1).click();
  await button(page, 'Restore…').click();
  await assertAccessible(page);
  await button(page, 'Cancel').click();
  await assertOnlyRule(page, 'move it to After');
  await open(page, 'History');
  await button(page, 'Show the rules of then').nth(1).click();
  await button(page, 'Restore…').click();
  await button(page, 'Restore these rules').click();
  await page.getByRole('status').filter({ hasText: 'in use again' }).waitFor();
  await assertOnlyRule(page, 'move it to Before');
});

pageTest('an export is a file that can be imported', async (page) => {
  await signIn(page, users.alice);
  await takeOver(page, script('kept', 'Kept'));
  const [download] = await Promise.all([
    page.waitForEvent('download'),
    button(page, 'Download JSON').click(),
  ]);
  assert.equal(download.suggestedFilename(), 'filters.json');
  await page.getByLabel('File').setInputFiles(await download.path());
  await page.getByLabel('are replaced by the new ones').check();
  await button(page, 'Show what would be done').click();
  await page.getByRole('heading', { name: '1 rule stays as it is' }).waitFor();
});

pageTest('a file without a known format asks for it', async (page) => {
  await signIn(page, users.alice);
  await open(page, 'Advanced');
  const file = { name: 'notes', mimeType: 'text/plain', buffer: Buffer.from('To do\n') };
  await page.getByLabel('File').setInputFiles(file);
  await button(page, 'Show what would be done').click();
  await page.getByRole('alert').filter({ hasText: 'Choose the format below.' }).waitFor();
  const focused = await page.evaluate(() => document.activeElement.tagName);
  assert.equal(focused, 'SELECT');
});
