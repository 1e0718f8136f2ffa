// A worker's end of its connection to the broker.
#ifndef QUARROW_WEB_SERVER_CALLER_H_
#define QUARROW_WEB_SERVER_CALLER_H_

#include "http/message.h"
#include "system/descriptor.h"
#include "web_server/broker_call.h"
#include "web_server/limits.h"

namespace Quarrow::WebServer {

class Caller {
 public:
  // Makes this process known to the broker, over the other end of its socket for introductions.
  // Whoever still has `introductions` can pass for more workers: close it before a stranger's byte
  // is read.
  Caller(int introductions, const Limits& limits);

  // Waits for the answer. A broker that is gone, or does not answer in time, is a problem 503; no
  // call gets an answer then any more.
  Http::Response ask(const Call& call);

 private:
  const Limits limits_;
  const Descriptor socket_;
  bool is_broken_ = false;
};

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_CALLER_H_
