// Mail and scripts that crash, hang or poison libsieve where it runs on its own.

#include <gtest/gtest.h>

#include "quarrow/evaluation.h"
#include "tests/support/evaluation_test_support.h"
#include "tests/support/repeated_test_support.h"

namespace Quarrow {
namespace {

// X-From is read as an address, but is none of the headers that the message parser mends.
const char* const address_script =
    "require [\"fileinto\"]; if address :all :contains [\"from\", \"x-from\"] \"zz\" "
    "{ fileinto \"A\"; }";
const char* const ordinary_message = "From: zz@example.org\n\n";
const char* const ordinary_result = "MatchResult [action=FILEINTO:A]";
const char* const unread = "MatchResult [error=PARSE_ADDRESS]";
const char* const no_match = "MatchResult []";

struct HostileHeader {
  const char* name;
  std::string value;
  const char* want;  // as the interpreter reads the value unmended
};

std::vector<HostileHeader> hostile_headers() {
  return {
      {"route with a domain literal", "<@[x]:a@b>", no_match},
      {"domain of 255", repeated("l", 8) + "@" + repeated("d", 255), no_match},
      {"local part of 255", repeated("l", 8) + "." + repeated("m", 246) + "@b", no_match},
      {"phrase of 255", repeated("w", 8) + " " + repeated("v", 246) + " <a@b>", no_match},
      {"domain of two labels, 255", "a@" + repeated("d", 8) + "." + repeated("e", 246), no_match},
      {"route of 256", "<@" + repeated("r", 255) + ":a@b>", no_match},
      {"unterminated quote", "\"unterminated <a@b>", unread},
      {"unterminated comment", "a@b (unterminated", unread},
      {"unterminated domain literal", "a@[unterminated", unread},
      {"domain literal", "joe@[127.0.0.1]", no_match},
      {"angle brackets first", "<bob@example.org>", no_match},
      {"nested comments", repeated("(", 30000) + "x" + repeated(")", 30000) + " <a@b>", no_match},
      {"8-bit bytes", "\xff\xfe\x80 <\xc3@\xe2\x82>", no_match},
      {"backslashes", repeated("\\", 999) + "<a@b>", unread},
      {"lone quotes", repeated("\"", 1001), unread},
  };
}

// A run that meets the heap's budget: no error is reported, and no action.
std::vector<HostileHeader> exhausting_headers() {
  return {{"dotted local part of 100 KB", repeated("x.", 50000) + "x@b", no_match},
          {"dotted local part of 1 MB", repeated("x.", 500000) + "x@b", no_match},
          {"dotted domain of 100 KB", "a@" + repeated("x.", 50000) + "x", no_match},
          {"phrase of 100 KB", repeated("x ", 50000) + "<a@b>", no_match}};
}

class HostileHeaders : public testing::Test {
 protected:
  // Runs one matcher over the hostile value and an ordinary message behind it, then another one.
  void expect_harmless(const HostileHeader& header) {
    const auto matcher = matcher_of(address_script);
    EXPECT_EQ(header.want, text_of(outcome(*matcher, "X-From: " + header.value + "\n\n")))
        << header.name;
    EXPECT_EQ(ordinary_result, text_of(outcome(*matcher, ordinary_message))) << header.name;
    EXPECT_EQ(ordinary_result, result_of(address_script, ordinary_message)) << header.name;
  }
};

TEST_F(HostileHeaders, LeaveTheNextMessageAlone) {
  for (const HostileHeader& header : hostile_headers()) expect_harmless(header);
}

TEST_F(HostileHeaders, ThatWantGigabytesEndTheRunOnly) {
  for (const HostileHeader& header : exhausting_headers()) expect_harmless(header);
}

TEST_F(HostileHeaders, ARunEndedByTheBudgetIsLoggedAsFailed) {
  LogRecord record;
  const auto matcher = matcher_of(address_script);
  auto& implementation = static_cast<SieveMatchImpl&>(*matcher);
  const std::string message = "X-From: " + exhausting_headers()[0].value + "\n\n";
  implementation.log.reset(new RecordingLog(record));
  // With a log there is a trace of some thousand lines, of which the last one counts.
  EXPECT_EQ(no_match, text_of(outcome(*matcher, message)));
  ASSERT_FALSE(record.lines.empty());
  EXPECT_EQ("Debug: match failed, rc = 7", record.lines.back());
  EXPECT_EQ(ordinary_result, text_of(outcome(*matcher, ordinary_message)));
}

TEST_F(HostileHeaders, ARunEndedByTheBudgetKeepsTheActionsBeforeIt) {
  const std::string message = "X-From: " + exhausting_headers()[0].value + "\n\n";
  EXPECT_EQ("MatchResult [action=KEEP]",
            result_of(std::string("keep; ") + "if address :all :is "
                                              "\"x-from\" \"a\" { discard; }",
                      message));
}

TEST_F(HostileHeaders, InAnAddressHeaderAreMended) {
  const auto matcher = matcher_of(address_script);
  for (const HostileHeader& header : hostile_headers()) {
    const SieveMatchResult result = outcome(*matcher, "From: " + header.value + "\n\n");
    EXPECT_EQ(SieveMatchResult::NONE, result.error) << header.name;
    EXPECT_EQ(ordinary_result, text_of(outcome(*matcher, ordinary_message))) << header.name;
  }
}

TEST_F(HostileHeaders, ThousandsOfRecipientsAreRead) {
  const std::string message =
      "X-From: " + repeated("user.name@example.com, ", 2500) + "zz@example.org\n\n";
  EXPECT_EQ(ordinary_result, result_of(address_script, message));
}

TEST_F(HostileHeaders, ThePlaceInTheListDoesNotMatter) {
  const auto matcher = matcher_of(address_script);
  for (const char* from : {"zz@a.b, c@d.e", "c@d.e, zz@a.b", "x: c@d.e, zz@a.b;"})
    EXPECT_EQ(ordinary_result, text_of(outcome(*matcher, std::string("From: ") + from + "\n\n")));
}

const char* const refused = "no matcher";

const struct {
  const char* name;
  std::string script;
  const char* want;
} hostile_scripts[] = {
    {"hasflag with a tag", "require \"imap4flags\";\nif hasflag :is \"a\" { keep; }\n", refused},
    {"setflag twice", "require \"imap4flags\";\nsetflag \"a\";\nsetflag \"b\";\nkeep;\n", refused},
    {"envelope part", "if envelope :is \"zzz\" \"a\" { keep; }\n", refused},
    {"empty text block", "require \"reject\";\nreject text:\n.\n;\n",
     "MatchResult [action=REJECT]"},
    {"text block of 256", "require \"reject\";\nreject text:\n" + repeated("x", 256) + "\n.\n;\n",
     "MatchResult [action=REJECT]"},
    {"bad header name of 235",
     "if header :contains \"" + repeated("a", 234) + " \" \"x\" { keep; }\n", refused},
    {"nested repetition",
     "require \"regex\";\nif header :regex \"subject\" \"((a{1,200}){1,200}){1,200}\" { keep; "
     "}\n",
     refused},
    {"unknown comparator",
     "if not header :is :comparator \"i;foo\" \"subject\" \"a\" { discard; }\n",
     "MatchResult [action=DISCARD]"},
    {"8-bit byte", "keep;\n\xc3\xbc this is never parsed { } (\n", "MatchResult [action=KEEP]"},
    {"unterminated string", "require \"fileinto\";\nfileinto \"abc\n", refused},
};

TEST(HostileScripts, AreRefusedOrRunWithoutHarm) {
  for (const auto& c : hostile_scripts) {
    EXPECT_EQ(c.want, result_of(c.script, "Subject: plain\n\n")) << c.name;
    EXPECT_EQ("MatchResult [action=KEEP]", result_of("keep;", "Subject: plain\n\n")) << c.name;
  }
}

TEST(HostileScripts, AnEmptyTextBlockIsAnEmptyText) {
  const auto matcher = matcher_of("require \"reject\";\nreject text:\n.\n;\n");
  ASSERT_NE(nullptr, matcher);
  const SieveMatchResult result = outcome(*matcher, "Subject: x\n\n");
  ASSERT_EQ(1U, result.actions.size());
  EXPECT_EQ("", result.actions[0].message);
}

}  // namespace
}  // namespace Quarrow
