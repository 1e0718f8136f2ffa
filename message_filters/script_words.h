// The form of the scripts that the library writes. The writer puts these words around the texts of
// a rule, and the reader of an execution form expects them there, byte by byte.
#ifndef QUARROW_MESSAGE_FILTERS_SCRIPT_WORDS_H_
#define QUARROW_MESSAGE_FILTERS_SCRIPT_WORDS_H_

#include <cstddef>

namespace Quarrow {

// Of a script no more bytes are read, sent or run.
constexpr std::size_t script_limit = 32768;

}  // namespace Quarrow

// The pieces of a script, in the order in which they come. Blanks matter: every piece of a test
// ends with one, and the test starts with one.
namespace Quarrow::ScriptWords {

// A branch.
constexpr char rule[] = "# RULE: ";  // the filter's name and a line end follow
constexpr char branch[] = "elsif ";

// Its condition: one test, or several between "anyof(" or "allof(" and the end.
constexpr char list_start[] = "(";
constexpr char next_test[] = ",\n        ";
constexpr char list_end[] = ") ";

// A test.
constexpr char test_start[] = " ";
constexpr char negation[] = "not ";
constexpr char header[] = "header ";
constexpr char address[] = "address :all ";
constexpr char size[] = "size ";
constexpr char is[] = ":is ";
constexpr char contains[] = ":contains ";
constexpr char regex[] = ":regex ";
constexpr char match_case[] = ":comparator \"i;octet\" ";
constexpr char over[] = ":over ";
constexpr char under[] = ":under ";
constexpr char kibibytes[] = "K ";
constexpr char value[] = ":value ";
constexpr char equal[] = "\"eq\" ";
constexpr char less[] = "\"lt\" ";
constexpr char greater[] = "\"gt\" ";
constexpr char numeric[] = ":comparator \"i;ascii-numeric\" ";
constexpr char to_and_cc[] = "[\"to\", \"cc\"]";
constexpr char from_to_and_cc[] = "[\"from\", \"to\", \"cc\"]";

// Each of these characters has a backslash in front where it stands for itself in an expression.
constexpr char regex_operators[] = "^.$|()[]*+?/{}";

// Its actions.
constexpr char block[] = "{\n";
constexpr char file_into[] = "    fileinto ";
constexpr char and_keep[] = "; keep";
constexpr char action_end[] = ";\n";
constexpr char block_end[] = "    stop;\n}";

// The script's end.
constexpr char end[] = "# NO MATCH\n";

}  // namespace Quarrow::ScriptWords

#endif  // QUARROW_MESSAGE_FILTERS_SCRIPT_WORDS_H_
