// Processes that each work on one call.
#ifndef QUARROW_WEB_SERVER_CHILD_MAKER_H_
#define QUARROW_WEB_SERVER_CHILD_MAKER_H_

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "http/message.h"
#include "system/descriptor.h"
#include "web_server/admission.h"

namespace Quarrow::WebServer {

// The work of children. A child begins with the rights with which the program was started: each of
// these first gives up those that it does not need.
struct Jobs {
  std::function<Verdict(const std::string& user, const std::string& password)> check_password;
  std::function<Http::Response(const std::string& user, const Http::Request& request)> work;
};

// A process that takes one call from `socket`, as a packet, and answers it there.
struct Child {
  std::unique_ptr<Descriptor> socket;   // does not block
  std::unique_ptr<Descriptor> process;  // pidfd_open(2)
};

// Makes children in a process of its own, which was forked when there was no session yet and sees
// no call. So a child that is taken over finds nothing in its memory but its own call.
class ChildMaker {
 public:
  // Starts the process. A child ends by itself after `time`, should nobody end it sooner. Throws
  // std::system_error when there is no process to be had.
  ChildMaker(const Jobs& jobs, std::chrono::milliseconds time);
  ChildMaker(const ChildMaker&) = delete;
  ChildMaker& operator=(const ChildMaker&) = delete;

  // Nothing when no child can be made now.
  std::optional<Child> make() const;

  // Whether the process that makes children is there no longer.
  bool is_gone() const;

 private:
  std::unique_ptr<Descriptor> control_;
};

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_CHILD_MAKER_H_
