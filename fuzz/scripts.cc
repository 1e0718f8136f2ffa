// Patterns that take exponential time.
#include "fuzz/scripts.h"

#include <algorithm>
#include <string_view>

namespace Quarrow::Fuzz {

bool takes_long(const std::string& script) {
  constexpr std::string_view repeats = "*+?{\\";
  constexpr std::ptrdiff_t most = 12;
  return std::count_if(script.begin(), script.end(), [repeats](char c) {
           return repeats.find(c) != std::string_view::npos;
         }) > most;
}

}  // namespace Quarrow::Fuzz
