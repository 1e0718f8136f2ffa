// Requests to the server. The page uses nothing but this API.

/**
 * What the server refuses, or that it could not be asked.
 */
export class Problem extends Error {
  /**
   * @param {number} status that of the answer; 0 when there was none
   * @param {any} body the problem document (RFC 9457)
   */
  constructor(status, body) {
    super(body?.detail ?? `status ${status}`);
    this.status = status;
    this.body = body ?? {};
  }

  /** @returns {{pointer?: string, parameter?: string, detail: string}[]} */
  get errors() {
    return this.body.errors ?? [];
  }
}

/** That of the session: changes carry it. */
let token = '';

/** @type {() => Promise<void>} signs the user in again; does not return before */
let signInAgain = () => Promise.reject(new Error('nobody signs in'));

/** @param {() => Promise<void>} handler for sessions that have ended */
export function onSessionEnd(handler) {
  signInAgain = handler;
}

/**
 * @typedef {object} Details
 * @property {any} [body] sent as JSON
 * @property {string} [revision] of the rules that a change is about
 * @property {string} [key] the same for each try of one change
 * @property {AbortSignal} [signal]
 */

/**
 * @param {string} method
 * @param {string} path behind /api/v1
 * @param {Details} details
 * @returns {Promise<Response>}
 */
async function send(method, path, { body, revision, key, signal }) {
  /** @type {Record<string, string>} */
  const headers = {};
  if (body !== undefined) headers['Content-Type'] = 'application/json';
  if (method !== 'GET') headers['X-Quarrow-Token'] = token;
  if (revision) headers['If-Match'] = `"${revision}"`;
  if (key) headers['Idempotency-Key'] = key;
  const text = body === undefined ? undefined : JSON.stringify(body);
  try {
    return await fetch(`api/v1${path}`, { method, headers, body: text, signal, cache: 'no-store' });
  } catch (error) {
    if (signal?.aborted) throw error;
    throw new Problem(0, { detail: String(error) });
  }
}

/**
 * The body of an answer; null when there is none.
 * @param {Response} response
 */
async function bodyOf(response) {
  const text = await response.text();
  const isJson = /json/.test(response.headers.get('Content-Type') ?? '');
  return isJson && text !== '' ? JSON.parse(text) : null;
}

/**
 * Asks the server; gives the answer's body. Where the session has ended, the user signs in first,
 * and the request is sent once more. Throws a Problem for what is refused, or an AbortError.
 * @param {string} method
 * @param {string} path
 * @param {Details} [details]
 * @returns {Promise<any>}
 */
export async function ask(method, path, details = {}) {
  let response = await send(method, path, details);
  if (response.status === 401) {
    await signInAgain();
    response = await send(method, path, details);
  }
  const body = await bodyOf(response);
  if (!response.ok) throw new Problem(response.status, body);
  return body;
}

/**
 * The user of the session; null without one.
 * @returns {Promise<string | null>}
 */
export async function currentUser() {
  return userOf(await send('GET', '/session', {}), true);
}

/**
 * Begins a session. Throws a Problem.
 * @param {string} user
 * @param {string} password
 * @returns {Promise<string | null>} the user, as the server spells them
 */
export async function signIn(user, password) {
  return userOf(await send('POST', '/session', { body: { user, password } }), false);
}

/**
 * @param {Response} response
 * @param {boolean} mayBeNobody
 */
async function userOf(response, mayBeNobody) {
  const body = await bodyOf(response);
  if (mayBeNobody && response.status === 401) return null;
  if (!response.ok) throw new Problem(response.status, body);
  token = body.token;
  return /** @type {string} */ (body.user);
}

/** @param {boolean} everywhere ends the sessions of all devices */
export async function signOut(everywhere) {
  const response = await send('DELETE', everywhere ? '/sessions' : '/session', {});
  if (!response.ok && response.status !== 401)
    throw new Problem(response.status, await bodyOf(response));
}
