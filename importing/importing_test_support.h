// Rules of other systems, read and told in words.
#ifndef QUARROW_IMPORTING_IMPORTING_TEST_SUPPORT_H_
#define QUARROW_IMPORTING_IMPORTING_TEST_SUPPORT_H_

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "administration/rule_text.h"
#include "importing/rules_reader.h"

namespace Quarrow::Importing {

inline ImportedRules rules_of(RulesFormat format, const std::string& text) {
  ImportedRules rules;
  const auto refusal = read_rules(format, text, Delivery::FolderDots::inbox, rules);
  EXPECT_FALSE(refusal) << refusal.object << ": " << refusal.reason << "\n" << text;
  return rules;
}

// A line for each filter, "3 name: any: test; test: action; action", and one for each loss,
// "3 name loses reason".
inline std::string told(const ImportedRules& rules) {
  std::string all;
  for (const auto& rule : rules.rules) {
    all += std::to_string(rule.line) + ' ' + rule.filter->name + ": ";
    if (!rule.filter->enabled) all += "disabled: ";
    if (rule.filter->relation == MessageFilters::Filter__::ANYOF) all += "any: ";
    for (const auto& test : rule.filter->tests) all += Administration::test_text(test) + "; ";
    for (const auto& action : rule.filter->actions)
      all += (&action == &rule.filter->actions.front() ? "-> " : ", ") +
             Administration::action_text(action);
    all += '\n';
  }
  for (const auto& loss : rules.losses)
    all += std::to_string(loss.line) + ' ' + loss.rule + " loses " + loss.reason + '\n';
  return all;
}

inline std::string told(RulesFormat format, const std::string& text) {
  return told(rules_of(format, text));
}

// Reads texts that come of `seeds` by chance: bytes and pieces of them go, come, and come twice.
inline void read_mutations(RulesFormat format, const std::vector<std::string>& seeds,
                           const std::vector<std::string>& pieces) {
  std::minstd_rand random(1);
  const auto below = [&random](std::size_t bound) {
    return static_cast<std::size_t>(random()) % bound;
  };
  for (int round = 0; round < 6000; ++round) {
    std::string text = seeds[below(seeds.size())];
    for (std::size_t left = 1 + below(6); left > 0 && !text.empty(); --left) {
      const std::size_t at = below(text.size());
      switch (below(4)) {
        case 0:
          text.erase(at, 1 + below(8));
          break;
        case 1:
          text.insert(at, pieces[below(pieces.size())]);
          break;
        case 2:
          text.insert(at, text.substr(below(text.size()), below(60)));
          break;
        default:
          text[at] = static_cast<char>(below(128));
      }
    }
    ImportedRules rules;
    (void)read_rules(format, text, Delivery::FolderDots::inbox, rules);  // it comes to an end
    for (const auto& rule : rules.rules) EXPECT_TRUE(rule.filter->is_valid()) << text;
  }
}

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_IMPORTING_TEST_SUPPORT_H_
