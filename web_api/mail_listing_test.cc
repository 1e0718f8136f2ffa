// Messages by their files' names, while others rename them.
#include "web_api/mail_listing.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "system/descriptor.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::WebApi {
namespace {

namespace fs = std::filesystem;

class MailListingTest : public testing::Test {
 protected:
  MailListingTest() {
    for (const char* part : {"cur", "new", "tmp"})
      fs::create_directories(user_.file("Maildir/") + part);
  }

  std::string path(const std::string& name) const { return user_.file("Maildir/" + name); }

  int open(MailListing& listing, const std::string& name = "") const {
    const Descriptor folder(::open(user_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return listing.open(folder.get(), name);
  }

  // The unique parts of messages.
  static std::string names(const std::vector<ListedMessage>& messages) {
    std::string all;
    for (const auto& message : messages) all += message.unique + ' ';
    return all;
  }

  const TemporaryFolder user_;
};

TEST_F(MailListingTest, HasTheNewestFirst) {
  for (const char* name : {"cur/1000000002.a.mx:2,S", "new/1000000004.a.mx", "cur/1000000003.a.mx",
                           "cur/1000000003.b.mx:2,", "new/1000000001.a.mx"})
    write_file(path(name), "x");
  MailListing listing;
  ASSERT_EQ(0, open(listing));
  EXPECT_EQ(5U, listing.total());
  EXPECT_EQ("1000000004.a.mx 1000000003.b.mx 1000000003.a.mx ",
            names(listing.newest(std::nullopt, 3)));
  const ListedMessage last = {1000000003, "1000000003.a.mx"};
  EXPECT_EQ("1000000002.a.mx 1000000001.a.mx ", names(listing.newest(last, 3)));
  EXPECT_EQ("", names(listing.newest(std::nullopt, 0)));
}

TEST_F(MailListingTest, GoesOnWhereAMessageWasThatIsGone) {
  write_file(path("cur/1000000001.a.mx:2,S"), "x");
  MailListing listing;
  ASSERT_EQ(0, open(listing));
  const ListedMessage gone = {1000000005, "1000000005.a.mx"};
  EXPECT_EQ("1000000001.a.mx ", names(listing.newest(gone, 3)));
}

TEST_F(MailListingTest, TakesTheFilesTimeWhereTheNameHasNone) {
  write_file(path("cur/odd:2,S"), "x");
  write_file(path("cur/1000000001.a.mx:2,S"), "x");
  MailListing listing;
  ASSERT_EQ(0, open(listing));
  EXPECT_EQ("odd 1000000001.a.mx ", names(listing.newest(std::nullopt, 9)));
  EXPECT_LT(1000000001, listing.find("odd")->received);
}

TEST_F(MailListingTest, OpensAMessageThatGotOtherFlags) {
  write_file(path("new/1000000001.a.mx"), "Subject: a\n\n");
  MailListing listing;
  ASSERT_EQ(0, open(listing));
  const auto message = listing.find("1000000001.a.mx");
  ASSERT_TRUE(message);
  EXPECT_FALSE(listing.is_seen(*message));
  fs::rename(path("new/1000000001.a.mx"), path("cur/1000000001.a.mx:2,FS"));
  OpenedMessage opened;
  ASSERT_EQ(Opening::done, listing.open(*message, opened));
  EXPECT_EQ("Subject: a\n\n", opened.message.bytes);
  EXPECT_TRUE(listing.is_seen(*message));
}

TEST_F(MailListingTest, TellsAMessageThatIsGoneFromOneThatCantBeRead) {
  write_file(path("cur/1.a.mx"), "x");
  write_file(path("cur/2.a.mx"), "");
  fs::create_symlink("1.a.mx", path("cur/3.a.mx"));
  MailListing listing;
  ASSERT_EQ(0, open(listing));
  fs::remove(path("cur/1.a.mx"));
  OpenedMessage opened;
  EXPECT_EQ(Opening::gone, listing.open({0, "1.a.mx"}, opened));
  EXPECT_EQ(Opening::unreadable, listing.open({0, "2.a.mx"}, opened));
  EXPECT_EQ(Opening::unreadable, listing.open({0, "3.a.mx"}, opened));
}

TEST_F(MailListingTest, FollowsNoLink) {
  fs::create_directory_symlink(path(""), path(".Link"));
  MailListing listing;
  EXPECT_NE(0, open(listing, ".Link"));
  fs::rename(path(""), user_.file("Other"));
  fs::create_directory_symlink("Other", user_.file("Maildir"));
  EXPECT_NE(0, open(listing));
}

}  // namespace
}  // namespace Quarrow::WebApi
