// Texts that are UTF-8, and texts that are not.
#include "system/utf8.h"

#include <gtest/gtest.h>

namespace Quarrow {
namespace {

TEST(IsUtf8, KnowsCharactersOfEachLength) {
  for (const char* const good : {"", "a", "\xc3\xa4", "\xe2\x82\xac", "\xf0\x9f\x98\x80"})
    EXPECT_TRUE(is_utf8(good)) << good;
}

TEST(IsUtf8, RefusesOtherBytes) {
  for (const char* const bad : {"\xe4", "\xc3", "\xc0\x80", "\xed\xa0\x80", "a\xff"})
    EXPECT_FALSE(is_utf8(bad)) << bad;
}

}  // namespace
}  // namespace Quarrow
