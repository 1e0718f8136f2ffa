// Making elements.

/**
 * @typedef {Node | string | number | null | undefined | false} Child
 * @typedef {Record<string, any>} Attributes
 */

/**
 * An element with attributes and children. An attribute whose name begins with "on" is a listener;
 * one that is true stands without a value; one that is false, null or undefined is left out. A text
 * never becomes markup.
 * @param {string} tag
 * @param {Attributes} [attributes]
 * @param {...(Child | Child[])} children
 * @returns {any} an HTMLElement of that tag
 */
export function el(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
    else if (value === true) element.setAttribute(name, '');
    else if (value !== false && value !== null && value !== undefined)
      element.setAttribute(name, String(value));
  }
  put(element, ...children);
  return element;
}

/**
 * Adds children; nothing for null, undefined and false.
 * @param {Element} parent
 * @param {...(Child | Child[])} children
 */
export function put(parent, ...children) {
  for (const child of children.flat())
    if (child !== null && child !== undefined && child !== false)
      parent.append(child instanceof Node ? child : String(child));
}

/**
 * Puts children in place of those that there are.
 * @param {Element} parent
 * @param {...(Child | Child[])} children
 */
export function refill(parent, ...children) {
  parent.replaceChildren();
  put(parent, ...children);
}

/**
 * Puts elements into a parent in an order, without touching those that stand right.
 * @param {HTMLElement} parent
 * @param {HTMLElement[]} elements
 */
export function arrange(parent, elements) {
  const focused = /** @type {HTMLElement | null} */ (document.activeElement);
  for (const child of [...parent.children])
    if (!elements.includes(/** @type {HTMLElement} */ (child))) child.remove();
  elements.forEach((element, at) => {
    if (parent.children[at] !== element) parent.insertBefore(element, parent.children[at] ?? null);
  });
  if (focused?.isConnected && document.activeElement !== focused) focused.focus();
}

/**
 * Whether a late answer may move the focus: the user has left it in this place, or it is nowhere.
 * @param {Element | null} place
 */
export function mayTakeFocus(place) {
  const { activeElement, body } = document;
  if (activeElement === null || activeElement === body) return true;
  return place !== body && Boolean(place?.contains(activeElement));
}

/**
 * Does a button's work, unless it is under way already.
 * @param {HTMLElement} button
 * @param {() => Promise<void>} work
 */
export async function oneAtATime(button, work) {
  if (button.hasAttribute('aria-disabled')) return;
  button.setAttribute('aria-disabled', 'true');
  await work().finally(() => button.removeAttribute('aria-disabled'));
}

let lastId = 0;

/** An identifier that no other element of the page has. */
export function newId() {
  lastId += 1;
  return `e${lastId}`;
}
