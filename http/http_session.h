// HTTP/1.1 as a server speaks it (RFC 9110, RFC 9112), without sockets.
#ifndef QUARROW_HTTP_HTTP_SESSION_H_
#define QUARROW_HTTP_HTTP_SESSION_H_

#include <cstddef>
#include <cstdint>

#include "http/limits.h"
#include "http/message.h"
#include "http/refusal.h"
#include "http/request_parser.h"
#include "http/response_text.h"
#include "server/protocol.h"

namespace Quarrow::Http {

// One connection's conversation: bytes in, answers out. However a client cuts its bytes into
// blocks, the answers are the same.
class Session : public Server::Protocol {
 public:
  // `handler` is called for each request that is whole and well-formed, in their order: its method
  // is GET, POST, PUT, PATCH, DELETE or OPTIONS, its target one that parse_target() takes. HEAD
  // comes to it as a GET, and the body of its answer is left out. `output` is called once for each
  // answer, which also gets security_headers.h; an answer that would break the framing, such as a
  // header with a line end, becomes a 500.
  //
  // A client that may send another request keeps its worker. So the connection ends with an answer
  // when others wait.
  Session(Handler handler, const Limits& limits, Server::Output output,
          Server::OthersWait others_wait);

  void greet() override { greeted_ = true; }
  void take(const char* data, std::size_t size) override;
  void stop() override;      // lets the client finish the request under way, if there is one
  void time_out() override;  // answers 408 when a request has begun
  void give_way() override;  // answers 503, but not to a client that asks for nothing
  void abandon() override { over_ = true; }
  bool is_over() const override { return over_; }
  std::size_t steps() const override { return steps_; }  // answers, refusals among them

 private:
  std::size_t take_request(const char* data, std::size_t size);
  std::size_t drop(std::size_t size);
  void answer();
  void refuse_request();
  void refuse(const Refusal& refusal);
  void send(Response response, const Sending& sending);
  void send(const std::string& bytes);

  const Handler handler_;
  const Limits limits_;
  const Server::Output output_;
  const Server::OthersWait others_wait_;
  RequestParser parser_;
  std::uint64_t to_drop_ = 0;  // bytes that come behind the last answer
  std::size_t steps_ = 0;
  bool greeted_ = false;
  bool stopping_ = false;
  bool over_ = false;
};

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_HTTP_SESSION_H_
