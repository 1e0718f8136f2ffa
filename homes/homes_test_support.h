// A table of homes for unit tests.
#ifndef QUARROW_HOMES_HOMES_TEST_SUPPORT_H_
#define QUARROW_HOMES_HOMES_TEST_SUPPORT_H_

#include <gtest/gtest.h>

#include <string>

#include "homes/homes_transaction.h"
#include "host/base/sqlite_database.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Homes {

const char first_transport[] = "lmtp:inet:[127.0.0.1]:2401";
const char second_transport[] = "lmtp:inet:[127.0.0.1]:2402";

// With the nodes node1 and node2. Alice lives on the first, bob+lists on the second, and carol is
// being moved from the first.
class TestTable {
 public:
  TestTable() {
    change([](HomesTransaction& homes) {
      expect_taken(homes.add_node("node1", first_transport));
      expect_taken(homes.add_node("node2", second_transport));
      expect_taken(homes.set_home("alice@example.org", "node1"));
      expect_taken(homes.set_home("bob+lists@example.org", "node2"));
      expect_taken(homes.set_home("carol@example.org", "node1"));
      expect_taken(homes.set_moving("carol@example.org", true));
    });
  }

  static void expect_taken(const HomeRefusal& refusal) {
    EXPECT_FALSE(refusal) << refusal.object << ": " << refusal.reason;
  }

  template <typename Work>
  void change(const Work& work) const {
    HomesTransaction homes(file(), HomesTransaction::Start::with_any);
    work(homes);
    expect_taken(homes.commit());
  }

  // Runs SQL behind the back of the table.
  void run(const std::string& sql) const {
    SqliteDatabase database(file(), SqliteDatabase::Access::change, std::chrono::seconds(5));
    database.execute(sql);
    EXPECT_FALSE(database.has_failed()) << sql << ": " << database.reason();
  }

  std::string file() const { return folder.file("new/homes.sqlite"); }

  const TemporaryFolder folder;
};

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_HOMES_TEST_SUPPORT_H_
