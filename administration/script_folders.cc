// Each filter is written once more, by itself, so that nothing in its name is taken for an action.
// What is written in full must stand in the script. Reading takes no memory, which may be short.
#include "administration/script_folders.h"

#include <algorithm>
#include <sstream>
#include <string_view>

#include "message_filters/script_words.h"
#include "message_filters/sieve_script.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;
using MessageFilters::Filter__;

constexpr auto npos = std::string_view::npos;

// Takes the text up to the next `separator` off `text`, and the separator.
std::string_view take(std::string_view& text, char separator) {
  const std::string_view taken = text.substr(0, text.find(separator));
  text.remove_prefix(std::min(taken.size() + 1, text.size()));
  return taken;
}

// Whether `name` has a text for each level of `folder` that has one. Encoded names have no other
// slash than those of the folder.
bool is_whole(std::string_view name, std::string_view folder) {
  while (!folder.empty())
    if (take(folder, '/').empty() != take(name, '/').empty()) return false;
  return true;
}

// What the line of an action files into: nothing behind the name has quotes.
std::string_view name_in(std::string_view line) {
  const std::size_t begin = line.find('"');
  const std::size_t end = line.rfind('"');
  return begin == npos ? "" : line.substr(begin + 1, std::max(end, begin + 1) - begin - 1);
}

// In `text`, a line for each action of `filter` stands behind the beginning of its block.
bool names_folders(std::string_view text, const Filter__& filter) {
  text.remove_prefix(std::min(text.rfind(ScriptWords::block), text.size()));
  (void)take(text, '\n');
  return std::all_of(filter.actions.begin(), filter.actions.end(), [&](const Action& action) {
    const std::string_view name = name_in(take(text, '\n'));
    return action.method == Action::DELETE ? !name.empty() : is_whole(name, action.target);
  });
}

}  // namespace

bool names_all_folders(const std::string& script, const MessageFilters::FilterList__& list,
                       bool include_disabled) {
  std::size_t position = 0;
  for (const auto& filter : list.filters) {
    if (filter->tests.empty() || !(filter->enabled || include_disabled)) continue;
    std::ostringstream written;
    // A stream drops what memory is short for.
    if (!write_filter(filter, written) || !written) return false;
    const std::string text = written.str();
    position = script.find(text, position);
    if (position == npos || !names_folders(text, *filter)) return false;
    position += text.size();
  }
  return true;
}

}  // namespace Quarrow::Administration
