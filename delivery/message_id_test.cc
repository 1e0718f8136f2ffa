// Identifiers of messages.
#include "delivery/message_id.h"

#include <gtest/gtest.h>

namespace Quarrow::Delivery {
namespace {

TEST(MessageId, IsFoundInTheHeaders) {
  const struct {
    std::string message;
    const char* id;
  } cases[] = {
      {"Subject: x\nMessage-ID: <1@x>\n\n", "<1@x>"},
      {"MESSAGE-id:<1@x> (comment)\n\n", "<1@x>"},
      {"Message-ID:\n <1@x>\n\n", "<1@x>"},
      {"Subject: x\n\nMessage-ID: <1@x>\n", ""},
      {"", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(c.id, message_id(c.message)) << c.message;
}

TEST(MessageId, IsCut) {
  EXPECT_EQ(std::string(250, 'x'), message_id("Message-ID: " + std::string(999, 'x')));
}

}  // namespace
}  // namespace Quarrow::Delivery
