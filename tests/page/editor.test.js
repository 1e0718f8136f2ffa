// Users make rules and change them, and nothing that they typed is lost.
import assert from 'node:assert/strict';
import { assertAccessible, assertShownWell, pageTest, signInByForm, users } from './browser.js';
import {
  action,
  assertTyped,
  comparator,
  condition,
  field,
  fillCondition,
  folder,
  moveToNewFolder,
  nameOfRule,
  newFolder,
  save,
  sentenceInList,
  storedFilters,
  storedNames,
  typeRule,
  value,
} from './editor_page.js';
import { assertFocused, beginWith, button, ruleOf } from './rules_page.js';

/** Waits until the field has the focus and says the mistake. */
async function assertMistake(locator, text) {
  await locator.and(locator.page().locator('[aria-invalid=true]:focus')).waitFor();
  const described = await locator.evaluate((element) =>
    element
      .getAttribute('aria-describedby')
      .split(' ')
      .map((id) => document.getElementById(id).textContent)
      .join(' '),
  );
  assert.match(described, text);
}

pageTest('a rule is made from nothing, and names itself', async (page) => {
  await beginWith(page, []);
  await button(page, 'New rule').click();
  await assertFocused(field(condition(page, 1)));
  await fillCondition(page, 1, ['Subject', 'contains', 'quarterly']);
  await folder(action(page, 1)).selectOption('Archive');
  assert.equal(await nameOfRule(page).inputValue(), 'Subject contains quarterly → Archive');
  await save(page);
  await sentenceInList(page, 'When the subject contains quarterly, move it to Archive.').waitFor();
  await page.getByRole('status').filter({ hasText: 'is saved.' }).waitFor();
  await assertFocused(button(page, 'Edit: Subject contains quarterly → Archive'));
});

pageTest('a rule may move to a folder that is not there yet', async (page) => {
  await beginWith(page, []);
  await typeRule(page, 'quarterly', 'Work/Reports');
  await page.getByText('The folder Work/Reports will be made').waitFor();
  await newFolder(action(page, 1)).fill('archive');
  await page.getByText('The folder Archive is there already.').waitFor();
  await newFolder(action(page, 1)).fill('Work/Reports');
  await save(page);
  await sentenceInList(
    page,
    'When the subject contains quarterly, move it to Work/Reports.',
  ).waitFor();
});

pageTest('a name that is typed stays, and an empty one makes itself again', async (page) => {
  await beginWith(page, []);
  await typeRule(page, 'quarterly', 'Reports');
  await nameOfRule(page).fill('Numbers');
  await value(condition(page, 1)).fill('monthly');
  assert.equal(await nameOfRule(page).inputValue(), 'Numbers');
  await nameOfRule(page).fill('');
  await value(condition(page, 1)).fill('yearly');
  assert.equal(await nameOfRule(page).inputValue(), 'Subject contains yearly → Reports');
});

const test = (type, header, comparison, text, more = {}) => ({
  type,
  field: header,
  comparator: comparison,
  value: text,
  negative: false,
  match_case: false,
  ...more,
});

const kinds = [
  {
    typed: ['Subject', 'contains', 'Quarterly'],
    matchCase: true,
    stored: test('string', 'subject', 'contains', 'Quarterly', { match_case: true }),
  },
  {
    typed: ['Subject', 'begins with', '[builders] '],
    stored: test('string', 'subject', 'begin_with', '[builders] '),
  },
  {
    typed: ['Subject', 'does not end with', 'Größe?'],
    stored: test('string', 'subject', 'end_with', 'Größe?', { negative: true }),
  },
  {
    typed: ['Sender', 'is', 'boss@example.org'],
    stored: test('address', 'from', 'is', 'boss@example.org'),
  },
  {
    typed: ['To or Cc', 'does not contain', '@example.net'],
    stored: test('address', 'to_cc', 'contains', '@example.net', { negative: true }),
  },
  {
    typed: ['Another header…', 'is not', 'YES'],
    header: 'X-Spam-Flag',
    stored: test('string', 'X-Spam-Flag', 'is', 'YES', { negative: true }),
  },
  {
    typed: ['Size', 'is larger than', '500'],
    stored: test('size', 'size', 'greater', '500'),
  },
  {
    typed: ['Size', 'is smaller than', '2048'],
    stored: test('size', 'size', 'less', '2048'),
  },
  {
    typed: ['Day of receipt', 'is before', '2026-05-01'],
    stored: test('date', 'zvx-received-date', 'before', '2026-05-01'),
  },
];

