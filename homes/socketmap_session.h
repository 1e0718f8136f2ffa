// Postfix' socketmap protocol (socketmap_table(5)), without sockets.
#ifndef QUARROW_HOMES_SOCKETMAP_SESSION_H_
#define QUARROW_HOMES_SOCKETMAP_SESSION_H_

#include <cstddef>
#include <functional>
#include <string>

#include "homes/netstring.h"
#include "server/protocol.h"

namespace Quarrow::Homes {

// The reply to a request, "MAP KEY".
using AnswerRequest = std::function<std::string(const std::string& request)>;

// One connection's conversation: requests and replies are netstrings. However a client cuts its
// bytes into blocks, the replies are the same. A client that sends anything else is hung up on: it
// may have lost its place. One that has all its replies gives way to others that wait; mail servers
// keep connections that they do not use, and make others when they need them.
class SocketmapSession : public Server::Protocol {
 public:
  SocketmapSession(AnswerRequest answer, Server::Output output, Server::OthersWait others_wait);

  void greet() override {}  // the client speaks first
  void take(const char* data, std::size_t size) override;
  void stop() override;  // after the request under way, if there is one

  // A reply that nobody asked for would be taken for that to the next request.
  void time_out() override { over_ = true; }
  void give_way() override { over_ = true; }
  void abandon() override { over_ = true; }

  bool is_over() const override { return over_; }
  std::size_t steps() const override { return steps_; }

 private:
  void answer_complete();
  void flush();

  const AnswerRequest answer_;
  const Server::Output output_;
  const Server::OthersWait others_wait_;
  NetstringReader reader_;
  std::string replies_;  // not yet given to output_
  std::size_t steps_ = 0;
  bool stopping_ = false;
  bool over_ = false;
};

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_SOCKETMAP_SESSION_H_
