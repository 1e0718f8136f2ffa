// Users have their rules sort the mail that they have already.
import assert from 'node:assert/strict';
import { setPriority } from 'node:os';
import { assertAccessible, assertShownWell, pageTest, users } from './browser.js';
import { messagePaths, messagesIn, messageWith, putMessages } from './mailboxes.js';
import { filingProcesses, kill, killServer, startServer, until } from './processes.js';
import { beginWith, replaceRules, ruleOf } from './rules_page.js';

const { alice, bob } = users;
const button = (place, name) => place.getByRole('button', { name, exact: true });
const panelOf = (page) => page.getByRole('region', { name: 'Apply rules to mail that is there' });

async function openPanel(page) {
  await page.getByRole('link', { name: 'Messages' }).click();
  await button(page, 'Apply rules to mail that is there').click();
  await panelOf(page).waitFor();
}

/** The user has these rules, and looks at the panel for a folder. */
async function begin(page, user, rules, folder = 'Inbox') {
  await beginWith(page, rules, user);
  await openPanel(page);
  await panelOf(page).getByLabel('Mail in the folder').selectOption(folder);
}

/** The plan's counts, such as {"Lists: moved to Lists": "5"}. */
async function planOf(page) {
  await button(panelOf(page), 'Show what would happen').click();
  await panelOf(page).getByText('Nothing is moved yet.').waitFor();
  const rows = await panelOf(page)
    .locator('tbody tr')
    .evaluateAll((all) => all.map((row) => [...row.cells].map((cell) => cell.textContent)));
  return Object.fromEntries(rows.map(([rule, fate, count]) => [`${rule}: ${fate}`, count]));
}

const fileNow = (page) => button(panelOf(page), 'File them now').click();
const undo = (page) => button(panelOf(page), 'Undo the filing').click();
const says = (page, text) => panelOf(page).getByText(text).waitFor();

/** A header's value, where the message has it. */
const headerOf = (message, name) =>
  message
    .split(/\r?\n\r?\n/)[0]
    .replace(/\r?\n(?=[ \t])/g, '')
    .match(new RegExp(`^${name}: *(.*)$`, 'im'))?.[1];

const listRule = {
  ...ruleOf('Lists', '.', 'Sorted/Lists'),
  tests: [{ ...ruleOf('', '.', '').tests[0], field: 'list-id' }],
};

pageTest(
  'a plan counts what the rules would do with real mail, and moves nothing',
  async (page) => {
    const before = messagesIn(bob, 'INBOX').sort();
    const lists = before.filter((message) => headerOf(message, 'list-id')?.includes('.')).length;
    await begin(page, bob, [listRule]);
    assert.deepEqual(await planOf(page), {
      'Lists: moved to Sorted/Lists': String(lists),
      'no rule: left where they are': String(before.length - lists),
    });
    assert.deepEqual(messagesIn(bob, 'INBOX').sort(), before);
    assert.deepEqual(messagesIn(bob, 'Sorted/Lists'), []);
    await assertShownWell(page);
  },
);

pageTest('mail is filed as planned, and comes back by "Undo"', async (page) => {
  const before = messagesIn(bob, 'INBOX').sort();
  const lists = before.filter((message) => headerOf(message, 'list-id')?.includes('.'));
  await begin(page, bob, [listRule]);
  await planOf(page);
  await fileNow(page);
  await says(page, `Done: ${before.length} messages were looked at`);
  assert.deepEqual(messagesIn(bob, 'Sorted/Lists').sort(), lists);
  assert.equal(messagesIn(bob, 'INBOX').length, before.length - lists.length);
  await page.getByText(`${before.length - lists.length} messages`, { exact: true }).waitFor();
  await assertAccessible(page);
  await undo(page);
  await says(page, 'Undone: the messages are where they were.');
  assert.deepEqual(messagesIn(bob, 'INBOX').sort(), before);
  assert.deepEqual(messagesIn(bob, 'Sorted/Lists'), []);
  await page.getByText(`${before.length} messages`, { exact: true }).waitFor();
});

