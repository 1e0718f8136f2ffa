// A user whose rules are changed through transactions.
#ifndef QUARROW_ADMINISTRATION_RULES_TRANSACTION_TEST_SUPPORT_H_
#define QUARROW_ADMINISTRATION_RULES_TRANSACTION_TEST_SUPPORT_H_

#include <base.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "administration/administration_test_support.h"
#include "administration/rules_transaction.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {

// The refusal of adding a rule with a test of the subject for `value`, and of the commit.
inline Refusal add_rule(RulesTransaction& rules, const std::string& value = "word") {
  const Refusal refusal =
      rules.add(MessageFilters::make_rule("Rule", MessageFilters::subject_test(value)), 0);
  return refusal ? refusal : rules.commit();
}

class RulesTransactionTest : public testing::Test {
 protected:
  RulesTransactionTest() { std::filesystem::create_directories(folder_); }
  ~RulesTransactionTest() override { cmdb.system = nullptr; }

  // The names of the committed filters in their order.
  std::string names() const {
    RulesTransaction rules(alice);
    EXPECT_EQ("", said(rules.open()));
    std::string all;
    for (const auto& filter : rules.filters().filters->filters) all += filter->name + ' ';
    return all;
  }

  void edit(const std::function<Refusal(RulesTransaction&)>& change) const {
    RulesTransaction rules(alice);
    EXPECT_EQ("", said(rules.open()));
    EXPECT_EQ("", said(change(rules)));
    EXPECT_EQ("", said(rules.commit()));
  }

  // Commits a rule that all users may read.
  void commit_one_rule() const {
    edit([](RulesTransaction& rules) {
      return rules.add(MessageFilters::make_rule("Rule", MessageFilters::subject_test()), 0);
    });
    for (const std::string& path : {root_.file("example.org"), folder_, document_, script_})
      std::filesystem::permissions(path, std::filesystem::perms(0755));
  }

  // The refusal of a further rule after `disturb` was called between opening and committing, and
  // whether the files are as they were.
  Refusal refusal_after(const std::function<void()>& disturb,
                        const std::string& value = "word") const {
    const std::string document = content_of(document_);
    const std::string script = content_of(script_);
    const Refusal refusal = in_child([&] {
      RulesTransaction rules(alice);
      if (const Refusal unopened = rules.open()) return unopened;
      disturb();
      return add_rule(rules, value);
    });
    EXPECT_EQ(document, content_of(document_));
    EXPECT_EQ(script, content_of(script_));
    EXPECT_FALSE(std::filesystem::is_regular_file(document_ + ".new"));
    EXPECT_FALSE(std::filesystem::is_regular_file(script_ + ".new"));
    return refusal;
  }

  const TemporaryRoot root_;
  const std::string folder_ = root_.file("example.org/alice");
  const std::string script_ = rules_script(alice.address());
  const std::string document_ = rules_document(alice.address());
};

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_TRANSACTION_TEST_SUPPORT_H_
