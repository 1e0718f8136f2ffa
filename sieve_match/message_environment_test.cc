#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "quarrow/evaluation.h"
#include "sieve_match/interpreter.h"
#include "tests/support/evaluation_test_support.h"

namespace Quarrow {
namespace {

using interpreter::get_string;
using interpreter::set_string;

// A matcher that is being called back: `context` holds what a unit test puts there in libsieve's
// place.
class MessageEnvironment : public testing::Test {
 protected:
  MessageEnvironment() : matcher(folder.write("script", "keep;"), new RecordingLog(record)) {}

  void set_message(const std::string& text) {
    part = MimePart::parse(text.data(), text.size());
    matcher.message = part.get();
  }

  // The value of a header as the interpreter gets it; "(none)" when there is none.
  std::string header(const std::string& name) {
    const std::unique_ptr<char, decltype(&std::free)> value(
        const_cast<char*>(matcher.GetHeader(name)), &std::free);
    return value ? value.get() : "(none)";
  }

  // The parts that GetSubAddress sets for `address`, with the missing ones as "(none)".
  std::vector<std::string> parts_of(const std::string& address) {
    interpreter::Use use(matcher.context);
    set_string(matcher.context, "address", address.c_str());
    EXPECT_EQ(0, matcher.GetSubAddress(matcher.context));
    std::vector<std::string> parts;
    for (const char* name : {"localpart", "domain", "user", "detail"}) {
      const char* part_text = get_string(matcher.context, name);
      parts.push_back(part_text != nullptr ? part_text : "(none)");
    }
    return parts;
  }