pageTest('the messages follow work that is over before it is first seen', async (page) => {
  putMessages(alice, 'INBOX', [messageWith('Subject: quick one')]);
  const { length } = messagesIn(alice, 'INBOX');
  await begin(page, alice, [ruleOf('Quick', 'quick one', 'Quick')]);
  await planOf(page);
  await fileNow(page);
  await says(page, `Done: ${length} messages were looked at`);
  await page.getByText(`${length - 1} messages`, { exact: true }).waitFor();
  await page.route('**/api/v1/application/undo', async (route) => {
    await route.fetch();
    let response;
    do response = await page.request.get('/api/v1/application');
    while ((await response.json()).state === 'undoing');
    await route.fulfill({ response });
  });
  await undo(page);
  await says(page, 'Undone: the messages are where they were.');
  await page.getByText(`${length} messages`, { exact: true }).waitFor();
});

pageTest(
  'copies, what stays, and mail to throw away are told apart, and one rule goes alone',
  async (page) => {
    const subjects = ['copy 1', 'move 1', 'move 2', 'away 1', 'away 2', 'away 3', 'other'];
    putMessages(
      alice,
      'Mixed',
      subjects.map((subject) => messageWith(`Subject: ${subject}`)),
    );
    const rules = [
      ruleOf('Copies', 'copy', '', { actions: [{ method: 'copy', target: 'Copied' }] }),
      ruleOf('Moves', 'move', 'Moved'),
      ruleOf('Away', 'away', '', { actions: [{ method: 'delete' }] }),
      ruleOf('Stays', 'other', 'Mixed'),
    ];
    await begin(page, alice, rules, 'Mixed');
    assert.deepEqual(await planOf(page), {
      'Copies: moved to Copied': '1',
      'Copies: moved to Inbox': '1', // that is where it would have been left
      'Moves: moved to Moved': '2',
      'Away: moved to Trash': '3',
      'Stays: there already': '1',
    });
    await panelOf(page).getByLabel('By').selectOption('rule 2, “Moves”');
    assert.equal(await button(panelOf(page), 'File them now').isVisible(), false);
    await button(panelOf(page), 'Show what would happen').click();
    await says(page, 'moved to Moved');
    await fileNow(page);
    await says(page, 'Done: 7 messages were looked at');
    assert.equal(messagesIn(alice, 'Moved').length, 2);
    assert.equal(messagesIn(alice, 'Mixed').length, 5);
    assert.deepEqual(messagesIn(alice, 'Copied'), []);
  },
);

pageTest('where no message would move, there is nothing to file', async (page) => {
  putMessages(alice, 'Quiet', [messageWith('Subject: x')]);
  await begin(page, alice, [ruleOf('Never', 'nothing has this', 'Never')], 'Quiet');
  await planOf(page);
  await says(page, 'By these rules, all messages stay where they are.');
  assert.equal(await button(panelOf(page), 'File them now').isVisible(), false);
});

const many = 3000;
const manyMessages = (what) =>
  Array.from({ length: many }, (_, at) => messageWith(`Subject: ${what} ${at}`, `X-Number: ${at}`));

/**
 * Files many messages, and halts that in the middle. `body` gets the number of the halted process,
 * and may let it go on; it is gone at the end in any case.
 */
async function inTheMiddle(page, what, body) {
  await fileNow(page);
  const [work] = await until(() => {
    const found = filingProcesses(alice);
    return found.length > 0 && found;
  }, 'the filing has begun');
  setPriority(work, 19); // it is not to be done before it can be halted
  await until(() => messagePaths(alice, `${what}/Filed`).length > 0, 'something is filed');
  process.kill(work, 'SIGSTOP');
  try {
    await says(page, 'Filing…');
    await body(work);
  } finally {
    await kill([work]);
  }
}

/** Alice looks at the plan for many messages, which a rule moves. */
async function planLongWork(page, what) {
  putMessages(alice, what, manyMessages(what));
  await begin(page, alice, [ruleOf(what, what, `${what}/Filed`)], what);
  assert.deepEqual(await planOf(page), { [`${what}: moved to ${what}/Filed`]: '3,000' });
}

const placesOf = (what) =>
  ['', '/Filed'].map((folder) => messagePaths(alice, what + folder).length);

async function assertAllBack(page, what) {
  await undo(page);
  await says(page, 'Undone: the messages are where they were.');
  assert.deepEqual(placesOf(what), [many, 0]);
}

