// The processes behind the page, which die and begin again.
import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { openSync, readdirSync, readFileSync, realpathSync } from 'node:fs';
import { get } from 'node:http';
import { after } from 'node:test';
import { homeOf } from './mailboxes.js';

const { process: first, command, log, socket } = JSON.parse(process.env.PAGE_SERVER);
const patience = 60_000; // milliseconds until something that must happen counts as missing

let server = first;
after(() => server === first || killServer());

/** Waits until `condition()` gives something true, and gives that. */
export async function until(condition, what) {
  for (const end = Date.now() + patience; Date.now() < end; ) {
    const result = await condition();
    if (result) return result;
    await new Promise((resolve) => setTimeout(resolve, 10)); // the condition is looked at again
  }
  return assert.fail(`in vain: ${what}`);
}

/** What `read` gives; null where the process is gone, or is none that may be looked at. */
function ofProcess(read) {
  try {
    return read();
  } catch (error) {
    if (['ENOENT', 'ESRCH', 'EACCES'].includes(error.code)) return null;
    throw error;
  }
}

const textOf = (id, file) => ofProcess(() => readFileSync(`/proc/${id}/${file}`, 'utf8')) ?? '';

function familyOf(id) {
  const children = textOf(id, `task/${id}/children`).match(/\d+/g) ?? [];
  return [id, ...children.flatMap((child) => familyOf(Number(child)))];
}

function isAlive(id) {
  const status = textOf(id, 'status');
  return status !== '' && !/^State:\s+Z/m.test(status);
}

/** Ends processes as a power failure does. */
export async function kill(ids) {
  for (const id of ids) ofProcess(() => process.kill(id, 'SIGKILL'));
  await until(() => !ids.some(isAlive), 'the processes are gone');
}

/** The processes that apply the user's rules to their mail. */
export const filingProcesses = (user) =>
  readdirSync('/proc')
    .filter((name) => /^\d+$/.test(name) && textOf(name, 'comm') === 'quarrow-refile\n')
    .filter((id) => ofProcess(() => realpathSync(`/proc/${id}/cwd`)) === realpathSync(homeOf(user)))
    .map(Number);

/** Ends the web server and all of its processes, but none that applies rules. */
export const killServer = () => kill(familyOf(server));

const isServing = () =>
  new Promise((resolve) => {
    const request = get({ socketPath: socket, path: '/' }, (answer) => {
      answer.resume();
      resolve(true);
    });
    request.on('error', () => resolve(false));
  });

/** Starts the web server, with further options, or other values, such as {'--imap': URL}. */
export async function startServer(changes = {}) {
  const [program, ...options] = command;
  const kept = options.filter((option, at) => !(option in changes || options[at - 1] in changes));
  const args = [...kept, ...Object.entries(changes).flat()];
  server = spawn(program, args, { stdio: ['ignore', 'ignore', openSync(log, 'a')] }).pid;
  await until(isServing, 'the server is ready');
}
