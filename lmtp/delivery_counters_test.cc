// The LMTP server's counters, by name.
#include "lmtp/delivery_counters.h"

#include <gtest/gtest.h>

namespace Quarrow::Lmtp {
namespace {

// Each counter, and the beginning of its line.
const struct {
  Counter counter;
  const char* name;
} names[] = {{Counter::delivered_inbox, "quarrow_delivered_total{folder=\"inbox\"}"},
             {Counter::delivered_other, "quarrow_delivered_total{folder=\"other\"}"},
             {Counter::rejected, "quarrow_rejected_total"},
             {Counter::discarded, "quarrow_discarded_total"},
             {Counter::looped, "quarrow_loops_total"},
             {Counter::kept_without_rule, "quarrow_kept_total{reason=\"no_rule\"}"},
             {Counter::kept_after_failure, "quarrow_kept_total{reason=\"failure\"}"},
             {Counter::temporary_failure, "quarrow_temporary_failures_total"},
             {Counter::unknown_recipient, "quarrow_unknown_recipients_total"},
             {Counter::workers_replaced, "quarrow_workers_replaced_total"}};

// The histogram after evaluations of 400, 500, 501, 1500000 and 99000000 microseconds.
const char histogram[] =
    "# HELP quarrow_evaluation_seconds Time that running a script over a message took.\n"
    "# TYPE quarrow_evaluation_seconds histogram\n"
    "quarrow_evaluation_seconds_bucket{le=\"0.0005\"} 2\n"
    "quarrow_evaluation_seconds_bucket{le=\"0.001\"} 3\n"
    "quarrow_evaluation_seconds_bucket{le=\"0.002\"} 3\n"
    "quarrow_evaluation_seconds_bucket{le=\"0.005\"} 3\n"
    "quarrow_evaluation_seconds_bucket{le=\"0.01\"} 3\n"
    "quarrow_evaluation_seconds_bucket{le=\"0.02\"} 3\n"
    "quarrow_evaluation_seconds_bucket{le=\"0.05\"} 3\n"
    "quarrow_evaluation_seconds_bucket{le=\"0.1\"} 3\n"
    "quarrow_evaluation_seconds_bucket{le=\"1\"} 3\n"
    "quarrow_evaluation_seconds_bucket{le=\"10\"} 4\n"
    "quarrow_evaluation_seconds_bucket{le=\"+Inf\"} 5\n"
    "quarrow_evaluation_seconds_sum 100.501401\n"
    "quarrow_evaluation_seconds_count 5\n";

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(DeliveryCounters, HaveTheNameOfWhatTheyCount) {
  for (const auto& each : names) {
    DeliveryCounters counters;
    counters.add(each.counter);
    for (const auto& other : names)
      EXPECT_TRUE(contains(counters.text(), '\n' + std::string(other.name) +
                                                (other.counter == each.counter ? " 1\n" : " 0\n")))
          << each.name << ", " << other.name;
  }
}

TEST(DeliveryCounters, AddUpTheTimesOfEvaluations) {
  DeliveryCounters counters;
  for (const int took : {400, 500, 501, 1500000, 99000000})
    counters.add_evaluation(std::chrono::microseconds(took));
  const std::string text = counters.text();
  EXPECT_EQ(histogram, text.substr(text.find("# HELP quarrow_evaluation_seconds")));
}

}  // namespace
}  // namespace Quarrow::Lmtp
