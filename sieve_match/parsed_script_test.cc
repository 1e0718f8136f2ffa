// Runs of a script that was read in an earlier run. From the third run on, a matcher's script is
// not read again.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "message_filters/script_words.h"
#include "quarrow/evaluation.h"
#include "tests/support/evaluation_test_support.h"

namespace Quarrow {
namespace {

// Every kind of test that filters compile into, with a folder of its own for each.
std::string rules(const std::string& prefix) {
  const char* const tests[] = {
      R"(header :contains "subject" "word")",
      R"(header :regex "subject" "^\[list\]")",
      R"(header :matches "subject" "*end")",
      R"(address :all :contains ["from", "to", "cc"] "sender")",
      R"(address :localpart :is "to" "bert")",
      R"(size :over 20K)",
      R"(allof( header :contains "subject" "a" , not header :contains "list-id" "b" ))"};
  std::string script = "if false { keep; }\n";
  int number = 0;
  for (const char* test : tests)
    script += "elsif " + std::string(test) + " { fileinto \"" + prefix + std::to_string(number++) +
              "\"; stop; }\n";
  return with_requirements(script);
}

const std::string messages[] = {
    "Subject: a word\n\n",
    "Subject: [list] x\n\n",
    "Subject: the end\n\n",
    "From: \"The sender\" <sender@example.org>\n\n",
    "To: bert@example.org\nSubject: x\n\n",
    "X-From: \"unterminated <a@b>\nTo: x@y\n\n",
    "Subject: a\nList-Id: c\n\n",
    "To: " + std::string(9000, 'x') + "@b\n\n",
    "Subject: nothing\n\n",
};

std::vector<std::string> outcomes(SieveMatch& matcher) {
  std::vector<std::string> results;
  for (const std::string& message : messages) results.push_back(text_of(outcome(matcher, message)));
  return results;
}

// Each by a matcher that runs the script for the first time.
std::vector<std::string> first_outcomes(const std::string& script) {
  std::vector<std::string> results;
  for (const std::string& message : messages) results.push_back(result_of(script, message));
  return results;
}

TEST(ParsedScript, GivesWhatAFirstRunGives) {
  const std::vector<std::string> want = first_outcomes(rules("F"));
  const auto matcher = matcher_of(rules("F"));
  for (int round = 0; round < 4; ++round) EXPECT_EQ(want, outcomes(*matcher)) << round;
}

TEST(ParsedScript, BelongsToItsMatcher) {
  const std::vector<std::string> want = first_outcomes(rules("F"));
  const std::vector<std::string> want_of_other = first_outcomes(rules("G"));
  const auto matcher = matcher_of(rules("F"));
  const auto other = matcher_of(rules("G"));
  for (int round = 0; round < 4; ++round) {
    EXPECT_EQ(want, outcomes(*matcher)) << round;
    EXPECT_EQ(want_of_other, outcomes(*other)) << round;
  }
}

class RunningScript : public testing::Test {
 protected:
  RunningScript() : matcher("", nullptr) {}

  void set_script(const std::string& text) {
    matcher.script[text.copy(matcher.script, script_limit)] = '\0';
  }
  std::string run() { return text_of(outcome(matcher, "Subject: x\n\n")); }

  SieveMatchImpl matcher;
};

TEST_F(RunningScript, IsReadAgainWhenItChanges) {
  for (const std::string folder : {"A", "B"}) {
    set_script("require \"fileinto\";\nfileinto \"" + folder + "\";");
    for (int i = 0; i < 4; ++i)
      EXPECT_EQ("MatchResult [action=FILEINTO:" + folder + "]", run()) << i;
  }
}

TEST_F(RunningScript, IsReportedEachTimeWhenItIsBad) {
  set_script("keep; if header :is \"subject\" \"unterminated");
  for (int i = 0; i < 4; ++i) EXPECT_EQ("MatchResult [error=PARSE_SCRIPT]", run()) << i;
}

TEST(ParsedScript, IsTracedInEachRun) {
  LogRecord record;
  const auto matcher = matcher_of("keep;", new RecordingLog(record));
  std::vector<std::string> first;
  for (int i = 0; i < 4; ++i) {
    record.lines.clear();
    outcome(*matcher, "Subject: x\n\n");
    if (i == 0) first = record.lines;
    EXPECT_FALSE(record.lines.empty());
    EXPECT_EQ(first, record.lines) << i;
  }
}

}  // namespace
}  // namespace Quarrow
