// Random texts and keyed hashes.
#include "signing_in/secret_key.h"

#include <gtest/gtest.h>

#include <set>

namespace Quarrow::SigningIn {
namespace {

const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

TEST(SecretKey, SecretsAreNewTextsOfOneLength) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string secret = random_secret();
    EXPECT_EQ(secret_text_size, secret.size());
    EXPECT_EQ(std::string::npos, secret.find_first_not_of(alphabet)) << secret;
    EXPECT_TRUE(seen.insert(secret).second) << secret;
  }
}

TEST(SecretKey, AHashIsThatOfItsTextAndItsKey) {
  const SecretKey key;
  const SecretKey other;
  EXPECT_EQ(key.hash("text"), key.hash("text"));
  EXPECT_NE(key.hash("text"), key.hash("Text"));
  EXPECT_NE(key.hash("text"), other.hash("text"));
  EXPECT_EQ(secret_text_size, key.hash("").size());
  EXPECT_EQ(key.short_hash("text"), key.short_hash("text"));
  EXPECT_NE(key.short_hash("text"), key.short_hash("Text"));
  EXPECT_NE(key.short_hash("text"), other.short_hash("text"));
}

TEST(SecretKey, ComparesWholeTexts) {
  EXPECT_TRUE(are_equal_secrets("secret", "secret"));
  EXPECT_TRUE(are_equal_secrets("", ""));
  EXPECT_FALSE(are_equal_secrets("secret", "secreT"));
  EXPECT_FALSE(are_equal_secrets("secret", "Secret"));
  EXPECT_FALSE(are_equal_secrets("secret", "secret "));
  EXPECT_FALSE(are_equal_secrets("secret", ""));
}

TEST(SecretKey, WipingLeavesNothingOfAText) {
  std::string text = "a password that is too long for the text object itself";
  const char* const place = text.data();
  const std::size_t size = text.size();
  wipe(text);
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(std::string(size, '\0'), std::string(place, size));  // the text still owns the memory
}

}  // namespace
}  // namespace Quarrow::SigningIn
