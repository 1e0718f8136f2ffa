// Tokens, and what is none.
#include "signing_in/request_token.h"

#include <gtest/gtest.h>

namespace Quarrow::SigningIn {
namespace {

const Session alices_session = {"alice@example.org", "the hash of a session"};

TEST(RequestToken, IsThatOfItsSession) {
  const SecretKey key;
  const std::string token = request_token(key, alices_session);
  EXPECT_EQ(secret_text_size, token.size());
  EXPECT_TRUE(is_request_token(key, alices_session, token));
  EXPECT_TRUE(is_request_token(key, alices_session, request_token(key, alices_session)));
}

TEST(RequestToken, IsThatOfNoOtherSession) {
  const SecretKey key;
  const Session other = {alices_session.user, "the hash of another"};
  EXPECT_FALSE(is_request_token(key, other, request_token(key, alices_session)));
}

TEST(RequestToken, NobodyMakesOneWithoutTheKey) {
  const SecretKey key;
  EXPECT_FALSE(is_request_token(key, alices_session, request_token(SecretKey(), alices_session)));
  EXPECT_FALSE(is_request_token(key, alices_session, alices_session.hash));
  EXPECT_FALSE(is_request_token(key, alices_session, ""));
}

TEST(RequestToken, EachCharacterCounts) {
  const SecretKey key;
  const std::string token = request_token(key, alices_session);
  for (std::size_t i = 0; i < token.size(); ++i) {
    std::string forged = token;
    forged[i] = forged[i] == 'A' ? 'B' : 'A';
    EXPECT_FALSE(is_request_token(key, alices_session, forged)) << i;
    EXPECT_FALSE(is_request_token(key, alices_session, token.substr(0, i))) << i;
  }
  EXPECT_FALSE(is_request_token(key, alices_session, token + "A"));
}

}  // namespace
}  // namespace Quarrow::SigningIn
