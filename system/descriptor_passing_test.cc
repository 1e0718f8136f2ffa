// Both ends in one process.
#include "system/descriptor_passing.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "system/descriptor.h"

namespace Quarrow {
namespace {

class DescriptorPassing : public testing::Test {
 protected:
  DescriptorPassing() {
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends_));
  }
  ~DescriptorPassing() override {
    for (const int end : ends_) (void)close(end);
  }

  int ends_[2] = {-1, -1};
};

TEST_F(DescriptorPassing, TheOtherEndHasTheSameFile) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(0, pipe(ends));
  const Descriptor reader(ends[0]);
  ASSERT_TRUE(send_descriptor(ends_[0], 4711, ends[1]));
  (void)close(ends[1]);
  std::int64_t number = 0;
  const Descriptor received(receive_descriptor(ends_[1], number));
  EXPECT_EQ(4711, number);
  ASSERT_GE(received.get(), 0);
  EXPECT_EQ(FD_CLOEXEC, fcntl(received.get(), F_GETFD));
  EXPECT_EQ(1, write(received.get(), "x", 1));
  char byte = 0;
  EXPECT_EQ(1, read(reader.get(), &byte, 1));
  EXPECT_EQ('x', byte);
}

TEST_F(DescriptorPassing, ANumberMayComeAlone) {
  ASSERT_TRUE(send_descriptor(ends_[0], 7, -1));
  std::int64_t number = 0;
  EXPECT_EQ(-1, receive_descriptor(ends_[1], number));
  EXPECT_EQ(7, number);
}

TEST_F(DescriptorPassing, NothingComesFromAnEndThatIsClosed) {
  (void)close(ends_[0]);
  ends_[0] = -1;
  std::int64_t number = 7;
  EXPECT_EQ(-1, receive_descriptor(ends_[1], number));
  EXPECT_EQ(-1, number);
  EXPECT_FALSE(send_descriptor(ends_[1], 7, -1));
}

}  // namespace
}  // namespace Quarrow
