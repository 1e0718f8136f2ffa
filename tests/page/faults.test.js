// What goes wrong around the page: users are told in clear words, lose nothing, and others are
// served meanwhile.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { chmodSync, readdirSync, readFileSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { after, before } from 'node:test';
import { assertAccessible, pageTest, sendSignIn, signIn, users } from './browser.js';
import { holdAnswers } from './held_answers.js';
import { deliver, homeOf, messageWith } from './mailboxes.js';
import { PasswordRelay } from './password_relay.js';
import { killServer, startServer } from './processes.js';
import { beginWith, replaceRules, ruleOf } from './rules_page.js';

const { alice, bob } = users;
const button = (place, name) => place.getByRole('button', { name, exact: true });
const headings = (page) => page.getByRole('list', { name: 'Rules' }).getByRole('heading');
const alert = (page, text) => page.getByRole('alert').filter({ hasText: text });

const relay = new PasswordRelay();
before(async () => {
  await killServer();
  await startServer({ '--imap': await relay.address(), '--request-time': '8' });
});
after(() => relay.close());

/** Alice has one rule, and sees it. */
async function begin(page) {
  await beginWith(page, [ruleOf('Numbers', 'quarterly', 'Reports')]);
  await headings(page).getByText('Numbers', { exact: true }).waitFor();
}

/** Fills in a new rule, and does not save it. */
async function typeRule(page, name) {
  await button(page, 'New rule').click();
  const editor = page.locator('form.editor');
  await editor.getByLabel('What it is compared with').fill('weather');
  await editor.getByLabel('Folder', { exact: true }).selectOption('New folder…');
  await editor.getByLabel('Name of the new folder').fill('Weather');
  await editor.getByLabel('Name of the rule').fill(name);
  return editor;
}

async function assertTyped(editor, name) {
  assert.equal(await editor.getByLabel('What it is compared with').inputValue(), 'weather');
  assert.equal(await editor.getByLabel('Name of the new folder').inputValue(), 'Weather');
  assert.equal(await editor.getByLabel('Name of the rule').inputValue(), name);
}

async function save(page, name) {
  await button(page, 'Save the rule').click();
  await headings(page).getByText(name, { exact: true }).waitFor();
}

const newBrowser = (page) =>
  page.context().browser().newPage({
    baseURL: process.env.PAGE_ADDRESS,
    ignoreHTTPSErrors: true,
    locale: 'en-GB',
  });

/** Bob signs in elsewhere; `work` says what he does, and what happens meanwhile. */
async function withBob(page, work) {
  const browser = await newBrowser(page);
  try {
    await signIn(browser, bob);
    await work(browser);
  } finally {
    await browser.context().close();
  }
}

/** Bob makes a rule, and removes it. */
async function assertServed(browser) {
  await typeRule(browser, 'His own');
  await save(browser, 'His own');
  await replaceRules(browser, []);
}

/** Mounts a file system of this size over the user's folder while `work` is done. */
async function onSmallDisk(user, size, work) {
  const home = homeOf(user);
  const { uid, gid } = statSync(home);
  execFileSync('mount', [
    '-t',
    'tmpfs',
    '-o',
    `size=${size},uid=${uid},gid=${gid},mode=755`,
    'tmpfs',
    home,
  ]);
  try {
    await work(home);
  } finally {
    execFileSync('umount', ['--lazy', home]);
  }
}

/** Takes all the room that is left, by a file. */
function fillDisk(file) {
  for (const bytes of [4096, 1])
    try {
      for (;;) writeFileSync(file, Buffer.alloc(bytes), { flag: 'a' });
    } catch (error) {
      if (error.code !== 'ENOSPC') throw error;
    }
}

