// Sessions in the order of their use: all are idle equally long, so those at the end are over
// first.
#include "signing_in/session_store.h"

#include <algorithm>

namespace Quarrow::SigningIn {

SessionStore::SessionStore(const SessionLimits& limits) : limits_(limits) {}

std::string SessionStore::create(const std::string& user, Moment now) {
  make_room(user, now);
  std::string identifier = random_secret();
  latest_first_.push_front({{user, key_.hash(identifier)}, now, now});
  by_hash_[latest_first_.front().session.hash] = latest_first_.begin();
  by_user_[user].push_back(latest_first_.begin());
  return identifier;
}

std::optional<Session> SessionStore::find(const std::string& identifier, Moment now) {
  const auto found = by_hash_.find(key_.hash(identifier));
  if (found == by_hash_.end()) return std::nullopt;
  const Entries::iterator entry = found->second;
  if (is_over(*entry, now)) {
    remove(entry);
    return std::nullopt;
  }
  entry->used = now;
  latest_first_.splice(latest_first_.begin(), latest_first_, entry);
  return entry->session;
}

void SessionStore::end(const std::string& identifier) {
  const auto found = by_hash_.find(key_.hash(identifier));
  if (found != by_hash_.end()) remove(found->second);
}

std::size_t SessionStore::end_all(const std::string& user) {
  const auto found = by_user_.find(user);
  if (found == by_user_.end()) return 0;
  const std::vector<Entries::iterator> entries = found->second;  // a copy: remove() changes it
  for (const auto entry : entries) remove(entry);
  return entries.size();
}

bool SessionStore::is_over(const Entry& entry, Moment now) const {
  return now - entry.used >= limits_.idle || now - entry.begun >= limits_.life;
}

void SessionStore::remove(Entries::iterator entry) {
  const auto user = by_user_.find(entry->session.user);
  auto& entries = user->second;
  entries.erase(std::find(entries.begin(), entries.end(), entry));
  if (entries.empty()) by_user_.erase(user);
  by_hash_.erase(entry->session.hash);
  latest_first_.erase(entry);
}

// Removes what is over, and what would be too much with one more session of the user.
void SessionStore::make_room(const std::string& user, Moment now) {
  while (!latest_first_.empty() && is_over(latest_first_.back(), now))
    remove(std::prev(latest_first_.end()));
  const auto found = by_user_.find(user);
  if (found != by_user_.end() && found->second.size() >= limits_.most_of_a_user)
    remove(*std::min_element(found->second.begin(), found->second.end(),
                             [](const auto& a, const auto& b) { return a->used < b->used; }));
  if (count() >= limits_.most) remove(std::prev(latest_first_.end()));
}

}  // namespace Quarrow::SigningIn