async function typeKind(page, number, { typed, header, matchCase }) {
  await fillCondition(page, number, typed);
  if (header) await condition(page, number).getByLabel('Name of the header').fill(header);
  if (!matchCase) return;
  await condition(page, number).getByText('Options').click();
  await condition(page, number).getByLabel('Match capital letters').check();
}

async function assertShown(page, number, { typed, header, matchCase = false }) {
  const part = condition(page, number);
  const chosen = (select) => select.evaluate((element) => element.selectedOptions[0].label);
  const shown = [
    await chosen(field(part)),
    await chosen(comparator(part)),
    await value(part).inputValue(),
  ];
  assert.deepEqual(shown, header ? [header, ...typed.slice(1)] : typed);
  assert.equal(await part.locator('[type=checkbox]').isChecked(), matchCase);
}

pageTest('each kind of condition is stored, and shown again, as it was typed', async (page) => {
  await beginWith(page, []);
  await button(page, 'New rule').click();
  for (const [at, kind] of kinds.entries()) {
    if (at > 0) await button(page, 'Add a condition').click();
    await typeKind(page, at + 1, kind);
  }
  await page.getByLabel('How many conditions must hold').selectOption('anyof');
  await moveToNewFolder(page, 'All kinds');
  await nameOfRule(page).fill('All');
  await save(page);
  await button(page, 'Edit: All').click();
  for (const [at, kind] of kinds.entries()) await assertShown(page, at + 1, kind);
  assert.equal(await page.getByLabel('How many conditions must hold').inputValue(), 'anyof');
  const [filter] = await storedFilters(page);
  assert.deepEqual(
    filter.tests.map((each) => test(each.type, each.field, each.comparator, each.value, each)),
    kinds.map(({ stored }) => stored),
  );
});

pageTest('conditions that the editor would not make stay as they are', async (page) => {
  const tests = [
    test('size', 'size', 'greater', '30', { negative: true }),
    test('date', 'zvx-received-date', 'after', '2026-05-01', { negative: true }),
    test('address', 'from', 'is', 'Bob@example.org', { match_case: true }),
  ];
  await beginWith(page, [ruleOf('Odd', 'x', 'Archive', { tests })]);
  await button(page, 'Edit: Odd').click();
  await nameOfRule(page).fill('Even');
  await save(page);
  await button(page, 'Edit: Even').waitFor();
  assert.deepEqual((await storedFilters(page))[0].tests, tests);
});

