// Users look at their mail: what it is, why it is where it is, and the rules that it suggests.
import assert from 'node:assert/strict';
import { renameSync, rmSync } from 'node:fs';
import { assertAccessible, assertFits, assertShownWell, pageTest, users } from './browser.js';
import { deliver, messagePaths, messageWith, putMessages } from './mailboxes.js';
import { beginWith, replaceRules, ruleOf } from './rules_page.js';

const { alice } = users;
const button = (place, name) => place.getByRole('button', { name, exact: true });
const rowsOf = (page) => page.locator('ol.messages-list > li');
const row = (page, subject) =>
  rowsOf(page).filter({ has: page.getByText(subject, { exact: true }) });

async function openFolder(page, folder) {
  await page.getByRole('link', { name: 'Messages' }).click();
  await page.getByLabel('Folder', { exact: true }).selectOption(folder);
  await rowsOf(page).first().waitFor();
}

/** Alice has these rules, and looks at a folder. */
async function begin(page, rules, folder = 'Inbox') {
  await beginWith(page, rules);
  await openFolder(page, folder);
}

/** Opens the explanation of a message. */
async function askWhy(page, subject) {
  await button(row(page, subject), 'Why is it here?').click();
  const panel = row(page, subject).locator('.explanation');
  await panel.waitFor();
  return panel;
}

const addressRule = (name, address, target) => ({
  ...ruleOf(name, address, target),
  tests: [{ ...ruleOf(name, address, target).tests[0], type: 'address', field: 'from' }],
});

pageTest('the inbox is shown, the newest first, each message with who wrote it', async (page) => {
  await begin(page, []);
  await page.getByText('42 messages', { exact: true }).waitFor();
  assert.equal(await rowsOf(page).count(), 42);
  const [newest, second] = await rowsOf(page).getByRole('heading').allTextContents();
  assert.match(newest, /^Lunch on Friday/);
  assert.match(second, /^Quarterly report/);
  const times = await rowsOf(page)
    .locator('time')
    .evaluateAll((all) => all.map((each) => each.dateTime));
  assert.deepEqual(times, [...times].sort().reverse());
});

pageTest('names and subjects of all the world are readable', async (page) => {
  await begin(page, []);
  const shown = [
    ['Grüße aus Köln', 'Jürgen Groß <juergen@example.org>'],
    ['Квартальный отчёт', 'Sofia <sofia@example.net>'],
    ['Déjeuner à midi', 'Renée Dubois <renee@example.com>'],
    ['Привет', 'ivan@example.net'],
    ['会議の件', 'yuki@example.com'],
    ['Monatsübersicht in plain words', 'heidi@example.org'],
    ['Preis: 10 € – fest', 'judy@example.org'],
    ['Überraschung für Dienstag', 'Zoë <zoe@example.net>'],
    ['Address with umlauts', 'Büro <büro@bücher.example.org>'],
    ['A subject that is so long that its sender broke it over three lines', 'frank@example.com'],
    ['Nobody wrote this', '(no sender)'],
    ['An unclosed quote', 'someone@example.com'],
  ];
  for (const [subject, sender] of shown)
    await row(page, subject).getByText(sender, { exact: false }).first().waitFor();
  await rowsOf(page).filter({ hasText: '(no subject)' }).first().waitFor();
  assert.equal(await rowsOf(page).filter({ hasText: '(no subject)' }).count(), 2);
  for (const part of [/^M.+de p.+ tirsdag/, /no.end/, /^before.*after/])
    assert.equal(await rowsOf(page).getByRole('heading', { name: part }).count(), 1, part);
});

