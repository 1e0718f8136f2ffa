// Replies as lines.
#include "lmtp/reply.h"

#include <gtest/gtest.h>

#include "lmtp/limits.h"

namespace Quarrow::Lmtp {
namespace {

TEST(Reply, IsOneLine) {
  EXPECT_EQ("250 2.0.0 Done\r\n", reply_line({250, "2.0.0", "Done"}));
  EXPECT_EQ("354 Go\r\n", reply_line({354, "", "Go"}));
  EXPECT_EQ("550 5.7.1 a  b ??\r\n", reply_line({550, "5.7.1", "a\r\nb \xc3\xa4"}));
  EXPECT_EQ(10 + longest_reply_text + 2, reply_line({550, "5.7.1", std::string(9999, 'x')}).size());
}

}  // namespace
}  // namespace Quarrow::Lmtp
