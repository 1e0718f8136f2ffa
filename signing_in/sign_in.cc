// The order of the steps, and what each tells.
#include "signing_in/sign_in.h"

#include "signing_in/client_network.h"
#include "signing_in/request_token.h"
#include "system/printable.h"

namespace Quarrow::SigningIn {
namespace {

using Kind = SignInOutcome::Kind;
using Delivery::RecipientLookup;

constexpr std::size_t longest_name = 320;  // of a mail address: 64, "@" and 255

SignInOutcome without_session(Kind kind, const std::string& reason) {
  SignInOutcome outcome;
  outcome.kind = kind;
  outcome.reason = reason;
  return outcome;
}

SignInOutcome wait_for(std::chrono::seconds time) {
  SignInOutcome outcome = without_session(Kind::wait, "too many wrong passwords");
  outcome.wait = time;
  return outcome;
}

bool can_be_name(const std::string& name) {
  return !name.empty() && name.size() <= longest_name && !has_control_characters(name);
}

}  // namespace

SignIn::SignIn(const SignInSettings& settings)
    : look_up_(settings.look_up),
      address_case_(settings.address_case),
      sessions_(settings.sessions),
      throttle_(settings.throttle) {}

SignInOutcome SignIn::begin(const std::string& user, const std::string& address, Moment now,
                            Attempt& attempt) {
  if (!can_be_name(user)) return without_session(Kind::refused, "not a user's name");
  attempt = {Delivery::user_spelling(user, address_case_), client_network(address)};
  const std::chrono::seconds wait = throttle_.begin(attempt, now);
  if (wait.count() > 0) return wait_for(wait);
  return without_session(Kind::go_on, "");
}

SignInOutcome SignIn::finish(const Attempt& attempt, const PasswordVerdict& verdict, Moment now) {
  switch (verdict.result) {
    case PasswordVerdict::Result::right:
      throttle_.right(attempt, now);
      return admit(attempt.user, now);
    case PasswordVerdict::Result::wrong:
      return without_session(Kind::refused, "wrong password, or no such user");
    case PasswordVerdict::Result::unavailable:
      throttle_.undecided(attempt, now);
      return without_session(Kind::unavailable, verdict.reason);
  }
  return {};
}

SignInOutcome SignIn::admit(const std::string& user, Moment now) {
  if (!can_be_name(user)) return without_session(Kind::refused, "not a user's name");
  const RecipientLookup lookup = look_up_(Delivery::user_spelling(user, address_case_));
  if (lookup.result == RecipientLookup::Result::unknown)
    return without_session(Kind::refused, "the user has no folder here");
  if (lookup.result == RecipientLookup::Result::unavailable)
    return without_session(Kind::unavailable, lookup.object + ": " + lookup.reason);
  SignInOutcome outcome = without_session(Kind::signed_in, "");
  outcome.identifier = sessions_.create(lookup.user, now);
  outcome.token = token_of(*sessions_.find(outcome.identifier, now));
  return outcome;
}

std::string SignIn::token_of(const Session& session) const {
  return request_token(token_key_, session);
}

bool SignIn::is_token_of(const Session& session, std::string_view token) const {
  return is_request_token(token_key_, session, token);
}

}  // namespace Quarrow::SigningIn
