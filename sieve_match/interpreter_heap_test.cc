#include "sieve_match/interpreter_heap.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

extern "C" {
void* quarrow_heap_malloc(std::size_t size);
void* quarrow_heap_calloc(std::size_t count, std::size_t size);
void* quarrow_heap_realloc(void* old, std::size_t size);
void quarrow_heap_free(void* data);
}

namespace Quarrow::interpreter_heap {
namespace {

class InterpreterHeap : public testing::Test {
 protected:
  InterpreterHeap() { open(); }
  ~InterpreterHeap() override { close(); }
};

bool is_clean(const void* data, std::size_t size) {
  const char* bytes = static_cast<const char*>(data);
  return std::all_of(bytes, bytes + size, [](char c) { return c == '\0'; });
}

const std::size_t sizes[] = {0,    1,    15,   16,   17,   100,   1007,   1008,   1009,
                             1024, 1025, 1279, 1280, 1281, 16384, 100000, 1 << 20};

TEST_F(InterpreterHeap, HandsOutCleanAlignedBlocksWithRoomBehind) {
  for (int round = 0; round < 3; ++round) {
    for (const std::size_t size : sizes) {
      void* block = quarrow_heap_malloc(size);
      ASSERT_NE(nullptr, block) << size;
      EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(block) % 16) << size;
      EXPECT_TRUE(is_clean(block, size + 16)) << size;
      std::memset(block, 'x', size + 16);
      quarrow_heap_free(block);
    }
    close();
    open();
  }
}

bool is_in_memory(const char* page) {
  unsigned char state = 0;
  return mincore(const_cast<char*>(page), 1, &state) == 0 && (state & 1) != 0;
}

TEST_F(InterpreterHeap, ANewBlockTakesMemoryWhereItIsUsed) {
  constexpr std::size_t size = 40 << 20;  // more than any test before it
  char* const block = static_cast<char*>(quarrow_heap_malloc(size));
  ASSERT_NE(nullptr, block);
  const auto page_size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  char* const middle = block + size / 2;
  char* const page = middle + page_size - reinterpret_cast<std::uintptr_t>(middle) % page_size;
  EXPECT_FALSE(is_in_memory(page));
  *page = 'x';
  EXPECT_TRUE(is_in_memory(page));
}

TEST_F(InterpreterHeap, NoBlockReachesIntoAnother) {
  std::vector<std::pair<char*, std::size_t>> blocks;
  for (const std::size_t size : sizes) {
    char* block = static_cast<char*>(quarrow_heap_malloc(size));
    std::memset(block, static_cast<int>(blocks.size() + 1), size + 16);
    blocks.emplace_back(block, size);
  }
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const auto [block, size] = blocks[i];
    EXPECT_TRUE(std::all_of(block, block + size + 16, [i](char c) {
      return c == static_cast<char>(i + 1);
    })) << size;
  }
}

TEST_F(InterpreterHeap, ServesAFreedBlockAgainForItsSize) {
  void* first = quarrow_heap_malloc(100);
  void* other = quarrow_heap_malloc(5000);
  quarrow_heap_free(first);
  EXPECT_NE(first, quarrow_heap_malloc(5000));
  EXPECT_EQ(first, quarrow_heap_malloc(100));
  quarrow_heap_free(other);
}

TEST_F(InterpreterHeap, ABlockFreedTwiceIsServedOnce) {
  void* block = quarrow_heap_malloc(100);
  quarrow_heap_free(block);
  quarrow_heap_free(block);
  EXPECT_EQ(block, quarrow_heap_malloc(100));
  EXPECT_NE(block, quarrow_heap_malloc(100));
}

TEST_F(InterpreterHeap, FreeingNothingIsFine) {
  quarrow_heap_free(nullptr);
  EXPECT_NE(nullptr, quarrow_heap_malloc(1));
}

constexpr std::string_view content = "0123456789";

TEST_F(InterpreterHeap, ResizingKeepsTheContentAndCleansTheRest) {
  char* block = static_cast<char*>(quarrow_heap_realloc(nullptr, 10));
  (void)content.copy(block, content.size());
  block = static_cast<char*>(quarrow_heap_realloc(block, 3000));
  EXPECT_EQ(content, std::string_view(block, content.size()));
  EXPECT_TRUE(is_clean(block + 10, 3000 + 16 - 10));
  char* same = static_cast<char*>(quarrow_heap_realloc(block, 20));
  EXPECT_EQ(block, same);
}

