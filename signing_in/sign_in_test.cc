// Signing in, without an IMAP server.
#include "signing_in/sign_in.h"

#include <gtest/gtest.h>

#include "signing_in/check_process.h"
#include "signing_in/sign_in_test_support.h"

namespace Quarrow::SigningIn {
namespace {

using Delivery::AddressCase;
using Delivery::RecipientLookup;
using Kind = SignInOutcome::Kind;
using Result = PasswordVerdict::Result;

// alice has a folder, and the folder of "broken" can't be looked at.
RecipientLookup look_up(const std::string& user) {
  RecipientLookup lookup;
  lookup.result = RecipientLookup::Result::unknown;
  if (user == alice) lookup = {RecipientLookup::Result::found, "/mail/alice", "", "", alice};
  if (user == "broken") lookup = {RecipientLookup::Result::unavailable, "", "/mail", "gone", ""};
  return lookup;
}

// What a mail server says of passwords: it knows users without a folder here, too.
PasswordVerdict check(const std::string& user, const std::string& password) {
  if (password == "down") return {Result::unavailable, "no connection"};
  const bool is_known = user == alice || user == "broken" || user == "bob@example.org";
  return {is_known && password == "right" ? Result::right : Result::wrong, ""};
}

class SignInTest : public testing::Test {
 protected:
  SignInOutcome try_once(const std::string& user, const std::string& password,
                         const std::string& address = home, Moment now = start) {
    Attempt attempt;
    const SignInOutcome begun = sign_in_.begin(user, address, now, attempt);
    if (begun.kind != Kind::go_on) return begun;
    ++asked_;
    return sign_in_.finish(attempt, check(attempt.user, password), now);
  }