pageTest('a folder of many messages is shown piece by piece', async (page) => {
  const many = Array.from({ length: 120 }, (_, at) => messageWith(`Subject: Number ${at + 1}`));
  putMessages(alice, 'Many', many);
  await begin(page, [], 'Many');
  const numbers = (to) => Array.from({ length: to }, (_, at) => `Number ${at + 1}`);
  const more = button(page, 'Show more messages');
  await page.getByText('120 messages', { exact: true }).waitFor();
  assert.deepEqual(await rowsOf(page).getByRole('heading').allTextContents(), numbers(50));
  await more.click();
  await row(page, 'Number 51').waitFor();
  await page.waitForFunction(() =>
    document.activeElement?.closest('li')?.innerText.includes('Number 51'),
  );
  await more.click();
  await row(page, 'Number 120').waitFor();
  assert.deepEqual(await rowsOf(page).getByRole('heading').allTextContents(), numbers(120));
  assert.equal(await more.isVisible(), false);
  await page.getByLabel('Folder', { exact: true }).selectOption('Inbox');
  await page.getByText('42 messages', { exact: true }).waitFor();
  assert.equal(await row(page, 'Number 1').count(), 0);
});

pageTest('what strangers write is text, and stays in its place', async (page) => {
  const markup = '<img src=x onerror="document.title=1"><b>bold</b> &amp;';
  const turning = Buffer.from('Subject: turned \u202Efdp.exe');
  putMessages(alice, 'Hostile', [
    messageWith(`From: "<script>alert(1)</script>" <a@example.net>`, `Subject: ${markup}`),
    messageWith(Buffer.from('From: "\u202Eknab" <bank@example.net>'), turning),
    messageWith(`From: ${'x'.repeat(900)}@example.net`, `Subject: ${'y'.repeat(900)}`),
    Buffer.from([0, 255, 254, 10, 13, 0]),
  ]);
  await begin(page, [], 'Hostile');
  assert.equal(await rowsOf(page).count(), 4);
  await row(page, markup).getByText('"<script>alert(1)</script>" <a@example.net>').waitFor();
  assert.equal(await rowsOf(page).locator('img, b, script').count(), 0);
  const turned = rowsOf(page).nth(1);
  const sender = await turned.locator('.facts bdi').boundingBox();
  const time = await turned.locator('time').boundingBox();
  assert.ok(time.x >= sender.x + sender.width, 'the time stands behind the sender');
  await askWhy(page, markup);
  await assertAccessible(page);
  await page.setViewportSize({ width: 320, height: 640 });
  await assertFits(page);
});

pageTest('an address that turns its line is blocked by nobody', async (page) => {
  const from = Buffer.from('From: \u202Emoc.elpmaxe@knab.example.net');
  putMessages(alice, 'Turned', [messageWith(from, 'Subject: Your account')]);
  await begin(page, [], 'Turned');
  await button(row(page, 'Your account'), 'Block this sender').click();
  await row(page, 'Your account').getByText("can't be told for certain").waitFor();
});

const explainedRules = [
  ruleOf('Switched off', 'grüße', 'Nowhere', { enabled: false }),
  ruleOf('Numbers', 'quarterly', 'Reports'),
  {
    ...ruleOf('Greetings', 'GRÜSSE', 'Greetings', { relation: 'anyof' }),
    tests: [
      ruleOf('', 'nobody', '').tests[0],
      {
        ...ruleOf('', 'juergen@example.org', '').tests[0],
        type: 'address',
        field: 'from',
        comparator: 'is',
      },
    ],
  },
];

pageTest('the deciding rule is named, test by test', async (page) => {
  await begin(page, explainedRules);
  const panel = await askWhy(page, 'Grüße aus Köln');
  await panel.getByText('rule 3, Greetings, decides: it goes to Greetings.').waitFor();
  await panel.getByText('It is in Inbox all the same').waitFor();
  const tests = panel.locator('.tests > li');
  await tests
    .filter({ hasText: 'the subject contains nobody: does not hold' })
    .getByText('Subject of the message: Grüße aus Köln')
    .waitFor();
  const sender = tests.filter({ hasText: 'the message is from juergen@example.org: holds' });
  await sender.getByText('Sender of the message: Jürgen Groß <juergen@example.org>').waitFor();
  await panel.getByText('The rules that were tried before').click();
  await panel.getByText('Rule 1, Switched off: is switched off').waitFor();
  await panel.getByText('Rule 2, Numbers: does not match').click();
  await tests.getByText('the subject contains quarterly: does not hold').waitFor();
  await assertShownWell(page);
});