TEST_F(InterpreterHeap, ABlockThatCantGrowStaysAsItIs) {
  char* block = static_cast<char*>(quarrow_heap_realloc(nullptr, 10));
  (void)content.copy(block, content.size());
  EXPECT_EQ(nullptr, quarrow_heap_realloc(block, budget + 1));
  EXPECT_EQ(content, std::string_view(block, content.size()));
  EXPECT_EQ(block, quarrow_heap_realloc(block, 10));
}

TEST_F(InterpreterHeap, ACountTimesSizeBeyondAllMemoryGivesNothing) {
  EXPECT_EQ(nullptr, quarrow_heap_calloc(SIZE_MAX / 2, 3));
  char* block = static_cast<char*>(quarrow_heap_calloc(10, 10));
  EXPECT_TRUE(is_clean(block, 100));
}

// Tasks for run(); `user` points to what they report to.

int takes_without_end(sieve2_context_t* /*context*/, void* user) {
  auto& taken = *static_cast<std::size_t*>(user);
  while (quarrow_heap_malloc(1 << 16) != nullptr) taken += 1 << 16;
  return 0;
}

int takes_one_huge_block(sieve2_context_t* /*context*/, void* user) {
  quarrow_heap_malloc(budget + 1);
  *static_cast<bool*>(user) = true;
  return 0;
}

// Needs more than the budget in all, but little at a time.
int takes_and_frees(sieve2_context_t* /*context*/, void* user) {
  auto& taken = *static_cast<std::size_t*>(user);
  while (taken < 4 * budget) {
    void* block = quarrow_heap_malloc(1 << 16);
    if (block == nullptr) return 1;
    quarrow_heap_free(block);
    taken += 1 << 16;
  }
  return 0;
}

// Passes the budget in a callback, and then takes no more than a byte outside of it.
int passes_it_in_a_callback(sieve2_context_t* /*context*/, void* user) {
  auto& steps = *static_cast<std::vector<std::string>*>(user);
  begin_callback();
  for (std::size_t taken = 0; taken <= budget; taken += 1 << 20) quarrow_heap_malloc(1 << 20);
  steps.push_back("callback done");
  end_callback();
  quarrow_heap_malloc(1);
  steps.push_back("byte taken");
  return 0;
}

int gives_four(sieve2_context_t* /*context*/, void* /*user*/) { return 4; }

TEST_F(InterpreterHeap, GivesTheTasksResult) { EXPECT_EQ(4, run(gives_four, nullptr, nullptr)); }

TEST_F(InterpreterHeap, EndsATaskThatPassesTheBudget) {
  std::size_t taken = 0;
  EXPECT_EQ(SIEVE2_ERROR_NOMEM, run(takes_without_end, nullptr, &taken));
  EXPECT_LE(taken, budget);
  EXPECT_GE(taken, budget / 2);
}

TEST_F(InterpreterHeap, EndsATaskThatAsksForTooMuchAtOnce) {
  bool went_on = false;
  EXPECT_EQ(SIEVE2_ERROR_NOMEM, run(takes_one_huge_block, nullptr, &went_on));
  EXPECT_FALSE(went_on);
}

TEST_F(InterpreterHeap, TheBudgetCountsWhatIsInUse) {
  std::size_t taken = 0;
  EXPECT_EQ(0, run(takes_and_frees, nullptr, &taken));
  EXPECT_EQ(4 * budget, taken);
}

TEST_F(InterpreterHeap, NeverEndsATaskWithinACallback) {
  std::vector<std::string> steps;
  steps.reserve(2);
  EXPECT_EQ(SIEVE2_ERROR_NOMEM, run(passes_it_in_a_callback, nullptr, &steps));
  EXPECT_EQ(std::vector<std::string>{"callback done"}, steps);
}

TEST_F(InterpreterHeap, IsAsGoodAsNewAfterATaskWasEnded) {
  std::size_t taken = 0;
  run(takes_without_end, nullptr, &taken);
  close();
  open();
  std::size_t again = 0;
  EXPECT_EQ(SIEVE2_ERROR_NOMEM, run(takes_without_end, nullptr, &again));
  EXPECT_EQ(taken, again);
}

}  // namespace
}  // namespace Quarrow::interpreter_heap