const mayMount = process.getuid() === 0;
pageTest(
  'a full disk is told, what was typed stays, and is saved once there is room',
  (page) =>
    onSmallDisk(alice, '256k', async (home) => {
      await begin(page);
      const editor = await typeRule(page, 'No room');
      fillDisk(join(home, 'filler'));
      await button(page, 'Save the rule').click();
      await alert(editor, "The server's disk is full. Nothing was changed.").waitFor();
      await assertAccessible(page);
      await assertTyped(editor, 'No room');
      await withBob(page, assertServed);
      rmSync(join(home, 'filler'));
      await save(page, 'No room');
    }),
  { mayServerFail: true, skip: !mayMount && 'only the superuser mounts a file system' },
);

/** The stored rules. */
const documentOf = (user) => {
  const paths = readdirSync(homeOf(user)).map((name) => join(homeOf(user), name));
  const [found] = paths.filter(
    (path) =>
      statSync(path).isFile() &&
      !path.endsWith('.history') &&
      readFileSync(path, 'latin1').startsWith('<'),
  );
  return found;
};

pageTest('damaged rules are told, and are not overwritten', async (page) => {
  await begin(page);
  const path = documentOf(alice);
  const whole = readFileSync(path);
  const damaged = whole.subarray(0, whole.length - 20);
  const editor = await typeRule(page, 'On top');
  writeFileSync(path, damaged);
  try {
    await button(page, 'Save the rule').click();
    await alert(editor, 'Your stored rules are damaged').waitFor();
    await assertTyped(editor, 'On top');
    assert.deepEqual(readFileSync(path), damaged);
    await page.reload();
    await page.getByRole('heading', { name: "Your rules can't be shown" }).waitFor();
    await alert(page, 'Your stored rules are damaged').waitFor();
    await assertAccessible(page);
    await withBob(page, assertServed);
  } finally {
    writeFileSync(path, whole);
  }
  await button(page, 'Try again').click();
  await assertTyped(editor, 'On top');
  await save(page, 'On top');
  assert.deepEqual(await headings(page).allTextContents(), ['Numbers', 'On top']);
});

pageTest(
  'a folder without rights is told, and tried again by a button',
  async (page) => {
    await begin(page);
    const home = homeOf(alice);
    const { mode } = statSync(home);
    chmodSync(home, 0);
    try {
      const numbers = page.getByRole('switch', { name: 'On: Numbers' });
      await numbers.click();
      await alert(page, "Your mail folder can't be used at the moment.").waitFor();
      assert.equal(await numbers.isChecked(), true);
      await page.reload();
      await page.getByRole('heading', { name: "Your rules can't be shown" }).waitFor();
      await alert(page, 'Tell your mail provider.').waitFor();
      await assertAccessible(page);
      await withBob(page, assertServed);
    } finally {
      chmodSync(home, mode);
    }
    await button(page, 'Try again').click();
    await headings(page).getByText('Numbers', { exact: true }).waitFor();
  },
  { mayServerFail: true },
);

pageTest('too many wrong passwords are told, with the time to wait', async (page) => {
  const guess = { user: 'guessed@example.org', password: 'wrong' };
  await sendSignIn(page, guess);
  for (let tries = 1; tries < 8; tries += 1) {
    await alert(page, 'The address or the password is wrong.').waitFor();
    const answer = page.waitForResponse('**/api/v1/session');
    await button(page, 'Sign in').click();
    await answer;
  }
  await alert(page, 'The address or the password is wrong.').waitFor();
  await button(page, 'Sign in').click();
  await alert(
    page,
    /There were too many attempts\. Try again in \d+ (seconds?|minutes?)\./,
  ).waitFor();
  await assertAccessible(page);
  await withBob(page, async () => {});
});

const noSignIn = 'Nobody can sign in at the moment';

/** The form says it, keeps what was typed, and works once passwords are checked again. */
async function assertToldAtForm(page, mend) {
  await alert(page, noSignIn).waitFor();
  await assertAccessible(page);
  assert.equal(await page.getByLabel('Mail address').inputValue(), alice.user);
  assert.equal(await page.getByLabel('Password', { exact: true }).inputValue(), alice.password);
  await mend();
  await button(page, 'Sign in').click();
  await page.getByRole('heading', { name: 'Rules' }).waitFor();
}

