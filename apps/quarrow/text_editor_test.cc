// A text in its file, and the editor's end.
#include "apps/quarrow/text_editor.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sysexits.h>

#include <filesystem>

#include "system/child_process_test_support.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Command {
namespace {

// A folder for the file, and an editor that the shell finds.
class EditedFileTest : public testing::Test {
 protected:
  EditedFileTest() {
    setenv("TMPDIR", folder_.path().c_str(), 1);
    unsetenv("VISUAL");
    unsetenv("EDITOR");
  }
  ~EditedFileTest() override {
    for (const char* name : {"TMPDIR", "VISUAL", "EDITOR"}) unsetenv(name);
  }

  bool is_empty() const { return std::filesystem::is_empty(folder_.path()); }

  const TemporaryFolder folder_;
};

TEST_F(EditedFileTest, IsItsOwnersAloneAndGoesWithItsObject) {
  {
    EditedFile file;
    ASSERT_EQ("", file.make("text").reason);
    EXPECT_EQ(0U, file.path().find(folder_.path() + '/'));
    struct stat status {};
    ASSERT_EQ(0, stat(file.path().c_str(), &status));
    EXPECT_EQ(0600U, status.st_mode & 07777U);
    std::string text = "before";
    EXPECT_EQ("", file.read(4, text).reason);
    EXPECT_EQ("text", text);
    EXPECT_EQ("has more than 3 bytes", file.read(3, text).reason);
  }
  EXPECT_TRUE(is_empty());
}

TEST_F(EditedFileTest, StaysWhenItIsKept) {
  {
    EditedFile file;
    ASSERT_EQ("", file.make("text").reason);
    file.keep();
  }
  EXPECT_FALSE(is_empty());
}

TEST_F(EditedFileTest, NeedsAFolder) {
  setenv("TMPDIR", folder_.file("missing").c_str(), 1);
  EditedFile file;
  EXPECT_EQ(EX_CANTCREAT, file.make("text").status);
}

TEST_F(EditedFileTest, IsEditedByTheFirstEditorThatIsNamed) {
  EditedFile file;
  ASSERT_EQ("", file.make("text").reason);
  setenv("EDITOR", "sed -i s/e/E/", 1);
  setenv("VISUAL", "", 1);
  EXPECT_EQ("", file.edit().reason);
  setenv("VISUAL", "sed -i s/x/X/", 1);
  EXPECT_EQ("", file.edit().reason);
  std::string text;
  EXPECT_EQ("", file.read(10, text).reason);
  EXPECT_EQ("tEXt", text);
}

// Whoever ignores the ends of children gets none told, and so does what they start.
TEST_F(EditedFileTest, TellsThatItCantSeeTheEditorsEnd) {
  EditedFile file;
  ASSERT_EQ("", file.make("text").reason);
  setenv("EDITOR", "true", 1);
  EXPECT_TRUE(holds_in_child(
      [&file] { return signal(SIGCHLD, SIG_IGN) != SIG_ERR && file.edit().status == EX_OSERR; }));
}

TEST_F(EditedFileTest, TellsHowTheEditorFailed) {
  EditedFile file;
  ASSERT_EQ("", file.make("text").reason);
  const struct {
    const char* editor;
    const char* want;
  } cases[] = {
      {"false", "false ended with status 1"},
      {"/missing/editor", "/missing/editor is not found; name your editor in VISUAL or EDITOR"},
      {"kill -9 $$; :", "kill -9 $$; : was ended by signal 9"}};
  for (const auto& c : cases) {
    setenv("EDITOR", c.editor, 1);
    const Fault fault = file.edit();
    EXPECT_EQ(c.want, fault.reason);
    EXPECT_EQ(EX_UNAVAILABLE, fault.status);
  }
}

TEST_F(EditedFileTest, IsNoLink) {
  EditedFile file;
  ASSERT_EQ("", file.make("text").reason);
  std::filesystem::remove(file.path());
  std::filesystem::create_symlink(folder_.write("other", "other"), file.path());
  std::string text;
  EXPECT_NE("", file.read(10, text).reason);
}

}  // namespace
}  // namespace Quarrow::Command
