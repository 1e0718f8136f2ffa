// Rules that a message suggests.

/**
 * @typedef {import('../common/types.js').Message} Message
 * @typedef {import('../common/types.js').Test} Test
 * @typedef {import('../common/types.js').Filter} Filter
 */

/**
 * The text without quoted strings and comments (RFC 5322, section 3.2), which may hold anything.
 * @param {string} text
 */
function withoutQuotes(text) {
  let plain = '';
  let isQuoted = false;
  let depth = 0;
  for (let at = 0; at < text.length; at += 1) {
    const character = text[at];
    if (character === '\\' && (isQuoted || depth > 0)) at += 1;
    else if (character === '"' && depth === 0) isQuoted = !isQuoted;
    else if (isQuoted) continue;
    else if (character === '(') depth += 1;
    else if (character === ')' && depth > 0) depth -= 1;
    else if (depth === 0) plain += character;
  }
  return isQuoted || depth > 0 ? '' : plain;
}

/**
 * The sender's address in a From field; null when there is none, or several, or when it is not
 * certain which one it is: names are a stranger's text and may look like addresses, and characters
 * that turn a line show an address that is none.
 * @param {string | null} from
 * @returns {string | null}
 */
export function addressOf(from) {
  const plain = withoutQuotes(from ?? '');
  const insides = [...plain.matchAll(/<([^<>]*)>/g)].map((match) => match[1]);
  if (insides.length > 1 || (insides.length === 0 && /[<>]/.test(plain))) return null;
  const address = (insides[0] ?? plain).trim();
  const isAddress = /^[^\s@<>"(),:;\\]+@[^\s@<>"(),:;\\]+$/.test(address);
  return isAddress && !/\p{Bidi_Control}/u.test(address) ? address : null;
}

/**
 * What tells the messages of a mailing list (RFC 2919): its identifier in its brackets, or the
 * whole text where there are none.
 * @param {string | null} list
 * @returns {string | null}
 */
export function listOf(list) {
  const identifier = list?.match(/<\s*([^<>\s]+)\s*>\s*$/);
  const text = identifier ? `<${identifier[1]}>` : (list ?? '').trim();
  return text === '' || /["\\\p{Bidi_Control}]/u.test(text) ? null : text;
}

/**
 * The part of a subject that further messages are likely to have: without "Re:" and the like, and
 * the longest piece between characters that a value can't hold, or that would turn its line.
 * @param {string | null} subject
 * @returns {string | null}
 */
export function subjectOf(subject) {
  const core = (subject ?? '').replace(/^(\s*(re|aw|fwd?|wg|antw)(\[\d+\])?\s*:)+/i, '');
  const pieces = core.split(/["\\\p{Cc}\p{Bidi_Control}]/u).map((piece) => piece.trim());
  return (
    pieces.reduce((longest, piece) => (piece.length > longest.length ? piece : longest)) || null
  );
}

/**
 * @param {Test['type']} type
 * @param {string} field
 * @param {string} comparator
 * @param {string} value
 * @returns {Test}
 */
const test = (type, field, comparator, value) => ({
  type,
  field,
  comparator,
  value,
  negative: false,
  match_case: false,
});

/**
 * The tests that rules for such messages may begin with.
 * @param {Message} message
 * @returns {{kind: 'sender' | 'list' | 'subject', test: Test}[]}
 */
export function suggestions(message) {
  const sender = addressOf(message.from);
  const list = listOf(message.list);
  const subject = subjectOf(message.subject);
  /** @type {{kind: 'sender' | 'list' | 'subject', test: Test}[]} */
  const found = [];
  if (sender) found.push({ kind: 'sender', test: test('address', 'from', 'is', sender) });
  if (list) found.push({ kind: 'list', test: test('string', 'list-id', 'contains', list) });
  if (subject)
    found.push({ kind: 'subject', test: test('string', 'subject', 'contains', subject) });
  return found;
}

/**
 * A new filter with that test, whose folder the user still has to choose.
 * @param {Test} first
 * @returns {Filter}
 */
export const filterFrom = (first) => ({
  enabled: true,
  name: '',
  relation: 'allof',
  tests: [first],
  actions: [{ method: 'move', target: '' }],
});

/**
 * A filter that throws away what comes from that address.
 * @param {string} address
 * @param {string} name
 * @returns {Filter}
 */
export const blockingFilter = (address, name) => ({
  enabled: true,
  name,
  relation: 'allof',
  tests: [test('address', 'from', 'is', address)],
  actions: [{ method: 'delete' }],
});

/**
 * Whether the filter throws away all that comes from the address.
 * @param {Filter} filter
 * @param {string} address
 */
export function isBlocking({ enabled, tests, actions }, address) {
  const [{ type, field, comparator, value, negative } = test('string', '', '', '')] = tests;
  return (
    enabled &&
    tests.length === 1 &&
    `${type} ${field} ${comparator} ${value}`.toLowerCase() ===
      `address from is ${address}`.toLowerCase() &&
    !negative &&
    actions.every(({ method }) => method === 'delete')
  );
}
