// Users come in with the password of their mail, and go.
import assert from 'node:assert/strict';
import {
  assertAccessible,
  assertShownWell,
  pageTest,
  sendSignIn,
  signIn,
  signInByForm,
  users,
} from './browser.js';

const signInButton = (page) => page.getByRole('button', { name: 'Sign in' });

pageTest('the sign-in can be used by everyone', async (page) => {
  await page.goto('/');
  await signInButton(page).waitFor();
  await assertShownWell(page);
});

pageTest('a user signs in, and is signed in still when the page is loaded anew', async (page) => {
  await signInByForm(page, users.alice);
  await page.reload();
  await page.getByRole('heading', { name: 'Rules' }).waitFor();
});

pageTest('the session is out of reach for scripts, and other sites', async (page) => {
  await signInByForm(page, users.alice);
  const cookies = await page.context().cookies();
  const seen = cookies.map(({ name, httpOnly, secure, sameSite }) => [
    name,
    httpOnly,
    secure,
    sameSite,
  ]);
  assert.deepEqual(seen, [['__Host-quarrow', true, true, 'Strict']]);
});

pageTest('a wrong password is told, and the next try can be the right one', async (page) => {
  await sendSignIn(page, { ...users.bob, password: 'wrong' });
  await page.getByRole('alert').filter({ hasText: /\w/ }).waitFor();
  await assertAccessible(page);
  assert.equal(await page.getByRole('heading', { name: 'Rules' }).count(), 0);
  await page.getByLabel('Mail address').fill(users.bob.user);
  await page.getByLabel('Password', { exact: true }).fill(users.bob.password);
  await signInButton(page).click();
  await page.getByRole('heading', { name: 'Rules' }).waitFor();
});

pageTest('a user signs out, and a page that is loaded anew asks to sign in', async (page) => {
  await signIn(page, users.alice);
  await page.getByRole('button', { name: 'Sign out' }).click();
  await signInButton(page).waitFor();
  assert.deepEqual(await page.context().cookies(), []);
  await page.reload();
  await signInButton(page).waitFor();
});

/** Alice begins a rule, does not save it, and wants to sign out. */
async function leaveUnsaved(page) {
  await signIn(page, users.alice);
  await page.getByRole('button', { name: 'New rule' }).click();
  await page.getByLabel('Name of the rule').fill('Of nobody else');
  await page.getByRole('button', { name: 'Sign out' }).click();
  await page.getByRole('dialog', { name: 'Drop what is not saved?' }).waitFor();
}

const keptOnDevice = (page) => page.evaluate(() => JSON.stringify(localStorage));

pageTest('who signs out with unsaved rules is asked first, and may stay', async (page) => {
  await leaveUnsaved(page);
  await assertShownWell(page);
  await page.getByRole('button', { name: 'Stay signed in' }).click();
  assert.equal(await page.getByLabel('Name of the rule').inputValue(), 'Of nobody else');
  assert.match(await keptOnDevice(page), /Of nobody else/);
  await page.getByRole('button', { name: 'Sign out' }).click();
  await page.keyboard.press('Escape');
  await page.reload();
  await page.getByLabel('Name of the rule').waitFor();
  assert.equal(await page.getByLabel('Name of the rule').inputValue(), 'Of nobody else');
});

pageTest("what is not saved leaves the device with its user, and no other one's", async (page) => {
  await leaveUnsaved(page);
  await page.evaluate((user) => {
    const [key] = Object.keys(localStorage).filter((each) => each.includes('draft'));
    localStorage.setItem(key.replace('alice@', 'bob@'), localStorage[key]);
    localStorage.setItem(`quarrow.draft.${user}.9`, 'damaged: Of nobody else');
  }, users.alice.user);
  await page.getByRole('button', { name: 'Drop it and sign out' }).click();
  await signInButton(page).waitFor();
  const left = await page.evaluate(() =>
    Object.keys(localStorage).filter((key) => key.includes('draft')),
  );
  assert.deepEqual(left, [`quarrow.draft.${users.bob.user}.new`]);
  await signIn(page, users.alice);
  assert.equal(await page.getByText('You began a rule').count(), 0);
});

pageTest('the question is asked in German as well', async (page) => {
  await signIn(page, users.alice);
  await page.getByLabel('Language').selectOption('Deutsch');
  await page.getByRole('button', { name: 'Neue Regel' }).click();
  await page.getByLabel('Name der Regel').fill('Ungespeichert');
  await page.getByRole('button', { name: 'Abmelden' }).click();
  await page.getByRole('dialog', { name: 'Ungespeichertes verwerfen?' }).waitFor();
  await page.getByRole('button', { name: 'Verwerfen und abmelden' }).click();
  await page.getByRole('button', { name: 'Anmelden' }).waitFor();
  assert.doesNotMatch(await keptOnDevice(page), /Ungespeichert/);
});
