// The sessions of signed-in users, in the memory of one process.
#ifndef QUARROW_SIGNING_IN_SESSION_STORE_H_
#define QUARROW_SIGNING_IN_SESSION_STORE_H_

#include <chrono>
#include <cstddef>
#include <list>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "signing_in/moment.h"
#include "signing_in/secret_key.h"

namespace Quarrow::SigningIn {

struct SessionLimits {
  std::chrono::seconds idle = std::chrono::minutes(30);  // without a request
  std::chrono::seconds life = std::chrono::hours(12);    // since the sign-in
  std::size_t most_of_a_user = 20;                       // above it the longest idle one ends
  std::size_t most = 100000;                             // the same for those of all users
};

struct Session {
  std::string user;  // the address
  std::string hash;  // names the session; nobody finds the identifier by it
};

// Identifiers are handed out, and not kept: the store knows a session by the keyed hash of its
// identifier, so that the time of a search tells nothing, and the memory opens no session.
class SessionStore {
 public:
  explicit SessionStore(const SessionLimits& limits = {});

  // Begins a session; gives its identifier, which is new and random: 43 characters that a cookie
  // and a URL may hold.
  std::string create(const std::string& user, Moment now);

  // The session, which is not idle now; nothing when there is none (any longer).
  std::optional<Session> find(const std::string& identifier, Moment now);

  // Ends the session, if there is one.
  void end(const std::string& identifier);

  // Ends all sessions of the user; how many they were, with those that were over and not yet
  // removed.
  std::size_t end_all(const std::string& user);

  // How many sessions are kept; those that are over are removed by and by.
  std::size_t count() const { return by_hash_.size(); }

 private:
  struct Entry {
    Session session;
    Moment begun;
    Moment used;
  };
  using Entries = std::list<Entry>;

  bool is_over(const Entry& entry, Moment now) const;
  void remove(Entries::iterator entry);
  void make_room(const std::string& user, Moment now);

  const SessionLimits limits_;
  const SecretKey key_;
  Entries latest_first_;  // by their last use
  std::unordered_map<std::string, Entries::iterator> by_hash_;
  std::unordered_map<std::string, std::vector<Entries::iterator>> by_user_;
};

}  // namespace Quarrow::SigningIn

#endif  // QUARROW_SIGNING_IN_SESSION_STORE_H_
