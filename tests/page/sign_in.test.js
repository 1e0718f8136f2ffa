// Users come in with the password of their mail, and go.
import assert from 'node:assert/strict';
import {
  assertAccessible,
  assertFits,
  inEachLook,
  pageTest,
  sendSignIn,
  signIn,
  users,
} from './browser.js';

const signInButton = (page) => page.getByRole('button', { name: 'Sign in' });

inEachLook('the sign-in can be used by everyone', async (page) => {
  await page.goto('/');
  await signInButton(page).waitFor();
  await assertAccessible(page);
  await assertFits(page);
});

pageTest('a user signs in, and is signed in still when the page is loaded anew', async (page) => {
  await signIn(page, users.alice);
  await page.reload();
  await page.getByRole('heading', { name: 'Rules' }).waitFor();
});

pageTest('the session is out of reach for scripts, and other sites', async (page) => {
  await signIn(page, users.alice);
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
