// Requests to the server. The page uses nothing but this API.

import { released } from './press.js';

/**
 * What the server refuses, or that it could not be asked.
 */
export class Problem extends Error {
  /**
   * @param {number} status that of the answer; 0 when there was none
   * @param {any} body the problem document (RFC 9457)
   * @param {number | null} [retryAfter] the seconds that the server asks to wait
   */
  constructor(status, body, retryAfter = null) {
    super(body?.detail ?? `status ${status}`);
    this.status = status;
    this.body = body ?? {};
    this.retryAfter = retryAfter;
  }

  /** The kind, such as "limit-reached"; empty where only the status tells. */
  get kind() {
    return String(this.body.type ?? '').match(/^urn:quarrow:problem:(.+)$/)?.[1] ?? '';
  }

  /** Whether what was asked may be done all the same: no answer of the server came. */
  get mayBeDone() {
    return [0, 502, 504].includes(this.status);
  }

  /** @returns {{pointer?: string, parameter?: string, detail: string}[]} */
  get errors() {
    return this.body.errors ?? [];
  }
}

/** That of the session: changes carry it. */
let token = '';

/** Who is signed in, as the server spells them. */
let user = '';

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
 * The text of an answer that may be cut off on its way. It does not come into a press.
 * @param {Response} response
 */
async function textOf(response) {
  try {
    const text = await response.text();
    await released();
    return text;
  } catch (error) {
    throw new Problem(0, { detail: String(error) });
  }
}

/**
 * The body of an answer; null when there is none. A page that something on the way puts in the
 * answer's place is none of the server's.
 * @param {Response} response
 */
async function bodyOf(response) {
  const text = await textOf(response);
  const isJson = /json/.test(response.headers.get('Content-Type') ?? '');
  if (isJson && text !== '') return JSON.parse(text);
  if (response.ok && text !== '') throw new Problem(0, { detail: 'the answer is no JSON' });
  return null;
}

/** @param {Response} response */
async function problemOf(response) {
  const seconds = Number(response.headers.get('Retry-After') ?? Number.NaN);
  const body = await bodyOf(response);
  return new Problem(response.status, body, Number.isNaN(seconds) ? null : seconds);
}

/**
 * Asks the server. Where the session has ended, the user signs in first, and the request is sent
 * once more; likewise where the user has signed in anew elsewhere in this browser.
 * @param {string} method
 * @param {string} path
 * @param {Details} details
 * @returns {Promise<Response>} one that is not refused
 */
async function answerTo(method, path, details) {
  const tokenThen = token;
  let response = await send(method, path, details);
  if (response.status === 401) {
    await signInAgain();
    response = await send(method, path, details);
  } else if (response.status === 403 && method !== 'GET') {
    await currentUser();
    if (token !== tokenThen) response = await send(method, path, details);
  }
  if (!response.ok) throw await problemOf(response);
  return response;
}

/**
 * Asks the server; gives the answer's body. Throws a Problem for what is refused, or an AbortError.
 * @param {string} method
 * @param {string} path
 * @param {Details} [details]
 * @returns {Promise<any>}
 */
export async function ask(method, path, details = {}) {
  return bodyOf(await answerTo(method, path, details));
}

/**
 * Gets a file's text. Throws a Problem.
 * @param {string} path
 * @returns {Promise<string>}
 */
export async function askForText(path) {
  return textOf(await answerTo('GET', path, {}));
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
 * @param {string} name
 * @param {string} password
 * @returns {Promise<string | null>} the user, as the server spells them
 */
export async function signIn(name, password) {
  return userOf(await send('POST', '/session', { body: { user: name, password } }), false);
}

/**
 * Where somebody else has signed in, in another tab, nothing of what is shown is theirs: the page
 * begins anew, and nothing more is done.
 * @param {Response} response
 * @param {boolean} mayBeNobody
 * @returns {Promise<string | null>}
 */
async function userOf(response, mayBeNobody) {
  if (mayBeNobody && response.status === 401) return null;
  if (!response.ok) throw await problemOf(response);
  const body = await bodyOf(response);
  if (user !== '' && body.user !== user) {
    location.reload();
    return new Promise(() => {});
  }
  ({ token, user } = body);
  return user;
}

/** @param {boolean} everywhere ends the sessions of all devices */
export async function signOut(everywhere) {
  const response = await send('DELETE', everywhere ? '/sessions' : '/session', {});
  if (!response.ok && response.status !== 401) throw await problemOf(response);
}
