// The optimal string alignment distance: that of Damerau and Levenshtein, where no letter is
// changed twice.
#include "administration/letter_distance.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

#include "host/zvellparser/ascii_case.h"

namespace Quarrow::Administration {
namespace {

using Row = std::vector<std::size_t>;

bool is_same(char a, char b) { return zvellparser::ascii_lower(a) == zvellparser::ascii_lower(b); }

// The distances of a's first i + 1 letters to the beginnings of `b`, from those of its first i and
// i - 1.
Row next_row(const std::string& a, const std::string& b, std::size_t i, const Row& last,
             const Row& before_last) {
  Row row(b.size() + 1, i + 1);
  for (std::size_t j = 0; j < b.size(); ++j) {
    const std::size_t replaced = last[j] + (is_same(a[i], b[j]) ? 0 : 1);
    row[j + 1] = std::min({row[j] + 1, last[j + 1] + 1, replaced});
    const bool are_swapped = i > 0 && j > 0 && is_same(a[i], b[j - 1]) && is_same(a[i - 1], b[j]);
    if (are_swapped) row[j + 1] = std::min(row[j + 1], before_last[j - 1] + 1);
  }
  return row;
}

}  // namespace

std::size_t letter_distance(const std::string& a, const std::string& b) {
  Row last(b.size() + 1);
  std::iota(last.begin(), last.end(), 0);
  Row before_last;
  for (std::size_t i = 0; i < a.size(); ++i) {
    Row row = next_row(a, b, i, last, before_last);
    before_last = std::move(last);
    last = std::move(row);
  }
  return last.back();
}

}  // namespace Quarrow::Administration
