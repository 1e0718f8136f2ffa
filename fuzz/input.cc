// Parts of inputs that a person can write.
#include "fuzz/input.h"

#include <algorithm>

namespace Quarrow::Fuzz {

Parts parts_of(const std::string& input, std::string_view mark) {
  std::size_t start = 0;
  while (start < input.size()) {
    const std::size_t end = std::min(input.find('\n', start), input.size());
    if (std::string_view(input).substr(start, end - start) == mark)
      return {input.substr(0, start), input.substr(std::min(end + 1, input.size()))};
    start = end + 1;
  }
  return {input, ""};
}

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

std::vector<std::string> blocks_of(const std::string& text, const std::string& pattern) {
  constexpr unsigned longest = 64;
  std::vector<std::string> blocks;
  for (std::size_t start = 0; start < text.size(); start += blocks.back().size()) {
    const std::size_t length =
        pattern.empty()
            ? 1
            : 1 + static_cast<unsigned char>(pattern[blocks.size() % pattern.size()]) % longest;
    blocks.push_back(text.substr(start, length));
  }
  return blocks;
}

}  // namespace Quarrow::Fuzz
