// What a server speaks, as the server sees it: bytes in, and nothing of their meaning.
#ifndef QUARROW_SERVER_PROTOCOL_H_
#define QUARROW_SERVER_PROTOCOL_H_

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace Quarrow::Server {

// One connection's conversation. What it says goes to the Output that it was made with; it is used
// by one thread.
class Protocol {
 public:
  virtual ~Protocol() = default;

  // Says the first word, where it is the server that has it.
  virtual void greet() = 0;

  // Takes the next bytes from the client. After the conversation is over they are ignored.
  virtual void take(const char* data, std::size_t size) = 0;

  // Ends the conversation because the server stops: now, or after what is under way.
  virtual void stop() = 0;

  // Ends the conversation because the client was silent for too long.
  virtual void time_out() = 0;

  // The client is gone: what it was sending is forgotten.
  virtual void abandon() = 0;

  // Whether the connection is to be closed.
  virtual bool is_over() const = 0;

  // Whether the bytes to come belong to a message, which may take longer than a command.
  virtual bool is_in_message() const = 0;

  // Grows with each command that was answered and each message that was dealt with, which tells a
  // client that gets on from one that trickles.
  virtual std::size_t steps() const = 0;
};

// Takes bytes on their way to the client; false when it is gone.
using Output = std::function<bool(const std::string& bytes)>;

// Makes the conversation of a new connection.
using NewProtocol = std::function<std::unique_ptr<Protocol>(Output output)>;

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_PROTOCOL_H_
