// Who may come in: sessions, sign-ins and tokens, as the broker needs them.
#ifndef QUARROW_WEB_SERVER_ADMISSION_H_
#define QUARROW_WEB_SERVER_ADMISSION_H_

#include <chrono>
#include <optional>
#include <string>

namespace Quarrow::WebServer {

// A user who is signed in.
struct Visitor {
  std::string user;   // their address, in the form in which it names their folder
  std::string token;  // that their changes carry
};

// What the check of a password came to.
enum class Verdict { right, wrong, unavailable };

// A try to sign in whose password is being checked.
struct Attempt {
  std::string user;       // their address
  std::string network;    // where they come from
  bool is_known = false;  // they signed in from there before
};

// What became of a try to sign in.
struct Entrance {
  enum class Kind {
    go_on,       // the password is to be checked
    signed_in,   // a session has begun
    refused,     // wrong password, or no such user: it is not said which
    wait,        // too many wrong passwords
    unavailable  // try again later
  };

  Kind kind = Kind::unavailable;
  std::string session = {};  // signed_in: the value of its cookie
  Visitor visitor = {};      // signed_in
  std::chrono::seconds wait{0};
};

// Kept by the broker, and used by it alone. No call waits for a client or a password server.
class Admission {
 public:
  virtual ~Admission() = default;

  // The user of a session that has not ended, which this call keeps from ending for want of use.
  // `session` is what a client sent.
  virtual std::optional<Visitor> visitor(const std::string& session) = 0;

  // The user of a name that the proxy has checked; none where there is no such user.
  virtual std::optional<Visitor> visitor_of_proxy(const std::string& name) = 0;

  // Whether `token` is the visitor's. The time that it takes tells nothing of the right one.
  virtual bool is_token_of(const Visitor& visitor, const std::string& token) = 0;

  // Begins a try to sign in as `user`, as typed, from the address `client`: go_on, refused or wait.
  // After go_on, finish() is called in any case.
  virtual Entrance begin(const std::string& user, const std::string& client, Attempt& attempt) = 0;
  virtual Entrance finish(const Attempt& attempt, Verdict verdict) = 0;

  virtual void end_session(const std::string& session) = 0;
  virtual void end_all_sessions(const std::string& user) = 0;
};

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_ADMISSION_H_
