// What a journal's records come to, rule by rule.
#ifndef QUARROW_DELIVERY_JOURNAL_FIGURES_H_
#define QUARROW_DELIVERY_JOURNAL_FIGURES_H_

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "delivery/journal_record.h"

namespace Quarrow::Delivery {

// Of the messages that one rule decided about.
struct RuleDeliveries {
  std::uint64_t decided = 0;
  std::time_t last = 0;                         // of the newest one
  std::map<std::string, std::uint64_t> places;  // folders, and "(discarded)", "(rejected)"
};

struct JournalFigures {
  std::map<std::string, RuleDeliveries> by_rule;  // "": no rule decided
  std::uint64_t messages = 0;
  std::time_t first = 0;  // of the oldest one; 0 without any
};

// Messages that were left with the mail server are not counted: they came again.
JournalFigures figures_of(const std::vector<JournalRecord>& records);

// The name by which records know the rule `name`.
std::string recorded_rule(const std::string& name);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_JOURNAL_FIGURES_H_
