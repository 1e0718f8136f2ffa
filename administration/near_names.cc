// The names at the smallest distances.
#include "administration/near_names.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <utility>

#include "administration/letter_distance.h"
#include "system/printable.h"

namespace Quarrow::Administration {
namespace {

constexpr std::size_t most_names = 3;

}  // namespace

std::vector<std::string> near_names(const std::string& text,
                                    const std::vector<std::string>& names) {
  if (text.size() > shown_bytes) return {};  // nobody typed it
  const std::size_t farthest = 1 + text.size() / 4;
  std::set<std::pair<std::size_t, std::string>> found;
  for (const std::string& name : names) {
    if (name.size() > text.size() + farthest) continue;
    const std::size_t steps = letter_distance(text, name);
    if (steps <= farthest && steps < std::max(text.size(), name.size()))
      found.insert({steps, name});
  }
  std::vector<std::string> nearest;
  for (const auto& [steps, name] : found)
    if (nearest.size() < most_names) nearest.push_back(name);
  return nearest;
}

std::string did_you_mean(const std::string& text, const std::vector<std::string>& names) {
  const std::vector<std::string> nearest = near_names(text, names);
  std::string words;
  for (std::size_t i = 0; i < nearest.size(); ++i) {
    const bool is_last = i > 0 && i + 1 == nearest.size();
    words += (i == 0 ? "" : is_last ? " or " : ", ") + nearest[i];
  }
  return words.empty() ? "" : "did you mean " + words + "?";
}

}  // namespace Quarrow::Administration
