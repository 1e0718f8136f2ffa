// The readers of the formats, and the check of what they make.
#include "importing/rules_reader.h"

#include <algorithm>

#include "administration/rule_check.h"
#include "importing/maildrop_import.h"
#include "importing/procmail_import.h"
#include "importing/rules_document_import.h"
#include "importing/sieve_import.h"
#include "importing/webmail_import.h"
#include "system/printable.h"
#include "system/utf8.h"

namespace Quarrow::Importing {
namespace {

using Administration::Refusal;
using Kind = Refusal::Kind;
using MessageFilters::Filter__;

Refusal read(RulesFormat format, const std::string& text, ImportedRules& rules) {
  switch (format) {
    case RulesFormat::json:
      return read_json(text, rules);
    case RulesFormat::xml:
      return read_rules_document(text, rules);
    case RulesFormat::sieve:
      return read_sieve(text, rules);
    case RulesFormat::webmail:
      return read_webmail(text, rules);
    case RulesFormat::procmail:
      return read_procmail(text, rules);
    case RulesFormat::maildrop:
      return read_maildrop(text, rules);
  }
  return {};
}

// What the checks of a new filter say to this one.
Refusal check(const Filter__& filter, Delivery::FolderDots dots) {
  if (Refusal refusal = Administration::check_name(filter.name)) return refusal;
  // a filter without tests never runs, and a list may hold one
  if (Refusal refusal = Administration::check_counts(std::max(filter.tests.size(), std::size_t{1}),
                                                     filter.actions.size()))
    return refusal;
  for (const auto& test : filter.tests)
    if (Refusal refusal = Administration::check_test(test)) return refusal;
  for (const auto& action : filter.actions)
    if (Refusal refusal = Administration::check_action(action, dots)) return refusal;
  return {};
}

// Refuses what does not come from a user of this system, or makes it a loss.
Refusal check_all(Delivery::FolderDots dots, ImportedRules& rules) {
  std::vector<ImportedRule> taken;
  for (const auto& rule : rules.rules) {
    Refusal refusal = check(*rule.filter, dots);
    if (!refusal) {
      taken.push_back(rule);
    } else if (rules.numbered) {
      refusal.object = "filter " + std::to_string(rule.filter->id) + ", " + refusal.object;
      return refusal;
    } else {
      rules.losses.push_back(
          {rule.line, rule.filter->name, refusal.reason + "; the rule is left out"});
    }
  }
  rules.rules = taken;
  std::stable_sort(rules.losses.begin(), rules.losses.end(),
                   [](const Loss& a, const Loss& b) { return a.line < b.line; });
  return {};
}

}  // namespace

Refusal read_rules(RulesFormat format, const std::string& text, Delivery::FolderDots dots,
                   ImportedRules& rules) {
  if (text.size() > most_import_bytes)
    return {Kind::wrong_rule, "rules",
            "more than " + std::to_string(most_import_bytes >> 20) + " MiB; no rules are so long"};
  if (!is_utf8(text)) return {Kind::wrong_rule, "rules", "not UTF-8; iconv makes it so"};
  if (const Refusal refusal = read(format, text, rules)) return refusal;
  return check_all(dots, rules);
}

}  // namespace Quarrow::Importing
