// libsieve's own opinion of address headers, for tests and measurements.
#ifndef HOST_ZVELLPARSER_LIBSIEVE_ORACLE_TEST_SUPPORT_H_
#define HOST_ZVELLPARSER_LIBSIEVE_ORACLE_TEST_SUPPORT_H_

#include <string>
#include <vector>

namespace zvellparser {

enum class LibsieveVerdict : char {
  unknown,  // libsieve crashed
  refused,  // it reported an address error (code 26), whether or not the test matched, too
  read,     // it read the text; the test did not match
  matched   // it read the text, and the test matched
};

// libsieve's verdict on each of `texts`, from the first byte to the first NUL, as the value of a
// From header under the test `address :all :is "from" "KEY"`. A `key` without quotes and
// backslashes is expected. libsieve runs in child processes, since plain libsieve corrupts its heap
// on some texts.
std::vector<LibsieveVerdict> libsieve_verdicts(const std::vector<std::string>& texts,
                                               const std::string& key);

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_LIBSIEVE_ORACLE_TEST_SUPPORT_H_
