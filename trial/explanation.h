// Why a message goes where it goes: each rule and each test, by what the interpreter makes of it.
#ifndef QUARROW_TRIAL_EXPLANATION_H_
#define QUARROW_TRIAL_EXPLANATION_H_

#include <quarrow/filter_list.h>

#include <boost/shared_ptr.hpp>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "quarrow/delivery/evaluation_outcome.h"
#include "trial/isolated_runs.h"
#include "trial/mail_contents.h"

namespace Quarrow::Trial {

// What a test looked at.
struct ComparedValue {
  std::string field;                // a header's name, or "size"
  std::optional<std::string> text;  // in UTF-8; none when the message has no such header
  std::string reason;               // why the value is not known; else empty
};

struct ExplainedTest {
  enum class Result { holds, does_not_hold, failed };

  MessageFilters::Test test;
  std::vector<ComparedValue> values;
  Result result = Result::failed;
  // Why it failed, and for an address that could not be read the header's name; else empty.
  std::string reason;
};

struct ExplainedRule {
  enum class Result {
    matches,  // it decides
    does_not_match,
    failed,    // the evaluation ends here with an error, and the inbox takes the message
    disabled,  // it is not in the script, and its tests are not looked at
    no_tests   // nor is a rule without tests
  };

  boost::shared_ptr<MessageFilters::Filter__> filter;
  Result result = Result::failed;
  std::string reason;  // why it failed; else empty
  std::vector<ExplainedTest> tests;
};

struct Explanation {
  std::vector<ExplainedRule> rules;  // up to the one that decides or fails
  Delivery::Evaluation by_rules;     // what comes of these rules, run one by one
  Delivery::Evaluation by_script;    // what delivery does
  // Whether both come to the same. They differ when the script was not made of these rules, or
  // when it takes too much time or memory as a whole.
  bool agrees = false;
};

// Words for programs: "holds", "does_not_hold", "failed"; and for rules "matches",
// "does_not_match", "failed", "disabled", "no_tests".
const char* result_word(ExplainedTest::Result result);
const char* result_word(ExplainedRule::Result result);

// The values that `test` compares in `message`, which was received at `received`.
std::vector<ComparedValue> compared_values(const MessageFilters::Test& test,
                                           const FoundMessage& message, std::time_t received,
                                           IsolatedRuns& runs);

// Explains what the rules `list`, of which the script `script_path` was made, do with `message`,
// which was received at `received`. Each rule and each test is run alone, as a script of its own
// from the writer of all scripts; only the interpreter says whether it holds.
Explanation explain(const MessageFilters::FilterList__& list, const std::string& script_path,
                    const FoundMessage& message, std::time_t received, IsolatedRuns& runs);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_EXPLANATION_H_
