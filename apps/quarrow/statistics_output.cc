// The table and its bars.
#include "apps/quarrow/statistics_output.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Trial::RuleFigures;
using Trial::Statistics;

constexpr std::uint64_t longest_bar = 40;

struct Bar {
  std::string name;
  std::uint64_t messages;
};

std::vector<Bar> bars_of(const Statistics& statistics) {
  std::vector<Bar> bars;
  for (const RuleFigures& rule : statistics.rules)
    bars.push_back({printable(rule.filter->name), rule.decides});
  bars.push_back({"(no rule)", statistics.undecided});
  if (statistics.failed > 0) bars.push_back({"(failed)", statistics.failed});
  return bars;
}

// A message is never invisible.
std::uint64_t length_of(std::uint64_t messages, std::uint64_t most) {
  return messages == 0 ? 0 : std::max<std::uint64_t>(messages * longest_bar / most, 1);
}

void print_bars(const Statistics& statistics, std::ostream& out) {
  const std::vector<Bar> bars = bars_of(statistics);
  const std::uint64_t most =
      std::max_element(bars.begin(), bars.end(), [](const Bar& a, const Bar& b) {
        return a.messages < b.messages;
      })->messages;
  for (const Bar& bar : bars)
    out << std::string(length_of(bar.messages, most), '#') << (bar.messages > 0 ? " " : "")
        << bar.name << ", " << bar.messages << '\n';
}

std::vector<std::string> names_of_takers(const Statistics& statistics, const RuleFigures& rule) {
  std::vector<std::string> names;
  for (const auto& [taker, messages] : rule.taken_by)
    names.push_back(statistics.rules[taker].filter->name + ": " + std::to_string(messages));
  return names;
}

}  // namespace

void print_statistics(const Statistics& statistics, ListingForm form, std::ostream& out) {
  Listing listing({"id", "name", "enabled", "decides", "matches", "taken_by"});
  for (const RuleFigures& rule : statistics.rules)
    listing.add({rule.filter->id, rule.filter->name, rule.filter->enabled, rule.decides,
                 rule.matches, names_of_takers(statistics, rule)});
  listing.print(form, out);
  if (form != ListingForm::table) return;
  out << '\n';
  print_bars(statistics, out);
  out << '\n' << statistics.messages << (statistics.messages == 1 ? " message\n" : " messages\n");
}

}  // namespace Quarrow::Command
