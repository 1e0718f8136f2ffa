// The words and values that delivery filters are made of, and the conditions for valid ones.
//
// The words of the vocabulary are plain strings: they are stored as they stand in a user's rules
// document, and compared byte for byte, case included.
#ifndef QUARROW_RULE_MODEL_H_
#define QUARROW_RULE_MODEL_H_

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <list>
#include <string>

#include "quarrow/export.h"

namespace Quarrow::MessageFilters {

// The part of a message that a test looks at: a header, the size, or a date.
struct QUARROW_EXPORT Field {
  static const std::string STRING;   // "string": a header's text
  static const std::string ADDRESS;  // "address": the addresses in a header
  static const std::string SIZE;     // "size": the size of the message
  static const std::string DATE;     // "date": a date

  // Whether `type` is one of the four words above.
  static bool is_valid_type(const std::string& type);

  std::string type;         // one of the four words above
  std::string name;         // header name, or "to_cc", "from_to_cc", "zvx-received-date"
  bool customized = false;  // the user's own field, as opposed to a system field
};

// How a test compares.
struct QUARROW_EXPORT Comparator {
  static const std::string IS;         // "is": equal
  static const std::string CONTAINS;   // "contains": substring
  static const std::string BEGINWITH;  // "begin_with": prefix
  static const std::string ENDWITH;    // "end_with": suffix
  static const std::string BEFORE;     // "before": earlier date
  static const std::string AFTER;      // "after": later date
  static const std::string GREATER;    // "greater": larger size
  static const std::string LESS;       // "less": smaller size

  // Whether `op` is one of the eight words above.
  static bool is_valid_op(const std::string& op);
};

// One condition of a filter.
struct QUARROW_EXPORT Test {
  // Whether the field has a type and a name, the comparator suits that type, and the value is
  // neither empty nor holds a backslash or a double quote. Whether a size is a number, or a date a
  // date, is only seen when the test is compiled: see UserMessageFilters__::validate_test.
  bool is_valid() const;

  Field field;
  bool negative = false;    // the outcome is inverted
  bool match_case = false;  // compare octets, not letters regardless of case
  std::string comparator;   // a word of Comparator
  std::string value;        // text, address, size in kibibytes or date, UTF-8
};

// A filter's work on a message that matches.
struct QUARROW_EXPORT Action {
  static const std::string MOVE;    // "move": file into the target folder
  static const std::string COPY;    // "copy": file into the target folder, and keep
  static const std::string DELETE;  // "delete": file into the folder Trash

  // Whether `method` is one of the three words above.
  static bool is_valid_method(const std::string& method);

  // Whether the method is valid and a target is there; "delete" needs none.
  bool is_valid() const;

  std::string method;  // one of the three words above
  std::string target;  // folder, UTF-8, levels separated by "/"
  std::string value;   // a further operand: stored with the action, and otherwise ignored
};

// A named rule: when all or any of its tests hold, its actions are carried out. Always held by a
// shared pointer.
class QUARROW_EXPORT Filter__ {
 public:
  static const std::string ALLOF;  // "allof": all tests must hold
  static const std::string ANYOF;  // "anyof": one of the tests must hold

  // A new filter: enabled, without an id, relation "allof", no tests and no actions.
  static boost::shared_ptr<Filter__> Create();

  // Whether `relation` is "allof" or "anyof".
  static bool is_valid_relation(const std::string& relation);

  // The most tests that one filter may carry: 10. Loading a document enforces it; is_valid() does
  // not.
  static std::size_t max_tests();

  // Whether there are actions, a valid relation and a name. Looks neither at the tests nor into the
  // actions.
  bool is_valid() const;

  bool enabled = true;
  std::string name;
  std::int32_t id = 0;  // 0: none yet, the list gives one
  std::string relation = ALLOF;
  std::list<Test> tests;
  std::list<Action> actions;
};

}  // namespace Quarrow::MessageFilters

#endif  // QUARROW_RULE_MODEL_H_
