// Delivering one message to one user, and the files on disk afterwards.
#include "quarrow/delivery/mailbox_delivery.h"

#include <gtest/gtest.h>

#include "delivery/delivery_journal.h"
#include "delivery/delivery_test_support.h"
#include "message_filters/rules_revision.h"

namespace Quarrow::Delivery {
namespace {

using Names = std::vector<std::string>;
using Status = Report::Status;

class MailboxDelivery : public testing::Test {
 protected:
  MailboxDelivery() { std::filesystem::create_directory(user_); }

  Report deliver_after(const Evaluation& evaluation, const std::string& mailbox = "",
                       FolderDots dots = FolderDots::inbox) {
    return deliver(
        {user_, mailbox, dots}, message_.file(), 7, "host",
        [&evaluation](int, std::uint64_t, std::time_t, const std::string&) { return evaluation; });
  }
  std::string maildir(const std::string& folder = "") const { return user_ + "/Maildir/" + folder; }
  std::size_t count_in(const std::string& folder) const {
    return messages_in(maildir(folder)).size();
  }
  // A file where the folder would be.
  void block(const std::string& folder) const {
    std::filesystem::create_directories(maildir());
    write_file(maildir(folder), "");
  }

  const TemporaryFolder folder_;
  const std::string user_ = folder_.file("alice");
  const TestMessage message_{"A: b\n\nc\n", "Added: d\n"};
};

TEST_F(MailboxDelivery, EvaluatesTheMessageWithTheScriptOfTheUser) {
  int calls = 0;
  const auto evaluate = [&](int fd, std::uint64_t size, std::time_t received,
                            const std::string& script) {
    ++calls;
    EXPECT_EQ(message_.file().fd, fd);
    EXPECT_EQ(8U, size);  // without the added headers
    EXPECT_EQ(7, received);
    EXPECT_EQ(user_ + "/.delivery_filter", script);
    return evaluation_of({keep()});
  };
  (void)deliver({user_, ""}, message_.file(), 7, "host", evaluate);
  EXPECT_EQ(1, calls);
}

TEST_F(MailboxDelivery, StoresWhereTheRulesSay) {
  Evaluation evaluation = evaluation_of({file_into("A/B"), file_into("C"), keep()});
  evaluation.rule = "Lists";
  const Report report = deliver_after(evaluation);
  EXPECT_EQ(Status::delivered, report.status);
  EXPECT_EQ((Names{"A/B", "C", "Inbox"}), report.folders);
  EXPECT_EQ("fileinto:A/B,fileinto:C,keep", report.action);
  EXPECT_EQ("Lists", report.rule);
  EXPECT_EQ(InboxReason::asked, report.inbox_reason);
  EXPECT_EQ("", report.note);
  for (const char* folder : {".A.B", ".C", ""})
    EXPECT_EQ(Names{"Added: d\nA: b\n\nc\n"}, messages_in(maildir(folder))) << folder;
}

TEST_F(MailboxDelivery, StoresInTheInboxWhatIsForAFolderWithADot) {
  for (const char* mailbox : {"", "v3.4"}) {
    const Report report = deliver_after(evaluation_of({file_into("v1.2"), keep()}), mailbox);
    EXPECT_EQ(Status::delivered, report.status);
    EXPECT_EQ(Names{"Inbox"}, report.folders);
    EXPECT_EQ(InboxReason::failure, report.inbox_reason);
    EXPECT_EQ("keep", report.action);
  }
  EXPECT_EQ(2U, count_in(""));
  EXPECT_FALSE(std::filesystem::exists(maildir(".v1&AC4-2")));
}

TEST_F(MailboxDelivery, StoresInFoldersThatThePluginListescapeReads) {
  const Report report = deliver_after(evaluation_of({file_into("A/v1.2"), file_into("~b"), keep()}),
                                      "v3.4", FolderDots::listescape);
  EXPECT_EQ(Status::delivered, report.status);
  EXPECT_EQ((Names{"A/v1.2", "~b", "v3.4"}), report.folders);
  EXPECT_EQ("", report.note);
  for (const char* folder : {".A.v1\\2e2", ".\\7eb", ".v3\\2e4"})
    EXPECT_EQ(1U, count_in(folder)) << folder;
  EXPECT_EQ(0U, count_in(""));
}

TEST_F(MailboxDelivery, StoresNothingThatIsRefused) {
  const Report rejected = deliver_after(evaluation_of({reject("go away")}));
  EXPECT_EQ(Status::rejected, rejected.status);
  EXPECT_EQ("go away", rejected.reject_text);
  EXPECT_EQ("reject", rejected.action);
  const Report discarded = deliver_after(evaluation_of({discard()}));
  EXPECT_EQ(Status::discarded, discarded.status);
  EXPECT_EQ("discard", discarded.action);
  EXPECT_EQ(InboxReason::none, discarded.inbox_reason);
  EXPECT_EQ(Names{}, discarded.folders);
  EXPECT_EQ(Names{}, names_in(user_));
}

TEST_F(MailboxDelivery, LeavesInTheInboxWhatCouldNotBeEvaluated) {
  const Report report =
      deliver_after(evaluation_without_result(Evaluation::Outcome::failed, "killed"));
  EXPECT_EQ(Status::delivered, report.status);
  EXPECT_EQ(Names{"Inbox"}, report.folders);
  EXPECT_EQ("keep", report.action);
  EXPECT_EQ(InboxReason::failure, report.inbox_reason);
  EXPECT_EQ("evaluation failed: killed", report.note);
  EXPECT_EQ(1U, count_in(""));
}

TEST_F(MailboxDelivery, TakesBackTheMessageOfAUserWhoWasLockedMeanwhile) {
  const Recipient alice{user_, "", FolderDots::inbox, true};
  const auto deliver_and_lock = [&](const Evaluation& evaluation) {
    return deliver(alice, message_.file(), 7, "host",
                   [&](int, std::uint64_t, std::time_t, const std::string&) {
                     write_file(user_ + "/.quarrow_lock", "");
                     return evaluation;
                   });
  };
  const Report report = deliver_and_lock(evaluation_of({file_into("A"), keep()}));
  EXPECT_EQ(Status::temporary_failure, report.status);
  EXPECT_TRUE(report.user_is_locked);
  EXPECT_EQ(Names{}, report.folders);
  EXPECT_EQ("the user is being moved to another machine", report.note);
  EXPECT_EQ(0U, count_in(".A"));
  EXPECT_EQ(0U, count_in(""));
  EXPECT_EQ("(no file)", content_of(user_ + "/.delivery_journal"));
  EXPECT_EQ(Status::discarded, deliver_and_lock(evaluation_of({discard()})).status);
}

TEST_F(MailboxDelivery, TellsAUserWithoutRulesFromAFailure) {
  EXPECT_EQ(InboxReason::no_rule, deliver_after(evaluation_of({})).inbox_reason);
  EXPECT_EQ(InboxReason::no_script,
            deliver_after(evaluation_without_result(Evaluation::Outcome::no_script)).inbox_reason);
  EXPECT_EQ(InboxReason::none, deliver_after(evaluation_of({file_into("A")})).inbox_reason);
}

TEST_F(MailboxDelivery, PutsIntoTheInboxOnceWhatFoldersDoNotTake) {
  block(".A");
  block(".B");
  const Report report =
      deliver_after(evaluation_of({file_into("A"), file_into("C"), file_into("B")}));
  EXPECT_EQ(Status::delivered, report.status);
  EXPECT_EQ((Names{"C", "Inbox"}), report.folders);
  EXPECT_EQ("fileinto:C,keep", report.action);
  EXPECT_EQ(InboxReason::failure, report.inbox_reason);
  EXPECT_EQ("can't store in A: " + maildir(".A") +
                ": Not a directory; can't store in B: " + maildir(".B") + ": Not a directory",
            report.note);
  EXPECT_EQ(1U, count_in(""));
  EXPECT_EQ(1U, count_in(".C"));
}

TEST_F(MailboxDelivery, AddsNothingToAnInboxThatHasTheMessage) {
  block(".A");
  const Report report = deliver_after(evaluation_of({file_into("A"), keep()}));
  EXPECT_EQ(Status::delivered, report.status);
  EXPECT_EQ(Names{"Inbox"}, report.folders);
  EXPECT_EQ(1U, count_in(""));
}

TEST_F(MailboxDelivery, LeavesWithTheSenderWhatTheInboxDoesNotTake) {
  std::filesystem::create_directories(maildir());
  block("new");
  const Report kept = deliver_after(evaluation_of({keep()}));
  EXPECT_EQ(Status::temporary_failure, kept.status);
  EXPECT_EQ(Names{}, kept.folders);
  EXPECT_NE("", kept.note);

  block(".A");
  const Report fallen_back = deliver_after(evaluation_of({file_into("B"), file_into("A")}));
  EXPECT_EQ(Status::temporary_failure, fallen_back.status);
  EXPECT_EQ(Names{"B"}, fallen_back.folders);

  EXPECT_EQ(Status::temporary_failure,
            deliver_after(evaluation_of({file_into("C"), keep()})).status);
}

TEST_F(MailboxDelivery, KeepsInTheMailboxOfTheRecipient) {
  const Report report = deliver_after(evaluation_of({keep()}), "A/B");
  EXPECT_EQ(Names{"A/B"}, report.folders);
  EXPECT_EQ("keep", report.action);
  EXPECT_EQ(1U, count_in(".A.B"));
  EXPECT_EQ(0U, count_in(""));

  (void)deliver_after(evaluation_of({file_into("A/B"), keep()}), "A/B");
  EXPECT_EQ(2U, count_in(".A.B"));
  (void)deliver_after(evaluation_of({file_into("C")}), "A/B");
  EXPECT_EQ(2U, count_in(".A.B"));
}

TEST_F(MailboxDelivery, KeepsInTheInboxWhatTheMailboxDoesNotTake) {
  block(".A");
  EXPECT_EQ(Names{"Inbox"}, deliver_after(evaluation_of({keep()}), "A").folders);
  const Report report = deliver_after(evaluation_of({keep()}), "../x");
  EXPECT_EQ(Names{"Inbox"}, report.folders);
  EXPECT_EQ(InboxReason::failure, report.inbox_reason);
  EXPECT_EQ("not a folder name, hence the inbox: ../x", report.note);
  EXPECT_EQ(2U, count_in(""));
}

class JournaledDelivery : public MailboxDelivery {
 protected:
  Report deliver_after(const Evaluation& evaluation) {
    Recipient alice{user_, "", FolderDots::inbox, /*keeps_journal=*/true};
    const auto evaluate = [&evaluation](int, std::uint64_t, std::time_t, const std::string&) {
      return evaluation;
    };
    return deliver(alice, message_with_id_.file(), 7, "host", evaluate);
  }
  Journal journal() const { return read_journal(user_, std::time(nullptr)); }

