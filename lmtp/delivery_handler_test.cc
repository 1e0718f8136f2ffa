// Messages into users' folders, with an evaluation of the test's own.
#include "lmtp/delivery_handler.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <zvelluser.h>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Lmtp {
namespace {

using Delivery::Evaluation;

const std::string alice = "alice@example.org";

Evaluation done(const std::vector<std::pair<unsigned int, std::string>>& actions) {
  Evaluation evaluation;
  evaluation.outcome = Evaluation::Outcome::done;
  for (const auto& [type, text] : actions) {
    SieveAction action;
    action.type = type;
    action.mailbox(text);
    action.message = text;
    evaluation.result.add_action(action);
  }
  return evaluation;
}

class DeliveryHandlerTest : public ::testing::Test {
 protected:
  DeliveryHandlerTest() {
    mailuser_set_root(folder_.path());
    std::filesystem::create_directories(home());
  }

  std::string home() const { return folder_.path() + "/example.org/alice"; }

  Reply deliver(const Evaluation& evaluation) {
    return deliver(evaluation, "Subject: x\n\nbody\n");
  }

  Reply deliver(const Evaluation& evaluation, const std::string& message,
                const std::string& recipient = alice) {
    DeliveryHandler handler(
        {folder_.path(), folder_.path(), "mx.example.org", "+-"},
        [&](int, std::uint64_t, std::time_t, const std::string&) { return evaluation; }, metrics_);
    EXPECT_TRUE(handler.open_message());
    EXPECT_TRUE(handler.add(message.data(), message.size()));
    return handler.deliver({"client (x)", "s@example.net", false, {recipient}}, recipient);
  }

  Reply check(const std::string& recipient) {
    DeliveryHandler handler({folder_.path(), folder_.path(), "mx.example.org", "+-"}, nullptr,
                            metrics_);
    return handler.check_recipient(recipient);
  }

  std::string stored(const std::string& name) const {
    for (const auto& entry : std::filesystem::directory_iterator(home() + "/Maildir/" + name))
      return content_of(entry.path().string());
    return "";
  }

  bool counts(const std::string& line) const {
    return metrics_.text().find("\nquarrow_" + line + '\n') != std::string::npos;
  }

