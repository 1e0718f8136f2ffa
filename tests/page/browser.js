// What browser tests share: a page in Chromium that fails its test when something goes wrong in it.
//
// A file NAME.test.js of this folder is a test of its own, once NAME stands in CMakeLists.txt:
//
//   import { pageTest, signIn, users } from './browser.js';
//
//   pageTest('the rules are shown', async (page) => {
//     await signIn(page, users.alice);
//     await page.getByRole('list', { name: 'Rules' }).waitFor();
//   });
//
// Elements are found by role and name, as users of a screen reader find them. in_browser.py starts
// the servers for the file: alice has the messages of examples/mail in her inbox, bob a lot of real
// mail where it is at hand, and both have no rules at first. Tests of a file run one after the
// other, each in a browser profile of its own, over the same servers: what one changes on the
// server, the next one finds. ctest -L browser runs all files; PAGE_SLOWNESS=6 slows their pages
// down as a busy machine does.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdirSync, readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { basename, join } from 'node:path';
import { after, test } from 'node:test';

const tools = createRequire(join(process.env.PAGE_TOOLS, 'package.json'));
const { chromium } = tools('playwright-core');
const axe = readFileSync(tools.resolve('axe-core/axe.min.js'), 'utf8');

const address = process.env.PAGE_ADDRESS;
const patience = 30_000; // milliseconds until something that must happen counts as missing
const slowness = Number(process.env.PAGE_SLOWNESS ?? 1); // of the pages' processors

/** Those who can sign in: {alice: {user, password}, bob: {user, password}}. */
export const users = JSON.parse(process.env.PAGE_USERS);

/** How browsers show the page, for assertShownWell and the option `look` of pageTest. */
export const looks = {
  light: { colorScheme: 'light', viewport: { width: 1280, height: 800 } },
  dark: { colorScheme: 'dark', viewport: { width: 1280, height: 800 } },
  narrow: { colorScheme: 'light', viewport: { width: 320, height: 640 } },
};

/** Calls the `quarrow` command with arguments, as the mail server's administrator. */
export function quarrow(...words) {
  const [program, ...options] = JSON.parse(process.env.PAGE_COMMAND);
  return execFileSync(program, [...options, ...words], { encoding: 'utf8' });
}

let browser;
after(() => browser?.close());

async function startBrowser() {
  const executablePath = process.env.PAGE_BROWSER;
  try {
    // Chromium refuses to confine itself when root starts it.
    const started = await chromium.launch({
      executablePath,
      chromiumSandbox: process.getuid() !== 0,
    });
    await (await started.newPage()).close();
    return started;
  } catch (error) {
    const version = execFileSync(executablePath, ['--version'], { encoding: 'utf8' }).trim();
    const driver = tools('playwright-core/package.json').version;
    throw new Error(
      `playwright-core ${driver} can't drive ${version}. Where that is newer than the driver ` +
        `knows, raise the driver's version in tests/page/package.json.`,
      { cause: error },
    );
  }
}

// The page tries requests that the server refuses, with 401 before a sign-in, for example. The
// browser tells each of them as an error, and no page can prevent that.
function isRefusedRequest(message, mayServerFail) {
  const refusals = mayServerFail
    ? /^Failed to load resource: /
    : /^Failed to load resource: .* status of 4\d\d /;
  return message.location().url.startsWith(`${address}/api/`) && refusals.test(message.text());
}

// Adds what goes wrong in the page from now on to the list.
function noteFaults(page, faults, mayServerFail) {
  page.on('console', (message) => {
    if (message.type() === 'error' && !isRefusedRequest(message, mayServerFail))
      faults.push(`console: ${message.text()}`);
  });
  page.on('pageerror', (error) => faults.push(`error: ${error.stack}`));
  page.on('request', (request) => {
    const url = new URL(request.url());
    if (url.origin !== address && !['data:', 'blob:'].includes(url.protocol))
      faults.push(`request to another origin: ${url}`);
  });
}

async function keepPicture(page, name) {
  const file = `${basename(process.argv[1], '.test.js')}.${name.replace(/\W+/g, '-')}.png`;
  mkdirSync(process.env.PAGE_FAILURES, { recursive: true });
  await page.screenshot({ path: join(process.env.PAGE_FAILURES, file), fullPage: true });
}

