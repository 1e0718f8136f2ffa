// Rules that are never committed, beside those that are.
#include "apps/quarrow/commands/what_if.h"

#include <fcntl.h>
#include <sysexits.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <limits>
#include <nlohmann/json.hpp>

#include "administration/guarded_rules.h"
#include "administration/rule_check.h"
#include "administration/rules_json.h"
#include "administration/rules_text.h"
#include "apps/quarrow/commands/catalogue_fields.h"
#include "apps/quarrow/commands/rule_options.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/listing.h"
#include "apps/quarrow/match_report.h"
#include "delivery/place_text.h"
#include "message_filters/script_words.h"
#include "message_filters/user_files.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "trial/comparison.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using Delivery::FolderDots;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using Kind = Refusal::Kind;

// The number of the filter that `text` names by its number or, where no filter has that, by its
// name; 0 when there is none.
std::int32_t number_of(const std::string& text, FilterList__& list) {
  for (const auto& filter : list.filters)
    if (std::to_string(filter->id) == text) return filter->id;
  const auto filter = list.find_filter(text);
  return filter ? filter->id : 0;
}

Refusal remove(const std::vector<std::string>& names, RulesTransaction& rules) {
  for (const auto& name : names) {
    const std::int32_t number = number_of(name, *rules.filters().filters);
    if (number == 0)
      return {Kind::wrong_rule, "--without " + name,
              "the user has no filter of this number or name; see quarrow filter list"};
    if (const Refusal refusal = rules.remove(number)) return refusal;
  }
  return {};
}

// The number of the filter at the place `at`; 0 for the end.
std::int32_t filter_at(std::size_t at, const FilterList__& list) {
  if (at == 0 || at > list.filters.size()) return 0;
  return (*std::next(list.filters.begin(), static_cast<std::ptrdiff_t>(at) - 1))->id;
}

Refusal check(const Filter__& filter, FolderDots dots) {
  if (Refusal refusal = Administration::check_name(filter.name)) return refusal;
  if (Refusal refusal = Administration::check_counts(filter.tests.size(), filter.actions.size()))
    return refusal;
  for (const auto& test : filter.tests)
    if (Refusal refusal = Administration::check_test(test)) return refusal;
  for (const auto& action : filter.actions)
    if (Refusal refusal = Administration::check_action(action, dots)) return refusal;
  return {};
}

Refusal read_rules(const std::string& json, FolderDots dots,
                   boost::shared_ptr<FilterList__>& list) {
  if (const Refusal refusal = Administration::read_rules_json(json, list)) return refusal;
  const std::uint64_t most = MessageFilters::UserMessageFilters__::max_filters();
  if (list->filters.size() > most)
    return {Kind::limit_reached, "these rules",
            "they are " + std::to_string(list->filters.size()) +
                " filters, and a user has at most " + std::to_string(most)};
  for (const auto& filter : list->filters) {
    Refusal refusal = check(*filter, dots);
    if (!refusal) continue;
    refusal.object = "filter " + std::to_string(filter->id) + ", " + refusal.object;
    return refusal;
  }
  return {};
}

// Makes the further filter.
Refusal read_further(const WhatIfOptions& options, const EmailAddress& user, FolderDots dots,
                     boost::shared_ptr<Filter__>& filter) {
  Refusal refusal =
      Administration::check_counts(options.with.tests.size(), options.with.actions.size());
  refusal.object = "--with";
  if (refusal) return refusal;
  return read_with_fields(user, system_catalogue, [&](const auto& catalogue) {
    filter = Filter__::Create();
    return read_filter(options.with, "--with", dots, catalogue, *filter);
  });
}

// The script of the other rules.
GuardedOutcome other_script(const WhatIfOptions& options,
                            const boost::shared_ptr<Filter__>& further, const std::string& json,
                            FolderDots dots, RulesTransaction& rules) {
  auto& list = rules.filters().filters;
  Refusal refusal = options.rules.empty() ? rules.check_loss() : read_rules(json, dots, list);
  if (!refusal) refusal = remove(options.without, rules);
  if (!refusal && further)
    refusal = rules.add(further, filter_at(options.at, *rules.filters().filters));
  if (refusal) return {refusal, ""};
  const std::string script = Administration::script_text(list, false);
  if (script.size() > script_limit)
    return {{Kind::script_too_long, "these rules",
             "they make a script of " + std::to_string(script.size()) + " bytes, of which only " +
                 std::to_string(script_limit) + " would be read"},
            ""};
  return {Administration::check_compiles(script, "these rules"), script};
}

