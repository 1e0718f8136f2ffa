// A plain search: a worker parses no message, the evaluation does.
#include "delivery/message_id.h"

#include <strings.h>

#include <sstream>

namespace Quarrow::Delivery {

std::string message_id(std::string_view header) {
  static const std::string name = "message-id:";
  std::istringstream lines{std::string(header)};
  for (std::string line; std::getline(lines, line) && !line.empty();) {
    if (strncasecmp(line.c_str(), name.c_str(), name.size()) != 0) continue;
    std::string value;
    std::istringstream rest(line.substr(name.size()));
    if (!(rest >> value)) lines >> value;  // folded right after the name
    return value.substr(0, longest_message_id);
  }
  return "";
}

}  // namespace Quarrow::Delivery
