// Address headers that repeat one piece: none of them ends an evaluation.

#include <gtest/gtest.h>

#include "tests/support/evaluation_test_support.h"
#include "tests/support/hostile_address_test_support.h"
#include "tests/support/sanitized_test_support.h"

namespace Quarrow {
namespace {

// Each test reads the header anew, and the interpreter gives little of the memory back before the
// evaluation ends.
std::string script_of(int tests) {
  std::string script;
  for (int i = 0; i < tests; ++i)
    script += "if address :all :contains \"from\" \"nobody@nowhere\" { discard; }\n";
  return script + "keep;";
}

// The last command's action is there when the interpreter neither ran out of memory nor refused the
// header.
void expect_read(int tests, std::size_t length) {
  const auto matcher = matcher_of(script_of(tests));
  ASSERT_NE(nullptr, matcher);
  for (const HostileAddress& address : hostile_addresses)
    EXPECT_EQ("MatchResult [action=KEEP]",
              text_of(outcome(*matcher, "From: " + text_of(address, length) + "\n\n")))
        << address.begin << "(" << address.piece << ")*" << address.end << ", " << length;
}

TEST(HostileAddresses, EndNoEvaluation) {
  for (const std::size_t length : {1U, 100U, 4096U, 20000U, 66000U}) expect_read(1, length);
}

TEST(HostileAddresses, EndNoEvaluationWhereTheyAreVeryLong) {
  expect_read(1, is_sanitized ? 200000 : 1000000);
}

TEST(HostileAddresses, EndNoEvaluationOfManyTests) { expect_read(is_sanitized ? 20 : 100, 66000); }

const char* const hidden[] = {"x ", "\"x\" ", "(x) ", "x. ", "\xe4 ", "=?utf-8?q?x?= "};

TEST(HostileAddresses, HideNoAddress) {
  const std::string script = "if address :all :is \"from\" \"a.b@c.d\" { keep; }";
  for (const char* const piece : hidden) {
    const std::string text = text_of(HostileAddress{"", piece, "<a.b@c.d>"}, 100000);
    EXPECT_EQ("MatchResult [action=KEEP]", result_of(script, "From: " + text + "\n\n")) << piece;
  }
}

}  // namespace
}  // namespace Quarrow
