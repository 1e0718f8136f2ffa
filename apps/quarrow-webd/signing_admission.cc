// Between the broker's words and those of the sign-in.
#include "apps/quarrow-webd/signing_admission.h"

#include <chrono>

#include "server/log.h"

namespace Quarrow::Webd {
namespace {

using SigningIn::PasswordVerdict;
using SigningIn::SignInOutcome;
using WebServer::Attempt;
using WebServer::Entrance;
using WebServer::Verdict;
using WebServer::Visitor;

SigningIn::Moment now() { return std::chrono::steady_clock::now(); }

PasswordVerdict::Result result_of(Verdict verdict) {
  switch (verdict) {
    case Verdict::right:
      return PasswordVerdict::Result::right;
    case Verdict::wrong:
      return PasswordVerdict::Result::wrong;
    default:
      return PasswordVerdict::Result::unavailable;
  }
}

Entrance::Kind kind_of(SignInOutcome::Kind kind) {
  switch (kind) {
    case SignInOutcome::Kind::go_on:
      return Entrance::Kind::go_on;
    case SignInOutcome::Kind::signed_in:
      return Entrance::Kind::signed_in;
    case SignInOutcome::Kind::refused:
      return Entrance::Kind::refused;
    case SignInOutcome::Kind::wait:
      return Entrance::Kind::wait;
    default:
      return Entrance::Kind::unavailable;
  }
}

}  // namespace

std::optional<Visitor> SigningAdmission::visitor(const std::string& session) {
  const auto found = sign_in_.sessions().find(session, now());
  if (!found) return std::nullopt;
  return Visitor{found->user, sign_in_.token_of(*found)};
}

// There is no session to bind the token to; the proxy knows when it ends.
std::optional<Visitor> SigningAdmission::visitor_of_proxy(const std::string& name) {
  if (!trusts_proxy_user_) return std::nullopt;
  const auto lookup = look_up_(Delivery::user_spelling(name, Delivery::AddressCase::folded));
  if (lookup.result != Delivery::RecipientLookup::Result::found) return std::nullopt;
  return Visitor{lookup.user, proxy_key_.hash(lookup.user)};
}

bool SigningAdmission::is_token_of(const Visitor& visitor, const std::string& token) {
  return SigningIn::are_equal_secrets(visitor.token, token);
}

Entrance SigningAdmission::begin(const std::string& user, const std::string& client,
                                 Attempt& attempt) {
  SigningIn::Attempt begun;
  const Entrance begin = entrance(sign_in_.begin(user, client, now(), begun));
  attempt = {begun.user, begun.network, begun.is_known};
  return begin;
}

Entrance SigningAdmission::finish(const Attempt& attempt, Verdict verdict) {
  return entrance(sign_in_.finish({attempt.user, attempt.network, attempt.is_known},
                                  {result_of(verdict), "the password could not be checked"},
                                  now()));
}

void SigningAdmission::end_session(const std::string& session) { sign_in_.sessions().end(session); }

void SigningAdmission::end_all_sessions(const std::string& user) {
  (void)sign_in_.sessions().end_all(user);  // how many they were is of no use here
}

Entrance SigningAdmission::entrance(const SignInOutcome& outcome) {
  Entrance entrance;
  entrance.kind = kind_of(outcome.kind);
  entrance.wait = outcome.wait;
  if (!outcome.reason.empty()) Server::log_warning("sign-in: " + outcome.reason);
  if (outcome.kind != SignInOutcome::Kind::signed_in) return entrance;
  entrance.session = outcome.identifier;
  entrance.visitor = visitor(outcome.identifier).value_or(Visitor());
  return entrance;
}

}  // namespace Quarrow::Webd
