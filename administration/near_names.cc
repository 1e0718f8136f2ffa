// The distance between two words, and the names that are near.
#include "administration/near_names.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <utility>

#include "host/zvellparser/ascii_case.h"
#include "system/printable.h"

namespace Quarrow::Administration {
namespace {

constexpr std::size_t most_names = 3;

bool same(char a, char b) { return zvellparser::ascii_lower(a) == zvellparser::ascii_lower(b); }

// How many letters must be put in, left out, replaced or swapped with their neighbour to make one
// word of the other: the optimal string alignment distance, of which a row needs the two before.
std::size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row_before_last, last_row, row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    row_before_last = std::exchange(last_row, row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replacement = last_row[j - 1] + (same(a[i - 1], b[j - 1]) ? 0 : 1);
      row[j] = std::min({replacement, last_row[j] + 1, row[j - 1] + 1});
      if (i > 1 && j > 1 && same(a[i - 1], b[j - 2]) && same(a[i - 2], b[j - 1]))
        row[j] = std::min(row[j], row_before_last[j - 2] + 1);
    }
  }
  return row.back();
}

}  // namespace

std::vector<std::string> near_names(const std::string& text,
                                    const std::vector<std::string>& names) {
  if (text.size() > shown_bytes) return {};  // nobody typed it
  const std::size_t farthest = 1 + text.size() / 4;
  std::set<std::pair<std::size_t, std::string>> found;
  for (const std::string& name : names) {
    if (name.size() > text.size() + farthest) continue;
    const std::size_t steps = distance(text, name);
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
