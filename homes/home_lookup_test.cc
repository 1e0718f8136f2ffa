// Users found, moved, unknown, and not to be told.
#include "homes/home_lookup.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "homes/homes_test_support.h"

namespace Quarrow::Homes {
namespace {

using Delivery::AddressCase;
using Result = HomeFound::Result;

class LookUpHome : public testing::Test {
 protected:
  void expect(Result result, const std::string& user, const std::string& transport,
              const std::string& address) {
    const HomeFound found = lookup_.look_up(address);
    EXPECT_EQ(result, found.result) << address << ": " << found.reason;
    EXPECT_EQ(user, found.user) << address;
    EXPECT_EQ(transport, found.transport) << address;
  }

  void expect_unavailable(const std::string& reason) {
    for (const char* const address : {"alice@example.org", "dave@example.org"}) {
      const HomeFound found = lookup_.look_up(address);
      EXPECT_EQ(Result::unavailable, found.result) << address;
      EXPECT_EQ(0U, found.reason.find(table_.file() + ": ")) << found.reason;
      EXPECT_NE(std::string::npos, found.reason.find(reason)) << found.reason;
    }
  }

  void expect_alice() {
    expect(Result::found, "alice@example.org", first_transport, "alice@example.org");
  }

  const TestTable table_;
  HomeLookup lookup_{table_.file(), {}};
};

TEST_F(LookUpHome, FindsUsersAsTheNodesDo) {
  for (const char* const address : {"alice@example.org", "Alice@Example.ORG", "alice+x@example.org",
                                    "ALICE+a+b@example.org", "alice+@example.org"})
    expect(Result::found, "alice@example.org", first_transport, address);
  expect(Result::found, "bob+lists@example.org", second_transport, "bob+Lists@example.org");
  expect(Result::moving, "carol@example.org", "", "carol+x@example.org");
}

TEST_F(LookUpHome, DoesNotKnowOthers) {
  for (const char* const address :
       {"dave@example.org", "bob@example.org", "alice@example.net", "+alice@example.org", "alice",
        "example.org", "@example.org", "*", "", "alice-x@example.org", "' OR 1=1 --@example.org"})
    expect(Result::unknown, "", "", address);
}

TEST_F(LookUpHome, ReadsAddressesInOtherWays) {
  HomeLookup exact(table_.file(), {"", AddressCase::kept});
  EXPECT_EQ(Result::found, exact.look_up("alice@example.org").result);
  EXPECT_EQ(Result::unknown, exact.look_up("alice+x@example.org").result);
  EXPECT_EQ(Result::unknown, exact.look_up("Alice@example.org").result);
  HomeLookup dashes(table_.file(), {"-+", AddressCase::folded});
  EXPECT_EQ("alice@example.org", dashes.look_up("alice-x@example.org").user);
}

TEST_F(LookUpHome, SeesEachChangeAtOnce) {
  expect_alice();
  table_.change([](HomesTransaction& homes) {
    TestTable::expect_taken(homes.set_moving("alice@example.org", true));
  });
  expect(Result::moving, "alice@example.org", "", "alice@example.org");
  table_.change([](HomesTransaction& homes) {
    TestTable::expect_taken(homes.move_home("alice@example.org", "node2"));
  });
  expect(Result::found, "alice@example.org", second_transport, "alice@example.org");
  table_.change([](HomesTransaction& homes) {
    TestTable::expect_taken(homes.remove_home("alice@example.org"));
  });
  expect(Result::unknown, "", "", "alice@example.org");
}

TEST_F(LookUpHome, GoesOnWhileAChangeIsUnderWay) {
  HomesTransaction homes(table_.file(), HomesTransaction::Start::with_a_table);
  TestTable::expect_taken(homes.remove_home("alice@example.org"));
  expect_alice();
}

TEST_F(LookUpHome, IsUnavailableWithoutTheFileUntilItIsBack) {
  expect_alice();
  const std::string aside = table_.folder.file("aside");
  std::filesystem::rename(table_.file(), aside);
  expect_unavailable("No such file");
  std::filesystem::rename(aside, table_.file());
  expect_alice();
}

TEST_F(LookUpHome, IsUnavailableWithADamagedFile) {
  expect_alice();
  std::filesystem::remove(table_.file());
  write_file(table_.file(), "");
  expect_unavailable("not a table of homes");
  write_file(table_.file(), std::string(8192, 'x'));
  expect_unavailable("not a database");
}

TEST_F(LookUpHome, SeesATableThatIsMadeInAnEmptyFile) {
  const std::string file = table_.folder.write("empty", "");
  HomeLookup lookup(file, {});
  EXPECT_EQ(Result::unavailable, lookup.look_up("alice@example.org").result);
  HomesTransaction homes(file, HomesTransaction::Start::with_any);
  TestTable::expect_taken(homes.add_node("node1", first_transport));
  TestTable::expect_taken(homes.set_home("alice@example.org", "node1"));
  TestTable::expect_taken(homes.commit());
  EXPECT_EQ(Result::found, lookup.look_up("alice@example.org").result);
}

TEST_F(LookUpHome, IsUnavailableWhileTheSchemaIsAnotherOne) {
  table_.run("PRAGMA user_version = 2");
  expect_unavailable("unknown schema version 2");
  table_.run("PRAGMA user_version = 1");
  expect_alice();
}

// Each page but the first is overwritten in its turn, and cut off with those behind it.
TEST_F(LookUpHome, NeverTakesAKnownUserOfADamagedFileForUnknown) {
  table_.run("PRAGMA wal_checkpoint(TRUNCATE)");
  std::ifstream stream(table_.file(), std::ios::binary);
  const std::string whole(std::istreambuf_iterator<char>(stream), {});
  constexpr std::size_t page = 4096;
  ASSERT_LT(3 * page, whole.size());
  for (std::size_t start = page; start < whole.size(); start += page) {
    for (const char filler : {'\0', '\xff'}) {
      std::string damaged = whole;
      damaged.replace(start, page, page, filler);
      const std::string file = table_.folder.write("damaged", damaged);
      EXPECT_NE(Result::unknown, HomeLookup(file, {}).look_up("alice@example.org").result) << start;
      EXPECT_NE("", fault_in_table(file)) << start;
    }
    const std::string cut = table_.folder.write("cut", whole.substr(0, start));
    EXPECT_NE(Result::unknown, HomeLookup(cut, {}).look_up("alice@example.org").result) << start;
  }
}

TEST_F(LookUpHome, IsUnavailableWhereANodeIsMissing) {
  table_.run("DELETE FROM node WHERE name = 'node1'");
  const HomeFound found = lookup_.look_up("alice@example.org");
  EXPECT_EQ(Result::unavailable, found.result);
  EXPECT_EQ(table_.file() + ": damaged: a node is missing", found.reason);
}

TEST_F(LookUpHome, IsUnavailableWithoutUsers) {
  table_.run("DELETE FROM home");
  expect_unavailable("has no users");
}

TEST_F(LookUpHome, IsUnavailableWhileTheFileIsLockedForItsOwnerAlone) {
  SqliteDatabase owner(table_.file(), SqliteDatabase::Access::change, std::chrono::seconds(1));
  owner.execute("PRAGMA locking_mode = EXCLUSIVE; UPDATE home SET moving = 0");
  ASSERT_FALSE(owner.has_failed()) << owner.reason();
  const HomeFound found = lookup_.look_up("alice@example.org");
  EXPECT_EQ(Result::unavailable, found.result);
  EXPECT_EQ(table_.file() + ": database is locked", found.reason);
}

TEST_F(LookUpHome, NeedsNoRightToWrite) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser has all rights";
  std::vector<std::string> paths;
  const std::string folder = std::filesystem::path(table_.file()).parent_path();
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    paths.push_back(entry.path());
  for (const std::string& path : paths) ASSERT_EQ(0, chmod(path.c_str(), 0444)) << path;
  ASSERT_EQ(0, chmod(folder.c_str(), 0555));
  expect_alice();
  ASSERT_EQ(0, chmod(folder.c_str(), 0755));
}

TEST(FaultOfTable, TellsWhyItCanNotBeRead) {
  const TestTable table;
  EXPECT_EQ("", fault_of_table(table.file()));
  EXPECT_EQ("", fault_in_table(table.file()));
  const std::string missing = table.folder.file("missing");
  EXPECT_EQ(missing + ": No such file or directory", fault_of_table(missing));
  EXPECT_EQ(missing + ": No such file or directory", fault_in_table(missing));
  const std::string empty = table.folder.write("empty", "");
  EXPECT_EQ(empty + ": not a table of homes", fault_of_table(empty));
}

}  // namespace
}  // namespace Quarrow::Homes