  TemporaryFolder folder_;
  DeliveryCounters metrics_;
};

TEST_F(DeliveryHandlerTest, KnowsUsersByTheirFolders) {
  EXPECT_EQ(250, check(alice).code);
  for (const char* const stranger : {"bob@example.org", "alice@example.net", "alice", "a b@c"}) {
    const Reply reply = check(stranger);
    EXPECT_EQ(550, reply.code) << stranger;
    EXPECT_EQ("5.1.1", reply.status) << stranger;
  }
  EXPECT_TRUE(counts("unknown_recipients_total 4"));
}

TEST_F(DeliveryHandlerTest, TakesAnAddressWithAnExtensionAsTheUsers) {
  for (const char* const recipient : {"alice+lists@example.org", "alice-a+b@example.org",
                                      "alice+@example.org", "alice+../../etc@example.org"})
    EXPECT_EQ(250, check(recipient).code) << recipient;
  for (const char* const stranger : {"bob+alice@example.org", "+alice@example.org",
                                     "alice@example.org+x", "alice_x@example.org", "alice+x"})
    EXPECT_EQ(550, check(stranger).code) << stranger;
  EXPECT_EQ(250, deliver(done({}), "Subject: x\n\nbody\n", "alice+lists@example.org").code);
  EXPECT_NE(std::string::npos, stored("new").find("Delivered-To: alice+lists@example.org\n"));
}

TEST_F(DeliveryHandlerTest, TellsRecipientsApartAsUsersAreLookedUp) {
  const auto spelling_of = [this](const std::string& recipient, Delivery::AddressCase kind) {
    const DeliveryHandler handler({folder_.path(), folder_.path(), "mx.example.org", "+", kind},
                                  nullptr, metrics_);
    return handler.spelling_of(recipient);
  };
  using Delivery::AddressCase;
  EXPECT_EQ(spelling_of(alice, AddressCase::folded),
            spelling_of("Alice@EXAMPLE.org", AddressCase::folded));
  EXPECT_NE(spelling_of(alice, AddressCase::kept),
            spelling_of("Alice@EXAMPLE.org", AddressCase::kept));
  for (const char* const other : {"alice+lists@example.org", "bob@example.org"})
    EXPECT_NE(spelling_of(alice, AddressCase::folded), spelling_of(other, AddressCase::folded));
}

TEST_F(DeliveryHandlerTest, AUserWhoseNameHasADelimiterComesFirst) {
  std::filesystem::create_directories(folder_.path() + "/example.org/alice+lists");
  EXPECT_EQ(250, deliver(done({}), "Subject: x\n\nbody\n", "alice+lists@example.org").code);
  EXPECT_FALSE(std::filesystem::exists(home() + "/Maildir"));
}

TEST_F(DeliveryHandlerTest, BouncesNothingWhileTheUserIsMoved) {
  write_file(home() + "/.quarrow_lock", "");
  for (const Reply& reply : {check(alice), deliver(done({}))}) {
    EXPECT_EQ(450, reply.code);
    EXPECT_EQ("4.2.1", reply.status);
  }
  EXPECT_FALSE(std::filesystem::exists(home() + "/Maildir"));
  EXPECT_TRUE(counts("temporary_failures_total 1")) << metrics_.text();
}

TEST_F(DeliveryHandlerTest, BouncesNothingWhileTheUsersDiskIsMissing) {
  const std::string gone = folder_.path() + "/not-mounted";
  mailuser_set_root(gone);
  DeliveryHandler handler({gone, folder_.path(), "mx.example.org"}, nullptr, metrics_);
  EXPECT_EQ(451, handler.check_recipient(alice).code);
}

TEST_F(DeliveryHandlerTest, AsksToTryAgainWhereAFileIsInPlaceOfAUsersFolder) {
  write_file(folder_.path() + "/example.org/bob", "in the way");
  EXPECT_EQ(451, check("bob@example.org").code);
  EXPECT_TRUE(counts("unknown_recipients_total 0"));
}

TEST_F(DeliveryHandlerTest, AsksToTryAgainWhenAUsersFolderWentAway) {
  const Reply reply = deliver(done({{SieveAction::KEEP, ""}}), "Subject: x\n\n", "bob@example.org");
  EXPECT_EQ(451, reply.code);
  EXPECT_FALSE(std::filesystem::exists(folder_.path() + "/example.org/bob"));
  EXPECT_TRUE(counts("temporary_failures_total 1"));
}

TEST_F(DeliveryHandlerTest, FilesWithTraceHeaders) {
  EXPECT_EQ(250, deliver(done({{SieveAction::FILEINTO, "Work"}})).code);
  const std::string message = stored(".Work/new");
  const std::string head =
      "Return-Path: <s@example.net>\nDelivered-To: alice@example.org\nReceived: from unknown\n"
      "\tby mx.example.org with LMTP\n\tfor <alice@example.org>; ";
  EXPECT_EQ(head, message.substr(0, head.size()));
  EXPECT_EQ("\nSubject: x\n\nbody\n", message.substr(message.size() - 18));
  EXPECT_TRUE(counts("delivered_total{folder=\"other\"} 1"));
  EXPECT_TRUE(counts("evaluation_seconds_count 1"));
}

TEST_F(DeliveryHandlerTest, CountsWhyTheInboxHasIt) {
  EXPECT_EQ(250, deliver(done({})).code);
  EXPECT_EQ(250, deliver(Evaluation()).code);
  EXPECT_EQ(250, deliver(done({{SieveAction::KEEP, ""}})).code);
  EXPECT_TRUE(counts("kept_total{reason=\"no_rule\"} 1")) << metrics_.text();
  EXPECT_TRUE(counts("kept_total{reason=\"failure\"} 1")) << metrics_.text();
  EXPECT_TRUE(counts("delivered_total{folder=\"inbox\"} 3")) << metrics_.text();
}

TEST_F(DeliveryHandlerTest, CountsAMissingScriptAsNoRuleAndABadFolderNameAsAFailure) {
  Evaluation without_script;
  without_script.outcome = Evaluation::Outcome::no_script;
  EXPECT_EQ(250, deliver(without_script).code);
  EXPECT_TRUE(counts("kept_total{reason=\"no_rule\"} 1")) << metrics_.text();
  EXPECT_EQ(250, deliver(done({{SieveAction::FILEINTO, "A//B"}})).code);
  EXPECT_TRUE(counts("kept_total{reason=\"no_rule\"} 1")) << metrics_.text();
  EXPECT_TRUE(counts("kept_total{reason=\"failure\"} 1")) << metrics_.text();
}

TEST_F(DeliveryHandlerTest, PassesARejectionOn) {
  const Reply reply = deliver(done({{SieveAction::REJECT, "Not here"}}));
  EXPECT_EQ(550, reply.code);
  EXPECT_EQ("5.7.1", reply.status);
  EXPECT_EQ("Not here", reply.text);
  EXPECT_TRUE(counts("rejected_total 1"));
}

TEST_F(DeliveryHandlerTest, AcceptsWhatIsThrownAway) {
  EXPECT_EQ(250, deliver(done({{SieveAction::DISCARD, ""}})).code);
  EXPECT_TRUE(counts("discarded_total 1"));
  EXPECT_FALSE(std::filesystem::exists(home() + "/Maildir/new"));
}

TEST_F(DeliveryHandlerTest, RefusesWhatComesBack) {
  EXPECT_EQ(250, deliver(done({{SieveAction::FILEINTO, "Work"}})).code);
  const std::string message = "Received: from elsewhere\n" + stored(".Work/new");
  const Reply reply = deliver(done({{SieveAction::KEEP, ""}}), message);
  EXPECT_EQ(554, reply.code);
  EXPECT_EQ("5.4.6", reply.status);
  EXPECT_TRUE(counts("loops_total 1"));
  EXPECT_TRUE(std::filesystem::is_empty(home() + "/Maildir/new"));
}

TEST_F(DeliveryHandlerTest, AsksToTryAgainWhenNoFolderCanBeWritten) {
  write_file(home() + "/Maildir", "in the way");
  EXPECT_EQ(451, deliver(done({{SieveAction::KEEP, ""}})).code);
  EXPECT_TRUE(counts("temporary_failures_total 1"));
}

TEST_F(DeliveryHandlerTest, RunsAUsersRulesOnceForSeveralAddressesOfTheUser) {
  write_file(home() + "/.delivery_filter", "keep;");
  int runs = 0;
  DeliveryHandler handler(
      {folder_.path(), folder_.path(), "mx.example.org", "+"},
      [&runs](int, std::uint64_t, std::time_t, const std::string&) {
        ++runs;
        return Evaluation();
      },
      metrics_);
  const Envelope envelope{"c", "", false, {alice, "alice+a@example.org", "alice+b@example.org"}};
  for (const int want : {1, 2}) {
    ASSERT_TRUE(handler.open_message());
    for (const std::string& recipient : envelope.recipients)
      EXPECT_EQ(250, handler.deliver(envelope, recipient).code);
    EXPECT_EQ(want, runs);
  }
  EXPECT_TRUE(counts("kept_total{reason=\"failure\"} 6")) << metrics_.text();
}

TEST_F(DeliveryHandlerTest, TakesNoMessageWhileThereIsNoFileForIt) {
  DeliveryHandler handler({folder_.path(), folder_.path(), "mx.example.org", "+"}, nullptr,
                          metrics_);
  rlimit files = {};
  ASSERT_EQ(0, getrlimit(RLIMIT_NOFILE, &files));
  const rlimit none = {0, files.rlim_max};
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &none));
  const bool is_taken = handler.open_message();
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &files));
  EXPECT_FALSE(is_taken);
  EXPECT_TRUE(handler.open_message());
}

