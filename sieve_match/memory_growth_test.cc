// A matcher that serves a mail server for months must not grow. A program of its own: no other test
// moves its memory.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "quarrow/evaluation.h"
#include "tests/support/evaluation_test_support.h"

namespace Quarrow {
namespace {

// Bytes of memory that the process has now.
long resident_bytes() {
  long pages = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

// Twenty rules, of every kind that filters compile into.
std::string mixed_rules() {
  const char* const tests[] = {
      "header :contains \"subject\" \"word%\"",
      "header :is :comparator \"i;octet\" \"subject\" \"Word%\"",
      "header :regex \"subject\" \"^\\[list%\\]\"",
      "header :regex [\"to\", \"cc\"] \"\\(final%\\)$\"",
      "address :all :contains [\"from\", \"to\", \"cc\"] \"sender%\"",
      "not address :all :is \"from\" \"a@example.org\"",
      "size :over 20%K",
      "size :under 0K",
      "header :value \"lt\" :comparator \"i;ascii-numeric\" \"zvx-received-date\" \"2009050%\"",
      "allof( header :contains \"subject\" \"a%\" , not header :contains \"list-id\" \"b\" )"};
  std::string rules = "if false { keep; }\n";
  for (int i = 0; i < 20; ++i) {
    std::string test = tests[i % 10];
    const std::size_t digit = test.find('%');
    if (digit != std::string::npos) test.replace(digit, 1, std::to_string(i / 10));
    rules += "elsif " + test + " { fileinto \"F" + std::to_string(i) + "\"; stop; }\n";
  }
  return with_requirements(rules);
}

TEST(MemoryGrowth, AHundredThousandMessagesTakeLessThanAMegabyte) {
  const auto matcher = matcher_of(mixed_rules());
  ASSERT_NE(nullptr, matcher);
  // The last one takes an unusual amount, which must be given back.
  const std::string messages[] = {
      "From: a@example.org\nTo: b@example.org, \"C\" <c@example.org>\nSubject: nothing\n\n",
      "From: a@example.org\nSubject: =?utf-8?q?w=C3=B6rd?= (final)\nDate: x\n\n",
      "From: \"unterminated <a@b>\nX-From: a@b@c\nSubject: [other] word\n\n",
      "From: a@example.org\nTo: " + std::string(9000, 'x') + "@b\n\n"};
  std::unique_ptr<MimePart> parts[4];
  for (std::size_t i = 0; i < 4; ++i)
    parts[i] = MimePart::parse(messages[i].data(), messages[i].size());
  const auto run = [&](int times) {
    for (int i = 0; i < times; ++i) {
      const std::size_t which = i % 1000 == 0 ? 3 : static_cast<std::size_t>(i % 3);
      matcher->Match(parts[which].get(), messages[which].size(), 1273622400);
    }
  };
  run(2000);
  const long before = resident_bytes();
  run(100000);
  EXPECT_LT(resident_bytes() - before, 1 << 20);
}

}  // namespace
}  // namespace Quarrow
