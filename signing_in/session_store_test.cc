// Sessions from their beginning to each of their ends.
#include "signing_in/session_store.h"

#include <gtest/gtest.h>

#include <set>

#include "signing_in/sign_in_test_support.h"

namespace Quarrow::SigningIn {
namespace {

const std::string bob = "bob@example.org";

TEST(SessionStore, FindsASessionByItsIdentifier) {
  SessionStore store;
  const std::string of_alice = store.create(alice, start);
  const std::string of_bob = store.create(bob, start);
  ASSERT_TRUE(store.find(of_alice, start));
  EXPECT_EQ(alice, store.find(of_alice, start)->user);
  EXPECT_EQ(bob, store.find(of_bob, start)->user);
}

TEST(SessionStore, EachSessionHasAnIdentifierOfItsOwn) {
  SessionStore store;
  std::set<std::string> seen;
  for (int i = 0; i < 20; ++i) {
    const std::string identifier = store.create(alice, start);
    EXPECT_EQ(secret_text_size, identifier.size());
    EXPECT_TRUE(seen.insert(identifier).second);
  }
}

TEST(SessionStore, ASessionDoesNotTellItsIdentifier) {
  SessionStore store;
  const std::string identifier = store.create(alice, start);
  const Session session = *store.find(identifier, start);
  EXPECT_NE(identifier, session.hash);
  EXPECT_FALSE(store.find(session.hash, start));
  EXPECT_NE(session.hash, SecretKey().hash(identifier));
}

TEST(SessionStore, KnowsNoOtherIdentifiers) {
  SessionStore store;
  const std::string identifier = store.create(alice, start);
  for (const std::string& other : {std::string(), identifier + "A", identifier.substr(1),
                                   random_secret(), std::string(1 << 20, 'A'), identifier + '\0'})
    EXPECT_FALSE(store.find(other, start)) << other.substr(0, 50);
  SessionStore another;
  EXPECT_FALSE(another.find(identifier, start));
}

TEST(SessionStore, AnIdleSessionEnds) {
  SessionStore store;
  const std::string identifier = store.create(alice, start);
  EXPECT_TRUE(store.find(identifier, start + minutes(30) - seconds(1)));
  EXPECT_TRUE(store.find(identifier, start + minutes(59)));
  EXPECT_FALSE(store.find(identifier, start + minutes(59) + minutes(30)));
  EXPECT_FALSE(store.find(identifier, start)) << "it does not come back";
  EXPECT_EQ(0U, store.count());
}

TEST(SessionStore, ABusySessionEndsAfterItsLife) {
  SessionStore store;
  const std::string identifier = store.create(alice, start);
  for (Moment now = start; now < start + hours(12); now += minutes(10))
    ASSERT_TRUE(store.find(identifier, now));
  EXPECT_FALSE(store.find(identifier, start + hours(12)));
}

TEST(SessionStore, EndsOneSession) {
  SessionStore store;
  const std::string first = store.create(alice, start);
  const std::string second = store.create(alice, start);
  store.end(first);
  store.end(first);
  store.end("another");
  EXPECT_FALSE(store.find(first, start));
  EXPECT_TRUE(store.find(second, start));
}

TEST(SessionStore, EndsAllSessionsOfOneUser) {
  SessionStore store;
  const std::string first = store.create(alice, start);
  const std::string second = store.create(alice, start);
  const std::string of_bob = store.create(bob, start);
  EXPECT_EQ(2U, store.end_all(alice));
  EXPECT_EQ(0U, store.end_all(alice));
  EXPECT_FALSE(store.find(first, start));
  EXPECT_FALSE(store.find(second, start));
  EXPECT_TRUE(store.find(of_bob, start));
}

TEST(SessionStore, TheLongestIdleSessionOfAUserMakesRoom) {
  SessionStore store;
  const std::string of_bob = store.create(bob, start);
  std::vector<std::string> sessions;
  for (int i = 0; i < 20; ++i) sessions.push_back(store.create(alice, start + seconds(i)));
  EXPECT_TRUE(store.find(sessions[0], start + minutes(1)));
  sessions.push_back(store.create(alice, start + minutes(2)));
  EXPECT_FALSE(store.find(sessions[1], start + minutes(2)));
  for (const std::size_t kept : {0U, 2U, 19U, 20U})
    EXPECT_TRUE(store.find(sessions[kept], start + minutes(2))) << kept;
  EXPECT_TRUE(store.find(of_bob, start + minutes(2)));
}

TEST(SessionStore, TheLongestIdleSessionOfAllMakesRoom) {
  SessionLimits limits;
  limits.most = 3;
  SessionStore store(limits);
  std::vector<std::string> sessions;
  for (int i = 0; i < 3; ++i)
    sessions.push_back(store.create(std::to_string(i) + "@example.org", start + seconds(i)));
  EXPECT_TRUE(store.find(sessions[0], start + minutes(1)));
  sessions.push_back(store.create(alice, start + minutes(2)));
  EXPECT_EQ(3U, store.count());
  EXPECT_TRUE(store.find(sessions[0], start + minutes(2)));
  EXPECT_FALSE(store.find(sessions[1], start + minutes(2)));
  EXPECT_TRUE(store.find(sessions[3], start + minutes(2)));
}

TEST(SessionStore, SessionsThatAreOverTakeNoMemory) {
  SessionStore store;
  for (int i = 0; i < 1000; ++i) (void)store.create(std::to_string(i) + "@example.org", start);
  EXPECT_EQ(1000U, store.count());
  (void)store.create(alice, start + minutes(30));
  EXPECT_EQ(1U, store.count());
}

}  // namespace
}  // namespace Quarrow::SigningIn
