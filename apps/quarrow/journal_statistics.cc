// Figures as rows.
#include "apps/quarrow/journal_statistics.h"

#include <string>

#include "apps/quarrow/time_text.h"
#include "delivery/journal_figures.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Delivery::JournalFigures;
using Delivery::JournalRecord;
using Delivery::RuleDeliveries;

// As in the listing of rules' history: local time for people, seconds for programs.
Value time_of(const RuleDeliveries& figures, ListingForm form) {
  if (figures.decided == 0) return nullptr;
  if (form != ListingForm::table) return figures.last;
  return time_text(figures.last);
}

std::vector<std::string> places_of(const RuleDeliveries& figures) {
  std::vector<std::string> places;
  for (const auto& [place, messages] : figures.places)
    places.push_back(place + ": " + std::to_string(messages));
  return places;
}

void add_row(const Value& id, const Value& name, const Value& enabled,
             const RuleDeliveries& figures, ListingForm form, Listing& listing) {
  listing.add({id, name, enabled, figures.decided, time_of(figures, form), places_of(figures)});
}

// Takes the figures of that rule, so that each is in one row.
RuleDeliveries take(const std::string& rule, JournalFigures& journal) {
  const auto node = journal.by_rule.extract(rule);
  return node.empty() ? RuleDeliveries() : node.mapped();
}

void print_summary(const std::vector<std::string>& idle, const JournalFigures& journal,
                   std::ostream& out) {
  std::string names;
  for (const std::string& name : idle) names += (names.empty() ? "" : ", ") + printable(name);
  if (!names.empty()) out << "\ndecided about nothing: " << names << '\n';
  out << '\n' << journal.messages << (journal.messages == 1 ? " message" : " messages");
  if (journal.messages > 0) out << " since " << time_text(journal.first);
  out << '\n';
}

}  // namespace

void print_journal_statistics(const MessageFilters::FilterList__& list,
                              const std::vector<JournalRecord>& records, ListingForm form,
                              std::ostream& out) {
  JournalFigures journal = Delivery::figures_of(records);
  const RuleDeliveries undecided = take("", journal);
  Listing listing({"id", "name", "enabled", "decided", "last", "places"});
  std::vector<std::string> idle;
  for (const auto& filter : list.filters) {
    const RuleDeliveries figures = take(Delivery::recorded_rule(filter->name), journal);
    add_row(filter->id, filter->name, filter->enabled, figures, form, listing);
    if (figures.decided == 0) idle.push_back(filter->name);
  }
  for (const auto& [name, figures] : journal.by_rule)
    add_row(nullptr, name, nullptr, figures, form, listing);
  add_row(nullptr, nullptr, nullptr, undecided, form, listing);
  listing.print(form, out);
  if (form == ListingForm::table) print_summary(idle, journal, out);
}

}  // namespace Quarrow::Command
