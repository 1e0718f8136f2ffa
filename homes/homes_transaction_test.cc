// Changes of the table, made and refused; what is listed after them.
#include "homes/homes_transaction.h"

#include <gtest/gtest.h>

#include <sstream>

#include "homes/home_import.h"
#include "homes/home_listing.h"
#include "homes/homes_test_support.h"

namespace Quarrow::Homes {
namespace {

using Kind = HomeRefusal::Kind;
using Start = HomesTransaction::Start;

class HomesChange : public testing::Test {
 protected:
  static void expect_refused(Kind kind, const std::string& object, const std::string& reason,
                             const HomeRefusal& refusal) {
    EXPECT_EQ(kind, refusal.kind) << refusal.reason;
    EXPECT_EQ(object, refusal.object);
    EXPECT_NE(std::string::npos, refusal.reason.find(reason)) << refusal.reason;
  }

  // "user node" for each user at `node`, or all; "user node moving".
  std::string homes(const std::string& node = "") const {
    std::string lines;
    TestTable::expect_taken(list_homes(table_.file(), node, [&lines](const Home& home) {
      lines += home.user + ' ' + home.node + (home.moving ? " moving\n" : "\n");
    }));
    return lines;
  }

  std::string nodes() const {
    std::string lines;
    TestTable::expect_taken(list_nodes(table_.file(), [&lines](const Node& node) {
      lines += node.name + ' ' + node.transport + '\n';
    }));
    return lines;
  }

  // What `work` refuses; nothing is committed.
  template <typename Work>
  HomeRefusal refusal_of(const Work& work) const {
    HomesTransaction transaction(table_.file(), Start::with_a_table);
    return work(transaction);
  }

