// Several browsers, and the command, change the rules of one user at the same time: none is lost.
import assert from 'node:assert/strict';
import { assertShownWell, pageTest, quarrow, signInByForm, users } from './browser.js';
import {
  assertTyped,
  comeBack,
  nameOfRule,
  save,
  sentenceInList,
  storedNames,
  typeRule,
} from './editor_page.js';
import { killServer, startServer } from './processes.js';
import { assertFocused, beginWith, button, rule, ruleOf } from './rules_page.js';

const alice = users.alice.user;
const saves = Number(process.env.PAGE_SAVES ?? 100);
const twoRules = [ruleOf('Numbers', 'quarterly', 'Reports'), ruleOf('Cooking', 'recipe', 'Lists')];
const dialog = (page) => page.getByRole('dialog', { name: 'The rules were changed meanwhile' });

/** Begins to rename the rule "Numbers". */
async function renameNumbers(page) {
  await beginWith(page, twoRules);
  await button(page, 'Edit: Numbers').click();
  await nameOfRule(page).fill('Figures');
}

/** The same, and the command gives that rule another value before it is saved. */
async function meetAnotherValue(page) {
  await renameNumbers(page);
  quarrow('filter', 'edit', alice, 'Numbers', '--if', 'subject contains monthly');
  await save(page);
  await dialog(page).waitFor();
}

async function answer(page, words) {
  await dialog(page).getByRole('button', { name: words, exact: true }).click();
  await dialog(page).waitFor({ state: 'detached' });
}

async function assertRules(page, sentences) {
  for (const [at, [name, subject]] of sentences.entries()) {
    const item = page.locator(`.rules-list > li:nth-child(${at + 1})`);
    await item.getByRole('heading', { name, exact: true }).waitFor();
    await item.getByText(`When the subject contains ${subject},`).waitFor();
  }
  assert.deepEqual(
    await storedNames(page),
    sentences.map(([name]) => name),
  );
}

/**
 * In the page: makes rules of these names one after the other, as fast as the page goes. Gives how
 * often the rules were changed by somebody else meanwhile.
 */
async function makeRules(names) {
  const appears = (find) =>
    new Promise((resolve) => {
      const look = () => {
        const found = find();
        if (!found) return;
        watch.disconnect();
        resolve(found);
      };
      const watch = new MutationObserver(look);
      watch.observe(document, { subtree: true, childList: true, attributes: true });
      look();
    });
  const button = (words) =>
    [...document.querySelectorAll('button')].find(
      (each) => each.textContent === words && each.checkVisibility(),
    );
  const type = (label, text) => {
    const { htmlFor } = [...document.querySelectorAll('form.editor label')].find(
      (each) => each.textContent === label && each.checkVisibility(),
    );
    const input = document.getElementById(htmlFor);
    input.value = text;
    for (const event of ['input', 'change']) input.dispatchEvent(new Event(event));
  };
  let conflicts = 0;
  for (const name of names) {
    (await appears(() => button('New rule'))).click();
    await appears(() => button('Save the rule'));
    type('What it is compared with', `${name}@example.org`);
    type('Folder', 'Archive');
    type('Name of the rule', name);
    button('Save the rule').click();
    const isClosed = () => !document.querySelector('form.editor');
    while (!((await appears(() => (isClosed() ? 'closed' : button('Save mine')))) === 'closed')) {
      conflicts += 1;
      button('Save mine').click();
      await appears(() => !button('Save mine'));
    }
  }
  return conflicts;
}

pageTest(`${saves} saves of two browsers at once are all kept`, async (page, open) => {
  await beginWith(page, []);
  const other = await open();
  await signInByForm(other, users.alice);
  const names = (who) => Array.from({ length: saves / 2 }, (_, at) => `${who}${at}`);
  const conflicts = await Promise.all([
    page.evaluate(makeRules, names('one')),
    other.evaluate(makeRules, names('other')),
  ]);
  assert.ok(conflicts[0] + conflicts[1] > 0, 'the browsers met');
  const stored = await storedNames(page);
  assert.deepEqual(stored.sort(), [...names('one'), ...names('other')].sort());
});

pageTest('a rule is saved beside another one that was changed', async (page) => {
  await renameNumbers(page);
  quarrow('filter', 'rename', alice, 'Cooking', 'Baking');
  await save(page);
  await dialog(page).getByText('“Cooking” is named “Baking” now.').waitFor();
  await dialog(page).getByText('Your rule “Figures” is not part of this.').waitFor();
  await answer(page, 'Save mine');
  await assertRules(page, [
    ['Figures', 'quarterly'],
    ['Baking', 'recipe'],
  ]);
  await assertFocused(button(page, 'Edit: Figures'));
});

