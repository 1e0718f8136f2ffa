// Records by the names of their rules.
#include "delivery/journal_figures.h"

#include <algorithm>

#include "system/printable.h"

namespace Quarrow::Delivery {
namespace {

void count(const JournalRecord& record, RuleDeliveries& rule) {
  ++rule.decided;
  rule.last = std::max(rule.last, record.time);
  if (record.folders.empty()) ++rule.places['(' + std::string(status_word(record.status)) + ')'];
  for (const std::string& folder : record.folders) ++rule.places[folder];
}

}  // namespace

JournalFigures figures_of(const std::vector<JournalRecord>& records) {
  JournalFigures figures;
  for (const JournalRecord& record : records) {
    if (record.status == Report::Status::temporary_failure) continue;
    count(record, figures.by_rule[record.rule]);
    figures.first = figures.messages++ == 0 ? record.time : std::min(figures.first, record.time);
  }
  return figures;
}

std::string recorded_rule(const std::string& name) { return shortened(name); }

}  // namespace Quarrow::Delivery
