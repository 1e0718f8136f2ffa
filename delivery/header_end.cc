// The first empty line of a message.
#include "delivery/header_end.h"

#include <algorithm>

#include "system/file_io.h"

namespace Quarrow::Delivery {
namespace {

// Where the last line of the header ends, with its line feed left out; npos when no empty line
// follows. Looks at nothing before `from`.
std::size_t header_end(std::string_view text, std::size_t from) {
  return std::min(text.find("\n\n", from), text.find("\n\r\n", from));
}

}  // namespace

std::string_view header_of(std::string_view message) {
  const std::size_t end = header_end(message, 0);
  return message.substr(0, end == std::string_view::npos ? end : end + 1);
}

std::optional<std::string> read_header(int fd, std::size_t most) {
  constexpr std::size_t overlap = 2;  // an empty line may lie across two blocks
  std::string text;
  while (text.size() < most) {
    const std::size_t start = text.size();
    const ssize_t count = append_next(fd, text);
    if (count < 0) return std::nullopt;
    if (count == 0) return text;
    if (header_end(text, start - std::min(start, overlap)) != std::string::npos) break;
  }
  text.resize(std::min(text.size(), most));
  return text;
}

}  // namespace Quarrow::Delivery