// What the server writes into its log while it delivers.
template <typename Work>
std::string logged(Work work) {
  testing::internal::CaptureStderr();
  work();
  return testing::internal::GetCapturedStderr();
}

TEST_F(DeliveryHandlerTest, LogsWhoseRulesWereAsked) {
  const auto log_of = [this](const std::string& recipient) {
    return logged([&] { deliver(done({}), "Subject: x\n\n", recipient); });
  };
  EXPECT_NE(std::string::npos, log_of("alice+lists@example.org")
                                   .find("user=alice@example.org recipient=alice+lists@example.org "
                                         "msgid="));
  EXPECT_NE(std::string::npos, log_of(alice).find("user=alice@example.org msgid="));
  EXPECT_NE(std::string::npos, log_of("bob@example.org").find("user=bob@example.org msgid="));
}

TEST_F(DeliveryHandlerTest, PutsMailForAFolderWithADotIntoTheInboxAndSaysWhy) {
  const std::string log = logged([&] { deliver(done({{SieveAction::FILEINTO, "v1.2"}})); });
  EXPECT_NE(std::string::npos, log.find(" action=keep took=")) << log;
  EXPECT_NE(std::string::npos, log.find(" note=\"IMAP can't open folders with a dot in the name, "
                                        "hence the inbox: v1.2\""))
      << log;
  EXPECT_NE("", stored("new"));
}

