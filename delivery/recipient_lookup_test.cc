// Users by their folders, and everything that may be in place of a folder.
#include "delivery/recipient_lookup.h"

#include <gtest/gtest.h>
#include <zvelluser.h>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Delivery {
namespace {

using Kind = MountSign::Kind;
using Result = RecipientLookup::Result;

// Below a root with the folders of alice, bob+lists and +carol at example.org, a file in place of
// dave's folder there, a file in place of the domain example.com, and a link to itself in place of
// loop.example. Paths are relative to the root.
const struct {
  std::string address;
  Result result;
  std::string path;  // found: the folder; unavailable: the object
  std::string reason = {};
} lookups[] = {
    {"alice@example.org", Result::found, "example.org/alice"},
    {"alice@Example.ORG", Result::found, "example.org/alice"},
    {"Alice@example.org", Result::found, "example.org/alice"},
    {"ALICE+Lists@example.org", Result::found, "example.org/alice"},
    {"alice+lists@example.org", Result::found, "example.org/alice"},
    {"BOB+Lists@example.org", Result::found, "example.org/bob+lists"},
    {"alice-a+b@example.org", Result::found, "example.org/alice"},
    {"alice+@example.org", Result::found, "example.org/alice"},
    {"alice+../../etc@example.org", Result::found, "example.org/alice"},
    {"bob+lists@example.org", Result::found, "example.org/bob+lists"},
    {"+carol@example.org", Result::found, "example.org/+carol"},
    {"bob@example.org", Result::unknown, ""},
    {"bob+other@example.org", Result::unknown, ""},
    {"+alice@example.org", Result::unknown, ""},
    {"alice_x@example.org", Result::unknown, ""},
    {"alice@example.net", Result::unknown, ""},
    {"alice@example.org+x", Result::unknown, ""},
    {"alice", Result::unknown, ""},
    {"alice+x", Result::unknown, ""},
    {"", Result::unknown, ""},
    {"a b@c", Result::unknown, ""},
    {"dave@example.org", Result::unavailable, "example.org/dave", "not a folder"},
    {"dave+x@example.org", Result::unavailable, "example.org/dave", "not a folder"},
    {"alice@example.com", Result::unavailable, "example.com/alice", "Not a directory"},
    {"alice@loop.example", Result::unavailable, "loop.example/alice",
     "Too many levels of symbolic links"},
};

const struct {
  std::string address;
  std::string user;
} users[] = {{"alice@example.org", "alice@example.org"},
             {"alice+lists@example.org", "alice@example.org"},
             {"bob+lists@example.org", "bob+lists@example.org"},
             {"bob@example.org", ""}};

class LookUpRecipient : public testing::Test {
 protected:
  LookUpRecipient() {
    mailuser_set_root(root_.path());
    for (const char* const name : {"alice", "bob+lists", "+carol"})
      std::filesystem::create_directories(root_.file("example.org/") + name);
    root_.write("example.org/dave", "in the way");
    root_.write("example.com", "in the way");
    std::filesystem::create_symlink("loop.example", root_.file("loop.example"));
  }

  RecipientLookup look_up(const std::string& address) const {
    return look_up_recipient(address, {root_.path(), Kind::folder}, "+-");
  }