  const TestMessage message_with_id_{"A: b\nMessage-ID: <1@x>\n\nc\n", "Message-ID: <added@x>\n"};
};

TEST_F(JournaledDelivery, IsNotedWithItsTimeItsRuleAndTheRulesRevision) {
  write_file(user_ + "/.delivery_filter.xml", "<filters/>");
  Evaluation evaluation = evaluation_of({file_into("Gr&APYA3w-e"), keep()});
  evaluation.rule = "Lists";
  const std::time_t before = std::time(nullptr);
  EXPECT_EQ("", deliver_after(evaluation).journal_fault);
  ASSERT_EQ(1U, journal().records.size());
  const JournalRecord record = journal().records[0];
  EXPECT_LE(before, record.time);
  EXPECT_GE(std::time(nullptr), record.time);
  EXPECT_EQ("<1@x>", record.message_id);
  EXPECT_EQ("Lists", record.rule);
  EXPECT_EQ((Names{"Größe", "Inbox"}), record.folders);
  EXPECT_EQ(rules_revision("<filters/>"), record.revision);
  EXPECT_EQ(Status::delivered, record.status);
}

TEST_F(JournaledDelivery, IsNotedWhateverBecomesOfTheMessage) {
  (void)deliver_after(evaluation_of({discard()}));
  (void)deliver_after(evaluation_of({reject("no")}));
  (void)deliver_after(evaluation_of({}));
  std::filesystem::remove_all(maildir());
  write_file(user_ + "/Maildir", "");
  (void)deliver_after(evaluation_of({keep()}));
  std::vector<Status> outcomes;
  for (const auto& record : journal().records) outcomes.push_back(record.status);
  EXPECT_EQ((std::vector<Status>{Status::discarded, Status::rejected, Status::delivered,
                                 Status::temporary_failure}),
            outcomes);
  EXPECT_EQ(InboxReason::no_rule, journal().records[2].inbox_reason);
}

TEST_F(JournaledDelivery, DoesNotDependOnTheJournal) {
  std::filesystem::create_directory(user_ + "/.delivery_journal");
  const Report report = deliver_after(evaluation_of({keep()}));
  EXPECT_EQ(Status::delivered, report.status);
  EXPECT_EQ("", report.note);
  EXPECT_EQ(user_ + "/.delivery_journal: Is a directory", report.journal_fault);
  EXPECT_EQ(1U, count_in(""));
}

TEST_F(MailboxDelivery, IsNotNotedUnlessThatIsAskedFor) {
  (void)deliver_after(evaluation_of({keep()}));
  EXPECT_EQ(Names{"Maildir"}, names_in(user_));
}

}  // namespace
}  // namespace Quarrow::Delivery
