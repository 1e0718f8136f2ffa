// What tests of the editor share: its fields, and how users fill them in.
import assert from 'node:assert/strict';
import { button, rulesOf } from './rules_page.js';

export const condition = (page, number) => page.getByRole('group', { name: `Condition ${number}` });
export const action = (page, number) => page.getByRole('group', { name: `Action ${number}` });
export const field = (part) => part.getByLabel('What is looked at');
export const comparator = (part) => part.getByLabel('How it is compared');
export const value = (part) => part.getByLabel('What it is compared with');
export const folder = (part) => part.getByLabel('Folder', { exact: true });
export const newFolder = (part) => part.getByLabel('Name of the new folder');
export const nameOfRule = (page) => page.getByLabel('Name of the rule');
export const save = (page) => button(page, 'Save the rule').click();

/** Fills a condition in: a field, a comparison and a value as the editor calls them. */
export async function fillCondition(page, number, [fieldWords, comparison, text]) {
  const part = condition(page, number);
  await field(part).selectOption({ label: fieldWords });
  await comparator(part).selectOption({ label: comparison });
  await value(part).fill(text);
}

/** Moves what the rule catches into a folder that is not there yet. */
export async function moveToNewFolder(page, name) {
  await folder(action(page, 1)).selectOption({ label: 'New folder…' });
  await newFolder(action(page, 1)).fill(name);
}

/** Opens a new rule, and fills it in: words in the subject, and a folder that is not there yet. */
export async function typeRule(page, text, target) {
  await button(page, 'New rule').click();
  await fillCondition(page, 1, ['Subject', 'contains', text]);
  await moveToNewFolder(page, target);
}

/** Fails unless the fields have what `typeRule` typed. */
export async function assertTyped(page, text, target) {
  assert.equal(await value(condition(page, 1)).inputValue(), text);
  assert.equal(await newFolder(action(page, 1)).inputValue(), target);
}

export const sentenceInList = (page, text) => rulesOf(page).getByText(text, { exact: true });

/** The stored filters, as the server gives them. */
export const storedFilters = (page) =>
  page.evaluate(async () => (await (await fetch('/api/v1/rules')).json()).filters);

export const storedNames = async (page) => (await storedFilters(page)).map(({ name }) => name);

/** The window is looked at again, as when the user comes back from another one. */
export const comeBack = (page) => page.evaluate(() => dispatchEvent(new Event('focus')));
