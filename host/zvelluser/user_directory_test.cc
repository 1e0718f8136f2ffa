// The folders of users, for addresses of every kind.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <set>
#include <vector>

#include "tests/support/temporary_folder_test_support.h"
#include "zvelluser.h"

namespace {

class UserDirectory : public testing::Test {
 protected:
  UserDirectory() { mailuser_set_root("/root"); }

  static std::string path(const std::string& address) {
    return ZvMailUserId(static_cast<MailBoxType>(1), address).prefpath();
  }
};

struct FolderCase {
  std::string address;
  std::string want;
};

const FolderCase folders[] = {
    {"user@example.org", "/root/example.org/user"},
    {"User@EXAMPLE.Org", "/root/example.org/User"},
    {"a._+=-Z9@example.org", "/root/example.org/a._+=-Z9"},
    {"a%b@example.org", "/root/example.org/a%25b"},
    {"a b@example.org", "/root/example.org/a%20b"},
    {"\"a@b\"@example.org", "/root/example.org/%22a%40b%22"},
    {"m\xc3\xbcller@b\xc3\xbc.example", "/root/b%C3%BC.example/m%C3%BCller"},
    {"user@[192.0.2.1]", "/root/%5B192.0.2.1%5D/user"},
};

TEST_F(UserDirectory, IsDomainThenLocalPart) {
  for (const auto& c : folders) EXPECT_EQ(c.want, path(c.address)) << c.address;
}

const FolderCase hostile_folders[] = {
    {".@.", "/root/%2E/%2E"},
    {"..@..", "/root/%2E./%2E."},
    {"../../etc@example.org", "/root/example.org/%2E.%2F..%2Fetc"},
    {"user@../..", "/root/%2E.%2F../user"},
    {"/etc/passwd@/", "/root/%2F/%2Fetc%2Fpasswd"},
    {std::string("a\0b@example.org", 15), "/root/example.org/a%00b"},
    {"a\n\x7f@example.org", "/root/example.org/a%0A%7F"},
    {".hidden@.example", "/root/%2Eexample/%2Ehidden"},
};

TEST_F(UserDirectory, NeverLeavesTheRoot) {
  for (const auto& c : hostile_folders) EXPECT_EQ(c.want, path(c.address)) << c.address;
}

TEST_F(UserDirectory, IsNoneWithoutBothParts) {
  for (const char* address : {"", "@", "user", "user@", "@example.org"})
    EXPECT_EQ("", path(address)) << address;
}

TEST_F(UserDirectory, HasFoldersInBetweenWhereNoFileNameIsLongEnough) {
  const std::string longest(255, 'a');
  EXPECT_EQ("/root/" + longest + "/" + longest, path(longest + "@" + longest));
  const std::string chunk = std::string(254, 'a') + "%/";
  EXPECT_EQ("/root/example.org/" + chunk + "aa", path(std::string(256, 'a') + "@example.org"));
  EXPECT_EQ("/root/" + chunk + chunk + chunk + std::string(238, 'a') + "/user",
            path("user@" + std::string(1000, 'a')));
  std::string slashes;
  for (int i = 0; i < 84; ++i) slashes += "%2F";
  EXPECT_EQ("/root/example.org/" + slashes + "%2%/F%2F",
            path(std::string(86, '/') + "@example.org"));  // 258 bytes when written
}

// Whether no folder in `path` is hidden or leads out of its own.
bool has_plain_parts(const std::string& path) {
  return path.find("//") == std::string::npos && path.find("/.") == std::string::npos &&
         path.back() != '/';
}

TEST_F(UserDirectory, HasNoPartThatBeginsWithADot) {
  const std::string before(254, 'a');
  EXPECT_EQ("/root/" + before + "%/%2E./user", path("user@" + before + ".."));
  EXPECT_EQ("/root/example.org/" + before + "%/%2E.%2Fx", path(before + "../x@example.org"));
}

const char* const tails[] = {"", ".", "..", "...", "../x", "./x", "%2E.", "%2E", "%", "/", ".b."};

// Addresses with parts of every length around the bounds of file names.
std::vector<std::string> long_addresses() {
  std::vector<std::string> addresses;
  for (const std::string tail : tails) {
    for (std::size_t length = 1; length < 800; ++length) {
      const std::string part = std::string(length, 'a') + tail;
      addresses.push_back("user@" + part);
      addresses.push_back(part + "@example.org");
      addresses.push_back(std::string(length, '.') + tail + "@example.org");
    }
  }
  return addresses;
}

TEST_F(UserDirectory, HasPlainPartsAndIsNeverSharedHoweverLongItsPartsAre) {
  std::map<std::string, std::string> owners;
  for (const std::string& address : long_addresses()) {
    EXPECT_TRUE(has_plain_parts(path(address))) << path(address);
    EXPECT_EQ(address, owners.emplace(path(address), address).first->second);
  }
}

const std::vector<std::string> different_addresses = {
    "a@b",     "A@b",     "a@b.",     ".a@b",    "%2Ea@b", "%2ea@b", "a/b@c",
    "a%2Fb@c", "b@a/c",   "a@b@c",    "a@b/c",   "a b@c",  "a+b@c",  "a_b@c",
    "a\t@b",   "\"a\"@b", "a@c%b",    "a@c%25b", "a%@25c", "aa@b",   "a@ab",
    "a@a/b",   "a/a@b",   "a%252F@b", "%@b",     "0c@b",   "c1@0c",  "%/0c@b"};

TEST_F(UserDirectory, IsNeverShared) {
  std::set<std::string> paths;
  for (const std::string& address : different_addresses) paths.insert(path(address));
  EXPECT_EQ(different_addresses.size(), paths.size());
  EXPECT_EQ(0U, paths.count(""));
}

std::string plain_path(const std::string& address) {
  return ZvMailUserId(MAILBOX_USER, address).plain_prefpath();
}

const FolderCase plain_folders[] = {
    {"user@Example.org", "/root/example.org/user"},
    {"o'brien@example.org", "/root/example.org/o'brien"},
    {"!#$%&'*+-=?^_`{|}~.@example.org", "/root/example.org/!#$%&'*+-=?^_`{|}~."},
    {"user%host@example.org", "/root/example.org/user%host"},
    {"a%2@example.org", "/root/example.org/a%2"},
    {"a/b@example.org", "/root/example.org/a%2Fb"},
    {"\"a b\"@example.org", "/root/example.org/\"a b\""},
    {"m\xc3\xbcller@b\xc3\xbc.example", "/root/b\xc3\xbc.example/m\xc3\xbcller"},
    {"user@[192.0.2.1]", "/root/[192.0.2.1]/user"},
    {"a%27b@example.org", "/root/example.org/a%2527b"},
    {"a%2fb@example.org", "/root/example.org/a%252fb"},
    {"a%@example.org", "/root/example.org/a%25"},
    {".@.", "/root/%2E/%2E"},
    {"..@..", "/root/%2E./%2E."},
    {"../../etc@../x", "/root/%2E.%2Fx/%2E.%2F..%2Fetc"},
    {std::string("a\0\n\x1f\x7f@example.org", 17), "/root/example.org/a%00%0A%1F%7F"},
};

TEST_F(UserDirectory, IsForANewUserNamedAsTheAddressStands) {
  for (const auto& c : plain_folders) EXPECT_EQ(c.want, plain_path(c.address)) << c.address;
  for (const char* address : {"", "@", "user", "user@", "@example.org"})
    EXPECT_EQ("", plain_path(address)) << address;
}

std::string hashed_path(const std::string& address) {
  return ZvMailUserId(MAILBOX_USER, address).hashed_prefpath();
}

// The digits are those that md5sum(1) tells.
const FolderCase hashed_folders[] = {
    {"user@Example.org", "/root/example.org/%/ee/11/user"},
    {"Alice@example.org", "/root/example.org/%/64/48/Alice"},
    {"o'brien@example.org", "/root/example.org/%/25/57/o'brien"},
    {"m\xc3\xbcller@b\xc3\xbc.example", "/root/b\xc3\xbc.example/%/92/d4/m\xc3\xbcller"},
    {"a/b@example.org", "/root/example.org/%/7f/a4/a%2Fb"},
    {".@.", "/root/%2E/%/36/2b/%2E"},
    {"a%@example.org", "/root/example.org/%/3d/5f/a%25"},
};

TEST_F(UserDirectory, IsSpreadOverFoldersByAHash) {
  for (const auto& c : hashed_folders) EXPECT_EQ(c.want, hashed_path(c.address)) << c.address;
  for (const char* address : {"", "@", "user", "user@", "@example.org"})
    EXPECT_EQ("", hashed_path(address)) << address;
  EXPECT_EQ("/root/example.org/%/b9/a0/" + std::string(254, 'a') + "%/aa",
            hashed_path(std::string(256, 'a') + "@example.org"));
}

// Addresses whose folders could be taken for those of others.
std::vector<std::string> tricky_addresses() {
  std::vector<std::string> addresses = different_addresses;
  const std::vector<std::string> pieces = {"%", "2", "7", "F", "f", "'", "/", ".", "%27", "%25"};
  const std::vector<std::string> starts = {"", std::string(252, 'a'), std::string(253, 'a')};
  for (const auto& start : starts)
    for (const auto& a : pieces)
      for (const auto& b : pieces)
        for (const auto& c : pieces) addresses.push_back(start + a + b + c + "@example.org");
  return addresses;
}

TEST_F(UserDirectory, IsNeverSharedInWhicheverSpelling) {
  std::map<std::string, std::string> owners;
  for (const auto& addresses : {tricky_addresses(), long_addresses()})
    for (const std::string& address : addresses)
      for (const std::string& each : {path(address), plain_path(address), hashed_path(address)}) {
        EXPECT_TRUE(has_plain_parts(each)) << each;
        EXPECT_EQ(address, owners.emplace(each, address).first->second) << each;
      }
}

TEST_F(UserDirectory, IsNeverInAnothers) {
  std::set<std::string> paths;
  for (const std::string& address : tricky_addresses())
    for (const std::string& each : {path(address), plain_path(address), hashed_path(address)})
      paths.insert(each);
  for (const std::string& folder : paths)
    for (std::size_t end = folder.rfind('/'); end > 0; end = folder.rfind('/', end - 1))
      EXPECT_EQ(0U, paths.count(folder.substr(0, end))) << folder;
}

// Users' folders on a disk.
class UserDirectoryOnDisk : public testing::Test {
 protected:
  UserDirectoryOnDisk() { mailuser_set_root(root_.path()); }

