// SQLite databases: read, changed, and failing.
#include "host/base/sqlite_database.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/temporary_folder_test_support.h"

namespace {

using Access = SqliteDatabase::Access;
using Failure = SqliteDatabase::Failure;
using Row = SqliteDatabase::Row;
using Rows = std::vector<Row>;

constexpr std::chrono::milliseconds patience{20};

class Sqlite : public testing::Test {
 protected:
  // A new database of two rows.
  std::string made() const {
    const std::string file = folder_.file("database");
    SqliteDatabase database(file, Access::create, patience);
    database.execute("CREATE TABLE pair (one TEXT, other); INSERT INTO pair VALUES ('a', 1)");
    database.execute("INSERT INTO pair VALUES ('b', NULL)");
    EXPECT_EQ("", database.reason());
    return file;
  }

  static Rows rows(SqliteDatabase& database) {
    Rows all;
    database.each_row("SELECT one, other FROM pair ORDER BY one", {},
                      [&all](const Row& row) { all.push_back(row); });
    return all;
  }

  static void expect_failure(Failure failure, const std::string& reason,
                             const SqliteDatabase& database) {
    EXPECT_EQ(failure, database.failure()) << reason;
    EXPECT_TRUE(database.has_failed());
    EXPECT_NE(std::string::npos, database.reason().find(reason)) << database.reason();
  }

  TemporaryFolder folder_;
};

TEST_F(Sqlite, GivesRowsAsText) {
  SqliteDatabase database(made(), Access::read, patience);
  EXPECT_EQ((Rows{{"a", "1"}, {"b", ""}}), rows(database));
  EXPECT_EQ((Row{"a", "1"}), database.first_row("SELECT * FROM pair ORDER BY one"));
  EXPECT_EQ(Row(), database.first_row("SELECT * FROM pair WHERE one = 'c'"));
  EXPECT_FALSE(database.has_failed()) << database.reason();
}

TEST_F(Sqlite, TakesValuesAsTheyAre) {
  SqliteDatabase database(made(), Access::change, patience);
  const std::string odd = std::string("it's; \0--", 9) + "\"?";
  EXPECT_EQ(Row(), database.first_row("INSERT INTO pair VALUES (?, ?)", {odd, "2"}));
  EXPECT_EQ(1, database.changes());
  EXPECT_EQ(Row{"2"}, database.first_row("SELECT other FROM pair WHERE one = ?", {odd}));
  EXPECT_EQ(Row{"1"}, database.first_row("SELECT other FROM pair WHERE one = ?", {"a"}));
  EXPECT_FALSE(database.has_failed()) << database.reason();
}

TEST_F(Sqlite, TellsWhyItCanNotBeOpened) {
  const auto expect = [](const std::string& file, Failure failure, const std::string& reason) {
    expect_failure(failure, reason, SqliteDatabase(file, Access::read, patience));
  };
  expect(folder_.file("missing"), Failure::missing, "No such file");
  expect(folder_.write("file", "") + "/x", Failure::missing, "Not a directory");
  expect(folder_.file("a") + std::string("\0b", 2), Failure::missing, "not a file name");
  expect(folder_.path(), Failure::other, "not a regular file");
  const std::string fifo = folder_.file("fifo");
  ASSERT_EQ(0, mkfifo(fifo.c_str(), 0600));
  expect(fifo, Failure::other, "not a regular file");
}

TEST_F(Sqlite, MakesAFileOnlyWhereItIsToldTo) {
  for (const Access access : {Access::read, Access::change})
    EXPECT_TRUE(SqliteDatabase(folder_.file("new"), access, patience).has_failed());
  EXPECT_FALSE(std::filesystem::exists(folder_.file("new")));
  EXPECT_FALSE(SqliteDatabase(folder_.file("new"), Access::create, patience).has_failed());
}

TEST_F(Sqlite, DoesNothingAfterAFailure) {
  SqliteDatabase database(made(), Access::change, patience);
  database.execute("DELETE FROM absent");
  expect_failure(Failure::other, "no such table: absent", database);
  database.execute("DELETE FROM pair");
  EXPECT_EQ(Row(), database.first_row("SELECT 1"));
  EXPECT_EQ(0, database.changes());
  EXPECT_EQ(Rows(), rows(database));
  database.keep_log_files();
  expect_failure(Failure::other, "no such table: absent", database);
  SqliteDatabase again(folder_.file("database"), Access::read, patience);
  EXPECT_EQ(2U, rows(again).size());
}

TEST_F(Sqlite, FailsAfterItsPatienceWithALock) {
  const std::string file = made();
  SqliteDatabase owner(file, Access::change, patience);
  owner.execute("BEGIN EXCLUSIVE");
  SqliteDatabase other(file, Access::read, patience);
  EXPECT_EQ(Rows(), rows(other));
  expect_failure(Failure::busy, "locked", other);
}

TEST_F(Sqlite, ChangesNothingThatIsOnlyRead) {
  SqliteDatabase database(made(), Access::read, patience);
  database.execute("DELETE FROM pair");
  expect_failure(Failure::not_permitted, "readonly", database);
}

TEST_F(Sqlite, TellsADamagedFile) {
  SqliteDatabase database(folder_.write("text", std::string(5000, 'x')), Access::read, patience);
  EXPECT_EQ(Rows(), rows(database));
  expect_failure(Failure::other, "not a database", database);
}

TEST_F(Sqlite, KeepsTheLogForThoseWhoMustNotWrite) {
  const std::string file = made();
  for (const bool keeps : {false, true}) {
    {
      SqliteDatabase database(file, Access::change, patience);
      (void)database.first_row("PRAGMA journal_mode = WAL");
      if (keeps) database.keep_log_files();
      EXPECT_EQ(2U, rows(database).size());
    }
    EXPECT_EQ(keeps, std::filesystem::exists(file + "-wal"));
    EXPECT_EQ(keeps, std::filesystem::exists(file + "-shm"));
  }
}

TEST_F(Sqlite, SeesThatItsFileIsGone) {
  const std::string file = made();
  const SqliteDatabase database(file, Access::read, patience);
  EXPECT_TRUE(database.is_in_place());
  std::filesystem::rename(file, folder_.file("elsewhere"));
  EXPECT_FALSE(database.is_in_place());
  std::filesystem::copy(folder_.file("elsewhere"), file);
  EXPECT_FALSE(database.is_in_place());
}

}  // namespace
