// The users' folders, as the owner of the machine sees them: their mail, and the command "quarrow".
import { execFileSync } from 'node:child_process';
import {
  chownSync,
  existsSync,
  mkdirSync,
  readdirSync,
  readFileSync,
  statSync,
  writeFileSync,
} from 'node:fs';
import { join } from 'node:path';

const { root, quarrow } = JSON.parse(process.env.PAGE_SERVER);

/** The folder of a user such as "alice@example.org". */
export function homeOf({ user }) {
  const [local, domain] = user.split('@');
  return join(root, domain, local);
}

/** Gives a file or folder to the owner of the user's folder. */
export function give(user, path) {
  const { uid, gid } = statSync(homeOf(user));
  chownSync(path, uid, gid);
}

/** The Maildir of a folder such as "Work/Reports". */
const maildirOf = (user, folder) =>
  join(homeOf(user), 'Maildir', folder === 'INBOX' ? '' : `.${folder.replaceAll('/', '.')}`);

/**
 * Puts messages into a folder, which is made where it is missing: the first one is the newest, each
 * further one a minute older. All were read.
 */
export function putMessages(user, folder, messages, newest = 1777900000) {
  const maildir = maildirOf(user, folder);
  for (const path of [maildir, ...['cur', 'new', 'tmp'].map((part) => join(maildir, part))])
    if (!existsSync(path)) {
      mkdirSync(path);
      give(user, path);
    }
  messages.forEach((message, at) => {
    const path = join(maildir, 'cur', `${newest - at * 60}.M${at}P2.host,S=${message.length}:2,S`);
    writeFileSync(path, message);
    give(user, path);
  });
}

/** The paths of a folder's messages; none where there is no such folder. */
export const messagePaths = (user, folder) =>
  ['cur', 'new']
    .map((part) => join(maildirOf(user, folder), part))
    .filter((path) => existsSync(path))
    .flatMap((path) => readdirSync(path).map((name) => join(path, name)));

/** The messages of a folder as they lie there, a byte a character. */
export const messagesIn = (user, folder) =>
  messagePaths(user, folder).map((path) => readFileSync(path, 'latin1'));

/** A small message with these headers, each a text or a Buffer. */
export const messageWith = (...headers) =>
  Buffer.concat(
    [...headers, '', 'Hello', ''].map((line) =>
      Buffer.concat([Buffer.from(line), Buffer.from('\n')]),
    ),
  );

/** Delivers a message to the user as the mail server does, and notes it in their journal. */
export function deliver(user, message) {
  const { uid, gid } = statSync(homeOf(user));
  const owner = process.getuid() === 0 ? { uid, gid } : {};
  const args = ['--root', root, 'deliver', '--journal', '-d', user.user];
  execFileSync(quarrow, args, { input: message, cwd: root, ...owner });
}