pageTest('both forms of a rule that was changed twice are shown', async (page) => {
  await meetAnotherValue(page);
  const dialogs = dialog(page);
  await dialogs.getByText('When the subject contains quarterly, move it to Reports.').waitFor();
  await dialogs.getByText('When the subject contains monthly, move it to Reports.').waitFor();
  await assertShownWell(page);
  await page.keyboard.press('Escape');
  await dialogs.waitFor({ state: 'detached' });
  assert.equal(await nameOfRule(page).inputValue(), 'Figures');
});

const answers = {
  'Save mine': [
    ['Figures', 'quarterly'],
    ['Cooking', 'recipe'],
  ],
  'Keep it as it is now': [
    ['Numbers', 'monthly'],
    ['Cooking', 'recipe'],
  ],
  'Keep both: add mine as a new rule': [
    ['Numbers', 'monthly'],
    ['Figures', 'quarterly'],
    ['Cooking', 'recipe'],
  ],
};

for (const [words, rules] of Object.entries(answers))
  pageTest(`a rule was changed here and elsewhere: ${words}`, async (page) => {
    await meetAnotherValue(page);
    await answer(page, words);
    await assertRules(page, rules);
  });

pageTest(
  'a rule that was changed elsewhere is asked about even when that is seen',
  async (page) => {
    await renameNumbers(page);
    quarrow('filter', 'edit', alice, 'Numbers', '--if', 'subject contains monthly');
    quarrow('filter', 'rename', alice, 'Cooking', 'Baking');
    await comeBack(page);
    await rule(page, 'Baking').waitFor();
    await save(page);
    await dialog(page).getByText('When the subject contains monthly').waitFor();
    await answer(page, 'Keep both: add mine as a new rule');
    await assertRules(page, [
      ['Numbers', 'monthly'],
      ['Figures', 'quarterly'],
      ['Baking', 'recipe'],
    ]);
  },
);

for (const [words, rules] of Object.entries({
  'Save mine as a new rule': [
    ['Cooking', 'recipe'],
    ['Figures', 'quarterly'],
  ],
  'Leave it removed': [['Cooking', 'recipe']],
}))
  pageTest(`a rule that is edited was removed elsewhere: ${words}`, async (page) => {
    await renameNumbers(page);
    quarrow('filter', 'remove', alice, 'Numbers');
    await save(page);
    await dialog(page).getByText('“Numbers” was removed').waitFor();
    await answer(page, words);
    await assertRules(page, rules);
  });

for (const [words, names] of Object.entries({
  'Make my change as well': ['Baking'],
  'Leave my change': ['Numbers', 'Baking'],
}))
  pageTest(`a rule is removed beside another one that was changed: ${words}`, async (page) => {
    await beginWith(page, twoRules);
    quarrow('filter', 'rename', alice, 'Cooking', 'Baking');
    await rule(page, 'Numbers').locator('summary').click();
    await button(page, 'Remove: Numbers').click();
    await dialog(page).getByText('Your change: Remove “Numbers”').waitFor();
    await answer(page, words);
    await rule(page, 'Baking').waitFor();
    await rule(page, 'Numbers').waitFor({ state: names.length === 1 ? 'detached' : 'visible' });
    assert.deepEqual(await storedNames(page), names);
  });

pageTest('the rules change once more while the user thinks about it', async (page) => {
  await meetAnotherValue(page);
  quarrow('filter', 'rename', alice, 'Cooking', 'Baking');
  await dialog(page).getByRole('button', { name: 'Save mine' }).click();
  await dialog(page).getByText('“Cooking” is named “Baking” now.').waitFor();
  await answer(page, 'Save mine');
  await assertRules(page, [
    ['Figures', 'quarterly'],
    ['Baking', 'recipe'],
  ]);
});

pageTest(
  'a rule is saved after the server was killed and has come back',
  async (page) => {
    await beginWith(page, twoRules);
    await typeRule(page, 'patient', 'Archived');
    await killServer();
    try {
      await save(page);
      const complaint = page.getByRole('alert').filter({ hasText: 'could not be reached' });
      await complaint.first().waitFor();
      await assertTyped(page, 'patient', 'Archived');
    } finally {
      await startServer();
    }
    // the page may ask for the password before the user saves
    await page.evaluate(() => dispatchEvent(new Event('focus')));
    const signingIn = page.getByRole('dialog', { name: 'Your session has ended' });
    await signingIn.getByLabel('Password', { exact: true }).fill(users.alice.password);
    await page.keyboard.press('Enter');
    await signingIn.waitFor({ state: 'detached' });
    await save(page);
    await sentenceInList(page, 'When the subject contains patient, move it to Archived.').waitFor();
    assert.equal((await storedNames(page)).length, twoRules.length + 1);
  },
  { mayServerFail: true },
);