pageTest(
  'where the password server is not reached, the sign-in says so',
  async (page) => {
    await relay.close();
    await sendSignIn(page, alice);
    await assertToldAtForm(page, () => relay.listen());
  },
  { mayServerFail: true },
);

pageTest(
  'a password server that hangs is told, and those who are signed in go on',
  (page) =>
    withBob(page, async (browser) => {
      relay.hang(true);
      try {
        await sendSignIn(page, alice);
        await button(page, 'Signing in…').waitFor();
        await assertServed(browser);
        await assertToldAtForm(page, async () => relay.hang(false));
      } finally {
        relay.hang(false);
      }
    }),
  { mayServerFail: true },
);

pageTest(
  'a server that is gone loses nothing: the rule is saved once it is back',
  async (page) => {
    await begin(page);
    const editor = await typeRule(page, 'Patient');
    await killServer();
    await button(page, 'Save the rule').click();
    await alert(editor, 'The server could not be reached.').waitFor();
    await assertTyped(editor, 'Patient');
    await startServer();
    await page.evaluate(() => dispatchEvent(new Event('focus')));
    const dialog = page.getByRole('dialog', { name: 'Your session has ended' });
    await dialog.getByLabel('Password', { exact: true }).fill(alice.password);
    await button(dialog, 'Sign in').click();
    await dialog.waitFor({ state: 'detached' });
    await button(page, 'Save the rule').click();
    await headings(page).getByText('Patient', { exact: true }).waitFor();
    assert.equal(await headings(page).count(), 2);
  },
  { mayServerFail: true },
);

const refusals = [
  [503, { 'Retry-After': '2' }, 'The server is busy. Nothing was changed. Try again in 2 seconds.'],
  [504, { 'Content-Type': 'text/html' }, 'The server could not be reached in time.'],
];
for (const [status, headers, words] of refusals)
  pageTest(
    `a rule that is answered with ${status} stays in the editor, and is saved later`,
    async (page) => {
      await begin(page);
      const editor = await typeRule(page, 'Refused');
      await page.route('**/api/v1/rules', (route) =>
        route.fulfill({ status, headers, body: '<html>' }),
      );
      await button(page, 'Save the rule').click();
      await alert(editor, words).waitFor();
      await assertTyped(editor, 'Refused');
      await page.unroute('**/api/v1/rules');
      await save(page, 'Refused');
    },
    { mayServerFail: true },
  );

pageTest(
  'a slow answer is waited for, and one rule is made however often it is saved',
  async (page) => {
    await begin(page);
    await typeRule(page, 'Slow');
    const answers = await holdAnswers(page, '**/api/v1/rules');
    await button(page, 'Save the rule').click();
    await button(page, 'Save the rule').click({ force: true }); // it is told to be disabled
    await answers.letGo();
    await headings(page).getByText('Slow', { exact: true }).waitFor();
    assert.equal(answers.count('POST'), 1);
    assert.equal(await headings(page).count(), 2);
  },
);

pageTest('what the journal of delivery counted stands at each rule', async (page) => {
  await signIn(page, alice);
  await replaceRules(page, [
    ruleOf('Weather', 'weather', 'Weather'),
    ruleOf('Tides', 'tide', 'Tides'),
    ruleOf('Off', 'storm', 'Storms', { enabled: false }),
  ]);
  for (const subject of ['weather today', 'The weather', 'storm', 'Weather!'])
    deliver(alice, messageWith('From: w@example.net', `Subject: ${subject}`));
  await page.reload();
  const rule = (name) =>
    page
      .getByRole('list', { name: 'Rules' })
      .locator('> li')
      .filter({
        has: page.getByRole('heading', { name, exact: true }),
      });
  await rule('Weather').getByText('caught 3 in 30 days').waitFor();
  await rule('Tides').getByText('never matched in 30 days').waitFor();
  assert.equal(await rule('Off').getByText('never matched').count(), 0);
});
