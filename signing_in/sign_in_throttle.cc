// Three allowances, of which an attempt takes one try each.
#include "signing_in/sign_in_throttle.h"

#include <algorithm>

namespace Quarrow::SigningIn {
namespace {

// A network is a text without blanks: no two attempts have one key.
std::string user_and_network(const Attempt& attempt) {
  return attempt.network + ' ' + attempt.user;
}

}  // namespace

SignInThrottle::SignInThrottle(const ThrottleSettings& settings)
    : user_from_network_(settings.user_from_network),
      network_(settings.network),
      user_(settings.user),
      known_(settings.known) {}

std::chrono::seconds SignInThrottle::begin(Attempt& attempt, Moment now) {
  attempt.is_known = known_.has(attempt.user, attempt.network);
  std::chrono::seconds wait = user_from_network_.wait(user_and_network(attempt), now);
  if (!attempt.is_known)
    wait = std::max({wait, network_.wait(attempt.network, now), user_.wait(attempt.user, now)});
  if (wait.count() > 0) return wait;
  user_from_network_.take(user_and_network(attempt), now);
  if (attempt.is_known) return wait;
  network_.take(attempt.network, now);
  user_.take(attempt.user, now);
  return wait;
}

void SignInThrottle::right(const Attempt& attempt, Moment now) {
  user_from_network_.give_all_back(user_and_network(attempt), now);
  give_back_unless_known(attempt, now);
  known_.remember(attempt.user, attempt.network);
}

void SignInThrottle::undecided(const Attempt& attempt, Moment now) {
  user_from_network_.give_back(user_and_network(attempt), now);
  give_back_unless_known(attempt, now);
}

std::size_t SignInThrottle::count() const {
  return user_from_network_.count() + network_.count() + user_.count() + known_.count();
}

void SignInThrottle::give_back_unless_known(const Attempt& attempt, Moment now) {
  if (attempt.is_known) return;
  network_.give_back(attempt.network, now);
  user_.give_back(attempt.user, now);
}

}  // namespace Quarrow::SigningIn
