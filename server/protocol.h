// A protocol as a server sees it: bytes in, bytes out, and nothing of their meaning.
#ifndef QUARROW_SERVER_PROTOCOL_H_
#define QUARROW_SERVER_PROTOCOL_H_

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace Quarrow::Server {

// The conversation of one connection, used by one thread. It sends through the Output that it was
// made with, and is over once that gave false. A call after the end changes nothing.
class Protocol {
 public:
  virtual ~Protocol() = default;

  // Called once, before all else but give_way: sends the greeting, if the server speaks first.
  virtual void greet() = 0;

  // Takes the next bytes from the client: `size` of them, at least one.
  virtual void take(const char* data, std::size_t size) = 0;

  // Called once, when the server stops: ends the conversation now, or after the message or
  // transaction under way.
  virtual void stop() = 0;

  // Ends the conversation because the client was silent for too long.
  virtual void time_out() = 0;

  // Ends the conversation because the client was slow, and others wait; or before it began, in the
  // place of the greeting, because there are too many of its kind.
  virtual void give_way() = 0;

  // Ends the conversation because the client is gone, and forgets what it was sending.
  virtual void abandon() = 0;

  // Whether the connection is to be closed.
  virtual bool is_over() const = 0;

  // A number that grows with each transaction that the server has dealt with. A client that sends
  // bytes without such a step is given up in the end (server/deadline.h).
  virtual std::size_t steps() const = 0;
};

// Sends bytes to the client; false when the client is gone.
using Output = std::function<bool(const std::string& bytes)>;

// Whether other clients wait for this worker now.
using OthersWait = std::function<bool()>;

// Makes the conversation of a new connection.
using NewProtocol =
    std::function<std::unique_ptr<Protocol>(Output output, const OthersWait& others_wait)>;

// The same for a client that a proxy may have named: `client` is its numeric address, such as
// 192.0.2.1; empty where no proxy has told one.
using NewClientProtocol = std::function<std::unique_ptr<Protocol>(
    const std::string& client, Output output, const OthersWait& others_wait)>;

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_PROTOCOL_H_
