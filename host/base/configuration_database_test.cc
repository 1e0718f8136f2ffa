// The configuration file: read, written, and refused.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <limits>

#include "base.h"
#include "tests/support/temporary_folder_test_support.h"

namespace {

class Configuration : public testing::Test {
 protected:
  // A new configuration file with that grade.
  std::string create(std::uint32_t grade) {
    SystemRecord record;
    record.capacity_grade = grade;
    const std::string file = folder_.file("configuration");
    EXPECT_TRUE(database_.create(file, record)) << database_.error;
    return file;
  }

  // Runs SQL on a file behind the library's back.
  static void run(sqlite3* database, const std::string& sql) {
    ASSERT_EQ(SQLITE_OK, sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr))
        << sql << ": " << sqlite3_errmsg(database);
  }
  static void change(const std::string& file, const std::string& sql) {
    sqlite3* database = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(file.c_str(), &database));
    run(database, sql);
    sqlite3_close(database);
  }

  // Expects that opening `file` fails, names the file and a reason, and leaves the settings alone.
  void expect_refused(const std::string& file, const std::string& reason) {
    SystemRecord mine;
    database_.system = &mine;
    EXPECT_FALSE(database_.open(file)) << reason;
    EXPECT_EQ(&mine, database_.system) << reason;
    EXPECT_EQ(0U, database_.error.find(file + ": ")) << database_.error;
    EXPECT_NE(std::string::npos, database_.error.find(reason)) << database_.error;
    database_.system = nullptr;
  }

  std::size_t entries() const {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
      count += entry.exists() ? 1 : 0;
    return count;
  }

  TemporaryFolder folder_;
  ConfigurationDatabase database_;
};

TEST_F(Configuration, HoldsNoSettingsBeforeItIsOpened) {
  EXPECT_EQ(nullptr, cmdb.system);
  EXPECT_EQ(nullptr, database_.system);
}

TEST_F(Configuration, ReadsWhatWasWritten) {
  for (const std::uint32_t grade : {0U, 7U, 19U, std::numeric_limits<std::uint32_t>::max()}) {
    const std::string file = create(grade);
    ASSERT_TRUE(database_.open(file)) << database_.error;
    EXPECT_EQ(grade, database_.system->capacity_grade);
    std::filesystem::remove(file);
  }
}

TEST_F(Configuration, ReadsTheFormOfFolders) {
  const std::string file = folder_.file("configuration");
  ASSERT_TRUE(database_.create(file, {7, 1})) << database_.error;
  ASSERT_TRUE(database_.open(file)) << database_.error;
  EXPECT_EQ(7U, database_.system->capacity_grade);
  EXPECT_EQ(1U, database_.system->hashed_folders);
  change(file, "UPDATE system SET hashed_folders = 0");
  ASSERT_TRUE(database_.open(file)) << database_.error;
  EXPECT_EQ(0U, database_.system->hashed_folders);
  for (const char* value : {"2", "-1", "'one'"}) {
    change(file, std::string("PRAGMA ignore_check_constraints = 1;"
                             "UPDATE system SET hashed_folders = ") +
                     value);
    expect_refused(file, "no settings");
  }
}

// Programs that know only the first version can't find the folders of the second.
TEST_F(Configuration, IsOfTheSecondVersionOnlyWithHashedFolders) {
  const std::string file = create(7);
  ASSERT_TRUE(database_.open(file));
  EXPECT_EQ(0U, database_.system->hashed_folders);
  change(file, "PRAGMA user_version = 2");
  expect_refused(file, "no such column: hashed_folders");
  const std::string hashed = folder_.file("hashed");
  ASSERT_TRUE(database_.create(hashed, {7, 1}));
  change(hashed, "PRAGMA user_version = 1");
  ASSERT_TRUE(database_.open(hashed));
  EXPECT_EQ(0U, database_.system->hashed_folders);
}