  TemporaryFolder folder;
  LogRecord record;
  SieveMatchImpl matcher;
  std::unique_ptr<MimePart> part;
};

using Parts = std::vector<std::string>;

TEST_F(MessageEnvironment, GivesTheFirstOfSeveralHeaders) {
  set_message("Subject: one\nSubject: two\n\nbody");
  EXPECT_EQ("one", header("Subject"));
  EXPECT_EQ("one", header("sUBJECT"));
}

TEST_F(MessageEnvironment, GivesHeadersAsUtf8) {
  set_message("Subject: =?iso-8859-1?q?Gr=FC=DFe?=\n\n");
  EXPECT_EQ("Grüße", header("subject"));
}

TEST_F(MessageEnvironment, AMissingHeaderIsNone) {
  set_message("From: a@example.org\n\n");
  EXPECT_EQ("(none)", header("subject"));
}

TEST_F(MessageEnvironment, AnEmptyHeaderIsThere) {
  set_message("Subject:\n\n");
  EXPECT_EQ("", header("subject"));
}

TEST_F(MessageEnvironment, ComputesTheReceivedDateUnderAnySpelling) {
  set_message("ZVX-Received-Date: 19990101\n\n");
  setenv("TZ", "UTC", 1);
  tzset();
  matcher.received_time = 1273622400;  // 2010-05-12 00:00:00 UTC
  EXPECT_EQ("20100512", header("zvx-received-date"));
  EXPECT_EQ("20100512", header("Zvx-RECEIVED-Date"));
  matcher.received_time = 0;
  EXPECT_EQ("19700101", header("zvx-received-date"));
}

TEST_F(MessageEnvironment, TheReceivedDateIsLocal) {
  matcher.received_time = 1273622399;  // 2010-05-11 23:59:59 UTC
  setenv("TZ", "UTC-1", 1);            // an hour ahead of UTC
  tzset();
  EXPECT_EQ("20100512", header("zvx-received-date"));
  setenv("TZ", "UTC", 1);
  tzset();
  EXPECT_EQ("20100511", header("zvx-received-date"));
}

TEST_F(MessageEnvironment, SplitsAddresses) {
  EXPECT_EQ((Parts{"user+tag", "example.org", "user", "tag"}), parts_of("user+tag@example.org"));
  EXPECT_EQ((Parts{"a+b+c", "d", "a", "b+c"}), parts_of("a+b+c@d"));
  EXPECT_EQ((Parts{"user", "example.org", "user", "(none)"}), parts_of("user@example.org"));
  EXPECT_EQ((Parts{"a", "b@c", "a", "(none)"}), parts_of("a@b@c"));
  EXPECT_EQ((Parts{"", "", "", "(none)"}), parts_of("@"));
  EXPECT_EQ((Parts{"+", "x", "", ""}), parts_of("+@x"));
}

TEST_F(MessageEnvironment, AnAddressWithoutDomainHasAUserAndLosesItsTailWhenCleared) {
  EXPECT_EQ((Parts{"user+tag", "(none)", "user", "tag"}), parts_of("user+tag"));
  char** parts = matcher.header_cache.at("ADDR_user+tag");
  char* const left_behind[] = {parts[2], parts[3]};
  matcher.ClearCache();
  // Clearing stops at the missing domain: both are still there to be read, and freed here.
  EXPECT_STREQ("user", left_behind[0]);
  EXPECT_STREQ("tag", left_behind[1]);
  for (char* text : left_behind) std::free(text);
}

TEST_F(MessageEnvironment, AddressesThatDifferInCaseShareTheFirstOnesParts) {
  EXPECT_EQ((Parts{"Joe", "Example.org", "Joe", "(none)"}), parts_of("Joe@Example.org"));
  EXPECT_EQ((Parts{"Joe", "Example.org", "Joe", "(none)"}), parts_of("joe@example.org"));
  matcher.ClearCache();
  EXPECT_EQ((Parts{"joe", "example.org", "joe", "(none)"}), parts_of("joe@example.org"));
}

TEST_F(MessageEnvironment, AnAddressIsNeededToSplitIt) {
  interpreter::Use use(matcher.context);
  EXPECT_EQ(8, matcher.GetSubAddress(matcher.context));
}

TEST_F(MessageEnvironment, AnActionNeedsWhatItIsAbout) {
  interpreter::Use use(matcher.context);
  EXPECT_EQ(8, matcher.OnAction(matcher.context, SIEVE2_ACTION_FILEINTO));
  EXPECT_TRUE(matcher.result.actions.empty());
  EXPECT_EQ(0, matcher.OnAction(matcher.context, SIEVE2_ACTION_REJECT));
  ASSERT_EQ(1U, matcher.result.actions.size());
  EXPECT_EQ(SieveAction::REJECT, matcher.result.actions[0].type);
  EXPECT_EQ("", matcher.result.actions[0].message);
}

TEST(ScriptedMessage, AHeaderIsAnsweredFromAnAddressOfItsKey) {
  const std::string script =
      "require \"subaddress\";"
      "if address :detail :is \"x-from\" \"nothing\" { discard; }"
      "if header :is \"ADDR_a+t@b\" \"b\" { keep; }";
  EXPECT_EQ("MatchResult [action=KEEP]", result_of(script, "X-From: a+t@b\n\n"));
}

TEST_F(MessageEnvironment, ACachedHeaderIsReadAsAddressWithinItsSlots) {
  set_message("ADDR_a@b: value\n\n");
  interpreter::Use use(matcher.context);
  set_string(matcher.context, "header", "ADDR_a@b");
  EXPECT_EQ(0, matcher.GetHeader(matcher.context));
  set_string(matcher.context, "address", "a@b");
  EXPECT_EQ(0, matcher.GetSubAddress(matcher.context));
  EXPECT_EQ(nullptr, get_string(matcher.context, "domain"));
  EXPECT_EQ(nullptr, get_string(matcher.context, "detail"));
}

TEST_F(MessageEnvironment, ComputesAHeaderOnceARun) {
  set_message("Subject: x\n\n");
  const auto ask = [this](const char* name) {
    interpreter::Use use(matcher.context);  // a context holds one question
    set_string(matcher.context, "header", name);
    EXPECT_EQ(0, matcher.GetHeader(matcher.context)) << name;
  };
  ask("X-Missing");
  ask("x-missing");
  EXPECT_EQ(1U, record.count("Debug: 'X-Missing' not defined"));
  EXPECT_EQ(0U, record.count("Debug: 'x-missing' not defined"));
  EXPECT_EQ(nullptr, matcher.header_cache.at("X-MISSING")[0]);
  ask("Subject");
  set_message("Subject: changed\n\n");
  ask("SUBJECT");
  EXPECT_STREQ("x", matcher.header_cache.at("subject")[0]);
  EXPECT_EQ("Subject", matcher.header_cache.find("subject")->first);
}

TEST_F(MessageEnvironment, AHeaderOfNoMessageIsNone) {
  EXPECT_EQ(nullptr, matcher.GetMailHeader("subject"));
}

TEST_F(MessageEnvironment, AQuestionWithoutHeaderOrMessageIsLeftOpen) {
  interpreter::Use use(matcher.context);
  EXPECT_EQ(0, matcher.GetHeader(matcher.context));
  set_string(matcher.context, "header", "subject");
  EXPECT_EQ(0, matcher.GetHeader(matcher.context));
  EXPECT_TRUE(matcher.header_cache.empty());
}

TEST_F(MessageEnvironment, ServesOnlyTheUsersOwnScript) {
  const struct {
    const char* path;
    const char* name;
    int want;
  } cases[] = {{nullptr, nullptr, 9}, {"", nullptr, 9}, {nullptr, "", 9},
               {"x", "", 8},          {"", "x", 8},     {"", "", 0}};
  ASSERT_TRUE(matcher.Validate());
  for (const auto& c : cases) {
    interpreter::Use use(matcher.context);
    set_string(matcher.context, "path", c.path);
    set_string(matcher.context, "name", c.name);
    EXPECT_EQ(c.want, matcher.GetScript(matcher.context));
    const char* served = get_string(matcher.context, "script");
    EXPECT_STREQ(c.want == 0 ? "keep;" : nullptr, served);
  }
}

TEST_F(MessageEnvironment, ClearingEmptiesTheCache) {
  set_message("Subject: x\n\n");
  parts_of("a+b@c");
  EXPECT_EQ(1U, matcher.header_cache.size());
  matcher.ClearCache();
  EXPECT_TRUE(matcher.header_cache.empty());
}

TEST_F(MessageEnvironment, ARunLeavesTheCacheEmptyAndTheMessageInPlace) {
  ASSERT_TRUE(matcher.Validate());
  const std::string text = "Subject: x\n\n";
  const auto message = MimePart::parse(text.data(), text.size());
  matcher.Match(message.get(), 7, 8);
  EXPECT_TRUE(matcher.header_cache.empty());
  EXPECT_EQ(message.get(), matcher.message);
  EXPECT_EQ(7U, matcher.message_size);
  EXPECT_EQ(8, matcher.received_time);
  EXPECT_EQ(1U, matcher.result.actions.size());
}

// The same as scripts see it.

TEST(ScriptedMessage, SizeIsTheOneGiven) {
  const auto matcher = matcher_of("if size :over 1K { keep; } else { discard; }");
  const std::string text = "Subject: x\n\n";
  const auto message = MimePart::parse(text.data(), text.size());
  EXPECT_EQ("MatchResult [action=DISCARD]", text_of(matcher->Match(message.get(), 1024, 0)));
  EXPECT_EQ("MatchResult [action=KEEP]", text_of(matcher->Match(message.get(), 1025, 0)));
  // libsieve counts sizes in an int.
  EXPECT_EQ("MatchResult [action=DISCARD]", text_of(matcher->Match(message.get(), 1UL << 31, 0)));
}

TEST(ScriptedMessage, AddressPartsCanBeTested) {
  const struct {
    const char* test;
    const char* want;
  } cases[] = {{":user :is \"to\" \"joe\"", "MatchResult [action=KEEP]"},
               {":detail :is \"to\" \"lists+x\"", "MatchResult [action=KEEP]"},
               {":localpart :is \"to\" \"joe+lists+x\"", "MatchResult [action=KEEP]"},
               {":domain :is \"to\" \"example.org\"", "MatchResult [action=KEEP]"},
               {":all :is \"to\" \"joe+lists+x@example.org\"", "MatchResult [action=KEEP]"},
               {":user :is \"to\" \"joe+lists\"", "MatchResult []"}};
  for (const auto& c : cases) {
    const std::string script =
        std::string("require \"subaddress\"; if address ") + c.test + " { keep; }";
    EXPECT_EQ(c.want, result_of(script, "To: Joe <joe+lists+x@example.org>\n\n")) << c.test;
  }
}

TEST(ScriptedMessage, DatesAreComparedAsNumbers) {
  setenv("TZ", "UTC", 1);
  tzset();
  const long received = 1273622400;  // 2010-05-12
  const struct {
    const char* relation;
    const char* date;
    const char* want;
  } cases[] = {
      {"lt", "20100513", "MatchResult [action=KEEP]"}, {"lt", "20100512", "MatchResult []"},
      {"gt", "20100511", "MatchResult [action=KEEP]"}, {"gt", "20100512", "MatchResult []"},
      {"eq", "20100512", "MatchResult [action=KEEP]"}, {"eq", "20100511", "MatchResult []"}};
  for (const auto& c : cases) {
    const std::string script = with_requirements(std::string("if header :value \"") + c.relation +
                                                 "\" :comparator \"i;ascii-numeric\" "
                                                 "\"zvx-received-date\" \"" +
                                                 c.date + "\" { keep; }");
    EXPECT_EQ(c.want, result_of(script, "Subject: x\n\n", received)) << c.relation << c.date;
  }
}

}  // namespace
}  // namespace Quarrow
