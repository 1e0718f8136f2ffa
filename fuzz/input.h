// An input taken apart.
#ifndef QUARROW_FUZZ_INPUT_H_
#define QUARROW_FUZZ_INPUT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Quarrow::Fuzz {

// Two parts of an input, which a line that holds only `mark` separates; the second part is empty
// when there is no such line. An empty mark stands for the first empty line.
struct Parts {
  std::string first;  // with its last line end
  std::string second;
};
Parts parts_of(const std::string& input, std::string_view mark);

// The lines of `text`, without their line feeds.
std::vector<std::string> lines_of(const std::string& text);

// `text` cut into blocks whose lengths, of 1 to 64 bytes, the bytes of `pattern` tell, again and
// again; into single bytes for an empty pattern.
std::vector<std::string> blocks_of(const std::string& text, const std::string& pattern);

}  // namespace Quarrow::Fuzz

#endif  // QUARROW_FUZZ_INPUT_H_