pageTest('mistakes are told at their fields, and mended there', async (page) => {
  await beginWith(page, []);
  await button(page, 'New rule').click();
  await save(page);
  await assertMistake(value(condition(page, 1)), /Type an address/);
  await page.getByText('Choose a folder.').waitFor();
  await assertShownWell(page);
  await value(condition(page, 1)).fill('bob');
  await comparator(condition(page, 1)).selectOption('is');
  await save(page);
  await assertMistake(value(condition(page, 1)), /Type a whole address/);
  await value(condition(page, 1)).fill('bob@example.org');
  await save(page);
  await assertMistake(folder(action(page, 1)), /Choose a folder/);
  await moveToNewFolder(page, 'Release 1.2');
  await save(page);
  await assertMistake(newFolder(action(page, 1)), /can't have a dot/);
  await newFolder(action(page, 1)).fill('Release 1-2');
  await save(page);
  await sentenceInList(
    page,
    'When the message is from bob@example.org, move it to Release 1-2.',
  ).waitFor();
});

pageTest('a new rule is put where the user wants it, and stays there', async (page) => {
  await beginWith(page, [ruleOf('One', 'one', 'One'), ruleOf('Two', 'two', 'Two')]);
  await typeRule(page, 'between', 'Between');
  await nameOfRule(page).fill('Between');
  await page.getByLabel('When it is tried').selectOption({ label: 'Before rule 2, “Two”' });
  await save(page);
  await button(page, 'Edit: Between').click();
  assert.deepEqual(await storedNames(page), ['One', 'Between', 'Two']);
  await nameOfRule(page).fill('Still between');
  await save(page);
  await button(page, 'Edit: Still between').waitFor();
  assert.deepEqual(await storedNames(page), ['One', 'Still between', 'Two']);
});

pageTest('what was typed is there after a reload, until it is dropped', async (page) => {
  await beginWith(page, [ruleOf('One', 'one', 'One')]);
  await typeRule(page, 'half', 'Typed');
  await page.getByLabel('When it is tried').selectOption({ label: 'First, before “One”' });
  await page.reload();
  await page.getByText('It is not saved yet.').waitFor();
  await assertTyped(page, 'half', 'Typed');
  assert.equal(
    await page.getByLabel('When it is tried').evaluate((select) => select.selectedOptions[0].label),
    'First, before “One”',
  );
  await button(page, 'Cancel').click();
  await button(page, 'Drop my changes').click();
  await page.reload();
  await button(page, 'Edit: One').click();
  await nameOfRule(page).fill('Half changed');
  await page.reload();
  await page.getByText('It is not saved yet.').waitFor();
  assert.equal(await nameOfRule(page).inputValue(), 'Half changed');
  assert.deepEqual(await storedNames(page), ['One']);
});

pageTest('a rule is saved after all when the session was ended elsewhere', async (page, open) => {
  await beginWith(page, []);
  await typeRule(page, 'patient', 'Archive');
  const other = await open();
  await signInByForm(other, users.alice);
  await other.getByRole('link', { name: 'Advanced' }).click();
  await button(other, 'Sign out everywhere').click();
  await button(other, 'Sign in').waitFor();
  await save(page);
  const dialog = page.getByRole('dialog', { name: 'Your session has ended' });
  await dialog.getByLabel('Password', { exact: true }).fill(users.alice.password);
  await page.keyboard.press('Enter');
  await sentenceInList(page, 'When the subject contains patient, move it to Archive.').waitFor();
});

/** Saves in vain, keeps what was typed, and saves once `mend` has mended it. */
async function assertSavedInTheEnd(page, complaint, mend) {
  await save(page);
  await page.getByRole('alert').filter({ hasText: complaint }).waitFor();
  await assertTyped(page, 'patient', 'Archived');
  await assertAccessible(page);
  await mend();
  await save(page);
  await sentenceInList(page, 'When the subject contains patient, move it to Archived.').waitFor();
}

pageTest(
  'a rule is saved once the connection is there again',
  async (page) => {
    await beginWith(page, []);
    await typeRule(page, 'patient', 'Archived');
    await page.context().setOffline(true);
    await assertSavedInTheEnd(page, /check your connection/, () =>
      page.context().setOffline(false),
    );
  },
  { mayServerFail: true },
);

pageTest(
  'a rule is saved once a server that can not save it can',
  async (page) => {
    await beginWith(page, []);
    await typeRule(page, 'patient', 'Archived');
    await page.route('**/api/v1/rules', (route) => route.fulfill({ status: 507 }));
    await assertSavedInTheEnd(page, /disk is full/, () => page.unroute('**/api/v1/rules'));
  },
  { mayServerFail: true },
);

pageTest(
  'a rule whose answer is lost is saved once',
  async (page) => {
    await beginWith(page, []);
    await typeRule(page, 'once', 'Archive');
    await page.route(
      '**/api/v1/rules',
      async (route) => {
        await route.fetch();
        await route.abort();
      },
      { times: 1 },
    );
    await save(page);
    await sentenceInList(page, 'When the subject contains once, move it to Archive.').waitFor();
    assert.equal((await storedFilters(page)).length, 1);
  },
  { mayServerFail: true },
);

pageTest(
  'a rule that was saved without an answer is not saved once more',
  async (page) => {
    await beginWith(page, []);
    await typeRule(page, 'once', 'Archived');
    const loseAnswer = async (route) => {
      await route.fetch();
      await route.fulfill({ status: 502 });
    };
    await page.route('**/api/v1/rules', (route) =>
      route.request().method() === 'POST' ? loseAnswer(route) : route.continue(),
    );
    await save(page);
    await page.getByRole('alert').filter({ hasText: 'could not be reached' }).waitFor();
    await page.unroute('**/api/v1/rules');
    await page.reload();
    await assertTyped(page, 'once', 'Archived');
    await button(page, 'Edit: Subject contains once → Archived').waitFor();
    await save(page);
    await assertFocused(button(page, 'Edit: Subject contains once → Archived'));
    assert.equal((await storedFilters(page)).length, 1);
  },
  { mayServerFail: true },
);
