// Files that come back.
#include "administration/kept_file.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Administration {
namespace {

void replace(const std::string& path, const std::string& content) {
  std::filesystem::remove(path);
  write_file(path, content);
}

class KeptFileTest : public testing::Test {
 protected:
  const TemporaryFolder folder_;
  const std::string path_ = folder_.write("file", "old");
  const std::string kept_ = path_ + ".kept";
};

TEST_F(KeptFileTest, IsForgottenUnlessItIsRestored) {
  {
    const KeptFile kept(path_);
    EXPECT_EQ(0, kept.error());
    EXPECT_EQ("old", content_of(kept_));
    replace(path_, "new");
  }
  EXPECT_EQ("new", content_of(path_));
  EXPECT_FALSE(std::filesystem::exists(kept_));
}

TEST_F(KeptFileTest, ComesBackWhetherItWasReplacedOrNot) {
  for (const bool replaced : {true, false}) {
    KeptFile kept(path_);
    if (replaced) replace(path_, "new");
    kept.restore();
    EXPECT_EQ("old", content_of(path_));
    EXPECT_FALSE(std::filesystem::exists(kept_));
  }
}

TEST_F(KeptFileTest, IsAbsentAgainWhenItWasAbsent) {
  std::filesystem::remove(path_);
  KeptFile kept(path_);
  EXPECT_EQ(0, kept.error());
  write_file(path_, "new");
  kept.restore();
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(KeptFileTest, SaysWhyItCantBeKept) {
  const KeptFile kept(folder_.path());  // a folder has one name
  EXPECT_EQ(EPERM, kept.error());
}

TEST_F(KeptFileTest, IsTakenUpAfterAReplacementThatWasCutOff) {
  std::filesystem::rename(path_, kept_);
  take_up_kept(path_);
  EXPECT_EQ("old", content_of(path_));
  EXPECT_FALSE(std::filesystem::exists(kept_));
}

TEST_F(KeptFileTest, IsNotTakenUpBesideTheNewFile) {
  write_file(kept_, "older");
  take_up_kept(path_);
  EXPECT_EQ("old", content_of(path_));
  EXPECT_FALSE(std::filesystem::exists(kept_));
}

}  // namespace
}  // namespace Quarrow::Administration
