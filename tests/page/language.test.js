// The page in the language of the browser: its words, dates and numbers, on the smallest screen,
// where long words are the hardest to place.
import assert from 'node:assert/strict';
import { assertShownWell, beginSession, looks, pageTest, quarrow, users } from './browser.js';
import { counted, mail } from './example_mail.js';
import { assertFocused, button, replaceRules, ruleOf } from './rules_page.js';

const alice = users.alice.user;
const look = { ...looks.light, locale: 'de-DE', timezoneId: 'Europe/Berlin' };
const rules = [
  ruleOf('Quartalsberichte', 'Bericht', 'Archive'),
  ruleOf('Große Nachrichten', '', 'Ablage/Sehr große Nachrichten', {
    relation: 'anyof',
    tests: [
      { type: 'size', field: 'size', comparator: 'greater', value: '1500' },
      { type: 'date', field: 'zvx-received-date', comparator: 'before', value: '2026-05-01' },
    ].map((test) => ({ ...test, negative: false, match_case: false })),
  }),
];
const sentences = [
  'Wenn der Betreff Bericht enthält: nach Archive verschieben.',
  'Wenn die Nachricht größer als 1.500 KB ist oder die Nachricht vor dem 1. Mai 2026 eingegangen ' +
    'ist: nach Ablage/Sehr große Nachrichten verschieben.',
];

const large = counted(({ size }) => size > 30 * 1024);

async function assertSentences(page) {
  for (const text of sentences) await page.getByText(text, { exact: true }).waitFor();
}

async function begin(page) {
  await beginSession(page, users.alice);
  await replaceRules(page, rules);
  await page.goto('/');
  await assertSentences(page);
}

async function open(page, view) {
  await page.getByRole('link', { name: view, exact: true }).click();
  await page.getByRole('heading', { name: view, exact: true }).waitFor();
}

pageTest(
  'every view is German in a German browser',
  async (page) => {
    await begin(page);
    assert.equal(await page.locator('html').getAttribute('lang'), 'de');
    await assertShownWell(page);
    await open(page, 'Verlauf');
    const present = /^\d\d\.\d\d\.\d{4}, \d\d:\d\d derzeit gültig$/;
    await page.getByRole('heading', { name: present }).waitFor();
    const change = page.getByRole('main').getByRole('listitem').first();
    await change.getByText('„Quartalsberichte“ wurde an Stelle 1 hinzugefügt').waitFor();
    await assertShownWell(page);
    await open(page, 'Nachrichten');
    await page.getByText(`${mail.length} Nachrichten`).waitFor();
    await assertShownWell(page);
    await open(page, 'Erweitert');
    await page.getByText('Das Skript (Sieve)').waitFor();
    await assertShownWell(page);
  },
  { look },
);

pageTest(
  'the editor is German in a German browser',
  async (page) => {
    await begin(page);
    await button(page, 'Neue Regel').click();
    await button(page, 'Regel speichern').click();
    await page.getByText('Geben Sie eine Adresse oder einen Teil davon ein').waitFor();
    await page.getByText('Wählen Sie einen Ordner.').waitFor();
    await assertShownWell(page);
    await page.getByLabel('Was geprüft wird').selectOption({ label: 'Größe' });
    await page.getByLabel('Womit verglichen wird').fill('30');
    await page.getByLabel('Ordner', { exact: true }).selectOption('Archive');
    await page
      .getByText(`Sie erfasst ${large} von ${mail.length} Nachrichten in Posteingang.`)
      .waitFor();
    await assertShownWell(page);
    quarrow('filter', 'remove', alice, 'Quartalsberichte');
    await button(page, 'Regel speichern').click();
    const dialog = page.getByRole('dialog', { name: 'Die Regeln wurden inzwischen geändert' });
    await dialog.getByText('„Quartalsberichte“ wurde entfernt').waitFor();
    await assertShownWell(page);
    await dialog.getByRole('button', { name: 'Meine speichern' }).click();
    await assertFocused(button(page, 'Bearbeiten: Größe ist größer als 30 KB → Archive'));
  },
  { look },
);

pageTest(
  'a language that is chosen stays',
  async (page) => {
    await begin(page);
    await button(page, 'Abmelden').click();
    await page.getByLabel('E-Mail-Adresse').fill(alice);
    await page.getByLabel('Passwort', { exact: true }).fill(users.alice.password);
    await button(page, 'Anmelden').click();
    await assertSentences(page);
    await page.getByLabel('Sprache').selectOption('en');
    await page.getByText('When the subject contains Bericht, move it to Archive.').waitFor();
    await page.reload();
    await page.getByText('When the subject contains Bericht, move it to Archive.').waitFor();
  },
  { look },
);
