// How often each of many strangers may do something.
#ifndef QUARROW_SIGNING_IN_ALLOWANCE_H_
#define QUARROW_SIGNING_IN_ALLOWANCE_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>

#include "signing_in/moment.h"
#include "signing_in/secret_key.h"

namespace Quarrow::SigningIn {

struct AllowanceSettings {
  unsigned tries;                 // that may follow each other at once
  std::chrono::seconds interval;  // in which one more try comes back
  std::size_t most_keys;          // that are kept
};

// For each key a number of tries, of which one comes back after each interval. A key that has all
// of its tries takes no memory. When there are more keys than are kept, those go first that will
// have all of their tries soonest: who tried most stays.
class Allowance {
 public:
  explicit Allowance(const AllowanceSettings& settings) : settings_(settings) {}

  // How long it takes until the key has a try; 0 when there is one.
  std::chrono::seconds wait(const std::string& key, Moment now) const;

  // Takes a try. Where there is none, it takes the one that comes back next.
  void take(const std::string& key, Moment now);

  // Gives one try back.
  void give_back(const std::string& key, Moment now);

  // Gives all tries back.
  void give_all_back(const std::string& key, Moment now);

  // How many keys are kept.
  std::size_t count() const { return full_at_.size(); }

 private:
  using Name = std::uint64_t;  // a keyed hash: nobody makes two keys with one name

  Name name_of(const std::string& key) const;
  Moment full_at(Name name, Moment now) const;
  void set(Name name, Moment full, Moment now);
  void drop_soonest();

  const AllowanceSettings settings_;
  const SecretKey secret_;
  std::unordered_map<Name, Moment> full_at_;  // when the key has all of its tries again
  std::set<std::pair<Moment, Name>> soonest_first_;
};

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_ALLOWANCE_H_
