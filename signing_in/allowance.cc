// One moment for each key says how many tries it has: that at which it will have all of them again.
#include "signing_in/allowance.h"

#include <algorithm>

namespace Quarrow::SigningIn {

using std::chrono::ceil;
using std::chrono::seconds;

seconds Allowance::wait(const std::string& key, Moment now) const {
  const auto taken = full_at(name_of(key), now) - now;
  const auto takeable = (settings_.tries - 1) * settings_.interval;
  return std::max(ceil<seconds>(taken - takeable), seconds(0));
}

void Allowance::take(const std::string& key, Moment now) {
  const Name name = name_of(key);
  set(name, full_at(name, now) + settings_.interval, now);
}

void Allowance::give_back(const std::string& key, Moment now) {
  const Name name = name_of(key);
  set(name, full_at(name, now) - settings_.interval, now);
}

void Allowance::give_all_back(const std::string& key, Moment now) { set(name_of(key), now, now); }

Allowance::Name Allowance::name_of(const std::string& key) const { return secret_.short_hash(key); }

Moment Allowance::full_at(Name name, Moment now) const {
  const auto found = full_at_.find(name);
  return found == full_at_.end() ? now : std::max(found->second, now);
}

void Allowance::set(Name name, Moment full, Moment now) {
  const auto found = full_at_.find(name);
  if (found != full_at_.end()) {
    soonest_first_.erase({found->second, name});
    full_at_.erase(found);
  }
  while (!soonest_first_.empty() && soonest_first_.begin()->first <= now) drop_soonest();
  if (full <= now) return;
  full_at_[name] = full;
  soonest_first_.insert({full, name});
  if (count() > settings_.most_keys) drop_soonest();
}

void Allowance::drop_soonest() {
  full_at_.erase(soonest_first_.begin()->second);
  soonest_first_.erase(soonest_first_.begin());
}

}  // namespace Quarrow::SigningIn
