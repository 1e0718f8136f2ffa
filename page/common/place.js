// The place in the page: its view, and what is open there. It is kept in the address, so that a
// reload, a bookmark and the browser's "back" come to it.

/** @returns {{view: string, item: string}} such as of "#history/1f2e3d4c5b6a"; empty parts else */
export function currentPlace() {
  const [view = '', item = ''] = location.hash.slice(1).split('/');
  return { view, item };
}

/**
 * Something was opened in the view, or, with '', closed. No step of the browser's "back".
 * @param {string | number} item
 */
export function openHere(item) {
  const { view } = currentPlace();
  const hash = item === '' ? `#${view || 'rules'}` : `#${view || 'rules'}/${item}`;
  history.replaceState(null, '', hash);
}

const scrollKey = 'quarrow.scroll';

/** From now on, a reload comes back to where the user was on the page. */
export function keepScroll() {
  history.scrollRestoration = 'manual';
  addEventListener('pagehide', () => {
    sessionStorage.setItem(scrollKey, JSON.stringify([location.hash, scrollY]));
  });
}

/** Scrolls to where the user was before a reload. */
export function restoreScroll() {
  const [hash, y] = JSON.parse(sessionStorage.getItem(scrollKey) ?? '["", 0]');
  sessionStorage.removeItem(scrollKey);
  if (hash === location.hash) scrollTo(0, y);
}