  SignIn sign_in_{SignInSettings{look_up}};
  int asked_ = 0;
};

TEST_F(SignInTest, TheRightPasswordBeginsASession) {
  const SignInOutcome outcome = try_once(alice, "right");
  ASSERT_EQ(Kind::signed_in, outcome.kind);
  const auto session = sign_in_.sessions().find(outcome.identifier, start);
  ASSERT_TRUE(session);
  EXPECT_EQ(alice, session->user);
  EXPECT_EQ(outcome.token, sign_in_.token_of(*session));
  EXPECT_TRUE(sign_in_.is_token_of(*session, outcome.token));
  EXPECT_FALSE(sign_in_.is_token_of(*session, outcome.identifier));
}

TEST_F(SignInTest, EachSignInHasASessionAndATokenOfItsOwn) {
  const SignInOutcome first = try_once(alice, "right");
  const SignInOutcome second = try_once(alice, "right");
  EXPECT_NE(first.identifier, second.identifier);
  EXPECT_NE(first.token, second.token);
  const auto session = sign_in_.sessions().find(second.identifier, start);
  EXPECT_FALSE(sign_in_.is_token_of(*session, first.token));
}

TEST_F(SignInTest, AddressesAreFolded) {
  const SignInOutcome outcome = try_once("Alice@EXAMPLE.org", "right");
  ASSERT_EQ(Kind::signed_in, outcome.kind);
  EXPECT_EQ(alice, sign_in_.sessions().find(outcome.identifier, start)->user);
}

TEST(SignIn, AddressesAreKeptWhereCapitalsCount) {
  SignIn sign_in(SignInSettings{look_up, AddressCase::kept});
  Attempt attempt;
  (void)sign_in.begin("Alice@example.org", home, start, attempt);
  EXPECT_EQ("Alice@example.org", attempt.user);
  EXPECT_EQ(Kind::refused, sign_in.finish(attempt, {Result::right}, start).kind);
}

TEST_F(SignInTest, UnknownUsersAndWrongPasswordsGetTheSameAnswer) {
  for (const std::string& user : {alice, std::string("nobody@example.org"), std::string("alice"),
                                  std::string("../../etc@example.org"), std::string("@")}) {
    const int before = asked_;
    const SignInOutcome outcome = try_once(user, "wrong");
    EXPECT_EQ(before + 1, asked_) << user << ": the mail server is asked in any case";
    EXPECT_EQ(Kind::refused, outcome.kind) << user;
    EXPECT_EQ("wrong password, or no such user", outcome.reason) << user;
  }
  EXPECT_EQ(0U, sign_in_.sessions().count());
}

TEST_F(SignInTest, AUserOfTheMailServerWithoutAFolderIsRefused) {
  const SignInOutcome outcome = try_once("bob@example.org", "right");
  EXPECT_EQ(Kind::refused, outcome.kind);
  EXPECT_EQ("the user has no folder here", outcome.reason);
  EXPECT_EQ(0U, sign_in_.sessions().count());
}

TEST_F(SignInTest, NamesThatNobodyHasAreRefusedAtOnce) {
  const std::string zero("alice@example.org\0x", 19);
  for (const std::string& name : {std::string(), std::string("alice@example.org\r\na LOGOUT"), zero,
                                  std::string("alice\t"), std::string(321, 'a')}) {
    Attempt attempt;
    EXPECT_EQ(Kind::refused, sign_in_.begin(name, home, start, attempt).kind);
    EXPECT_EQ(Kind::refused, sign_in_.admit(name, start).kind);
  }
}

TEST_F(SignInTest, WhatCantBeToldIsUnavailable) {
  const SignInOutcome no_server = try_once(alice, "down");
  EXPECT_EQ(Kind::unavailable, no_server.kind);
  EXPECT_EQ("no connection", no_server.reason);
  const SignInOutcome no_disk = try_once("broken", "right");
  EXPECT_EQ(Kind::unavailable, no_disk.kind);
  EXPECT_EQ("/mail: gone", no_disk.reason);
  for (int i = 0; i < 100; ++i)
    ASSERT_EQ(Kind::unavailable, try_once(alice, "down").kind) << "it counts as no attempt";
}

TEST_F(SignInTest, RightPasswordsAreNeverTooMany) {
  for (int i = 0; i < 100; ++i) ASSERT_EQ(Kind::signed_in, try_once(alice, "right").kind) << i;
}

TEST_F(SignInTest, WrongPasswordsMakeOneWait) {
  for (int i = 0; i < 8; ++i) ASSERT_EQ(Kind::refused, try_once(alice, "wrong").kind) << i;
  const SignInOutcome outcome = try_once("ALICE@example.org", "right");
  ASSERT_EQ(Kind::wait, outcome.kind);
  EXPECT_EQ(minutes(2), outcome.wait);
  EXPECT_EQ(8, asked_);
  EXPECT_EQ(Kind::signed_in, try_once(alice, "right", "198.51.100.1").kind);
  EXPECT_EQ(Kind::signed_in, try_once(alice, "right", home, start + outcome.wait).kind);
}

TEST_F(SignInTest, UsersWhoAreNotThereWaitAsOthersDo) {
  for (int i = 0; i < 8; ++i) (void)try_once("nobody@example.org", "wrong");
  const SignInOutcome outcome = try_once("nobody@example.org", "wrong");
  EXPECT_EQ(Kind::wait, outcome.kind);
  EXPECT_EQ(minutes(2), outcome.wait);
}

TEST_F(SignInTest, AddressesOfOneNetworkCountAsOne) {
  for (int i = 0; i < 8; ++i) (void)try_once(alice, "wrong", "2001:db8::" + std::to_string(i + 1));
  EXPECT_EQ(Kind::wait, try_once(alice, "right", "2001:db8::99").kind);
  EXPECT_EQ(Kind::signed_in, try_once(alice, "right", "2001:db8:0:1::99").kind);
}

TEST_F(SignInTest, AUserWhomSomebodyElseCheckedIsLetIn) {
  const SignInOutcome outcome = sign_in_.admit("Alice@example.org", start);
  ASSERT_EQ(Kind::signed_in, outcome.kind);
  EXPECT_EQ(alice, sign_in_.sessions().find(outcome.identifier, start)->user);
  EXPECT_EQ(Kind::refused, sign_in_.admit("bob@example.org", start).kind);
  EXPECT_EQ(Kind::unavailable, sign_in_.admit("broken", start).kind);
}

TEST_F(SignInTest, ThePasswordIsCheckedInAnotherProcess) {
  Attempt attempt;
  ASSERT_EQ(Kind::go_on, sign_in_.begin(alice, home, start, attempt).kind);
  std::string password = "right";
  CheckProcess process(check, attempt.user, password, minutes(5));
  EXPECT_EQ(Kind::signed_in, sign_in_.finish(attempt, process.verdict(), start).kind);
}

}  // namespace
}  // namespace Quarrow::SigningIn
