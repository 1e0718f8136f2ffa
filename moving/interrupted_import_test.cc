// An import that is killed at each of its system calls.
#include "moving/libarchive.h"
#include "moving/moving_test_support.h"
#include "moving/sha256.h"
#include "system/traced_process_test_support.h"
#include "tests/support/sanitized_test_support.h"

namespace Quarrow::Moving {
namespace {

// Every second stop: where a call ends, nothing happens before the next one begins.
constexpr int stride = is_sanitized ? 10 : 2;

// What there is of the user on the machine where they go.
enum class Before { nothing, emptied_folder };

class InterruptedImport : public MovingTest, public testing::WithParamInterface<Before> {
 protected:
  InterruptedImport() {
    bytes_ = archive();
    whole_ = without_locks(tree_of(old_folder_));
    (void)libarchive();  // loaded here, and not by each process
    (void)Sha256();
  }

  void prepare() const {
    std::filesystem::remove_all(new_.file("example.org"));
    if (GetParam() == Before::nothing) return;
    std::filesystem::create_directories(new_folder_);
    write_file(new_folder_ + "/.quarrow_lock", "");
  }

  // As it was before.
  bool is_untouched() const {
    if (GetParam() == Before::nothing) return !is_there();
    return tree_of(new_folder_).count("/.quarrow_lock") == 1 && tree_of(new_folder_).size() == 1;
  }

  bool is_whole() const { return is_there() && tree_of(new_folder_) == whole_; }

  std::string bytes_;
  Tree whole_;
};

TEST_P(InterruptedImport, LeavesNoUserOrTheWholeUser) {
  bool was_untouched = false;
  bool was_whole = false;
  for (int stops = 1, done = 0; done == 0; stops += stride) {
    prepare();
    TracedProcess import([this] { (void)import_bytes(bytes_); });
    if (!import.is_running()) GTEST_SKIP() << "processes can't be traced here";
    for (int stop = 0; stop < stops && done == 0; ++stop) done = import.step() ? 0 : 1;
    import.kill();
    const bool untouched = is_untouched();
    EXPECT_TRUE(untouched || is_whole()) << "killed at stop " << stops;
    EXPECT_EQ(untouched ? "" : "alice@example.org", import_bytes(bytes_).refusal.object)
        << "killed at stop " << stops;
    EXPECT_TRUE(is_whole()) << "killed at stop " << stops;
    EXPECT_FALSE(std::filesystem::exists(new_.file("example.org/.importing-alice")))
        << "killed at stop " << stops;
    was_untouched |= untouched;
    was_whole |= !untouched;
  }
  EXPECT_TRUE(was_untouched);
  EXPECT_TRUE(was_whole);  // when nothing killed it
}

INSTANTIATE_TEST_SUITE_P(All, InterruptedImport,
                         testing::Values(Before::nothing, Before::emptied_folder));

}  // namespace
}  // namespace Quarrow::Moving
