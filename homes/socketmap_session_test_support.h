// A conversation in the socketmap protocol whose replies repeat the requests.
#ifndef QUARROW_HOMES_SOCKETMAP_SESSION_TEST_SUPPORT_H_
#define QUARROW_HOMES_SOCKETMAP_SESSION_TEST_SUPPORT_H_

#include <string>
#include <vector>

#include "homes/socketmap_session.h"

namespace Quarrow::Homes {

class TestSocketmap {
 public:
  void say(const std::string& bytes) { session.take(bytes.data(), bytes.size()); }

  std::vector<std::string> requests;
  std::string replies;
  std::size_t outputs = 0;  // how often the session sent something
  bool connected = true;
  bool others_wait = false;
  SocketmapSession session{[this](const std::string& request) {
                             requests.push_back(request);
                             return "OK " + request;
                           },
                           [this](const std::string& bytes) {
                             ++outputs;
                             if (connected) replies += bytes;
                             return connected;
                           },
                           [this] { return others_wait; }};
};

}  // namespace Quarrow::Homes

#endif  // QUARROW_HOMES_SOCKETMAP_SESSION_TEST_SUPPORT_H_
