// The word with the fewest mistakes.
#include "administration/nearest_word.h"

#include <algorithm>
#include <cstddef>

#include "administration/letter_distance.h"

namespace Quarrow::Administration {
namespace {

std::size_t most_mistakes(const std::string& a, const std::string& b) {
  return std::min<std::size_t>(3, (std::max(a.size(), b.size()) + 1) / 3);
}

// Whatever differs by that many letters in length is farther: no long text is compared.
bool may_be_near(const std::string& a, const std::string& b) {
  return std::max(a.size(), b.size()) - std::min(a.size(), b.size()) <= most_mistakes(a, b);
}

}  // namespace

std::string nearest_word(const std::string& word, const std::vector<std::string>& words) {
  std::string nearest;
  std::size_t fewest = 0;
  for (const auto& each : words) {
    if (!may_be_near(word, each)) continue;
    const std::size_t mistakes = letter_distance(word, each);
    if (mistakes > most_mistakes(word, each) || (!nearest.empty() && mistakes >= fewest)) continue;
    nearest = each;
    fewest = mistakes;
  }
  return nearest;
}

std::string did_you_mean(const std::string& nearest) {
  return nearest.empty() ? "" : "; did you mean \"" + nearest + "\"?";
}

}  // namespace Quarrow::Administration
