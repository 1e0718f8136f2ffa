// What the outcome of one test says about the outcome of others, for whatever message.
#ifndef QUARROW_ADMINISTRATION_TEST_LOGIC_H_
#define QUARROW_ADMINISTRATION_TEST_LOGIC_H_

#include <quarrow/rule_model.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Quarrow::Administration {

// A test that holds, or one that does not, in a form that can be compared.
struct Claim {
  // What the test looks at. Two claims about different subjects have nothing to do with each other.
  enum class Subject {
    text,       // one text for each header, or none
    addresses,  // any number of texts for each header
    size,       // a number
    date,       // a number, or none
    other,      // nothing is known but that equal tests have equal outcomes
    unknown     // not even that
  };
  // Which part of a text the value is.
  enum class Place { whole, part, beginning, ending };

  Subject subject = Subject::unknown;
  bool holds = true;
  std::vector<std::string> headers;  // text, addresses: one of them has to do, in small letters
  Place place = Place::whole;
  std::string value;        // text, addresses, and other: what is looked for
  std::string small_value;  // the same in small letters
  bool is_exact = false;    // capitals count
  std::int64_t number = 0;  // size: bytes; date: YYYYMMDD
  int relation = 0;         // what is looked at is less than the number: -1, equal: 0, greater: 1
};

// The claim that `test` holds.
Claim claim_of(const MessageFilters::Test& test);

// The claim that the claimed test has the other outcome.
Claim opposite_of(Claim claim);

// Claims to be seen together, which stay where they are.
using Claims = std::vector<const Claim*>;

// Whether no message can make all of `claims` true. True only when that is certain.
bool exclude_each_other(const Claims& claims);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_TEST_LOGIC_H_
