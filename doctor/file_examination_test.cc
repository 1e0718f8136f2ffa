// Each kind of thing that may have the name of one of our files.
#include "doctor/file_examination.h"

#include <sys/stat.h>
#include <unistd.h>

#include "doctor/examination_test_support.h"

namespace Quarrow::Doctor {
namespace {

class FileExamination : public testing::Test {
 protected:
  std::string examined() const {
    Administration::UserFolder folder(folder_.path());
    EXPECT_FALSE(folder.open());
    Findings findings;
    examine_files(folder, findings);
    return told(findings, folder_.path());
  }

  void write(const std::string& name) const { write_private(folder_.file(name), "text"); }

  const TemporaryFolder folder_;
};

TEST_F(FileExamination, HasNothingToSayOfWhatIsInOrder) {
  for (const char* name :
       {".delivery_filter", ".delivery_filter.xml", ".delivery_filter.history",
        ".delivery_filter.lock", ".delivery_filter.custom.xml", ".delivery_filter.before-repair",
        ".delivery_filter.new.before-repair-2"})
    write(name);
  EXPECT_EQ("", examined());
}

TEST_F(FileExamination, FindsWhatWritersLeft) {
  const char* const leftovers[] = {
      ".delivery_filter.copy.new",    ".delivery_filter.custom.xml.tmp",
      ".delivery_filter.history.new", ".delivery_filter.kept",
      ".delivery_filter.new",         ".delivery_filter.tmp",
      ".delivery_filter.xml.kept",    ".delivery_filter.xml.new"};
  std::string wanted;
  for (const char* name : leftovers) {
    write(name);
    wanted += std::string("warning leftover ") + name + ", ";
  }
  EXPECT_EQ(wanted, examined());
}

TEST_F(FileExamination, LeavesOtherFilesAlone) {
  write("notes.new");
  ASSERT_EQ(0, chmod(folder_.file("notes.new").c_str(), 0666));
  EXPECT_EQ("", examined());
}

TEST_F(FileExamination, FindsWhatIsNoFile) {
  ASSERT_EQ(0, symlink("nowhere", folder_.file(".delivery_filter").c_str()));
  ASSERT_EQ(0, mkfifo(folder_.file(".delivery_filter.history").c_str(), 0600));
  ASSERT_EQ(0, mkdir(folder_.file(".delivery_filter.xml").c_str(), 0700));
  EXPECT_EQ(
      "error not_regular .delivery_filter, error not_regular .delivery_filter.history, "
      "error not_regular .delivery_filter.xml, ",
      examined());
}

TEST_F(FileExamination, FindsWhatOthersMayWrite) {
  const std::pair<const char*, mode_t> files[] = {{".delivery_filter", 0620},
                                                  {".delivery_filter.custom.xml", 0644},
                                                  {".delivery_filter.xml", 0602}};
  for (const auto& [name, mode] : files) {
    write(name);
    ASSERT_EQ(0, chmod(folder_.file(name).c_str(), mode));
  }
  ASSERT_EQ(0, chmod(folder_.path().c_str(), 0770));
  EXPECT_EQ(
      "error open_mode ., error open_mode .delivery_filter, error open_mode .delivery_filter.xml, ",
      examined());
}

TEST_F(FileExamination, FindsWhatBelongsToSomebodyElse) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser gives files away";
  write(".delivery_filter");
  write(".delivery_filter.xml");
  ASSERT_EQ(0, chown(folder_.file(".delivery_filter.xml").c_str(), 65000, 65000));
  EXPECT_EQ("error foreign_owner .delivery_filter.xml, ", examined());
}

}  // namespace
}  // namespace Quarrow::Doctor
