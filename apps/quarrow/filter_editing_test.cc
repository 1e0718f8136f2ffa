// Texts of filters, from a file and from an editor.
#include "apps/quarrow/filter_editing.h"

#include <gtest/gtest.h>
#include <sysexits.h>

#include <filesystem>
#include <vector>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Command {
namespace {

using Administration::Refusal;

// What was read, in its order, and what was said on standard error. Texts with "wrong" are refused.
class FilterEditingTest : public testing::Test {
 protected:
  FilterEditingTest() {
    setenv("TMPDIR", drafts_.path().c_str(), 1);
    testing::internal::CaptureStderr();
  }
  ~FilterEditingTest() override {
    for (const char* name : {"TMPDIR", "VISUAL"}) unsetenv(name);
  }

  int edit(const char* editor) {
    setenv("VISUAL", editor, 1);
    return edit_filter("text\n", use_, "quarrow again");
  }

  static std::string said() { return testing::internal::GetCapturedStderr(); }

  const TemporaryFolder folder_;
  const TemporaryFolder drafts_;
  std::vector<std::string> read_;
  int commit_status_ = EX_OK;
  const TextUse use_ = {[this](const std::string& text) -> Refusal {
                          read_.push_back(text);
                          if (text.find("wrong") == std::string::npos) return {};
                          return {Refusal::Kind::no_tests, "line 3", "is wrong"};
                        },
                        [this] { return commit_status_; }};
};

TEST_F(FilterEditingTest, TakesTheTextOfAFile) {
  EXPECT_EQ(EX_OK, take_filter_file(folder_.write("file", "name: x\n"), use_));
  EXPECT_EQ(std::vector<std::string>{"name: x\n"}, read_);
  EXPECT_EQ("", said());
}

TEST_F(FilterEditingTest, TellsTheLineOfAFile) {
  const std::string path = folder_.write("file", "wrong");
  EXPECT_EQ(EX_DATAERR, take_filter_file(path, use_));
  EXPECT_EQ("quarrow: " + path + ": line 3: is wrong\n", said());
}

TEST_F(FilterEditingTest, NeedsAFileOfReasonableLength) {
  EXPECT_EQ(EX_NOINPUT, take_filter_file(folder_.file("none"), use_));
  EXPECT_EQ(EX_DATAERR,
            take_filter_file(folder_.write("long", std::string((1 << 20) + 1, 'x')), use_));
  EXPECT_TRUE(read_.empty());
  (void)said();
}

TEST_F(FilterEditingTest, TakesTheTextOfAnEditorAndLeavesNoFile) {
  EXPECT_EQ(EX_OK, edit("sed -i s/text/other/"));
  EXPECT_EQ(std::vector<std::string>{"other\n"}, read_);
  EXPECT_TRUE(std::filesystem::is_empty(drafts_.path()));
  EXPECT_EQ("", said());
}

TEST_F(FilterEditingTest, DoesNotUseAnUntouchedText) {
  EXPECT_EQ(EX_OK, edit("true"));
  EXPECT_TRUE(read_.empty());
  EXPECT_TRUE(std::filesystem::is_empty(drafts_.path()));
  EXPECT_EQ("quarrow: editor: the text is as it was; nothing was changed\n", said());
}

TEST_F(FilterEditingTest, KeepsATextThatCanNotBeCommitted) {
  commit_status_ = EX_TEMPFAIL;
  EXPECT_EQ(EX_TEMPFAIL, edit("sed -i s/text/other/"));
  const auto kept = std::filesystem::directory_iterator(drafts_.path());
  ASSERT_NE(end(kept), kept);
  const std::string path = kept->path();
  EXPECT_EQ("quarrow: " + path + ": holds your text; quarrow again --file " + path + " takes it\n",
            said());
}

TEST_F(FilterEditingTest, KeepsNothingOfAFileThatTheEditorRemoved) {
  EXPECT_EQ(EX_NOINPUT, edit("rm"));
  EXPECT_EQ(std::string::npos, said().find("holds your text"));
}

}  // namespace
}  // namespace Quarrow::Command
