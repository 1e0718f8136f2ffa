// Users and their networks, each in the order of the last sign-in.
#include "signing_in/known_networks.h"

#include <algorithm>

namespace Quarrow::SigningIn {

void KnownNetworks::remember(const std::string& user, const std::string& network) {
  const auto found = by_user_.find(user);
  if (found == by_user_.end()) {
    latest_first_.push_front({user, {}});
    by_user_[user] = latest_first_.begin();
  } else {
    latest_first_.splice(latest_first_.begin(), latest_first_, found->second);
  }
  std::list<std::string>& networks = latest_first_.front().networks;
  networks.remove(network);
  networks.push_front(network);
  if (networks.size() > limits_.most_of_a_user) networks.pop_back();
  if (count() <= limits_.most_users) return;
  by_user_.erase(latest_first_.back().user);
  latest_first_.pop_back();
}

bool KnownNetworks::has(const std::string& user, const std::string& network) const {
  const auto found = by_user_.find(user);
  if (found == by_user_.end()) return false;
  const std::list<std::string>& networks = found->second->networks;
  return std::find(networks.begin(), networks.end(), network) != networks.end();
}

}  // namespace Quarrow::SigningIn
