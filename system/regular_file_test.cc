// What may lie where a file is expected.
#include "system/regular_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "system/descriptor.h"
#include "system/file_io.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow {
namespace {

class RegularFile : public testing::Test {
 protected:
  void SetUp() override {
    folder_.write("file", "text");
    ASSERT_EQ(0, mkfifo(folder_.file("fifo").c_str(), 0600));
    ASSERT_EQ(0, mkdir(folder_.file("folder").c_str(), 0700));
    ASSERT_EQ(0, symlink("file", folder_.file("link").c_str()));
    ASSERT_EQ(0, symlink("fifo", folder_.file("link to a fifo").c_str()));
    ASSERT_EQ(0, symlink("none", folder_.file("link to nothing").c_str()));
    ASSERT_EQ(0, link(folder_.file("file").c_str(), folder_.file("second name").c_str()));
    make_socket(folder_.file("socket"));
  }

  static void make_socket(const std::string& path) {
    const Descriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (void)std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    ASSERT_EQ(0, bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
  }

  const TemporaryFolder folder_;
};

const struct {
  const char* name;
  int read_error;  // 0: it is opened
  int write_error;
} things[] = {{"file", 0, 0},
              {"second name", 0, 0},
              {"link", ELOOP, ELOOP},
              {"link to a fifo", ELOOP, ELOOP},
              {"link to nothing", ELOOP, ELOOP},
              {"fifo", EINVAL, EINVAL},
              {"socket", EINVAL, EINVAL},
              {"folder", EISDIR, EISDIR},
              {"none", ENOENT, ENOENT},
              {"file/none", ENOTDIR, ENOTDIR},
              {"/dev/null", EINVAL, EINVAL}};

int error_of(int fd) {
  const int error = fd < 0 ? errno : 0;
  const Descriptor closed(fd);
  return error;
}

TEST_F(RegularFile, IsAllThatIsOpened) {
  const Descriptor folder(open(folder_.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  for (const auto& c : things) {
    EXPECT_EQ(c.read_error, error_of(open_regular_at(folder.get(), c.name, O_RDONLY))) << c.name;
    EXPECT_EQ(c.write_error, error_of(open_regular_at(folder.get(), c.name, O_WRONLY))) << c.name;
    if (c.name[0] == '/') continue;
    EXPECT_EQ(c.read_error, error_of(open_regular(folder_.file(c.name), O_RDONLY))) << c.name;
  }
}

TEST_F(RegularFile, IsMadeWhereNothingIsOnly) {
  for (const char* name : {"link", "link to nothing", "fifo", "folder", "socket"})
    EXPECT_NE(0, error_of(open_regular(folder_.file(name), O_WRONLY | O_CREAT, 0600))) << name;
  EXPECT_EQ("(no file)", content_of(folder_.file("none")));
  const Descriptor made(open_regular(folder_.file("new"), O_WRONLY | O_CREAT, 0600));
  EXPECT_TRUE(write_all(made.get(), "text"));
  struct stat status {};
  ASSERT_EQ(0, stat(folder_.file("new").c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 07777U);
}

TEST_F(RegularFile, IsNoFifoThatHasAReader) {
  const Descriptor both_ends(open(folder_.file("fifo").c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK));
  ASSERT_LE(0, both_ends.get());
  EXPECT_EQ(EINVAL, error_of(open_regular(folder_.file("fifo"), O_WRONLY)));
}

TEST_F(RegularFile, ClosesWhenAnotherProgramStarts) {
  const Descriptor file(open_regular(folder_.file("file"), O_RDONLY));
  EXPECT_EQ(FD_CLOEXEC, fcntl(file.get(), F_GETFD) & FD_CLOEXEC);
}

TEST(ReasonForNoFile, SaysWhatIsThere) {
  EXPECT_EQ("Is a symbolic link", reason_for_no_file(ELOOP));
  EXPECT_EQ("Is not a regular file", reason_for_no_file(EINVAL));
  EXPECT_EQ("Is a directory", reason_for_no_file(EISDIR));
}

}  // namespace
}  // namespace Quarrow
