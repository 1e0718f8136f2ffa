// Something that is wrong with a user's files or rules, as data.
#ifndef QUARROW_DOCTOR_FINDING_H_
#define QUARROW_DOCTOR_FINDING_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Quarrow::Doctor {

enum class Severity {
  info,     // nothing has to be done
  warning,  // a rule does not do what its owner may think, or something lies about
  error,    // mail does not go where the rules say, or others can change that
  mended    // was wrong, and is no more
};

// What is found. The words never change: programs go by them.
struct Code {
  static constexpr char unreachable[] = "unreachable";      // the folder can't be looked into
  static constexpr char second_folder[] = "second_folder";  // one that is not in use
  static constexpr char busy[] = "busy";                    // a change of the rules does not end
  static constexpr char crashed[] = "crashed";              // a look at it ended the process
  static constexpr char not_regular[] = "not_regular";      // a link, fifo or folder, no file
  static constexpr char not_folder[] = "not_folder";        // something else in a folder's place
  static constexpr char foreign_owner[] = "foreign_owner";  // another owner than the folder's
  static constexpr char open_mode[] = "open_mode";          // others may write
  static constexpr char leftover[] = "leftover";            // of a writer that was killed
  static constexpr char mail_leftover[] = "mail_leftover";  // the same in a Maildir
  static constexpr char unreadable[] = "unreadable";        // a file that can't be read
  static constexpr char damaged_document[] = "damaged_document";  // no rules can be read from it
  static constexpr char damaged_fields[] = "damaged_fields";      // the user's catalogue of fields
  static constexpr char unreadable_part[] = "unreadable_part";    // a part that loading drops
  static constexpr char lost_document[] =
      "lost_document";                                    // a script made from rules that are gone
  static constexpr char no_script[] = "no_script";        // rules without a script
  static constexpr char other_script[] = "other_script";  // a script of other rules
  static constexpr char long_script[] = "long_script";    // more than is read
  static constexpr char refused_script[] = "refused_script";  // the interpreter does not take it
  static constexpr char hand_written[] = "hand_written";  // a script that was not made from rules
  static constexpr char poisoning_test[] = "poisoning_test";  // a test that can end the evaluation
  static constexpr char odd_rule[] = "odd_rule";  // a text that can't mean what it should
  static constexpr char no_tests[] = "no_tests";  // a rule that never runs without tests
  static constexpr char impossible_folder[] = "impossible_folder";
  static constexpr char new_folder[] = "new_folder";  // made by the first message
  static constexpr char contradiction[] = "contradiction";
  static constexpr char takes_all[] = "takes_all";
  static constexpr char shadowed[] = "shadowed";
  static constexpr char whole_addresses[] = "whole_addresses";
};

struct Finding {
  Severity severity = Severity::info;
  std::string code;
  std::string object;  // a path, or "filter 3"
  std::string reason;  // what is wrong with it, in plain English
  std::string advice;  // what to do, likewise
};

using Findings = std::vector<Finding>;

// The word for a severity.
const char* word_of(Severity severity);

// Whether somebody has to do something.
bool matters(const Finding& finding);

// Findings as a packet, from one process of this program to another one.
std::string packet_of(const Findings& findings);

// The findings in a packet; nothing unless it is whole.
std::optional<Findings> findings_in(std::string_view packet);

}  // namespace Quarrow::Doctor

#endif  // QUARROW_DOCTOR_FINDING_H_
