// A plain search: a worker parses no message, that is the evaluation's part.
#include "lmtp/message_id.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>

namespace Quarrow::Lmtp {

std::string message_id(int fd) {
  static const std::string name = "message-id:";
  constexpr std::size_t most = 65536;
  constexpr std::size_t longest = 250;
  std::string head(most, '\0');
  head.resize(static_cast<std::size_t>(std::max<ssize_t>(pread(fd, head.data(), most, 0), 0)));
  std::istringstream lines(head);
  for (std::string line; std::getline(lines, line) && !line.empty();) {
    if (strncasecmp(line.c_str(), name.c_str(), name.size()) != 0) continue;
    std::string value;
    std::istringstream rest(line.substr(name.size()));
    if (!(rest >> value)) lines >> value;  // folded right after the name
    return value.substr(0, longest);
  }
  return "";
}

}  // namespace Quarrow::Lmtp