TEST_F(DeliveryHandlerTest, FilesIntoFoldersThatThePluginListescapeReadsOnRequest) {
  DeliveryHandler handler(
      {folder_.path(), folder_.path(), "mx.example.org", "+", Delivery::AddressCase::folded,
       Delivery::FolderDots::listescape},
      [](int, std::uint64_t, std::time_t, const std::string&) {
        return done({{SieveAction::FILEINTO, "v1.2"}});
      },
      metrics_);
  ASSERT_TRUE(handler.open_message());
  EXPECT_EQ(250, handler.deliver({"c", "", false, {alice}}, alice).code);
  EXPECT_NE("", stored(".v1\\2e2/new"));
}

Evaluation not_done(Evaluation::Outcome outcome) {
  Evaluation evaluation;
  evaluation.outcome = outcome;
  return evaluation;
}

const struct {
  Evaluation evaluation;
  const char* level;
} levels[] = {{done({}), "info"},
              {done({{SieveAction::FILEINTO, "Work"}}), "info"},
              {done({{SieveAction::REJECT, "no"}}), "info"},
              {not_done(Evaluation::Outcome::no_script), "info"},
              {not_done(Evaluation::Outcome::bad_script), "warning"},
              {not_done(Evaluation::Outcome::failed), "warning"},
              {done({{SieveAction::FILEINTO, "A//B"}}), "warning"},
              {done({{SieveAction::FILEINTO, "Blocked"}}), "warning"}};

TEST_F(DeliveryHandlerTest, WarnsOfWhatAUserHasToMend) {
  std::filesystem::create_directories(home() + "/Maildir");
  write_file(home() + "/Maildir/.Blocked", "in the way");
  for (const auto& c : levels) {
    const std::string log = logged([&] { deliver(c.evaluation); });
    EXPECT_NE(std::string::npos, log.find(std::string(" ") + c.level + ": user=")) << log;
  }
}

TEST_F(DeliveryHandlerTest, CallsWhatTheClientHasToTryAgainAnError) {
  write_file(home() + "/Maildir", "in the way");
  const std::string log = logged([&] { deliver(done({})); });
  EXPECT_NE(std::string::npos, log.find(" error: user=")) << log;
}

TEST_F(DeliveryHandlerTest, AsksToTryAgainWhenMemoryIsOut) {
  DeliveryHandler handler(
      {folder_.path(), folder_.path(), "mx.example.org"},
      [](int, std::uint64_t, std::time_t, const std::string&) -> Evaluation {
        throw std::bad_alloc();
      },
      metrics_);
  ASSERT_TRUE(handler.open_message());
  EXPECT_EQ(451, handler.deliver({"c", "", false, {alice}}, alice).code);
}

}  // namespace
}  // namespace Quarrow::Lmtp
