// The page: who uses it, its views, and the way between them.

import { showSignIn, signInAgain } from './account/sign_in.js';
import { signOutButton } from './account/sign_out.js';
import { showAdvanced } from './advanced/advanced_view.js';
import { currentUser, onSessionEnd, Problem } from './common/api.js';
import { el, newId, refill } from './common/dom.js';
import { complain } from './common/notices.js';
import { currentPlace, keepScroll, restoreScroll } from './common/place.js';
import { watchPresses } from './common/press.js';
import { problemText } from './common/problem_words.js';
import { load, reloadRules, store } from './common/store.js';
import { chooseLanguage, language, languages, loadWords, t } from './common/words.js';
import { showHistory } from './history/history_view.js';
import { showMessages } from './mail/messages_view.js';
import { showRules } from './rules/rules_view.js';

/** @type {Record<string, (container: HTMLElement) => (() => void) | void>} */
const views = {
  rules: showRules,
  messages: showMessages,
  history: showHistory,
  advanced: showAdvanced,
};

const page = /** @type {HTMLElement} */ (document.getElementById('page'));

/** @type {(() => void) | void} of the view that is shown */
let leave;

/** The view that is shown; empty before there is one. */
let shownView = '';

function wantedView() {
  const { view } = currentPlace();
  return view in views ? view : 'rules';
}

/** Shows the view of the address. */
function showView() {
  const view = wantedView();
  if (view === shownView) return;
  leave?.();
  const isFirst = shownView === '';
  shownView = view;
  document.title = `${t(`app.${view}`)} – Quarrow`;
  for (const link of page.querySelectorAll('nav a'))
    if (link.getAttribute('href') === `#${view}`) link.setAttribute('aria-current', 'page');
    else link.removeAttribute('aria-current');
  const title = el('h1', { tabindex: '-1' }, t(`app.${view}`));
  const container = el('div', { class: view });
  refill(/** @type {HTMLElement} */ (document.getElementById('main')), title, container);
  leave = views[view](container);
  if (isFirst) return;
  scrollTo(0, 0);
  title.focus({ preventScroll: true });
}

/**
 * A choice of the page's language; all is shown anew in it.
 * @param {() => void} showAnew
 */
function languageChoice(showAnew) {
  const id = newId();
  const choose = async (/** @type {{target: HTMLSelectElement}} */ { target }) => {
    await chooseLanguage(target.value);
    showAnew();
    page.querySelector('select')?.focus();
  };
  const options = Object.entries(languages).map(([name, words]) =>
    el('option', { value: name, lang: name, selected: name === language }, words),
  );
  return el(
    'p',
    { class: 'language' },
    el('label', { for: id, class: 'unseen' }, t('app.language')),
    el('select', { id, onchange: choose }, options),
  );
}

/** Who is signed in, and the way out. */
const account = () =>
  el(
    'p',
    { class: 'account' },
    el('bdi', { class: 'user', title: t('session.account', { user: store.user }) }, store.user),
    signOutButton(false),
  );

const brand = () => el('p', { class: 'brand' }, el('a', { href: '#rules' }, 'Quarrow'));

/** Shows the header and the view of the address. */
function showShell() {
  const links = Object.keys(views).map((view) =>
    el('li', {}, el('a', { href: `#${view}` }, t(`app.${view}`))),
  );
  const main = el('main', { id: 'main', tabindex: '-1' });
  const skip = (/** @type {Event} */ event) => {
    event.preventDefault();
    main.focus();
  };
  leave?.();
  leave = undefined;
  shownView = '';
  refill(
    page,
    el('a', { class: 'skip', href: '#main', onclick: skip }, t('app.skip')),
    el(
      'header',
      {},
      brand(),
      el('nav', { 'aria-label': t('app.views') }, el('ul', {}, links)),
      el('div', { class: 'aside' }, languageChoice(showShell), account()),
    ),
    main,
  );
  showView();
}

/**
 * A page that holds little more than one thing.
 * @param {() => void} showAnew in another language
 * @returns {HTMLElement} the place for that
 */
function bareMain(showAnew) {
  const main = el('main', { id: 'main', class: 'bare', tabindex: '-1' });
  refill(
    page,
    el('header', {}, brand(), el('div', { class: 'aside' }, languageChoice(showAnew))),
    main,
  );
  return main;
}

/** @returns {Promise<void>} once somebody has signed in */
function signInFirst() {
  document.title = `${t('session.title')} – Quarrow`;
  return new Promise((resolve) => {
    const show = () => showSignIn(bareMain(show)).then(resolve);
    show();
  });
}

/**
 * Says why there is nothing to show, and waits until the user wants another try.
 * @param {unknown} problem
 */
function failToStart(problem) {
  const again = el('button', { type: 'button', class: 'main' }, t('app.try_again'));
  refill(
    bareMain(() => failToStart(problem)),
    el('h1', {}, t('app.not_started')),
    el('p', { role: 'alert' }, problemText(problem)),
    el('p', {}, again),
  );
  again.addEventListener('click', start, { once: true });
  again.focus();
}

/** Signs in where there is no session, and shows the rules. */
async function start() {
  try {
    if ((await currentUser()) === null) await signInFirst();
    store.user = (await currentUser()) ?? '';
    await load();
  } catch (problem) {
    return failToStart(problem);
  }
  showShell();
  restoreScroll();
}

/** @type {() => void} takes the complaint about the connection away */
let closeComplaint = () => {};

let isRefreshing = false;

/** Another tab, or another program, may have changed the rules. */
async function refresh() {
  if (isRefreshing || document.visibilityState !== 'visible' || shownView === '') return;
  isRefreshing = true;
  try {
    await currentUser();
    await reloadRules();
    closeComplaint();
  } catch (problem) {
    if (!(problem instanceof Problem)) throw problem;
    if (problem.status === 401) return;
    const again = { label: t('app.try_again'), action: refresh };
    closeComplaint = complain(problemText(problem), again);
  } finally {
    isRefreshing = false;
  }
}

/** @param {unknown} error a mistake of the page's own */
function confess(error) {
  if (error instanceof DOMException && error.name === 'AbortError') return;
  complain(problemText(error));
}

addEventListener('error', (event) => confess(event.error ?? event.message));
addEventListener('unhandledrejection', (event) => confess(event.reason));
addEventListener('hashchange', () => shownView !== '' && showView());
addEventListener('focus', refresh);
document.addEventListener('visibilitychange', refresh);
addEventListener('online', refresh);
onSessionEnd(() => signInAgain(store.user));
keepScroll();
watchPresses();
try {
  await loadWords();
  await start();
} catch (error) {
  // there may be no words to say it with
  refill(page, el('p', { role: 'alert' }, `This page can't be shown. Reload it. (${error})`));
}
