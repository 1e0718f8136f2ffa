// Slows down strangers who guess passwords, without locking users out.
#ifndef QUARROW_SIGNING_IN_SIGN_IN_THROTTLE_H_
#define QUARROW_SIGNING_IN_SIGN_IN_THROTTLE_H_

#include <chrono>
#include <cstddef>
#include <string>

#include "signing_in/allowance.h"
#include "signing_in/known_networks.h"
#include "signing_in/moment.h"

namespace Quarrow::SigningIn {

// Wrong tries are told apart from right ones only later: each of these counts attempts that were
// begun, and gets those back that were not wrong.
struct ThrottleSettings {
  AllowanceSettings user_from_network = {8, std::chrono::minutes(2), 50000};
  AllowanceSettings network = {40, std::chrono::seconds(30), 50000};  // whichever users it tries
  AllowanceSettings user = {40, std::chrono::minutes(1), 50000};      // from unknown networks
  KnownNetworksLimits known = {};
};

// Someone tries to sign in.
struct Attempt {
  std::string user;       // the address, as users are looked up by it
  std::string network;    // where they come from: of client_network()
  bool is_known = false;  // the user signed in from there before; the throttle fills this in
};

// An attempt is bounded in three ways: for its user and its network together; for its network; and
// for its user. The latter two don't count for a network from which the user signed in before:
// strangers elsewhere, and strangers there who try other users, can't slow that user down. All of
// this is in memory, bounded, and begins anew with the process.
class SignInThrottle {
 public:
  explicit SignInThrottle(const ThrottleSettings& settings = {});

  // Begins an attempt, which counts as wrong until `right` or `undecided` tells otherwise; gives 0.
  // Or else gives how long to wait before the next attempt, and begins none.
  std::chrono::seconds begin(Attempt& attempt, Moment now);

  // The attempt was right: the user's earlier ones from there are forgotten.
  void right(const Attempt& attempt, Moment now);

  // Nobody can tell whether the attempt was right.
  void undecided(const Attempt& attempt, Moment now);

  // How many things are remembered.
  std::size_t count() const;

 private:
  void give_back_unless_known(const Attempt& attempt, Moment now);

  Allowance user_from_network_;
  Allowance network_;
  Allowance user_;
  KnownNetworks known_;
};

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_SIGN_IN_THROTTLE_H_
