// Processes that give up what they were forked with.
#include "system/inheritance.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "system/child_process_test_support.h"
#include "system/memory_file.h"

namespace Quarrow {
namespace {

bool is_same_file(int fd, const struct stat& file) {
  struct stat status {};
  return fstat(fd, &status) == 0 && status.st_ino == file.st_ino && status.st_dev == file.st_dev;
}

TEST(Inheritance, DescriptorsAreKeptInTheirOrderAndAllOthersClosed) {
  const MemoryFile first;
  const MemoryFile second;
  const int high = fcntl(first.fd(), F_DUPFD, 100);
  struct stat files[2] = {};
  ASSERT_EQ(0, fstat(first.fd(), &files[0]));
  ASSERT_EQ(0, fstat(second.fd(), &files[1]));
  EXPECT_EQ(0, end_of_child([&] {
                 if (!keep_descriptors({second.fd(), high})) return 1;
                 if (!is_same_file(3, files[1]) || !is_same_file(4, files[0])) return 2;
                 for (int fd = 5; fd <= 200; ++fd)
                   if (fcntl(fd, F_GETFD) >= 0) return 3;
                 return 0;
               }).status);
  (void)close(high);
}

TEST(Inheritance, StandardDescriptorsLeadNowhere) {
  struct stat null {};
  ASSERT_EQ(0, stat("/dev/null", &null));
  const MemoryFile somewhere;
  EXPECT_EQ(0, end_of_child([&] {
                 for (const int fd : {0, 1, 2}) (void)dup2(somewhere.fd(), fd);
                 if (!keep_descriptors({})) return 1;
                 for (const int fd : {0, 1, 2})
                   if (!is_same_file(fd, null)) return 2;
                 return fcntl(3, F_GETFD) < 0 ? 0 : 3;
               }).status);
}

TEST(Inheritance, ADescriptorThatIsNotThereCantBeKept) {
  EXPECT_EQ(1, end_of_child([] { return keep_descriptors({999}) ? 0 : 1; }).status);
}

class SharedMemoryTest : public ::testing::Test {
 protected:
  SharedMemoryTest()
      : number_(static_cast<int*>(mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE,
                                       MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {
    *number_ = 7;
  }
  ~SharedMemoryTest() override { (void)munmap(number_, sizeof(int)); }

  volatile int* number() const { return number_; }

 private:
  int* const number_;
};

TEST_F(SharedMemoryTest, IsGoneOnceItIsDropped) {
  const ProcessEnd end = end_of_child([this] {
    (void)std::signal(SIGSEGV, SIG_DFL);  // a sanitizer would report
    return drop_shared_memory() ? *number() : 0;
  });
  EXPECT_EQ(SIGSEGV, end.signal);
}

TEST_F(SharedMemoryTest, IsReadOnlyOnceItIsFrozen) {
  EXPECT_EQ(7, end_of_child([this] { return freeze_shared_memory() ? *number() : 0; }).status);
  const ProcessEnd end = end_of_child([this] {
    (void)std::signal(SIGSEGV, SIG_DFL);
    if (freeze_shared_memory()) *number() = 8;
    return 0;
  });
  EXPECT_EQ(SIGSEGV, end.signal);
  EXPECT_EQ(7, *number());
}

}  // namespace
}  // namespace Quarrow
