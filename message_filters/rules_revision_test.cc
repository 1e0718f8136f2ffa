// Revisions of texts whose digests were worked out elsewhere: by Python's uuid.uuid5().
#include "message_filters/rules_revision.h"

#include <gtest/gtest.h>

namespace Quarrow {
namespace {

TEST(RulesRevision, IsTheStartOfTheTextsUuid) {
  EXPECT_EQ("e129f27c5103", rules_revision(""));
  EXPECT_EQ("b01d877968c6", rules_revision("abc"));
  EXPECT_EQ("a7bb8eb6aae9", rules_revision("abd"));
}

TEST(RulesRevision, TellsBytesBehindANulApart) {
  EXPECT_NE(rules_revision(std::string("a\0b", 3)), rules_revision(std::string("a\0c", 3)));
}

}  // namespace
}  // namespace Quarrow
