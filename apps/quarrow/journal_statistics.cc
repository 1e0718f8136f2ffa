// Records by the names of their rules.
#include "apps/quarrow/journal_statistics.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <map>
#include <string>

#include "apps/quarrow/time_text.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Delivery::JournalRecord;
using Delivery::Report;

struct Figures {
  std::uint64_t decided = 0;
  std::time_t last = 0;
  std::map<std::string, std::uint64_t> places;
};

// By the rule's name; "" for the messages that no rule decided about.
using FiguresByName = std::map<std::string, Figures>;

void count(const JournalRecord& record, FiguresByName& by_name) {
  Figures& figures = by_name[record.rule];
  ++figures.decided;
  figures.last = std::max(figures.last, record.time);
  if (record.folders.empty()) ++figures.places['(' + std::string(status_word(record.status)) + ')'];
  for (const std::string& folder : record.folders) ++figures.places[folder];
}

// As in the listing of rules' history: local time for people, seconds for programs.
Value time_of(const Figures& figures, ListingForm form) {
  if (figures.decided == 0) return nullptr;
  if (form != ListingForm::table) return figures.last;
  return time_text(figures.last);
}

std::vector<std::string> places_of(const Figures& figures) {
  std::vector<std::string> places;
  for (const auto& [place, messages] : figures.places)
    places.push_back(place + ": " + std::to_string(messages));
  return places;
}

void add_row(const Value& id, const Value& name, const Value& enabled, const Figures& figures,
             ListingForm form, Listing& listing) {
  listing.add({id, name, enabled, figures.decided, time_of(figures, form), places_of(figures)});
}

// Takes the figures of that name, so that each is in one row.
Figures take(const std::string& name, FiguresByName& by_name) {
  const auto node = by_name.extract(name);
  return node.empty() ? Figures() : node.mapped();
}

void print_summary(const std::vector<std::string>& idle, std::uint64_t messages, std::time_t first,
                   std::ostream& out) {
  std::string names;
  for (const std::string& name : idle) names += (names.empty() ? "" : ", ") + printable(name);
  if (!names.empty()) out << "\ndecided about nothing: " << names << '\n';
  out << '\n' << messages << (messages == 1 ? " message" : " messages");
  if (messages > 0) out << " since " << time_text(first);
  out << '\n';
}

}  // namespace

void print_journal_statistics(const MessageFilters::FilterList__& list,
                              const std::vector<JournalRecord>& records, ListingForm form,
                              std::ostream& out) {
  FiguresByName by_name;
  std::uint64_t messages = 0;
  std::time_t first = 0;
  for (const JournalRecord& record : records) {
    if (record.status == Report::Status::temporary_failure) continue;
    count(record, by_name);
    first = messages++ == 0 ? record.time : std::min(first, record.time);
  }
  const Figures undecided = take("", by_name);
  Listing listing({"id", "name", "enabled", "decided", "last", "places"});
  std::vector<std::string> idle;
  for (const auto& filter : list.filters) {
    const Figures figures = take(shortened(filter->name), by_name);
    add_row(filter->id, filter->name, filter->enabled, figures, form, listing);
    if (figures.decided == 0) idle.push_back(filter->name);
  }
  for (const auto& [name, figures] : by_name)
    add_row(nullptr, name, nullptr, figures, form, listing);
  add_row(nullptr, nullptr, nullptr, undecided, form, listing);
  listing.print(form, out);
  if (form == ListingForm::table) print_summary(idle, messages, first, out);
}

}  // namespace Quarrow::Command
