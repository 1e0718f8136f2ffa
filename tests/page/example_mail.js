// The mail in alice's inbox, as the tests read it themselves.
import { readdirSync, readFileSync } from 'node:fs';

const folder = new URL('../../examples/mail/', import.meta.url);

/** Each message's size in bytes, and the lines of its header. */
export const mail = readdirSync(folder)
  .filter((name) => name.endsWith('.eml'))
  .map((name) => readFileSync(new URL(name, folder)))
  .map((bytes) => {
    const [head] = bytes.toString('latin1').split(/\r?\n\r?\n/);
    return { size: bytes.length, lines: head.replace(/\r?\n[ \t]/g, ' ').split(/\r?\n/) };
  });

/** @param {(message: {size: number, lines: string[]}) => boolean} isCaught */
export const counted = (isCaught) => mail.filter(isCaught).length;