  const TemporaryFolder root_;
};

TEST_F(LookUpRecipient, KnowsUsersWhoAreLocked) {
  EXPECT_FALSE(look_up("alice@example.org").is_locked);
  root_.write("example.org/alice/.quarrow_lock", "");
  for (const char* const address : {"alice@example.org", "alice+lists@example.org"}) {
    const RecipientLookup lookup = look_up(address);
    EXPECT_EQ(Result::found, lookup.result) << address;
    EXPECT_TRUE(lookup.is_locked) << address;
  }
  EXPECT_FALSE(look_up("bob+lists@example.org").is_locked);
}

TEST_F(LookUpRecipient, KnowsUsersByTheirFolders) {
  for (const auto& c : lookups) {
    const RecipientLookup lookup = look_up(c.address);
    const std::string path = c.path.empty() ? "" : root_.file(c.path);
    EXPECT_EQ(c.result, lookup.result) << c.address;
    EXPECT_EQ(c.result == Result::found ? path : "", lookup.folder) << c.address;
    EXPECT_EQ(c.result == Result::unavailable ? path : "", lookup.object) << c.address;
    EXPECT_EQ(c.reason, lookup.reason) << c.address;
  }
}

TEST_F(LookUpRecipient, NamesTheUserWhoseFolderItIs) {
  for (const auto& c : users) EXPECT_EQ(c.user, look_up(c.address).user) << c.address;
}

TEST_F(LookUpRecipient, TakesNoExtensionWithoutADelimiter) {
  const MountSign sign{root_.path(), Kind::folder};
  EXPECT_EQ(Result::unknown, look_up_recipient("alice+lists@example.org", sign).result);
  EXPECT_EQ(Result::unknown, look_up_recipient("alice+lists@example.org", sign, "-").result);
}

TEST_F(LookUpRecipient, TellsCapitalsFromSmallLettersOnRequest) {
  std::filesystem::create_directories(root_.file("example.org/Dora"));
  const MountSign sign{root_.path(), Kind::folder};
  const auto result = [&sign](const char* address) {
    return look_up_recipient(address, sign, "+", AddressCase::kept).result;
  };
  EXPECT_EQ(Result::found, result("Dora@Example.org"));
  EXPECT_EQ(Result::found, result("Dora+Lists@example.org"));
  EXPECT_EQ(Result::unknown, result("dora@example.org"));
  EXPECT_EQ(Result::unknown, result("Alice@example.org"));
}

TEST(Delimiters, AreMarksThatAddressesMayHave) {
  for (const char* const good : {"", "+", "+-", "!#$%&*+-./=?^_{|}~"})
    EXPECT_EQ("", delimiter_fault(good)) << good;
  for (const char* const bad : {"@", "+@", "a", "+ ", "<", "\"", "+\n", "+\xc3\xa9"})
    EXPECT_EQ(std::string("not of the characters !#$%&*+-./=?^_{|}~: ") + bad,
              delimiter_fault(bad));
}

TEST(UserSpelling, FoldsAsciiAlone) {
  EXPECT_EQ("m\xc3\x9cller.az@[example]",
            user_spelling("M\xc3\x9cller.AZ@[Example]", AddressCase::folded));
  EXPECT_EQ("Alice@Example.Org", user_spelling("Alice@Example.Org", AddressCase::kept));
}

TEST_F(LookUpRecipient, CallsNobodyUnknownWhileTheSignIsMissing) {
  const struct {
    MountSign sign;
    std::string reason;
  } cases[] = {
      {{root_.file("missing"), Kind::folder}, "No such file or directory"},
      {{root_.file("missing"), Kind::anything}, "No such file or directory"},
      {{root_.file("missing"), Kind::anything, "is the disk mounted?"}, "is the disk mounted?"},
      {{root_.file("example.com"), Kind::folder}, "Not a directory"}};
  for (const auto& c : cases) {
    for (const char* const stranger : {"nobody@example.org", "nobody"}) {
      const RecipientLookup lookup = look_up_recipient(stranger, c.sign);
      EXPECT_EQ(Result::unavailable, lookup.result) << stranger;
      EXPECT_EQ(c.sign.path, lookup.object) << stranger;
      EXPECT_EQ(c.reason, lookup.reason) << stranger;
    }
    EXPECT_EQ(Result::found, look_up_recipient("alice@example.org", c.sign).result);
  }
}

TEST_F(LookUpRecipient, TakesAnythingAsTheSignThatNeedNotBeAFolder) {
  for (const char* const path : {"example.com", "example.org"})
    EXPECT_EQ(Result::unknown,
              look_up_recipient("nobody@example.org", {root_.file(path), Kind::anything}).result);
}

}  // namespace
}  // namespace Quarrow::Delivery
