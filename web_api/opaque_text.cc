// Two digits a byte.
#include "web_api/opaque_text.h"

#include <boost/algorithm/hex.hpp>
#include <iterator>

namespace Quarrow::WebApi {

std::string opaque_text(const std::string& bytes) { return boost::algorithm::hex_lower(bytes); }

std::optional<std::string> bytes_of_opaque(const std::string& text) {
  if (text.size() % 2 != 0 || text.find_first_not_of("0123456789abcdef") != std::string::npos)
    return std::nullopt;
  return boost::algorithm::unhex(text);
}

}  // namespace Quarrow::WebApi
