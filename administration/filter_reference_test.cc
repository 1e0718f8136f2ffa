// Filters found by id and by name.
#include "administration/filter_reference.h"

#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "administration/administration_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Filter__;
using MessageFilters::make_rule;
using MessageFilters::subject_test;
using MessageFilters::UserMessageFilters__;

class FilterReference : public testing::Test {
 protected:
  FilterReference() {
    rules_->address = EmailAddress("alice@example.org");
    for (const char* name : {"Work", "Twice", "Twice", "4711"})
      EXPECT_TRUE(rules_->filters->append(make_rule(name, subject_test())));
  }

  // The id of the filter, or what is said.
  std::string found(const std::string& text) const {
    boost::shared_ptr<Filter__> filter;
    const Refusal refusal = find_filter(*rules_, text, filter);
    EXPECT_EQ(!refusal, static_cast<bool>(filter));
    return filter ? std::to_string(filter->id) : said(refusal);
  }

  const boost::shared_ptr<UserMessageFilters__> rules_ =
      boost::make_shared<UserMessageFilters__>(EmailAddress());
};

TEST_F(FilterReference, IsAnIdOrAName) {
  EXPECT_EQ("1", found("1"));
  EXPECT_EQ("3", found("3"));
  EXPECT_EQ("1", found("Work"));
}

TEST_F(FilterReference, TakesANumberForAnIdAlone) {
  EXPECT_EQ("alice@example.org: no filter 4711", found("4711"));
  EXPECT_EQ("4", found("4"));
}

TEST_F(FilterReference, RefusesWhatIsNotThere) {
  EXPECT_EQ("alice@example.org: no filter 0", found("0"));
  EXPECT_EQ("alice@example.org: no filter 4294967297", found("4294967297"));  // 1 in 32 bits
  EXPECT_EQ("alice@example.org: no filter \"Holidays\"", found("Holidays"));
  EXPECT_EQ("alice@example.org: no filter \"\"", found(""));
}

TEST_F(FilterReference, NamesWhatIsNear) {
  EXPECT_EQ("alice@example.org: no filter \"wokr\"; did you mean Work?", found("wokr"));
}

TEST_F(FilterReference, RefusesANameOfSeveral) {
  EXPECT_EQ("alice@example.org: 2 filters are named \"Twice\"; name one by its id: 2, 3",
            found("Twice"));
}

TEST_F(FilterReference, TellsByNameWhatIsEnabledAndAlone) {
  const auto said_of = [this](std::int32_t id) {
    return said(check_tells_by_name(*rules_, *rules_->filters->find_filter(id)));
  };
  EXPECT_EQ("", said_of(1));
  EXPECT_EQ("filter 2: has the name of another filter; give each a name of its own", said_of(2));
  rules_->filters->find_filter(3)->enabled = false;
  EXPECT_EQ("", said_of(2));
  EXPECT_EQ("filter 3: is disabled", said_of(3));
}

TEST_F(FilterReference, HasATitle) {
  EXPECT_EQ("filter 1 \"Work\"", title_of(*rules_->filters->find_filter(1)));
}

}  // namespace
}  // namespace Quarrow::Administration
