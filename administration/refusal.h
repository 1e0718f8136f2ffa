// Why a program can't do what a user asked for: as data, which each program reports in its own way.
#ifndef QUARROW_ADMINISTRATION_REFUSAL_H_
#define QUARROW_ADMINISTRATION_REFUSAL_H_

#include <string>

namespace Quarrow::Administration {

// The thing that is refused, and the reason. Refusals of the same kind call for the same answer of
// a program: an exit status, a code of a protocol, or a hint where to go on.
struct Refusal {
  enum class Kind {
    none,  // nothing is refused

    // what was asked for
    no_address,        // the user's name is no mail address
    no_such_user,      // the user has no folder
    user_exists,       // the user has a folder already
    has_mail,          // a user who has mail is not removed
    no_such_filter,    // the user has no filter of that number
    ambiguous_filter,  // several filters have that name
    limit_reached,     // the user has as many filters as there may be
    outdated,          // the rules are not those of the revision that was asked for
    no_revision,       // the history holds no state of that revision
    nothing_to_undo,   // the history holds no state to go to
    has_filters,       // the user has filters already, and nothing said what becomes of them
    lossy_rules,       // rules from elsewhere hold what has no equal here
    no_number_left,    // the highest number of a filter is in use
    no_name,           // a filter without a name
    no_tests,          // a filter without tests
    too_many_tests,    // a filter with more tests than there may be
    no_actions,        // a filter without actions
    not_utf8,          // a text that is not UTF-8
    unreadable_rule,   // a text that is neither a test nor an action
    wrong_rule,        // a name, a test or an action that can't be taken
    wrong_setting,     // a setting of the configuration that is not there or can't have the value
    wrong_json,        // a text that is no list of filters in JSON
    script_too_long,   // the rules make a script that would not be read in full
    rules_refused,     // the Sieve compiler does not take the rules as a whole

    // what lies on the disk
    no_configuration,
    damaged_configuration,
    damaged_document,  // filters can't be loaded from the user's rules document
    unreadable_part,   // a part of the rules document can't be loaded
    damaged_history,   // the history of the rules can't be read in full
    foreign_script,    // the user has a script that was not made from filters
    locked,            // the user is being moved to another machine
    not_locked,        // a user is moved only while they are locked
    wrong_archive,     // an archive of a user that can't be taken

    // what the system said
    missing,        // a file or folder that must be there
    not_permitted,  // the rights are missing
    try_again,      // it may work later
    no_room,        // the disk, or what the user may use of it, is full
    not_made,       // a file or folder can't be made
    not_written,    // another input or output error
    crashed,        // the process that did the work ended without an answer
    unavailable     // a library or memory is missing
  };

  Kind kind = Kind::none;
  std::string object;  // what is refused: a user, a path, or the part of a rule
  std::string reason;  // what is wrong with it, in plain English

  explicit operator bool() const { return kind != Kind::none; }
};

// The kind of a system call's failure, by its errno.
Refusal::Kind kind_of_error(int error);

// The refusal after a system call failed with the errno `error`. The reason is the error's text,
// behind "what: " unless `what` is empty; `what` alone when `error` is 0, for unknown.
Refusal system_refusal(const std::string& object, const std::string& what, int error);

// The refusal after `path` could not be made: not_permitted or not_made.
Refusal making_refusal(const std::string& path, int error);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_REFUSAL_H_
