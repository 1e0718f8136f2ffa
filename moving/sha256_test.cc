// Sums of FIPS 180-4.
#include "moving/sha256.h"

#include <gtest/gtest.h>

namespace Quarrow::Moving {
namespace {

TEST(Sha256, IsThatOfTheStandard) {
  Sha256 sum;
  EXPECT_EQ("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855", sum.text());
  sum.add("a", 1);
  sum.add("bc", 2);
  EXPECT_EQ("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad", sum.text());
}

}  // namespace
}  // namespace Quarrow::Moving
