// Processes that work, and others that look.
#include "refiling/refiling_files.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "refiling/refiling_test_support.h"
#include "system/child_process_test_support.h"

namespace Quarrow::Refiling {
namespace {

using Administration::Refusal;
using Administration::UserFolder;

class RefilingFilesTest : public testing::Test {
 protected:
  RefilingFilesTest() { EXPECT_EQ("", said(folder_.open())); }

  static RefilingState state_of(Stage stage) {
    RefilingState state;
    state.stage = stage;
    return state;
  }

  // Has another process work, which is killed then.
  void work_and_die(Stage stage) const {
    const ProcessEnd end = end_of_child([&] {
      RefilingFiles files(folder_);
      if (files.lock() || files.write(state_of(stage))) return 1;
      return raise(SIGKILL);
    });
    EXPECT_EQ(SIGKILL, end.signal);
  }

  const TemporaryFolder place_;
  UserFolder folder_{place_.path()};
};

TEST_F(RefilingFilesTest, AreNotThereAtFirst) {
  EXPECT_EQ(Stage::none, RefilingFiles(folder_).read().stage);
  EXPECT_TRUE(std::filesystem::is_empty(place_.path()));
}

TEST_F(RefilingFilesTest, TellOfWorkThatGoesOn) {
  RefilingFiles files(folder_);
  EXPECT_EQ("", said(files.lock()));
  for (const Stage stage : {Stage::planning, Stage::filing, Stage::undoing, Stage::filed}) {
    EXPECT_EQ("", said(files.write(state_of(stage))));
    EXPECT_EQ(0, end_of_child([&] {
                   return RefilingFiles(folder_).read().stage == stage ? 0 : 1;
                 }).status);
  }
}

TEST_F(RefilingFilesTest, TellOfWorkThatWasInterrupted) {
  for (const Stage stage : {Stage::planning, Stage::filing, Stage::undoing}) {
    work_and_die(stage);
    EXPECT_EQ(Stage::interrupted, RefilingFiles(folder_).read().stage);
  }
  for (const Stage stage : {Stage::planned, Stage::failed, Stage::none}) {
    work_and_die(stage);
    EXPECT_EQ(stage, RefilingFiles(folder_).read().stage);
  }
}

TEST_F(RefilingFilesTest, LetOneProcessWork) {
  {
    RefilingFiles files(folder_);
    EXPECT_EQ("", said(files.lock()));
    RefilingFiles others(folder_);
    EXPECT_EQ(Refusal::Kind::try_again, others.lock().kind);
  }
  RefilingFiles next(folder_);
  EXPECT_EQ("", said(next.lock()));
}

// A look is no lock.
TEST_F(RefilingFilesTest, AreReadWithoutKeepingAnybodyFromWork) {
  work_and_die(Stage::filing);
  (void)RefilingFiles(folder_).read();
  RefilingFiles files(folder_);
  EXPECT_EQ("", said(files.lock()));
}

TEST_F(RefilingFilesTest, AreWrittenAsAWhole) {
  const RefilingFiles files(folder_);
  EXPECT_EQ("", said(files.write(state_of(Stage::planned))));
  EXPECT_EQ(0600, static_cast<int>(std::filesystem::status(place_.file(state_name)).permissions()));
  std::filesystem::remove(place_.file(state_name));
  std::filesystem::create_directory(place_.file(state_name));  // can't be replaced
  EXPECT_NE("", said(files.write(state_of(Stage::filed))));
  EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(place_.path()), {}));
}

TEST_F(RefilingFilesTest, MayHoldAnything) {
  for (const char* const text : {"", "{", "nonsense", "{\"state\":\"filing\"}"}) {
    place_.write(state_name, text);
    EXPECT_EQ(Stage::none, RefilingFiles(folder_).read().stage) << text;
  }
  const TemporaryFolder outside;
  const std::string target = outside.write("x", text_of(state_of(Stage::filed)));
  std::filesystem::remove(place_.file(state_name));
  std::filesystem::create_symlink(target, place_.file(state_name));
  EXPECT_EQ(Stage::none, RefilingFiles(folder_).read().stage);
  std::filesystem::create_symlink(target, place_.file(work_lock_name));
  EXPECT_NE("", said(RefilingFiles(folder_).lock()));
}

TEST_F(RefilingFilesTest, AskToStop) {
  const RefilingFiles files(folder_);
  EXPECT_FALSE(files.is_asked_to_stop());
  for (int times = 0; times < 2; ++times) EXPECT_EQ("", said(files.ask_to_stop()));
  EXPECT_TRUE(RefilingFiles(folder_).is_asked_to_stop());
  files.forget_stop();
  EXPECT_FALSE(files.is_asked_to_stop());
}

}  // namespace
}  // namespace Quarrow::Refiling
