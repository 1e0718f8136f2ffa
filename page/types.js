// The forms of what the server sends and takes; docs/openapi.json describes them all.

/**
 * @typedef {object} Test
 * @property {'string' | 'address' | 'size' | 'date'} type
 * @property {string} field
 * @property {string} comparator
 * @property {string} value
 * @property {boolean} negative
 * @property {boolean} match_case
 *
 * @typedef {object} Action
 * @property {'move' | 'copy' | 'delete'} method
 * @property {string} [target] a folder
 *
 * @typedef {object} Warning
 * @property {string} kind
 * @property {string} detail
 * @property {number[]} [earlier]
 *
 * @typedef {object} Filter
 * @property {number} [id] missing for one that is not saved
 * @property {boolean} enabled
 * @property {string} name
 * @property {'allof' | 'anyof'} relation
 * @property {Test[]} tests
 * @property {Action[]} actions
 * @property {string} [sentence]
 * @property {Warning[]} [warnings]
 *
 * @typedef {object} Rules
 * @property {string} revision
 * @property {{bytes: number, most_bytes: number}} script
 * @property {Filter[]} filters
 * @property {string[]} remarks
 * @property {string[]} [changes]
 *
 * @typedef {object} Field
 * @property {Test['type']} type
 * @property {string} field
 * @property {string} words
 * @property {boolean} own
 * @property {string[]} comparators
 *
 * @typedef {object} RuleFigures
 * @property {number} id
 * @property {number} caught
 * @property {number | null} last
 *
 * @typedef {object} Statistics
 * @property {number} days
 * @property {boolean} counted
 * @property {RuleFigures[]} rules
 *
 * @typedef {object} Message
 * @property {string} id
 * @property {string | null} from
 * @property {string | null} subject
 * @property {string | null} list
 * @property {number} received
 * @property {boolean} seen
 * @property {number} bytes
 */

export {};
