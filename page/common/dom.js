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

let lastId = 0;

/** An identifier that no other element of the page has. */
export function newId() {
  lastId += 1;
  return `e${lastId}`;
}