  const TestTable table_;
  const std::string first_homes_ =
      "alice@example.org node1\nbob+lists@example.org node2\ncarol@example.org node1 moving\n";
};

TEST_F(HomesChange, IsListed) {
  EXPECT_EQ(first_homes_, homes());
  EXPECT_EQ("bob+lists@example.org node2\n", homes("node2"));
  EXPECT_EQ(std::string("node1 ") + first_transport + "\nnode2 " + second_transport + '\n',
            nodes());
}

TEST_F(HomesChange, IsMadeOnlyByACommit) {
  {
    HomesTransaction transaction(table_.file(), Start::with_a_table);
    TestTable::expect_taken(transaction.remove_home("alice@example.org"));
  }
  EXPECT_EQ(first_homes_, homes());
}

TEST_F(HomesChange, GivesANodeAnotherTransport) {
  table_.change([](HomesTransaction& transaction) {
    TestTable::expect_taken(transaction.add_node("node1", "smtp:[192.0.2.1]"));
  });
  EXPECT_EQ(std::string("node1 smtp:[192.0.2.1]\nnode2 ") + second_transport + '\n', nodes());
  EXPECT_EQ(first_homes_, homes());
}

TEST_F(HomesChange, RemovesANodeOnceNobodyLivesThere) {
  const auto remove = [](HomesTransaction& transaction) {
    return transaction.remove_node("node2");
  };
  expect_refused(Kind::wrong, "node2", "users live there, bob+lists@example.org for one",
                 refusal_of(remove));
  table_.change([&](HomesTransaction& transaction) {
    TestTable::expect_taken(transaction.remove_home("bob+lists@example.org"));
    TestTable::expect_taken(remove(transaction));
  });
  EXPECT_EQ(std::string("node1 ") + first_transport + '\n', nodes());
}

TEST_F(HomesChange, MovesAUser) {
  table_.change([](HomesTransaction& transaction) {
    TestTable::expect_taken(transaction.set_moving("alice@example.org", true));
    TestTable::expect_taken(transaction.move_home("carol@example.org", "node2"));
  });
  EXPECT_EQ(
      "alice@example.org node1 moving\nbob+lists@example.org node2\ncarol@example.org node2\n",
      homes());
  table_.change([](HomesTransaction& transaction) {
    TestTable::expect_taken(transaction.set_moving("alice@example.org", false));
  });
  EXPECT_EQ("alice@example.org node1\n", homes("node1"));
}

TEST_F(HomesChange, SetsTheHomeOfAUserWhoIsNotMoved) {
  const auto set = [](const char* user) {
    return [user](HomesTransaction& transaction) { return transaction.set_home(user, "node2"); };
  };
  expect_refused(Kind::wrong, "carol@example.org", "is being moved",
                 refusal_of(set("carol@example.org")));
  table_.change([&](HomesTransaction& transaction) {
    TestTable::expect_taken(set("alice@example.org")(transaction));
  });
  EXPECT_EQ("alice@example.org node2\nbob+lists@example.org node2\n", homes("node2"));
}

TEST_F(HomesChange, RefusesWhatIsNotThere) {
  const std::string no_node = "no such node";
  const std::string no_home = "has no home";
  HomesTransaction transaction(table_.file(), Start::with_a_table);
  expect_refused(Kind::wrong, "node3", no_node, transaction.set_home("dave@example.org", "node3"));
  expect_refused(Kind::wrong, "node3", no_node,
                 transaction.move_home("alice@example.org", "node3"));
  expect_refused(Kind::wrong, "node3", no_node, transaction.remove_node("node3"));
  for (const char* const user : {"dave@example.org", "Alice@example.org"}) {
    expect_refused(Kind::unknown_user, user, no_home, transaction.move_home(user, "node1"));
    expect_refused(Kind::unknown_user, user, no_home, transaction.set_moving(user, true));
    expect_refused(Kind::unknown_user, user, no_home, transaction.set_moving(user, false));
    expect_refused(Kind::unknown_user, user, no_home, transaction.remove_home(user));
  }
  expect_refused(Kind::wrong, "node3", no_node,
                 list_homes(table_.file(), "node3", [](const Home&) {}));
}

TEST_F(HomesChange, RefusesTextsThatAreWrong) {
  HomesTransaction transaction(table_.file(), Start::with_a_table);
  expect_refused(Kind::wrong, "a b", "no name of a node", transaction.add_node("a b", "lmtp:x"));
  expect_refused(Kind::wrong, "lmtp", "no transport", transaction.add_node("node3", "lmtp"));
}

TEST_F(HomesChange, NeedsATable) {
  const std::string missing = table_.folder.file("missing");
  expect_refused(Kind::missing, missing, "No such file",
                 HomesTransaction(missing, Start::with_a_table).commit());
  expect_refused(Kind::missing, missing, "No such file", list_nodes(missing, [](const Node&) {}));
  EXPECT_FALSE(std::filesystem::exists(missing));
}

TEST_F(HomesChange, LeavesOtherFilesAlone) {
  const std::string text = table_.folder.write("text", std::string(5000, 'x'));
  expect_refused(Kind::unusable, text, "not a database",
                 HomesTransaction(text, Start::with_any).add_node("node1", "lmtp:x"));
  const std::string other = table_.folder.file("other");
  {
    SqliteDatabase database(other, SqliteDatabase::Access::create, std::chrono::seconds(1));
    database.execute("CREATE TABLE node (name, transport)");
  }
  std::ifstream stream(other);
  const std::string before(std::istreambuf_iterator<char>(stream), {});
  expect_refused(Kind::unusable, other, "not a table of homes",
                 HomesTransaction(other, Start::with_any).add_node("node1", "lmtp:x"));
  std::ifstream again(other);
  EXPECT_EQ(before, std::string(std::istreambuf_iterator<char>(again), {}));
}

TEST_F(HomesChange, OfAnotherSchemaIsRefused) {
  table_.run("PRAGMA user_version = 2");
  expect_refused(
      Kind::unusable, table_.file(), "unknown schema version 2",
      refusal_of([](HomesTransaction& homes) { return homes.remove_home("alice@example.org"); }));
}

// Reads users as they are, but for one.
std::string plain_user(std::string& user) { return user == "nobody" ? "no address" : ""; }

TEST_F(HomesChange, TakesManyUsersAtOnce) {
  std::istringstream lines("dave@example.org node1\n\n \t\r\n  alice@example.org\tnode2 \r\n");
  std::size_t count = 0;
  table_.change([&](HomesTransaction& transaction) {
    TestTable::expect_taken(import_homes(transaction, lines, plain_user, count));
  });
  EXPECT_EQ(2U, count);
  EXPECT_EQ("alice@example.org node2\nbob+lists@example.org node2\n", homes("node2"));
  EXPECT_EQ("carol@example.org node1 moving\ndave@example.org node1\n", homes("node1"));
}

TEST_F(HomesChange, NamesTheLineThatIsWrong) {
  const struct {
    const char* line;
    const char* reason;
  } cases[] = {{"alice@example.org", "alice@example.org: not a user and a node"},
               {"alice@example.org node1 node2", "not a user and a node"},
               {"nobody node1", "nobody: no address"},
               {"alice@example.org node3", "node3: no such node"},
               {"carol@example.org node2", "carol@example.org: is being moved"}};
  for (const auto& c : cases) {
    std::istringstream lines(std::string("dave@example.org node1\n\n") + c.line);
    std::size_t count = 0;
    expect_refused(Kind::wrong, "line 3", c.reason, refusal_of([&](HomesTransaction& transaction) {
                     return import_homes(transaction, lines, plain_user, count);
                   }));
  }
  EXPECT_EQ(first_homes_, homes());
}

}  // namespace
}  // namespace Quarrow::Homes
