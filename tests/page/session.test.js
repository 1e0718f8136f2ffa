// Sessions that end while the page is in use.
import assert from 'node:assert/strict';
import { assertShownWell, pageTest, signIn, users } from './browser.js';

const button = (page, name) => page.getByRole('button', { name, exact: true });
const dialog = (page) => page.getByRole('dialog', { name: 'Your session has ended' });

/** A user has typed into a new rule, and the session is over. */
async function loseSession(page) {
  await signIn(page, users.alice);
  await button(page, 'New rule').click();
  await page.getByLabel('Name of the rule').fill('Half typed');
  await page.context().clearCookies();
  await page.evaluate(() => dispatchEvent(new Event('focus')));
  await dialog(page).waitFor();
}

pageTest('a session that ends is begun again on the spot', async (page) => {
  await loseSession(page);
  await assertShownWell(page);
  assert.equal(await page.getByLabel('Mail address').inputValue(), users.alice.user);
  await dialog(page).getByLabel('Password', { exact: true }).fill(users.alice.password);
  await page.keyboard.press('Enter');
  await dialog(page).waitFor({ state: 'detached' });
  assert.equal(await page.getByLabel('Name of the rule').inputValue(), 'Half typed');
});

pageTest('who does not sign in again keeps what is shown', async (page) => {
  await loseSession(page);
  await page.keyboard.press('Escape');
  await dialog(page).waitFor({ state: 'detached' });
  assert.equal(await page.getByLabel('Name of the rule').inputValue(), 'Half typed');
});

pageTest(
  'where somebody else has signed in, the page begins anew with their rules',
  async (page) => {
    await signIn(page, users.alice);
    const tab = await page.context().newPage();
    await tab.goto('/');
    await button(tab, 'Sign out').click();
    await tab.getByLabel('Mail address').fill(users.bob.user);
    await tab.getByLabel('Password', { exact: true }).fill(users.bob.password);
    await button(tab, 'Sign in').click();
    await tab.getByText(users.bob.user).waitFor();
    await page.evaluate(() => dispatchEvent(new Event('focus')));
    await page.getByText(users.bob.user).waitFor();
  },
);
