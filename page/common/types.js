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
 * @typedef {object} State of the rules
 * @property {string} revision
 * @property {number | null} time in seconds since 1970
 * @property {string} who
 * @property {'change' | 'undo' | 'redo' | 'restore' | 'found'} how
 * @property {string[]} changes in English
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
 *
 * @typedef {object} Place where a message goes
 * @property {'folders' | 'discarded' | 'rejected' | 'failed'} kind
 * @property {string[]} folders
 * @property {string} text in English
 *
 * @typedef {object} Preview
 * @property {string} folder
 * @property {number} total
 * @property {number} examined
 * @property {number} limit
 * @property {number} caught
 * @property {{id: number, name: string, count: number}[]} taken_earlier
 * @property {number} changed
 * @property {number} failed
 * @property {{
 *   message: Message,
 *   taken_by: {id: number, name: string} | null,
 *   now: Place,
 *   then: Place,
 * }[]} examples
 * @property {string | null} cursor
 *
 * @typedef {object} ExplainedTest
 * @property {Test} test
 * @property {'holds' | 'does_not_hold' | 'failed'} result
 * @property {string} reason
 * @property {{field: string, value: string | null, reason?: string}[]} values
 *
 * @typedef {object} ExplainedRule
 * @property {number} id
 * @property {string} name
 * @property {'matches' | 'does_not_match' | 'failed' | 'disabled' | 'no_tests'} result
 * @property {string} reason
 * @property {ExplainedTest[]} tests
 *
 * @typedef {object} Explanation
 * @property {Message} message
 * @property {number | null} decided_by
 * @property {Place} place
 * @property {boolean} agrees
 * @property {ExplainedRule[]} rules
 * @property {{
 *   time: number,
 *   rule: string | null,
 *   place: string,
 *   other_rules: boolean | null,
 * }[]} deliveries
 * @property {string[]} remarks in English
 *
 * @typedef {object} Application
 * @property {'none' | 'planning' | 'planned' | 'filing' | 'filed' | 'undoing' | 'undone' | 'stopped'
 *   | 'interrupted' | 'failed'} state
 * @property {string} folder
 * @property {string | null} rule
 * @property {string} revision
 * @property {number} started
 * @property {number | null} ended
 * @property {number} done
 * @property {number} total
 * @property {{rule: string, fate: string, folder: string, count: number}[]} counts
 * @property {number} failures
 * @property {string[]} failure_examples
 * @property {boolean} undoable
 * @property {string} reason
 */

export {};