pageTest('where no rule decides, the page says so, and shows what each one saw', async (page) => {
  await begin(page, explainedRules);
  const panel = await askWhy(page, 'Milk and bread (urgent)');
  await panel.getByText('no rule decides: it goes to Inbox.').waitFor();
  assert.equal(await panel.getByText('all the same').count(), 0);
  await panel.getByText('Your rules, one by one').click();
  await panel.getByText('Rule 3, Greetings: does not match').click();
  await panel.getByText('of the message: spouse@example.net').waitFor();
});

pageTest('a user without rules learns that no rule decides', async (page) => {
  await begin(page, []);
  const panel = await askWhy(page, 'Milk and bread (urgent)');
  await panel.getByText('no rule decides: it goes to Inbox.').waitFor();
  assert.equal(await panel.getByText('not made from these rules').count(), 0);
});

pageTest('what was decided at delivery is told where the rules were others', async (page) => {
  await begin(page, [ruleOf('Once', 'weather', 'Once')]);
  deliver(
    alice,
    messageWith('From: w@example.net', 'Subject: The weather', 'Message-ID: <w1@example.net>'),
  );
  await replaceRules(page, [ruleOf('Now', 'weather', 'Now')]);
  await page.reload();
  await openFolder(page, 'Once');
  const panel = await askWhy(page, 'The weather');
  await panel.getByText('rule 1, Now, decides: it goes to Now.').waitFor();
  await panel
    .getByText(/When it came, .*: the rule Once decided: .*Once.*\. The rules were others then\./)
    .waitFor();
});

pageTest(
  'a message that another program moves is told, and one that it marks is found',
  async (page) => {
    putMessages(alice, 'Moved', [messageWith('Subject: Marked'), messageWith('Subject: Gone')]);
    await begin(page, [], 'Moved');
    const pathOf = (number) =>
      messagePaths(alice, 'Moved').find((path) => path.includes(`.M${number}P2.`));
    renameSync(pathOf(0), `${pathOf(0)}F`);
    rmSync(pathOf(1));
    await askWhy(page, 'Marked');
    await button(row(page, 'Gone'), 'Why is it here?').click();
    await row(page, 'Gone')
      .getByRole('alert')
      .filter({ hasText: 'moved or removed meanwhile' })
      .waitFor();
    await assertAccessible(page);
  },
);

/** Begins a rule from a message, and gives the editor. */
async function makeRule(page, subject, choice) {
  await button(row(page, subject), 'Make a rule from it').click();
  await row(page, subject).getByRole('button', { name: choice }).click();
  const editor = row(page, subject).locator('form.editor');
  await editor.waitFor();
  return editor;
}

async function assertTest(editor, field, comparator, value) {
  const chosen = (label) => editor.getByLabel(label).locator('option:checked').textContent();
  assert.equal(await chosen('What is looked at'), field);
  assert.equal(await chosen('How it is compared'), comparator);
  assert.equal(await editor.getByLabel('What it is compared with').inputValue(), value);
}

