// Editing a list of filters.
#include "quarrow/filter_list.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "tests/support/rules_test_support.h"

namespace Quarrow::MessageFilters {
namespace {

using Ids = std::vector<std::int32_t>;
constexpr std::int32_t largest_id = std::numeric_limits<std::int32_t>::max();
constexpr std::uint64_t largest_count = std::numeric_limits<std::uint64_t>::max();

boost::shared_ptr<FilterList__> list_of(const Ids& ids) {
  const auto list = FilterList__::Create();
  for (const auto id : ids) list->append(make_filter("filter " + std::to_string(id), id));
  return list;
}

Ids ids_of(const FilterList__& list) {
  Ids ids;
  for (const auto& filter : list.filters) ids.push_back(filter->id);
  return ids;
}

TEST(FilterList, StartsEmpty) {
  const auto list = FilterList__::Create();
  EXPECT_TRUE(list->filters.empty());
  EXPECT_EQ(0, list->last_id);
  EXPECT_EQ(list, list->shared_from_this());
}

TEST(Add, GivesTheNextIdToAFilterWithoutOne) {
  const auto list = FilterList__::Create();
  for (const auto id : Ids{0, 0, 7, 0, -5, 0, 3}) EXPECT_TRUE(list->add(make_filter("a", id), 0));
  EXPECT_EQ((Ids{1, 2, 7, 8, -5, 9, 3}), ids_of(*list));
  EXPECT_EQ(9, list->last_id);
}

TEST(Add, CallerSeesTheIdInHisOwnFilter) {
  const auto list = FilterList__::Create();
  const auto filter = make_filter("a");
  list->append(filter);
  EXPECT_EQ(1, filter->id);
  EXPECT_EQ(filter, list->filters.front());
}

TEST(Add, PositionIsTheIdToStandBefore) {
  const struct {
    std::int32_t position;
    Ids want;
  } cases[] = {{3, {1, 2, 9, 3, 4}}, {1, {9, 1, 2, 3, 4}},  {99, {1, 2, 3, 4, 9}},
               {0, {1, 2, 3, 4, 9}}, {-1, {1, 2, 3, 4, 9}}, {largest_id, {1, 2, 3, 4, 9}}};
  for (const auto& c : cases) {
    const auto list = list_of({1, 2, 3, 4});
    EXPECT_TRUE(list->add(make_filter("new", 9), c.position));
    EXPECT_EQ(c.want, ids_of(*list)) << "position: " << c.position;
  }
}

TEST(Add, NegativePositionNamesNoFilter) {
  const auto list = list_of({-1, 2});
  EXPECT_TRUE(list->add(make_filter("new", 9), -1));
  EXPECT_EQ((Ids{-1, 2, 9}), ids_of(*list));
}

TEST(Add, RefusesEmptyAndInvalidFilters) {
  const auto list = list_of({4});
  const auto invalid = make_filter("a");
  invalid->actions.clear();
  EXPECT_FALSE(list->add(boost::shared_ptr<Filter__>(), 0));
  EXPECT_FALSE(list->append(boost::shared_ptr<Filter__>()));
  EXPECT_FALSE(list->add(invalid, 4));
  EXPECT_FALSE(list->append(invalid));
  EXPECT_EQ(0, invalid->id);
  EXPECT_EQ((Ids{4}), ids_of(*list));
  EXPECT_EQ(4, list->last_id);
}

TEST(Add, RefusesAFilterWithoutIdWhenNoneIsLeft) {
  const auto list = list_of({largest_id});
  const auto filter = make_filter("a");
  EXPECT_FALSE(list->append(filter));
  EXPECT_EQ(0, filter->id);
  EXPECT_EQ((Ids{largest_id}), ids_of(*list));
  EXPECT_EQ(largest_id, list->last_id);
  EXPECT_TRUE(list->append(make_filter("b", 5)));
}

TEST(Add, GivesTheLargestIdOnce) {
  const auto list = list_of({largest_id - 1});
  EXPECT_TRUE(list->append(make_filter("a")));
  EXPECT_FALSE(list->append(make_filter("b")));
  EXPECT_EQ((Ids{largest_id - 1, largest_id}), ids_of(*list));
}

TEST(Add, TakesTheSameIdNameAndObjectAgain) {
  const auto list = list_of({1});
  const auto again = list->filters.front();
  EXPECT_TRUE(list->append(again));
  EXPECT_TRUE(list->append(make_filter(again->name, 1)));
  EXPECT_EQ((Ids{1, 1, 1}), ids_of(*list));
}

TEST(Find, TakesTheFirstMatch) {
  const auto list = list_of({1, 2});
  const auto second = list->find_filter(2);
  list->append(make_filter("filter 2", 2));
  EXPECT_EQ(second, list->find_filter(2));
  EXPECT_EQ(second, list->find_filter("filter 2"));
  EXPECT_EQ(second, *list->__find_filter(2));
  EXPECT_EQ(second, *list->__find_filter("filter 2"));
}

TEST(Find, NamesAreExact) {
  const auto list = FilterList__::Create();
  list->append(make_filter("Reports"));
  EXPECT_TRUE(list->find_filter("Reports"));
  for (const char* name : {"reports", "REPORTS", "Report", "Reports ", ""}) {
    EXPECT_FALSE(list->find_filter(name)) << name;
    EXPECT_EQ(list->filters.end(), list->__find_filter(name)) << name;
  }
  EXPECT_FALSE(list->find_filter(2));
  EXPECT_EQ(list->filters.end(), list->__find_filter(2));
}

TEST(Remove, TakesOnlyTheFirstMatch) {
  const auto list = list_of({1, 2, 1});
  const auto kept = list->filters.back();
  EXPECT_TRUE(list->remove(1));
  EXPECT_EQ((Ids{2, 1}), ids_of(*list));
  EXPECT_EQ(kept, list->find_filter(1));
  EXPECT_TRUE(list->remove("filter 1"));
  EXPECT_EQ((Ids{2}), ids_of(*list));
}

TEST(Remove, OfWhatIsNotThereIsRefused) {
  const auto list = list_of({1});
  EXPECT_FALSE(list->remove(2));
  EXPECT_FALSE(list->remove("Filter 1"));
  EXPECT_EQ((Ids{1}), ids_of(*list));
}

TEST(Remove, IdsAreNotGivenASecondTime) {
  const auto list = list_of({1, 2, 3});
  list->remove(3);
  list->append(make_filter("new"));
  EXPECT_EQ((Ids{1, 2, 4}), ids_of(*list));
}

struct MoveCase {
  std::int32_t id, target;
  bool moved;
  Ids want;
};

const MoveCase moves_before[] = {{4, 2, true, {1, 4, 2, 3}},  {4, 99, true, {4, 1, 2, 3}},
                                 {1, 4, true, {2, 3, 1, 4}},  {1, 2, true, {1, 2, 3, 4}},
                                 {1, 99, true, {1, 2, 3, 4}}, {5, 1, false, {1, 2, 3, 4}},
                                 {4, 4, true, {1, 2, 3, 4}},  {9, 9, true, {1, 2, 3, 4}}};

TEST(MoveBefore, PutsTheFilterThereOrInFront) {
  for (const auto& c : moves_before) {
    const auto list = list_of({1, 2, 3, 4});
    EXPECT_EQ(c.moved, list->move_before(c.id, c.target));
    EXPECT_EQ(c.want, ids_of(*list)) << c.id << " before " << c.target;
  }
}

const MoveCase moves_after[] = {{1, 3, true, {2, 3, 1, 4}},  {1, 4, true, {2, 3, 4, 1}},
                                {1, 99, true, {2, 3, 4, 1}}, {2, 1, true, {1, 2, 3, 4}},
                                {4, 1, true, {1, 4, 2, 3}},  {4, 99, true, {1, 2, 3, 4}},
                                {5, 1, false, {1, 2, 3, 4}}, {9, 9, true, {1, 2, 3, 4}}};

TEST(MoveAfter, PutsTheFilterThereOrAtTheEnd) {
  for (const auto& c : moves_after) {
    const auto list = list_of({1, 2, 3, 4});
    EXPECT_EQ(c.moved, list->move_after(c.id, c.target));
    EXPECT_EQ(c.want, ids_of(*list)) << c.id << " after " << c.target;
  }
}

struct StepCase {
  std::int32_t id;
  std::uint64_t count;
  bool moved;
  Ids want;
};

const StepCase moves_up[] = {{4, 1, true, {1, 2, 4, 3}},  {4, 3, true, {4, 1, 2, 3}},
                             {4, 10, true, {4, 1, 2, 3}}, {3, largest_count, true, {3, 1, 2, 4}},
                             {1, 1, true, {1, 2, 3, 4}},  {5, 1, false, {1, 2, 3, 4}},
                             {5, 0, true, {1, 2, 3, 4}}};

TEST(MoveUp, StopsAtTheFront) {
  for (const auto& c : moves_up) {
    const auto list = list_of({1, 2, 3, 4});
    EXPECT_EQ(c.moved, list->move_up(c.id, c.count));
    EXPECT_EQ(c.want, ids_of(*list)) << c.id << " by " << c.count;
  }
}

const StepCase moves_down[] = {{1, 1, true, {2, 1, 3, 4}},
                               {1, 2, true, {2, 3, 1, 4}},
                               {1, 3, true, {2, 3, 4, 1}},
                               {1, 10, true, {2, 3, 4, 1}},
                               {2, largest_count, true, {1, 3, 4, 2}},
                               {4, 1, true, {1, 2, 3, 4}},
                               {5, 1, false, {1, 2, 3, 4}},
                               {5, 0, true, {1, 2, 3, 4}}};

TEST(MoveDown, StopsAtTheEnd) {
  for (const auto& c : moves_down) {
    const auto list = list_of({1, 2, 3, 4});
    EXPECT_EQ(c.moved, list->move_down(c.id, c.count));
    EXPECT_EQ(c.want, ids_of(*list)) << c.id << " by " << c.count;
  }
}

TEST(Moves, OfNothingSucceedOnAnEmptyList) {
  const auto list = FilterList__::Create();
  EXPECT_TRUE(list->move_before(4, 4));
  EXPECT_TRUE(list->move_after(9, 9));
  EXPECT_TRUE(list->move_up(1, 0));
  EXPECT_TRUE(list->move_down(1, 0));
}

TEST(Moves, AreRefusedOnAnEmptyList) {
  const auto list = FilterList__::Create();
  EXPECT_FALSE(list->move_before(1, 2));
  EXPECT_FALSE(list->move_after(1, 2));
  EXPECT_FALSE(list->move_up(1, 1));
  EXPECT_FALSE(list->move_down(1, 1));
}

TEST(Moves, TakeTheFirstOfEqualIds) {
  const auto list = list_of({1, 2, 1, 3});
  const auto first = list->filters.front();
  EXPECT_TRUE(list->move_after(1, 3));
  EXPECT_EQ((Ids{2, 1, 3, 1}), ids_of(*list));
  EXPECT_EQ(first, list->filters.back());
}

}  // namespace
}  // namespace Quarrow::MessageFilters
