// Sockets for clients, and the files that they are.
#include "server/listener.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>

#include "system/descriptor.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Server {
namespace {

mode_t mode_of(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

TEST(Listener, MakesASocketWithItsRights) {
  const TemporaryFolder folder;
  const std::string path = folder.file("socket");
  const Listener listener = listen_at(path, {0620, ""});
  const Descriptor closed(listener.fd);
  EXPECT_EQ("", listener.reason);
  EXPECT_EQ(mode_t{0620}, mode_of(path));
}

TEST(Listener, ReplacesASocketThatNobodyAnswersAt) {
  const TemporaryFolder folder;
  const std::string path = folder.file("socket");
  close(listen_at(path, {}).fd);
  const Descriptor again(listen_at(path, {}).fd);
  EXPECT_LE(0, again.get());
  EXPECT_EQ(path + ": Address already in use", listen_at(path, {}).reason);
}

TEST(Listener, NamesAGroupThatIsNotThere) {
  const TemporaryFolder folder;
  const std::string path = folder.file("socket");
  EXPECT_EQ("no-such-group: there is no such group",
            listen_at(path, {0660, "no-such-group"}).reason);
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Listener, LeavesOtherFilesAlone) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "precious");
  EXPECT_EQ(path + ": Address already in use", listen_at(path, {}).reason);
  EXPECT_EQ("precious", content_of(path));
}

TEST(Listener, RefusesAddressesThatOthersReach) {
  for (const char* const address : {"0.0.0.0:2424", "192.0.2.1:24", "[::]:24", "[2001:db8::1]:24"})
    EXPECT_EQ(std::string(address) + ": not an address of this host alone",
              listen_at(address, {}).reason);
  for (const char* const address : {"", "localhost:24", "127.0.0.1", "127.0.0.1:smtp", ":24"})
    EXPECT_NE("", listen_at(address, {}).reason) << address;
}

TEST(Listener, KnowsSocketsThatAreFiles) {
  const TemporaryFolder folder;
  const Descriptor file(listen_at(folder.file("socket"), {}).fd);
  EXPECT_TRUE(is_in_file_system(file.get()));
  const Descriptor port(listen_at("127.0.0.1:0", {}).fd);
  EXPECT_FALSE(is_in_file_system(port.get()));
  const Descriptor name(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  (void)std::snprintf(&address.sun_path[1], sizeof address.sun_path - 1, "%s",
                      folder.path().c_str());
  ASSERT_EQ(0, bind(name.get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
  EXPECT_FALSE(is_in_file_system(name.get()));
  EXPECT_FALSE(is_in_file_system(-1));
}

TEST(Listener, TakesLoopbackAddresses) {
  const Listener listener = listen_at("127.0.0.1:0", {});
  const Descriptor closed(listener.fd);
  EXPECT_EQ("", listener.reason);
  EXPECT_LE(0, listener.fd);
}

TEST(Listener, TellsSocketsOfThisHostAlone) {
  const TemporaryFolder folder;
  const Descriptor file(listen_at(folder.file("socket"), {}).fd);
  const Descriptor loopback(listen_at("127.0.0.1:0", {}).fd);
  EXPECT_TRUE(is_of_this_host_alone(file.get()));
  EXPECT_TRUE(is_of_this_host_alone(loopback.get()));
  for (const int family : {AF_INET, AF_INET6}) {
    const Descriptor anywhere(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_FALSE(is_of_this_host_alone(anywhere.get())) << family;
  }
  EXPECT_FALSE(is_of_this_host_alone(-1));
}

}  // namespace
}  // namespace Quarrow::Server