const fromMessages = [
  [
    'its sender',
    'Commas inside quotes',
    'The sender: bob@example.org',
    ['Sender', 'is', 'bob@example.org'],
  ],
  [
    'its list',
    'Re: [builders] Release 2.1 is out',
    'The mailing list: <builders.lists.example.org>',
    ['Mailing list', 'contains', '<builders.lists.example.org>'],
  ],
  [
    'its subject',
    'Re: [builders] Release 2.1 is out',
    'The subject: [builders] Release 2.1 is out',
    ['Subject', 'contains', '[builders] Release 2.1 is out'],
  ],
];
for (const [what, subject, choice, test] of fromMessages)
  pageTest(
    `a rule is made from a message by ${what}, saved, and offered for the mail that is there`,
    async (page) => {
      await begin(page, []);
      const editor = await makeRule(page, subject, choice);
      await assertTest(editor, ...test);
      await editor.getByLabel('Folder', { exact: true }).selectOption('New folder…');
      await editor.getByLabel('Name of the new folder').fill('From a message');
      const name = await editor.getByLabel('Name of the rule').inputValue();
      await button(editor, 'Save the rule').click();
      await row(page, subject).getByText(`The rule “${name}” is saved.`).waitFor();
      const panel = page.getByRole('region', { name: 'Apply rules to mail that is there' });
      await panel.waitFor();
      const chosen = await panel.getByLabel('By').locator('option:checked').textContent();
      assert.equal(chosen, `rule 1, “${name}”`);
      await assertAccessible(page);
      await button(row(page, subject), 'Why is it here?').click();
      await row(page, subject).getByText('decides: it goes to From a message.').waitFor();
    },
  );

pageTest(
  'a rule from a message that is not saved is there when the page is loaded anew',
  async (page) => {
    await begin(page, []);
    const editor = await makeRule(page, 'Commas inside quotes', 'The sender');
    await editor.getByLabel('Name of the rule').fill('Bob and his commas');
    await page.reload();
    await page.getByText('You began the rule “Bob and his commas”').waitFor();
    await button(page, 'Go on with it').click();
    await assertTest(page.locator('form.editor'), 'Sender', 'is', 'bob@example.org');
    await button(page, 'Cancel').click();
    await button(page, 'Drop my changes').click();
  },
);

const rulesOf = (page) =>
  page.evaluate(async () => (await (await fetch('/api/v1/rules')).json()).filters);

pageTest('a sender is blocked in two steps, and "Undo" takes that back', async (page) => {
  await begin(page, [ruleOf('Numbers', 'quarterly', 'Reports')]);
  const message = row(page, 'Commas inside quotes');
  await button(message, 'Block this sender').click();
  await message.getByText('Mail from bob@example.org is thrown away').waitFor();
  await assertAccessible(page);
  await button(message, 'Cancel').click();
  assert.deepEqual(
    (await rulesOf(page)).map(({ name }) => name),
    ['Numbers'],
  );
  await button(message, 'Block this sender').click();
  await button(message, 'Block bob@example.org').click();
  await page.getByText('bob@example.org is blocked.').last().waitFor();
  const [first] = await rulesOf(page);
  assert.equal(first.name, 'Blocked: bob@example.org');
  assert.deepEqual(first.actions, [{ method: 'delete' }]);
  await button(message, 'Block this sender').click();
  await message.getByText('is blocked already').waitFor();
  await button(page, 'Undo').click();
  await page.getByText('bob@example.org is not blocked any more.').waitFor();
  assert.deepEqual(
    (await rulesOf(page)).map(({ name }) => name),
    ['Numbers'],
  );
});

pageTest(
  '"Undo" takes only the blocking back, even where rules were put before it',
  async (page) => {
    await begin(page, []);
    const message = row(page, 'Commas inside quotes');
    await button(message, 'Block this sender').click();
    await button(message, 'Block bob@example.org').click();
    await page.getByText('bob@example.org is blocked.').last().waitFor();
    const [blocking] = await rulesOf(page);
    await replaceRules(page, [
      ruleOf('Before', 'x', 'X'),
      blocking,
      addressRule('Behind', 'b@example.net', 'B'),
    ]);
    await page.evaluate(() => dispatchEvent(new Event('focus')));
    await page.getByRole('link', { name: 'Rules' }).click();
    await page.getByRole('heading', { name: 'Behind', exact: true }).waitFor();
    await button(page, 'Undo').click();
    await page.getByRole('heading', { name: /^Blocked/ }).waitFor({ state: 'detached' });
    assert.deepEqual(
      (await rulesOf(page)).map(({ name }) => name),
      ['Before', 'Behind'],
    );
  },
);