pageTest('work is stopped in the middle, and undone', async (page) => {
  await planLongWork(page, 'Halted');
  await inTheMiddle(page, 'Halted', async (work) => {
    await panelOf(page).getByRole('progressbar').waitFor();
    await assertAccessible(page);
    const answer = page.waitForResponse('**/application/stop');
    await button(panelOf(page), 'Stop').click();
    await answer;
    process.kill(work, 'SIGCONT');
    await says(page, /^Stopped after [\d,]+ of 3,000 messages\.$/);
  });
  const [left, filed] = placesOf('Halted');
  assert.equal(left + filed, many);
  assert.ok(filed > 0 && left > 0, `${filed} are filed, ${left} are left`);
  await says(page, `Stopped after ${filed.toLocaleString('en')} of`);
  await assertAllBack(page, 'Halted');
});

pageTest(
  'work goes on while the page is loaded anew, and a second one is not begun',
  async (page) => {
    const what = 'Long';
    await planLongWork(page, what);
    const tab = await page.context().newPage();
    await tab.goto('/');
    await openPanel(tab);
    await panelOf(tab).getByLabel('Mail in the folder').selectOption(what);
    await planOf(tab);
    await inTheMiddle(page, what, async (work) => {
      await fileNow(tab);
      const refusal = panelOf(tab)
        .getByRole('alert')
        .getByText('The rules are being applied already.');
      await refusal.waitFor();
      for (let polls = 0; polls < 2; polls += 1) await tab.waitForResponse('**/api/v1/application');
      assert.equal(await refusal.count(), 1, 'it can be read');
      await says(tab, 'Filing…');
      await page.reload();
      await openPanel(page);
      await says(page, 'Filing…');
      assert.equal(await button(panelOf(page), 'Stop').isVisible(), true);
      process.kill(work, 'SIGCONT');
      for (const each of [page, tab]) await says(each, 'Done: 3,000 messages were looked at');
    });
    assert.deepEqual(placesOf(what), [0, many]);
    await assertAllBack(page, what);
  },
);

pageTest(
  'work that ends with the machine is told, and can be undone or done again',
  async (page) => {
    const what = 'Crashed';
    await planLongWork(page, what);
    await inTheMiddle(page, what, async (work) => {
      await kill([work]);
      await killServer();
      await panelOf(page).getByRole('alert').filter({ hasText: 'could not be reached' }).waitFor();
    });
    await startServer();
    const dialog = page.getByRole('dialog', { name: 'Your session has ended' });
    await dialog.getByLabel('Password', { exact: true }).fill(alice.password);
    await button(dialog, 'Sign in').click();
    const [left, filed] = placesOf(what);
    assert.ok(left > 0 && filed > 0, `${filed} are filed, ${left} are left`);
    assert.equal(left + filed, many);
    await says(page, /^The server was interrupted after [\d,]+ of 3,000 messages\./);
    await page.reload();
    await openPanel(page);
    await says(page, /^The server was interrupted/);
    await assertAllBack(page, what);
    await panelOf(page).getByLabel('Mail in the folder').selectOption(what);
    await planOf(page);
    await fileNow(page);
    await says(page, 'Done: 3,000 messages were looked at');
    assert.deepEqual(placesOf(what), [0, many]);
  },
  { mayServerFail: true },
);

pageTest('a plan of rules that were changed since is not carried out', async (page) => {
  putMessages(alice, 'Changed', [messageWith('Subject: report')]);
  await begin(page, alice, [ruleOf('Reports', 'report', 'Reports')], 'Changed');
  await planOf(page);
  await replaceRules(page, [ruleOf('Reports', 'report', 'Elsewhere')]);
  await fileNow(page);
  await panelOf(page).getByText('The rules were changed since.').waitFor();
  assert.equal(messagesIn(alice, 'Changed').length, 1);
  assert.deepEqual(Object.keys(await planOf(page)), ['Reports: moved to Elsewhere']);
});

pageTest('a rule that is edited offers nothing for the mail that is there', async (page) => {
  await beginWith(page, [ruleOf('Reports', 'report', 'Reports')]);
  await button(page, 'Edit: Reports').click();
  await page.getByLabel('Name of the rule').fill('All reports');
  await button(page, 'Save the rule').click();
  await button(page, 'Edit: All reports').waitFor();
  assert.equal(await panelOf(page).count(), 0);
});
