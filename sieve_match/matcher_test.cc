#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zvelluser.h>

#include <filesystem>

#include "quarrow/evaluation.h"
#include "tests/support/evaluation_test_support.h"

namespace Quarrow {
namespace {

const char* const keeps = "keep;";
const char* const plain_message = "From: a@example.org\nSubject: plain\n\nbody\n";

class Matcher : public testing::Test {
 protected:
  // A matcher of the script at `path`, whose log is recorded in `record`.
  std::unique_ptr<SieveMatch> create(const std::string& path) {
    return std::unique_ptr<SieveMatch>(SieveMatch::Create(path, new RecordingLog(record)));
  }

  TemporaryFolder folder;
  LogRecord record;
};

TEST_F(Matcher, SaysThatAGoodScriptIsLoaded) {
  const std::string path = folder.write("script", keeps);
  const auto matcher = create(path);
  ASSERT_NE(nullptr, matcher);
  ASSERT_GE(record.lines.size(), 2U);
  EXPECT_EQ("SetComponent: SieveMatchImpl", record.lines[0]);
  EXPECT_EQ("Debug: rule file '" + path + "' is loaded", record.lines[1]);
  EXPECT_FALSE(record.deleted);
}

TEST_F(Matcher, NeedsNoLog) { EXPECT_NE(nullptr, matcher_of(keeps)); }

TEST_F(Matcher, AMissingScriptGivesNoneWithoutAWord) {
  EXPECT_EQ(nullptr, create(folder.file("missing")));
  EXPECT_EQ(std::vector<std::string>{"SetComponent: SieveMatchImpl"}, record.lines);
  EXPECT_TRUE(record.deleted);
}

TEST_F(Matcher, AnEmptyScriptGivesNoneWithoutAWord) {
  EXPECT_EQ(nullptr, create(folder.write("script", "")));
  EXPECT_EQ(std::vector<std::string>{"SetComponent: SieveMatchImpl"}, record.lines);
  EXPECT_TRUE(record.deleted);
}

TEST_F(Matcher, AScriptThatCannotBeOpenedIsAnError) {
  // A socket exists, and no user can open it.
  const std::string path = folder.file("socket");
  ASSERT_EQ(0, mknod(path.c_str(), S_IFSOCK | 0600, 0));
  EXPECT_EQ(nullptr, create(path));
  EXPECT_EQ(1U, record.count("Error: failed to open rule file '" + path +
                             "', errno = " + std::to_string(ENXIO)));
  EXPECT_TRUE(record.deleted);
}

TEST_F(Matcher, AScriptThatCannotBeReadIsAnError) {
  EXPECT_EQ(nullptr, create(folder.path()));
  EXPECT_EQ(1U, record.count("Error: failed to read rule file '" + folder.path() +
                             "', errno = " + std::to_string(EISDIR)));
}

TEST_F(Matcher, AFifoInPlaceOfTheScriptDoesNotHang) {
  const std::string path = folder.file("fifo");
  ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
  EXPECT_EQ(nullptr, create(path));
}

const char* const refused_scripts[] = {"keep",
                                       "no such command;",
                                       "fileinto \"A\";",
                                       "require [\"vacation\"]; keep;",
                                       "if size :over 10MK { keep; }",
                                       "if header :is \"bad name\" \"x\" { keep; }",
                                       "if header :is \"subject\" \"unterminated { keep; }"};

TEST_F(Matcher, RefusesAScriptThatTheInterpreterRefuses) {
  for (const char* script : refused_scripts) {
    LogRecord said;
    const std::string path = folder.write("script", script);
    EXPECT_EQ(nullptr, SieveMatch::Create(path, new RecordingLog(said))) << script;
    EXPECT_EQ(1U, said.count("Debug: rule file '" + path + "' is loaded")) << script;
    EXPECT_EQ("Error: rule file '" + path + "' is invalid", said.lines.back()) << script;
    EXPECT_TRUE(said.deleted) << script;
  }
}

TEST_F(Matcher, RefusesWhatTheInterpreterWouldNotSurvive) {
  const char* scripts[] = {"require [\"imap4flags\"]; if hasflag :is \"a\" { keep; }",
                           "require [\"imap4flags\"]; setflag \"a\"; setflag \"b\"; keep;",
                           "require [\"envelope\"]; if envelope :is \"zzz\" \"a\" { keep; }"};
  for (const char* script : scripts) EXPECT_EQ(nullptr, matcher_of(script)) << script;
}

TEST_F(Matcher, ReadsAScriptOf32768BytesWhole) {
  const std::string first = "# ";
  const std::string end = "\nkeep;";
  const std::string script = first + std::string(32768 - first.size() - end.size(), 'x') + end;
  ASSERT_EQ(32768U, script.size());
  EXPECT_EQ("MatchResult [action=KEEP]", result_of(script, plain_message));
}

TEST_F(Matcher, CutsALongerScriptAt32768Bytes) {
  const std::string start = "keep;\n# ";
  const std::string within = start + std::string(32768 - start.size(), 'x');
  EXPECT_EQ("MatchResult [action=KEEP]", result_of(within + "\n discard;", plain_message));
  const std::string start_of_40000 = start + std::string(40000 - start.size(), 'x');
  EXPECT_EQ("MatchResult [action=KEEP]", result_of(start_of_40000, plain_message));
  const std::string cut_in_a_word = std::string(32768 - 2, '\n') + "keep;";
  EXPECT_EQ(nullptr, matcher_of(cut_in_a_word));
}

TEST_F(Matcher, FindsTheScriptInTheUsersFolder) {
  mailuser_set_root(folder.path());
  const EmailAddress alice("alice@example.org");
  EXPECT_EQ(nullptr, SieveMatch::Create(alice, nullptr));
  const std::string home = ZvMailUserId(MAILBOX_USER, alice.address()).prefpath();
  std::filesystem::create_directories(home);
  write_file(home + "/.delivery_filter", keeps);
  const std::unique_ptr<SieveMatch> matcher(SieveMatch::Create(alice, new RecordingLog(record)));
  ASSERT_NE(nullptr, matcher);
  EXPECT_EQ(1U, record.count("Debug: rule file '" + home + "/.delivery_filter' is loaded"));
}

TEST_F(Matcher, AMissingMessageIsAnError) {
  const auto matcher = matcher_of(keeps);
  const SieveMatchResult result = matcher->Match(nullptr, 0, 0);
  EXPECT_EQ(4, result.error);
  EXPECT_TRUE(result.actions.empty());
  EXPECT_EQ("MatchResult [error=INVALID_MESSAGE]", text_of(result));
}

const struct {
  const char* script;
  const char* want;
} scripts_of_actions[] = {
    {"keep;", "MatchResult [action=KEEP]"},
    {"discard;", "MatchResult [action=DISCARD]"},
    {"require \"fileinto\"; fileinto \"inbox/Sub\";", "MatchResult [action=FILEINTO:Inbox/Sub]"},
    {"require \"fileinto\"; fileinto \"Archive\";", "MatchResult [action=FILEINTO:Archive]"},
    {"require \"reject\"; reject \"no\";", "MatchResult [action=REJECT]"},
    {"require \"fileinto\"; keep; fileinto \"Inbox/A\"; discard;",
     "MatchResult [action=DISCARD,action=FILEINTO:Inbox/A,action=KEEP]"},
    {"stop;", "MatchResult []"},
    {"# nothing\n", "MatchResult []"}};

TEST_F(Matcher, ReportsEachKindOfAction) {
  for (const auto& c : scripts_of_actions)
    EXPECT_EQ(c.want, result_of(c.script, plain_message)) << c.script;
}

TEST_F(Matcher, ReportsTheTextOfAReject) {
  const auto matcher = matcher_of("require \"reject\"; reject \"not here\";");
  const SieveMatchResult result = outcome(*matcher, plain_message);
  ASSERT_EQ(1U, result.actions.size());
  EXPECT_EQ(5U, result.actions[0].type);
  EXPECT_EQ("not here", result.actions[0].message);
  EXPECT_EQ("", result.actions[0].mailbox);
}

TEST_F(Matcher, AnAddressErrorComesBesideTheActionsAndPrintsAlone) {
  // The message parser mends broken addresses in the headers that it knows to hold some.
  const auto matcher = matcher_of("keep; if address :all :is \"x-from\" \"a\" { discard; }");
  const SieveMatchResult result = outcome(*matcher, "X-From: \"unterminated <a@b>\n\n");
  EXPECT_EQ(SieveMatchResult::PARSE_ADDRESS, result.error);
  ASSERT_EQ(1U, result.actions.size());
  EXPECT_EQ("MatchResult [error=PARSE_ADDRESS]", text_of(result));
  EXPECT_EQ("MatchResult [action=KEEP]", text_of(outcome(*matcher, plain_message)));
}

TEST_F(Matcher, ARedirectIsNoAction) {
  EXPECT_EQ("MatchResult []", result_of("redirect \"x@example.org\";", plain_message));
}

TEST_F(Matcher, AScriptThatIsRefusedIsNotRunEither) {
  SieveMatchImpl matcher(folder.write("script", "keep; if envelope :is \"zzz\" \"a\" { keep; }"),
                         nullptr);
  EXPECT_FALSE(matcher.Validate());
  EXPECT_EQ("MatchResult []", text_of(outcome(matcher, plain_message)));
}

TEST_F(Matcher, EachErrorCallbackHasItsCode) {
  const struct {
    sieve2_values_t code;
    int want;
  } cases[] = {{SIEVE2_ERRCALL_PARSE, 1},
               {SIEVE2_ERRCALL_HEADER, 2},
               {SIEVE2_ERRCALL_ADDRESS, 3},
               {SIEVE2_ERRCALL_RUNTIME, 5}};
  SieveMatchImpl matcher("", nullptr);
  for (const auto& c : cases) {
    EXPECT_EQ(0, matcher.OnError(nullptr, c.code));
    EXPECT_EQ(c.want, matcher.result.error);
  }
}

TEST_F(Matcher, MessagesAreIndependentOfEachOther) {
  const auto matcher = matcher_of(
      with_requirements("if header :contains \"subject\" \"news\" { fileinto \"News\"; }\n"
                        "elsif header :contains \"list-id\" \"dev\" { fileinto \"Dev\"; }"));
  EXPECT_EQ("MatchResult [action=FILEINTO:News]",
            text_of(outcome(*matcher, "Subject: news\nList-Id: dev\n\n")));
  EXPECT_EQ("MatchResult [action=FILEINTO:Dev]", text_of(outcome(*matcher, "List-Id: dev\n\n")));
  EXPECT_EQ("MatchResult []", text_of(outcome(*matcher, "Subject: other\n\n")));
}

TEST_F(Matcher, ARejectedMessageIsFollowedByOthers) {
  const auto matcher = matcher_of(
      "require \"reject\"; if header :contains \"subject\" \"spam\" { reject \"no\"; } "
      "else { keep; }");
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ("MatchResult [action=REJECT]", text_of(outcome(*matcher, "Subject: spam\n\n")));
    EXPECT_EQ("MatchResult [action=KEEP]", text_of(outcome(*matcher, "Subject: hi\n\n")));
  }
}

TEST_F(Matcher, TwoMatchersLiveBesideEachOther) {
  auto first = matcher_of(keeps);
  auto second = matcher_of("if address :all :is \"from\" \"a@example.org\" { discard; }");
  EXPECT_EQ("MatchResult [action=KEEP]", text_of(outcome(*first, plain_message)));
  first.reset();
  EXPECT_EQ("MatchResult [action=DISCARD]", text_of(outcome(*second, plain_message)));
  second.reset();
  EXPECT_EQ("MatchResult [action=KEEP]", result_of(keeps, plain_message));
}

TEST_F(Matcher, ABadScriptLeavesTheNextOneAlone) {
  EXPECT_EQ(nullptr, matcher_of("if header :is \"subject\" \"unterminated"));
  EXPECT_NE(nullptr, matcher_of("/* an unterminated comment is none to libsieve"));
  EXPECT_EQ("MatchResult [action=KEEP]", result_of(keeps, plain_message));
}

TEST_F(Matcher, TracesIntoItsLog) {
  const auto matcher = create(folder.write("script", keeps));
  record.lines.clear();
  outcome(*matcher, plain_message);
  ASSERT_FALSE(record.lines.empty());
  for (const std::string& line : record.lines) {
    EXPECT_EQ(0U, line.find("Debug: ")) << line;
    const std::size_t behind_file = line.find(", ");
    ASSERT_NE(std::string::npos, behind_file) << line;
    EXPECT_NE(std::string::npos, line.find(": ", behind_file)) << line;
  }
}

TEST_F(Matcher, HoldsNoContextBetweenRuns) {
  SieveMatchImpl matcher(folder.write("script", keeps), nullptr);
  EXPECT_EQ(nullptr, matcher.context);
  ASSERT_TRUE(matcher.Validate());
  EXPECT_EQ(nullptr, matcher.context);
  outcome(matcher, plain_message);
  EXPECT_EQ(nullptr, matcher.context);
}

TEST_F(Matcher, ACallbackWithoutContextMatcherOrCodeIsUnsupported) {
  SieveMatchImpl matcher("", nullptr);
  auto* context = reinterpret_cast<sieve2_context*>(&matcher);  // never looked into
  EXPECT_EQ(8, SieveMatchImpl::sieve_callback(nullptr, &matcher));
  EXPECT_EQ(8, SieveMatchImpl::sieve_callback(context, nullptr));
  EXPECT_EQ(8, SieveMatchImpl::sieve_callback(context, &matcher));
  EXPECT_EQ(8, matcher.OnAction(context, SIEVE2_ACTION_REDIRECT));
  EXPECT_EQ(8, matcher.OnAction(nullptr, SIEVE2_ACTION_FILEINTO));
  EXPECT_EQ(9, matcher.GetScript(nullptr));
  EXPECT_EQ(8, matcher.GetSubAddress(nullptr));
  EXPECT_EQ(0, matcher.GetHeader(nullptr));
  EXPECT_EQ(0, matcher.GetSize(nullptr));
  EXPECT_TRUE(matcher.result.actions.empty());
}

}  // namespace
}  // namespace Quarrow