TEST_F(Configuration, KeepsTheSettingsWhenTheNextFileIsMissing) {
  ASSERT_TRUE(database_.open(create(18)));
  EXPECT_FALSE(database_.open(folder_.file("other")));
  ASSERT_NE(nullptr, database_.system);
  EXPECT_EQ(18U, database_.system->capacity_grade);
}

TEST_F(Configuration, ReadsTheFileAgain) {
  const std::string file = create(1);
  ASSERT_TRUE(database_.open(file));
  change(file, "UPDATE system SET capacity_grade = 2");
  ASSERT_TRUE(database_.open(file));
  EXPECT_EQ(2U, database_.system->capacity_grade);
}

TEST_F(Configuration, RefusesWhatIsNoConfigurationFile) {
  expect_refused(folder_.file("missing"), "No such file");
  expect_refused(folder_.path(), "not a regular file");
  expect_refused(folder_.write("text", std::string(5000, 'x')), "not a database");
  expect_refused(folder_.write("empty", ""), "not a configuration file");
  const std::string fifo = folder_.file("fifo");
  ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
  expect_refused(fifo, "not a regular file");
}

TEST_F(Configuration, RefusesANameWithANul) {
  create(1);
  const std::string name = folder_.file("configuration") + std::string("\0x", 2);
  expect_refused(name, "not a file name");
  EXPECT_FALSE(database_.create(folder_.file("new") + std::string("\0x", 2), SystemRecord()));
  EXPECT_EQ(1U, entries());
}

const struct {
  const char* sql;
  const char* reason;
} other_contents[] = {
    {"PRAGMA application_id = 1", "not a configuration file"},
    {"PRAGMA user_version = 3", "unknown schema version 3"},
    {"DELETE FROM system", "no settings"},
    {"DROP TABLE system", "no such table"},
    {"PRAGMA ignore_check_constraints = 1; UPDATE system SET capacity_grade = -1", "no settings"},
    {"PRAGMA ignore_check_constraints = 1; UPDATE system SET capacity_grade = 4294967296",
     "no settings"},
    {"DROP TABLE system; CREATE TABLE system (capacity_grade);"
     "INSERT INTO system VALUES ('seven')",
     "no settings"},
};

TEST_F(Configuration, RefusesOtherContent) {
  for (const auto& c : other_contents) {
    const std::string file = create(3);
    change(file, c.sql);
    expect_refused(file, c.reason);
    std::filesystem::remove(file);
  }
}

TEST_F(Configuration, RefusesADamagedFile) {
  const std::string file = create(3);
  std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
  expect_refused(file, "");
  std::filesystem::resize_file(file, 150);
  expect_refused(file, "");
}

TEST_F(Configuration, RefusesALockedFile) {
  const std::string file = create(3);
  sqlite3* other = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(file.c_str(), &other));
  run(other, "BEGIN EXCLUSIVE");
  expect_refused(file, "locked");
  run(other, "COMMIT");
  sqlite3_close(other);
  EXPECT_TRUE(database_.open(file)) << database_.error;
}

TEST_F(Configuration, IsNeverWrittenOverAFile) {
  const std::string file = folder_.write("mine", "precious");
  EXPECT_FALSE(database_.create(file, SystemRecord()));
  EXPECT_EQ(0U, database_.error.find(file + ": ")) << database_.error;
  std::ifstream stream(file);
  EXPECT_EQ("precious", std::string(std::istreambuf_iterator<char>(stream), {}));
  EXPECT_EQ(1U, entries());
}

TEST_F(Configuration, IsReadableByAllAndAlone) {
  struct stat entry {};
  ASSERT_EQ(0, stat(create(3).c_str(), &entry));
  EXPECT_EQ(0644U, entry.st_mode & 07777);
  EXPECT_EQ(1U, entries());
}

TEST_F(Configuration, NeedsAFolderToBeWrittenTo) {
  EXPECT_FALSE(database_.create(folder_.file("missing/file"), SystemRecord()));
  EXPECT_NE(std::string::npos, database_.error.find("No such file")) << database_.error;
}

}  // namespace
