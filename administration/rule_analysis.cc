// A script is a chain: the first filter whose condition holds decides, and stops the script. So a
// filter never runs when its condition can't hold together with the opposites of earlier ones.
#include "administration/rule_analysis.h"

#include <algorithm>
#include <string_view>
#include <tuple>

#include "administration/rule_fields.h"
#include "administration/rule_text.h"
#include "administration/test_logic.h"
#include "message_filters/sieve_test_text.h"
#include "system/printable.h"

namespace Quarrow::Administration {
namespace {

using RemarkKind = RuleRemark::Kind;
using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::Test;

// Each of these takes all of its claims.
using Ways = std::vector<Claims>;

// An enabled filter.
struct Rule {
  const Filter__* filter;
  std::vector<Claim> claims;     // of its tests
  std::vector<Claim> opposites;  // in the same order
  Ways to_run;                   // the ways in which it comes to run
  Ways to_pass;                  // those in which it does not
};

// Whether the texts that stand in the script as they are leave its form alone.
bool is_plain(std::string_view text) {
  return !has_control_characters(text) && text.find_first_of("\"\\") == std::string_view::npos;
}

bool is_plain(const Test& test) {
  if (!test.is_valid() || !is_plain(test.field.name)) return false;
  return test.field.type != Field::SIZE || test.value == MessageFilters::digits_only(test.value);
}

bool is_plain(const Filter__& filter) {
  const auto& [tests, actions] = std::tie(filter.tests, filter.actions);
  return !has_control_characters(filter.name) &&
         std::all_of(tests.begin(), tests.end(), [](const Test& test) { return is_plain(test); }) &&
         std::all_of(actions.begin(), actions.end(),
                     [](const auto& action) { return is_plain(action.target); });
}

bool is_in_script(const Filter__& filter) { return filter.enabled && !filter.tests.empty(); }

bool reads_no_addresses(const Test& test) {
  return test.field.type == Field::ADDRESS && !holds_addresses(test.field.name);
}

// Where one test meets addresses that can't be read, later address tests may have any outcome.
void forget_addresses(std::vector<Rule>& rules) {
  for (Rule& rule : rules)
    for (Claim& claim : rule.claims)
      if (claim.subject == Claim::Subject::addresses) claim.subject = Claim::Subject::unknown;
}

// The ways to make all of the claims true, or one of them.
Ways ways_to(bool needs_all, const std::vector<Claim>& claims) {
  Ways ways;
  for (const Claim& claim : claims) {
    if (ways.empty() || !needs_all) ways.emplace_back();
    ways.back().push_back(&claim);
  }
  return ways;
}

void find_ways(Rule& rule) {
  const bool needs_all = rule.filter->relation == Filter__::ALLOF;
  for (const Claim& claim : rule.claims) rule.opposites.push_back(opposite_of(claim));
  rule.to_run = ways_to(needs_all, rule.claims);
  rule.to_pass = ways_to(!needs_all, rule.opposites);
}

// The rules of the script, in its order; none when the script may have another form.
std::vector<Rule> rules_of(const FilterList__& list) {
  std::vector<Rule> rules;
  bool are_addresses_readable = true;
  for (const auto& filter : list.filters) {
    if (!is_in_script(*filter)) continue;
    if (!is_plain(*filter)) return {};
    rules.push_back({filter.get(), {}, {}, {}, {}});
    for (const Test& test : filter->tests) {
      rules.back().claims.push_back(claim_of(test));
      are_addresses_readable &= !reads_no_addresses(test);
    }
  }
  if (!are_addresses_readable) forget_addresses(rules);
  for (Rule& rule : rules) find_ways(rule);
  return rules;
}

Claims joined(Claims claims, const Claims& more) {
  claims.insert(claims.end(), more.begin(), more.end());
  return claims;
}

bool never_holds(const Ways& ways) {
  return std::all_of(ways.begin(), ways.end(), exclude_each_other);
}

// Whether a message that comes `way` can't get past `earlier`.
bool is_taken(const Claims& way, const Rule& earlier) {
  const Ways& passes = earlier.to_pass;
  return std::all_of(passes.begin(), passes.end(),
                     [&](const Claims& pass) { return exclude_each_other(joined(way, pass)); });
}

// Whether a message that comes `way` can't get past all of `earlier`, each of which is null or can
// be passed in one way only.
bool is_taken(const Claims& way, const std::vector<const Rule*>& earlier) {
  Claims passed = way;
  for (const Rule* rule : earlier)
    if (rule) passed = joined(passed, rule->to_pass.front());
  return exclude_each_other(passed);
}

// The rules that it takes to leave nothing of what comes `way`.
std::vector<std::int32_t> needed(const Claims& way, std::vector<const Rule*> rules) {
  for (const Rule*& rule : rules) {
    const Rule* const tried = rule;
    rule = nullptr;
    if (!is_taken(way, rules)) rule = tried;
  }
  std::vector<std::int32_t> ids;
  for (const Rule* rule : rules)
    if (rule) ids.push_back(rule->filter->id);
  return ids;
}

// The rules among the first `count` that take the messages which come `way`; none when they may
// leave some. Several are found together where each can be passed in one way only.
std::vector<std::int32_t> takers(const Claims& way, const std::vector<Rule>& rules,
                                 std::size_t count) {
  std::vector<const Rule*> together;
  for (std::size_t i = 0; i < count; ++i) {
    if (is_taken(way, rules[i])) return {rules[i].filter->id};
    if (rules[i].to_pass.size() == 1) together.push_back(&rules[i]);
  }
  return is_taken(way, together) ? needed(way, together) : std::vector<std::int32_t>();
}

void add_new(const std::vector<std::int32_t>& ids, std::vector<std::int32_t>& to) {
  for (const std::int32_t id : ids)
    if (std::find(to.begin(), to.end(), id) == to.end()) to.push_back(id);
}

// The earlier rules that leave nothing to the rule `index`; none when they may.
std::vector<std::int32_t> takers_of_all(const std::vector<Rule>& rules, std::size_t index) {
  std::vector<std::int32_t> all;
  for (const Claims& way : rules[index].to_run) {
    if (exclude_each_other(way)) continue;
    const auto ids = takers(way, rules, index);
    if (ids.empty()) return {};
    add_new(ids, all);
  }
  std::sort(all.begin(), all.end());
  return all;
}

std::string list_of_filters(const std::vector<std::int32_t>& ids) {
  std::string text = ids.size() == 1 ? "filter " : "filters ";
  for (std::size_t i = 0; i < ids.size(); ++i) {
    if (i > 0) text += i + 1 == ids.size() ? " and " : ", ";
    text += std::to_string(ids[i]);
  }
  return text;
}

RuleRemark shadowed(std::int32_t id, std::vector<std::int32_t> earlier) {
  const std::string before = list_of_filters(earlier);
  const std::string verb = earlier.size() == 1 ? " takes" : " together take";
  return {RemarkKind::shadowed, id, std::move(earlier),
          "never runs: " + before + " in front of it" + verb + " every message that it would take",
          "put it in front of " + before + ", or remove it"};
}

void remark_on_condition(const std::vector<Rule>& rules, std::size_t index,
                         std::vector<RuleRemark>& remarks) {
  const Rule& rule = rules[index];
  const std::int32_t id = rule.filter->id;
  if (never_holds(rule.to_run))
    return remarks.push_back({RemarkKind::contradiction,
                              id,
                              {},
                              "never runs: its tests exclude each other",
                              "take out one of the tests, or have any of them suffice"});
  if (auto earlier = takers_of_all(rules, index); !earlier.empty())
    return remarks.push_back(shadowed(id, std::move(earlier)));
  if (never_holds(rule.to_pass))
    remarks.push_back({RemarkKind::takes_all,
                       id,
                       {},
                       "takes every message: one of its tests always holds",
                       "have all of the tests hold, or take out one of them"});
}

bool compares_whole_addresses(const Test& test) {
  return test.field.type == Field::STRING && test.comparator == Comparator::IS &&
         holds_addresses(test.field.name);
}

void remark_on_tests(const Filter__& filter, std::vector<RuleRemark>& remarks) {
  for (const Test& test : filter.tests) {
    if (!compares_whole_addresses(test)) continue;
    Test better = test;
    better.field.type = Field::ADDRESS;
    remarks.push_back(
        {RemarkKind::whole_addresses,
         filter.id,
         {},
         '"' + shortened(test_text(test)) + "\" compares all that is in the header, names included",
         "for an address, test " + shortened(test_text(better))});
  }
}

}  // namespace

std::vector<RuleRemark> rule_remarks(const FilterList__& list) {
  const std::vector<Rule> rules = rules_of(list);
  std::vector<RuleRemark> remarks;
  for (std::size_t i = 0; i < rules.size(); ++i) {
    remark_on_condition(rules, i, remarks);
    remark_on_tests(*rules[i].filter, remarks);
  }
  return remarks;
}

bool concerns(const RuleRemark& remark, std::int32_t id) {
  return remark.filter == id ||
         std::find(remark.earlier.begin(), remark.earlier.end(), id) != remark.earlier.end();
}

}  // namespace Quarrow::Administration