// No rules are as long, in bytes.
constexpr std::size_t longest_rules = std::size_t{64} << 20;

// Reads the file, or as much of it as tells that it is too long to be rules; gives the errno of a
// failure, or 0.
int read_file(const std::string& path, std::string& text) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return errno;
  ssize_t count = 1;
  while (count > 0 && text.size() < longest_rules) count = append_from(file.get(), text);
  return count < 0 ? errno : 0;
}

std::string json_line(const Trial::Difference& difference) {
  using nlohmann::ordered_json;
  const ordered_json line = {{"message", difference.message},
                             {"now", place_names(difference.now)},
                             {"then", place_names(difference.then)}};
  return line.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

void print_comparison_json(const Trial::ComparisonResult& result) {
  for (const auto& difference : result.differences) std::cout << json_line(difference);
}

void print_comparison_table(const Trial::ComparisonResult& result) {
  Listing listing({"message", "now", "then"});
  for (const auto& difference : result.differences)
    listing.add({difference.message, place_text(difference.now), place_text(difference.then)});
  if (!result.differences.empty()) {
    listing.print(ListingForm::table, std::cout);
    std::cout << '\n';
  }
  std::cout << result.differences.size() << " of " << result.messages
            << (result.messages == 1 ? " message" : " messages") << " would go elsewhere\n";
}

int complain_of_failures(const Trial::ComparisonResult& result, int status) {
  if (result.failed_now > 0)
    status = complain("now",
                      "evaluations that fail: " + std::to_string(result.failed_now) +
                          "; the inbox takes these messages, and quarrow match says why",
                      EX_DATAERR);
  if (result.failed_then > 0)
    status = complain("then",
                      "evaluations that would fail: " + std::to_string(result.failed_then) +
                          "; the inbox would take these messages",
                      EX_DATAERR);
  return status;
}

// An empty text would be taken for no option.
std::string fault_of_empty(const std::string& text) { return text.empty() ? "is empty" : ""; }

}  // namespace

std::vector<Option> add_what_if_options(CLI::App& app, WhatIfOptions& options) {
  auto with = add_filter_options(
      app, "--with", "Show what a further filter of this name would change", options.with);
  with.front().check(fault_of_empty);
  for (std::size_t i = 1; i < with.size(); ++i) with[i].needs(with.front());
  add_option(app, "--at", options.at, "The further filter's place in the order; else the end")
      .type_name("N")
      .in_range(1, std::size_t{1000})
      .needs(with.front());
  const Option without =
      add_text_option(app, "--without", options.without, "FILTER",
                      "Show what the lack of a filter would change; repeat it for more");
  const Option rules =
      add_option(app, "--rules", options.rules,
                 "Show what other rules would change: a file as filter list --json writes it")
          .type_name("FILE")
          .check(fault_of_empty)
          .excludes(with.front())
          .excludes(without);
  return {with.front(), without, rules};
}

int compare_rules(const WhatIfOptions& options, const EmailAddress& user,
                  const std::vector<Trial::MailSource>& sources, const Trial::RunSettings& settings,
                  bool json, int status) {
  boost::shared_ptr<Filter__> further;
  if (!options.with.name.empty())
    if (const Refusal refusal = read_further(options, user, settings.dots, further))
      return complain(refusal);
  std::string text;
  if (!options.rules.empty())
    if (const int error = read_file(options.rules, text))
      return complain(Trial::cannot_read(options.rules, error));
  const auto outcome = Administration::with_rules_of(user, [&](RulesTransaction& rules) {
    return other_script(options, further, text, settings.dots, rules);
  });
  if (outcome.refusal) return complain(outcome.refusal, user.address());
  const auto result = Trial::compare(
      sources, Administration::rules_script(user.address()), outcome.answer, settings,
      [&status](const Trial::SourceFailure& failure) { status = complain(failure); });
  (json ? print_comparison_json : print_comparison_table)(result);
  return complain_of_failures(result, status);
}

}  // namespace Quarrow::Command