  static std::string path(const std::string& address) {
    char buffer[1024];
    EXPECT_EQ(0, mailuser_filename(MAILUSER_PREFERENCES, buffer, sizeof buffer, address));
    const std::string folder = ZvMailUserId(MAILBOX_USER, address).prefpath();
    EXPECT_EQ(folder, buffer);
    return folder;
  }

  const TemporaryFolder root_;
  const std::string escaped_ = root_.file("example.org/o%27brien");
  const std::string plain_ = root_.file("example.org/o'brien");
};

TEST_F(UserDirectoryOnDisk, HasThePlainNameWhereOnlyThatIsThere) {
  EXPECT_EQ(escaped_, path("o'brien@example.org"));
  EXPECT_TRUE(std::filesystem::is_empty(root_.path()));
  std::filesystem::create_directories(plain_);
  EXPECT_EQ(plain_, path("o'brien@example.org"));
  EXPECT_EQ(root_.file("example.org/o%2527brien"), path("o%27brien@example.org"));
}

TEST_F(UserDirectoryOnDisk, KeepsTheEscapedNameWhereThatIsThere) {
  std::filesystem::create_directories(escaped_);
  EXPECT_EQ(escaped_, path("o'brien@example.org"));
  std::filesystem::create_directories(plain_);
  EXPECT_EQ(escaped_, path("o'brien@example.org"));
  std::filesystem::remove(escaped_);
  std::filesystem::create_directory_symlink(root_.file("not-mounted"), escaped_);
  EXPECT_EQ(escaped_, path("o'brien@example.org"));
}

TEST_F(UserDirectoryOnDisk, IsTheHashedOneWhereNoFlatOneIsThere) {
  const std::string hashed = hashed_path("o'brien@example.org");
  std::filesystem::create_directories(hashed);
  EXPECT_EQ(hashed, path("o'brien@example.org"));
  EXPECT_EQ(root_.file("example.org/25"), path("25@example.org"));
  EXPECT_EQ(root_.file("example.org/%25"), path("%@example.org"));
  std::filesystem::create_directories(plain_);
  EXPECT_EQ(plain_, path("o'brien@example.org"));
  std::filesystem::create_directories(escaped_);
  EXPECT_EQ(escaped_, path("o'brien@example.org"));
}

TEST_F(UserDirectoryOnDisk, IsTheHashedOneThatCantBeLookedAt) {
  std::filesystem::create_directories(root_.file("example.org"));
  root_.write("example.org/%", "");
  EXPECT_EQ(hashed_path("o'brien@example.org"), path("o'brien@example.org"));
}

TEST_F(UserDirectoryOnDisk, IsFoundWithItsStatus) {
  const ZvMailUserId user(MAILBOX_USER, "alice@example.org");
  std::string folder;
  struct stat status {};
  EXPECT_EQ(ENOENT, user.find_prefpath(folder, status));
  EXPECT_EQ(root_.file("example.org/alice"), folder);
  std::filesystem::create_directories(user.hashed_prefpath());
  EXPECT_EQ(0, user.find_prefpath(folder, status));
  EXPECT_EQ(user.hashed_prefpath(), folder);
  EXPECT_TRUE(S_ISDIR(status.st_mode));
  root_.write("example.org/alice", "");
  EXPECT_EQ(0, user.find_prefpath(folder, status));
  EXPECT_EQ(root_.file("example.org/alice"), folder);
  EXPECT_TRUE(S_ISREG(status.st_mode));
  EXPECT_EQ(ENOENT, ZvMailUserId(MAILBOX_USER, "alice").find_prefpath(folder, status));
  EXPECT_EQ("", folder);
}

TEST_F(UserDirectoryOnDisk, IsTheOneThatCantBeLookedAt) {
  const std::string address = std::string(300, '\'') + "@example.org";
  std::filesystem::create_directories(root_.file("example.org"));
  root_.write("example.org/" + std::string(254, '\'') + '%', "");  // in the place of a folder
  EXPECT_EQ(plain_path(address), path(address));
  std::string escaped;
  for (int i = 0; i < 85; ++i) escaped += "%27";
  escaped.back() = '%';
  root_.write("example.org/" + escaped, "");
  EXPECT_EQ(0U, path(address).find(root_.file("example.org/" + escaped + '/')));
}

TEST_F(UserDirectory, HasTheSameNameForBothCallers) {
  char buffer[1024];
  for (const char* address : {"user@example.org", "../x@y", "m\xc3\xbcller@example.org"}) {
    EXPECT_EQ(0, mailuser_filename(5, buffer, sizeof buffer, address)) << address;
    EXPECT_EQ(path(address), buffer) << address;
  }
}

TEST_F(UserDirectory, FillsABufferToItsLastByte) {
  const std::string want = "/root/example.org/user";
  std::vector<char> buffer(want.size() + 1, 'x');
  EXPECT_EQ(0, mailuser_filename(5, buffer.data(), buffer.size(), "user@example.org"));
  EXPECT_EQ(want, buffer.data());
  EXPECT_EQ(-1, mailuser_filename(5, buffer.data(), buffer.size() - 1, "user@example.org"));
  EXPECT_STREQ("", buffer.data());
}

TEST_F(UserDirectory, LeavesAnEmptyTextOnFailure) {
  char buffer[8] = "before";
  EXPECT_EQ(-1, mailuser_filename(4, buffer, sizeof buffer, "user@example.org"));
  EXPECT_STREQ("", buffer);
  EXPECT_EQ(-1, mailuser_filename(5, buffer, sizeof buffer, "nobody"));
  EXPECT_STREQ("", buffer);
  EXPECT_EQ(-1, mailuser_filename(5, nullptr, 0, "user@example.org"));
}

}  // namespace