// Opens a blank page in a browser of its own, which knows nothing of the other ones.
async function openBrowser(look) {
  browser ??= await startBrowser();
  const context = await browser.newContext({
    locale: 'en-GB',
    ...look,
    baseURL: address,
    ignoreHTTPSErrors: true,
  });
  context.setDefaultTimeout(patience);
  const page = await context.newPage();
  if (slowness > 1) {
    const session = await context.newCDPSession(page);
    await session.send('Emulation.setCPUThrottlingRate', { rate: slowness });
  }
  return page;
}

/**
 * A test of the page: `body` gets a blank one, whose address is the server's, and a function that
 * opens one in another browser. The test fails when `body` throws, and when a page writes an error
 * to the console, throws one, or asks another server for anything. A picture of a page that failed
 * is kept. Where `mayServerFail`, requests may get no answer, or one that the server has failed. A
 * `skip` is the reason for which the test is not run here.
 */
export function pageTest(
  name,
  body,
  { look = looks.light, mayServerFail = false, skip = false } = {},
) {
  test(name, { skip }, async () => {
    const faults = [];
    const pages = [];
    const open = async () => {
      const page = await openBrowser(look);
      noteFaults(page, faults, mayServerFail);
      pages.push(page);
      return page;
    };
    try {
      await body(await open(), open);
      assert.deepEqual(faults, []);
    } catch (error) {
      for (const [at, page] of pages.entries())
        await keepPicture(page, at ? `${name}-${at}` : name);
      throw error;
    } finally {
      for (const page of pages) await page.context().close();
    }
  });
}

/** Opens the page, fills the form in and sends it. What comes then is the caller's to wait for. */
export async function sendSignIn(page, { user, password }) {
  await page.goto('/');
  await page.getByLabel('Mail address').fill(user);
  await page.getByLabel('Password', { exact: true }).fill(password);
  await page.getByRole('button', { name: 'Sign in' }).click();
}

/** Signs a user in as they do it, and waits for their rules. */
export async function signInByForm(page, user) {
  await sendSignIn(page, user);
  await page.getByRole('heading', { name: 'Rules' }).waitFor();
}

/** The cookies of the session that each user has got last, by their name. */
const sessions = new Map();

/** Has the page's browser be in a session of the user: the last one, unless that has ended. */
export async function beginSession(page, { user, password }) {
  const context = page.context();
  await context.addCookies(sessions.get(user) ?? []);
  if ((await context.request.get('/api/v1/session')).ok()) return;
  const data = { user, password };
  const answer = await context.request.post('/api/v1/session', { data });
  assert.ok(answer.ok(), await answer.text());
  sessions.set(user, await context.cookies());
}

/** Opens the page of a user who is signed in, and waits for their rules. */
export async function signIn(page, user) {
  await beginSession(page, user);
  await page.goto('/');
  await page.getByRole('heading', { name: 'Rules' }).waitFor();
}

/** Fails when axe finds something that keeps people from using the page as it is shown now. */
export async function assertAccessible(page) {
  // the page's policy allows no script element
  if (await page.evaluate(() => globalThis.axe === undefined)) await page.evaluate(axe);
  const { violations } = await page.evaluate(() => globalThis.axe.run());
  const found = violations.flatMap(({ id, help, nodes }) =>
    nodes.map(({ target, failureSummary }) => `${id}: ${help}: ${target}: ${failureSummary}`),
  );
  assert.deepEqual(found, []);
}

/** Fails when the page is wider than the window: people would have to scroll in two directions. */
export async function assertFits(page) {
  const [needed, given] = await page.evaluate(() => [
    document.documentElement.scrollWidth,
    document.documentElement.clientWidth,
  ]);
  assert.ok(needed <= given, `the page needs ${needed} pixels, and has ${given}`);
}

/** Fails unless everybody can use the page as it is shown now: light, dark, and on 320 pixels. */
export async function assertShownWell(page) {
  for (const { colorScheme, viewport } of Object.values(looks)) {
    await page.emulateMedia({ colorScheme });
    await page.setViewportSize(viewport);
    await assertAccessible(page);
    await assertFits(page);
  }
  await page.emulateMedia({ colorScheme: looks.light.colorScheme });
  await page.setViewportSize(looks.light.viewport);
}
