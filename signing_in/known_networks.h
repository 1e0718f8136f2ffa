// The networks from which users signed in.
#ifndef QUARROW_SIGNING_IN_KNOWN_NETWORKS_H_
#define QUARROW_SIGNING_IN_KNOWN_NETWORKS_H_

#include <cstddef>
#include <list>
#include <string>
#include <unordered_map>

namespace Quarrow::SigningIn {

struct KnownNetworksLimits {
  std::size_t most_of_a_user = 8;  // so that no user pushes out what is known of the others
  std::size_t most_users = 20000;
};

// Above its limits it forgets the network, or the user, that signed in longest ago.
class KnownNetworks {
 public:
  explicit KnownNetworks(const KnownNetworksLimits& limits = {}) : limits_(limits) {}

  // The user signed in from the network.
  void remember(const std::string& user, const std::string& network);

  // Whether the user did, as far as that is remembered.
  bool has(const std::string& user, const std::string& network) const;

  // How many users are remembered.
  std::size_t count() const { return by_user_.size(); }

 private:
  struct Entry {
    std::string user;
    std::list<std::string> networks;  // the latest first
  };

  const KnownNetworksLimits limits_;
  std::list<Entry> latest_first_;
  std::unordered_map<std::string, std::list<Entry>::iterator> by_user_;
};

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_KNOWN_NETWORKS_H_
