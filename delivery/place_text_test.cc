// The words for places.
#include "delivery/place_text.h"

#include <gtest/gtest.h>

namespace Quarrow::Delivery {
namespace {

Plan plan_of(const std::vector<std::string>& mailboxes, InboxReason reason = InboxReason::none,
             const std::string& note = "") {
  Plan plan;
  plan.mailboxes = mailboxes;
  plan.inbox_reason = reason;
  plan.note = note;
  return plan;
}

TEST(PlaceText, NamesFoldersInUtf8) {
  const Plan plan = plan_of({"J&AOQ-ger", ""}, InboxReason::asked);
  EXPECT_EQ("folder J\xc3\xa4ger, inbox", place_text(plan));
  EXPECT_EQ((std::vector<std::string>{"J\xc3\xa4ger", "Inbox"}), place_names(plan));
}

TEST(PlaceText, TellsARefusal) {
  Plan plan;
  plan.refusal = Plan::Refusal::reject;
  EXPECT_EQ("rejected", place_text(plan));
  EXPECT_TRUE(place_names(plan).empty());
  plan.refusal = Plan::Refusal::discard;
  EXPECT_EQ("discarded", place_text(plan));
}

TEST(PlaceText, TellsWhyItIsTheInbox) {
  EXPECT_EQ("", inbox_reason_text(plan_of({"Work"})));
  EXPECT_EQ("the rule says so", inbox_reason_text(plan_of({""}, InboxReason::asked)));
  EXPECT_EQ("no rule matched",
            inbox_reason_text(plan_of({""}, InboxReason::no_rule, "no rule matched")));
}

JournalRecord record_of(Report::Status status, const std::vector<std::string>& folders,
                        InboxReason reason, const std::string& note) {
  JournalRecord record;
  record.status = status;
  record.folders = folders;
  record.inbox_reason = reason;
  record.note = note;
  return record;
}

TEST(PastPlaceText, SaysWhereAMessageWentAndWhy) {
  using Told = Report::Status;
  EXPECT_EQ("folder J\xc3\xa4ger, inbox (the rule says so)",
            past_place_text(
                record_of(Told::delivered, {"J\xc3\xa4ger", "Inbox"}, InboxReason::asked, "")));
  EXPECT_EQ("rejected", past_place_text(record_of(Told::rejected, {}, InboxReason::none, "")));
  EXPECT_EQ("discarded", past_place_text(record_of(Told::discarded, {}, InboxReason::none, "")));
  EXPECT_EQ("left with the mail server (the disk is full)",
            past_place_text(record_of(Told::temporary_failure, {"Work"}, InboxReason::failure,
                                      "the disk is full")));
}

}  // namespace
}  // namespace Quarrow::Delivery
