// Moving a rule of a list with the mouse or a finger.

/** So near to the window's upper and lower end, in pixels, the page scrolls. */
const margin = 56;
const step = 10;

/**
 * The rows of the list that are seen, without one.
 * @param {HTMLElement} row
 * @returns {HTMLElement[]}
 */
const otherRows = (row) =>
  /** @type {HTMLElement[]} */ ([...(row.parentElement?.children ?? [])]).filter(
    (other) => other !== row && !other.hidden,
  );

/**
 * The first row whose middle is below `y`.
 * @param {HTMLElement[]} rows
 * @param {number} y
 */
const rowBelow = (rows, y) =>
  rows.find((row) => {
    const { top, height } = row.getBoundingClientRect();
    return top + height / 2 > y;
  });

/**
 * Has a handle drag its row. Escape puts the row back.
 * @param {HTMLElement} handle
 * @param {HTMLElement} row
 * @param {(before: HTMLElement | null) => void} onDrop the row that it is to stand before; null: last
 */
export function makeDraggable(handle, row, onDrop) {
  handle.addEventListener('pointerdown', (down) => {
    if (down.button !== 0) return;
    down.preventDefault();
    const rows = otherRows(row);
    const started = down.clientY + scrollY;
    let y = down.clientY;

    const draw = () => {
      row.style.transform = `translateY(${y + scrollY - started}px)`;
      const below = rowBelow(rows, y);
      for (const other of rows) other.classList.toggle('drop-before', other === below);
      rows.at(-1)?.classList.toggle('drop-after', below === undefined);
    };
    const scrolling = setInterval(() => {
      if (y < margin) scrollBy(0, -step);
      else if (y > innerHeight - margin) scrollBy(0, step);
      else return;
      draw();
    }, 16);
    const end = () => {
      clearInterval(scrolling);
      listening.abort();
      row.classList.remove('dragged');
      row.style.transform = '';
      for (const other of rows) other.classList.remove('drop-before', 'drop-after');
    };

    const listening = new AbortController();
    const { signal } = listening;
    const on = (/** @type {string} */ type, /** @type {(event: any) => void} */ listener) =>
      document.addEventListener(type, listener, { signal });
    on('pointermove', (event) => {
      y = event.clientY;
      draw();
    });
    on('pointerup', (event) => {
      const below = rowBelow(rows, event.clientY);
      const next = otherRows(row).find((other) => isBehind(other, row));
      end();
      if (below !== next) onDrop(below ?? null);
    });
    on('pointercancel', end);
    on('keydown', (event) => event.key === 'Escape' && end());
    row.classList.add('dragged');
  });
}

/**
 * @param {HTMLElement} row
 * @param {HTMLElement} other
 */
const isBehind = (row, other) =>
  Boolean(row.compareDocumentPosition(other) & Node.DOCUMENT_POSITION_FOLLOWING);
